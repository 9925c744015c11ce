#include "cache/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

namespace orbelin::cache {

namespace {

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

uint64_t Swap64(uint64_t v) {
    uint64_t r = 0;
    for (int i = 0; i < 8; ++i) r = (r << 8) | ((v >> (8 * i)) & 0xFFu);
    return r;
}

// Doubles read as little-endian bytes, in place.
void FromLittleEndian(double* values, size_t n) {
    if constexpr (!kLittleEndian)
        for (size_t i = 0; i < n; ++i) values[i] = std::bit_cast<double>(Swap64(std::bit_cast<uint64_t>(values[i])));
    (void)values, (void)n;
}

struct File {
    std::FILE* f = nullptr;
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (f) std::fclose(f);
    }
};

// One file opened for reading, with the weights it holds after its count.
struct Source {
    File file;
    size_t held = 0;
};

// Opens `path`; Missing when it does not open, Unreadable when it is no regular file.
ReadOutcome::Result Open(const std::string& path, Source& s, ReadOutcome& out) {
    s.file.f = std::fopen(path.c_str(), "rb");
    if (!s.file.f) return ReadOutcome::Missing;
    struct stat st {};
    if (::fstat(::fileno(s.file.f), &st) != 0 || !S_ISREG(st.st_mode)) {
        out.problem = ReadOutcome::NotAFile;
        return ReadOutcome::Unreadable;
    }
    const auto size = static_cast<uint64_t>(st.st_size);
    s.held = size >= 4 ? static_cast<size_t>(std::min<uint64_t>((size - 4) / 8, std::numeric_limits<size_t>::max() / 8)) : 0;
    return ReadOutcome::Read;
}

// The 4-byte count; false when the file ends (or fails) before it.
bool ReadCount(Source& s, int32_t& count, ReadOutcome& out) {
    unsigned char b[4];
    if (std::fread(b, 1, 4, s.file.f) != 4) {
        out.problem = std::ferror(s.file.f) ? ReadOutcome::ReadFailed : ReadOutcome::NoCount;
        out.error = errno;
        return false;
    }
    count = static_cast<int32_t>(static_cast<uint32_t>(b[0]) | static_cast<uint32_t>(b[1]) << 8 |
                                 static_cast<uint32_t>(b[2]) << 16 | static_cast<uint32_t>(b[3]) << 24);
    return true;
}

// n values into `into`: those the file holds, then zeros. False on a read error.
bool ReadValues(Source& s, double* into, size_t n) {
    const size_t want = std::min(n, s.held);
    const size_t got = want > 0 ? std::fread(into, sizeof(double), want, s.file.f) : 0;
    std::fill(into + got, into + n, 0.0);
    FromLittleEndian(into, got);
    s.held -= got;
    return got == want || !std::ferror(s.file.f);
}

// Writes the count and the weights; errno of the first failure, 0 when all went out.
int WriteContent(std::FILE* f, std::span<const double> weights) {
    const auto n = static_cast<uint32_t>(weights.size());
    const unsigned char head[4] = {static_cast<unsigned char>(n), static_cast<unsigned char>(n >> 8),
                                   static_cast<unsigned char>(n >> 16), static_cast<unsigned char>(n >> 24)};
    if (std::fwrite(head, 1, 4, f) != 4) return errno ? errno : EIO;
    if constexpr (kLittleEndian) {
        if (!weights.empty() && std::fwrite(weights.data(), sizeof(double), weights.size(), f) != weights.size())
            return errno ? errno : EIO;
    } else {
        for (double w : weights) {
            const uint64_t le = Swap64(std::bit_cast<uint64_t>(w));
            if (std::fwrite(&le, 8, 1, f) != 1) return errno ? errno : EIO;
        }
    }
    return 0;
}

}  // namespace

std::wstring FrameText(int32_t frame, int32_t width) {
    std::wstring text = std::to_wstring(frame);
    if (width > 0 && text.size() < static_cast<size_t>(width)) text.insert(0, static_cast<size_t>(width) - text.size(), L'0');
    return text;
}

