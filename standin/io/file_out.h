// Files written whole or not at all.
#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string_view>

namespace standin::io {

// Writes `bytes` as the file `path`, creating its parent folders. Every write and the close
// are checked; a failure throws std::runtime_error "cannot write <path>: <why>".
//
// A regular file (or a new one) is written to a temporary file in the same folder, which
// replaces the target only once it is complete: on failure the target is left as it was and
// the temporary is removed. A symbolic link is followed, so the link stays and its target is
// replaced. Anything else that exists at `path` (a device, a pipe) is written in place and
// never removed or replaced.
void WriteFileWhole(const std::filesystem::path& path, std::string_view bytes);

// The same, with the bytes written by `write` into a stream over the file: large writes go
// straight to the file, unbuffered. An exception from `write` leaves the target as it was (the
// temporary is removed) and is passed on.
void WriteFileWith(const std::filesystem::path& path, const std::function<void(std::ostream&)>& write);

}  // namespace standin::io
