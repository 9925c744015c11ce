// Cache frame files from any bytes, read alone and blended with a second file: a result no
// longer than the bound the reader promises (the larger of what the file holds and the weight
// map's element count, and never more than the file's count), zeros past what the files hold,
// and nothing else (no crash, no huge allocation).
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "cache/files.h"

namespace {

// One in-memory file, rewritten for every input.
struct MemoryFile {
    int fd;
    std::string path;
    explicit MemoryFile(const char* name) : fd(::memfd_create(name, 0)), path("/proc/self/fd/" + std::to_string(fd)) {
        if (fd < 0) std::abort();
    }
    void Fill(const uint8_t* data, size_t size) const {
        if (::ftruncate(fd, 0) != 0 || (size > 0 && ::pwrite(fd, data, size, 0) != static_cast<ssize_t>(size))) std::abort();
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const MemoryFile current("current.wmc"), next("next.wmc");
    if (size < 2) return 0;
    // The first byte: the weight map's element count and whether to blend; the rest is split
    // between the two files at the second byte's proportion.
    const size_t elements = data[0] & 0x7F;
    const bool blend = (data[0] & 0x80) != 0;
    const size_t body = size - 2;
    const size_t cut = blend ? body * data[1] / 255 : body;
    current.Fill(data + 2, cut);
    next.Fill(data + 2 + cut, body - cut);

    std::vector<double> values, scratch;
    const orbelin::cache::ReadOutcome r = orbelin::cache::ReadFrame(
        current.path, blend ? &next.path : nullptr, 0.25, elements, [&](size_t n) {
            values.assign(n, 1.0);
            return values.data();
        },
        scratch);
    if (r.result != orbelin::cache::ReadOutcome::Read) return 0;
    const size_t held = cut >= 4 ? (cut - 4) / 8 : 0;
    if (r.count < 0 || values.size() != r.values || values.size() > static_cast<size_t>(r.count) ||
        values.size() > std::max(held, elements))
        __builtin_trap();
    // Past what both files hold, every weight is 0.
    for (size_t i = blend ? std::max(held, r.heldNext) : held; i < values.size(); ++i)
        if (values[i] != 0.0) __builtin_trap();
    return 0;
}
