#!/usr/bin/env bash
# Bakes a frame range in chunks: one `orbelin run SCRIPT --frames A-B` per chunk, run side by
# side by GNU parallel, on this machine or on others (parallel's --sshlogin).
#
#   examples/bake_parallel.sh [--script FILE] [--orbelin COMMAND] RANGE CHUNKS [PARALLEL OPTIONS...]
#
#   RANGE       FIRST-LAST in whole numbers (1-48, -10-10, -10--5), or one frame
#   CHUNKS      how many runs the range is cut into, 1 to 10000 (at most one per frame); when the
#               frames do not divide evenly the first chunks get one more
#   --script    the scene script, which reads FIRST_FRAME and LAST_FRAME (default: bake.lua
#               beside this file, as this file was named: examples/bake.lua from the source tree)
#   --orbelin   the orbelin command (default: $ORBELIN, else orbelin on the PATH)
#   Everything after CHUNKS goes to parallel as it is: -j N, --sshlogin, --workdir,
#   --transferfile, --return, --cleanup, --dry-run ...
#
# Each chunk runs in parallel's working folder (here the current one, on another machine the
# --workdir) and writes into out/bake/ there. The chunks write disjoint files.
#
# On this machine, two chunks at a time:
#   examples/bake_parallel.sh 1-48 6 -j 2
# On two machines that see this folder at the same path, orbelin on their PATH:
#   examples/bake_parallel.sh 1-48 8 --sshlogin host1,host2 --workdir "$PWD"
# On two machines that share nothing: the script sent with each chunk, its results brought back
# into out/bake/ here, and nothing left behind there:
#   examples/bake_parallel.sh 1-48 8 --sshlogin host1,host2 --workdir ... \
#       --transferfile examples/bake.lua --return out/bake --cleanup
set -euo pipefail

die() {
  echo "bake_parallel: $*" >&2
  exit 1
}
# A whole number's text as a shell number (leading zeros are no octal).
number() {
  local text="$1" sign=1
  if [ "${text:0:1}" = "-" ]; then sign=-1 text="${text:1}"; fi
  echo $((sign * 10#$text))
}
usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }

script="$(dirname "$0")/bake.lua"
orbelin="${ORBELIN:-orbelin}"
while [ $# -gt 0 ]; do
  case "$1" in
    -h | --help) usage; exit 0 ;;
    --script) [ $# -ge 2 ] || die "--script needs a file"; script="$2"; shift 2 ;;
    --orbelin) [ $# -ge 2 ] || die "--orbelin needs a command"; orbelin="$2"; shift 2 ;;
    *) break ;;
  esac
done
[ $# -ge 2 ] || die "expected RANGE and CHUNKS, e.g. 1-48 4 (--help for more)"
range="$1" chunks="$2"
shift 2

# The range: two whole numbers that fit an int, the first not after the last.
[[ "$range" =~ ^(-?[0-9]{1,10})(-(-?[0-9]{1,10}))?$ ]] ||
  die "\"$range\" is not a frame range: expected FIRST-LAST or FRAME in whole numbers, e.g. 1-48"
first=$(number "${BASH_REMATCH[1]}")
last=$(number "${BASH_REMATCH[3]:-${BASH_REMATCH[1]}}")
for frame in "$first" "$last"; do
  ((frame >= -2147483648 && frame <= 2147483647)) || die "the frame range \"$range\" has a frame beyond -2147483648 to 2147483647"
done
((first <= last)) || die "the frame range \"$range\" is reversed: its first frame $first comes after its last, $last"
if ! [[ "$chunks" =~ ^[0-9]{1,5}$ ]] || ((10#$chunks < 1 || 10#$chunks > 10000)); then
  die "\"$chunks\" chunks: expected a whole number from 1 to 10000"
fi
chunks=$((10#$chunks))

[ -f "$script" ] || die "no scene script at $script (pass --script)"
command -v parallel > /dev/null || die "GNU parallel is not installed (Debian package \"parallel\")"
parallel --version 2> /dev/null | grep -q "GNU parallel" || die "the parallel on the PATH is not GNU parallel (Debian package \"parallel\")"

# The chunks, as even as whole frames allow.
frames=$((last - first + 1))
((chunks <= frames)) || chunks=$frames
ranges=()
start=$first
for ((i = 0; i < chunks; i++)); do
  end=$((start + frames / chunks + (i < frames % chunks ? 1 : 0) - 1))
  ranges+=("$start-$end")
  start=$((end + 1))
done

echo "bake_parallel: frames $first to $last in $chunks chunk(s): ${ranges[*]}" >&2
# The command is quoted here, once; parallel quotes the range it puts in place of {}.
command="$(printf '%q ' "$orbelin" run "$script") --frames {}"
# That quoting is bash's, so bash runs the command. Left to itself parallel takes the user's
# $SHELL, and with one it cannot run (empty, not installed) its jobs on other machines do
# nothing and it still ends with status 0.
export PARALLEL_SHELL="${PARALLEL_SHELL:-$BASH}"
status=0
parallel --tag "$@" "$command" ::: "${ranges[@]}" || status=$?
# parallel's status: the number of jobs that failed (1 to 100), 101 for more, 255 for its own errors.
if ((status >= 1 && status <= 100)); then
  echo "bake_parallel: $status chunk(s) failed (see their lines above)" >&2
elif ((status != 0)); then
  echo "bake_parallel: parallel ended with status $status" >&2
fi
exit "$status"