std::vector<std::wstring> SplitFullPath(const std::wstring& fullPath) {
    std::vector<std::wstring> parts(1);
    for (wchar_t c : fullPath) {
        if (c == L'.') parts.emplace_back();
        else parts.back() += c;
    }
    return parts;
}

bool FilesSequence::Init(std::wstring root, std::wstring firstDirectory, std::wstring secondDirectory,
                         std::wstring firstBase, std::wstring secondBase) {
    root_ = std::move(root);
    firstDirectory_ = std::move(firstDirectory);
    secondDirectory_ = std::move(secondDirectory);
    firstBase_ = std::move(firstBase);
    secondBase_ = std::move(secondBase);
    return true;
}

std::wstring FilesSequence::GetFileName(const std::wstring& extension, int32_t width, int32_t frame) const {
    return root_ + kSeparator + firstDirectory_ + kSeparator + secondDirectory_ + kSeparator + firstBase_ + L"_" +
           secondBase_ + L"." + FrameText(frame, width) + L"." + extension;
}

bool CreateDirectory(const std::string& path) { return !path.empty() && ::mkdir(path.c_str(), 0777) == 0; }

WriteOutcome WriteFrameFile(const std::string& path, std::span<const double> weights) {
    if (weights.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) return {WriteOutcome::Failed, EOVERFLOW};
    struct stat st {};
    const bool exists = ::stat(path.c_str(), &st) == 0;
    if (exists && S_ISDIR(st.st_mode)) return {WriteOutcome::CannotCreate, EISDIR};
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return {WriteOutcome::CannotCreate, errno};
    errno = 0;
    int error = WriteContent(f, weights);
    if (std::fclose(f) != 0 && error == 0) error = errno ? errno : EIO;
    if (error == 0) return {};
    // A frame cut short is removed: a later read then reports it missing instead of reading
    // part of it. Anything but a regular file (a device) stays.
    if (!exists || S_ISREG(st.st_mode)) std::remove(path.c_str());
    return {WriteOutcome::Failed, error};
}

ReadOutcome ReadFrame(const std::string& current, const std::string* next, double fraction, size_t elementCount,
                      const std::function<double*(size_t)>& allocate, std::vector<double>& scratch) {
    ReadOutcome out;
    out.blended = next != nullptr;
    Source a, b;
    out.result = Open(current, a, out);
    if (out.result != ReadOutcome::Read) return out;
    if (next) {
        out.result = Open(*next, b, out);
        out.inNext = out.result != ReadOutcome::Read;
        if (out.inNext) return out;
    }
    out.held = a.held;
    if (!ReadCount(a, out.count, out)) {
        out.result = ReadOutcome::Unreadable;
        return out;
    }
    if (out.count < 0) {
        out.problem = ReadOutcome::NegativeCount;
        out.result = ReadOutcome::Unreadable;
        return out;
    }
    out.values = std::min(static_cast<size_t>(out.count), std::max(a.held, elementCount));
    double* result = allocate(out.values);
    auto failed = [&](bool inNext) {
        out.problem = ReadOutcome::ReadFailed;
        out.error = errno;
        out.inNext = inNext;
        out.result = ReadOutcome::Unreadable;
        return out;
    };
    if (!next) return ReadValues(a, result, out.values) ? out : failed(false);

    // The next file's own count is read past and ignored. Its weights come in large blocks,
    // each blended while still in the processor's cache (a read is a call into the system,
    // which costs: the blocks are few).
    int32_t ignored = 0;
    ReadOutcome nextCount;
    out.heldNext = ReadCount(b, ignored, nextCount) ? b.held : 0;
    b.held = out.heldNext;
    constexpr size_t kBlock = size_t{1} << 16;
    scratch.resize(std::min(kBlock, out.values));
    const double keep = 1.0 - fraction;
    for (size_t i = 0; i < out.values; i += kBlock) {
        const size_t n = std::min(kBlock, out.values - i);
        const double* other = scratch.data();
        double* r = result + i;
        if (!ReadValues(a, r, n)) return failed(false);
        if (!ReadValues(b, scratch.data(), n)) return failed(true);
        for (size_t k = 0; k < n; ++k) r[k] = keep * r[k] + fraction * other[k];
    }
    return out;
}

}  // namespace orbelin::cache
