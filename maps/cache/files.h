// The Cache Map's files: one file per frame of one weight map, and how each is named.
//
// A frame file is exactly 4 + 8·N bytes, little-endian, with no header:
//   offset 0  int32    N, the number of weights
//   offset 4  N × binary64  the weights, in the weight map's element order
//
// Its path: root / model / object / cluster + "_" + weightMap + "." + frameText + "." + extension,
// where frameText is the frame's decimal text left-padded with "0" to the digit width as a
// whole, so that frame -3 at width 5 gives "000-3" (caches on disk are named so). The host
// separates with a backslash; here the native separator takes its place, nothing else changes.
//
// Reading never trusts a file's count for an allocation: a read gives
// min(N, max(values the file holds, elementCount)) values, those the file does not hold as 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace orbelin::cache {

inline constexpr wchar_t kSeparator = L'/';

// The frame's decimal text, left-padded with "0" to `width` characters; a longer text is kept.
std::wstring FrameText(int32_t frame, int32_t width);

// `fullPath` split at every "." (no escaping). A weight map's path has six parts: model,
// object, primitive, cluster container, cluster, weight map.
std::vector<std::wstring> SplitFullPath(const std::wstring& fullPath);

// The names of one weight map's frame files.
class FilesSequence {
public:
    virtual ~FilesSequence() = default;
    bool Init(std::wstring root, std::wstring firstDirectory, std::wstring secondDirectory, std::wstring firstBase,
              std::wstring secondBase);
    std::wstring GetFileName(const std::wstring& extension, int32_t width, int32_t frame) const;

private:
    std::wstring root_, firstDirectory_, secondDirectory_, firstBase_, secondBase_;
};

// Creates the one directory `path` (UTF-8), not its parents: true only when it was created.
bool CreateDirectory(const std::string& path);

// Writing a frame file. A write that fails part way (a full disk) removes what it wrote, so
// that the frame reads as missing rather than cut short; a device is never removed.
struct WriteOutcome {
    enum Result { Written, CannotCreate, Failed };
    Result result = Written;
    int error = 0;  // errno of the failure
};
WriteOutcome WriteFrameFile(const std::string& path, std::span<const double> weights);

// Reading a frame, or blending two. A file that is not there is Missing; one that is there but
// gives no count (or is no regular file) is Unreadable; a short one is read, incomplete.
struct ReadOutcome {
    enum Result {
        Read,        // the result holds `values` weights
        Missing,     // a file did not open (`missingNext`: the second one)
        Unreadable,  // the current file gives no usable count (see `problem`): nothing read
    };
    enum Problem {
        None,
        NotAFile,        // a directory or a device where the file should be
        NoCount,         // shorter than its 4-byte count
        NegativeCount,
        ReadFailed,      // the system refused a read (`error`)
    };
    Result result = Read;
    Problem problem = None;
    bool inNext = false;   // Missing or Unreadable: the next file, not the current one
    bool blended = false;
    int error = 0;
    int32_t count = 0;     // N, as the current file gives it
    size_t values = 0;     // weights in the result
    size_t held = 0;       // weights the current file holds
    size_t heldNext = 0;   // weights the next file holds (when blending)
    // The result is shorter than N (N is more than the file holds and than the weight map's
    // element count), or one of the files holds fewer than the result's weights: missing ones
    // read as 0.
    bool Incomplete() const {
        return values < static_cast<size_t>(count > 0 ? count : 0) || held < values || (blended && heldNext < values);
    }
};

// Reads the frame file `current`; with `next`, also that file, and blends the two:
// (1 - fraction) × a[i] + fraction × b[i], the current file's count governing both.
// `allocate(n)` gives room for the n weights of the result (called once, when the count is
// usable); `scratch` holds the next file's weights (kept by the caller, its memory reused).
ReadOutcome ReadFrame(const std::string& current, const std::string* next, double fraction, size_t elementCount,
                      const std::function<double*(size_t)>& allocate, std::vector<double>& scratch);

}  // namespace orbelin::cache
