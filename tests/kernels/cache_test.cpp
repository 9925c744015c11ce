// The Cache Map's files and time remapping alone: names, the exact bytes of a frame file, the
// single-precision remapping on hand-computed cases, and files that are not what they should be.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "cache/files.h"
#include "cache/remap.h"

using namespace orbelin::cache;
namespace fs = std::filesystem;

namespace {

struct Folder {
    fs::path path;
    Folder() {
        std::string pattern = (fs::temp_directory_path() / "cachemap-XXXXXX").string();
        path = ::mkdtemp(pattern.data());
    }
    ~Folder() {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
    std::string operator/(const std::string& name) const { return (path / name).string(); }
};

std::string Bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string Int32(int32_t n) {
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i) s[static_cast<size_t>(i)] = static_cast<char>((static_cast<uint32_t>(n) >> (8 * i)) & 0xFF);
    return s;
}

std::string Doubles(const std::vector<double>& v) {
    std::string s;
    for (double d : v) {
        uint64_t bits;
        std::memcpy(&bits, &d, 8);
        for (int i = 0; i < 8; ++i) s += static_cast<char>((bits >> (8 * i)) & 0xFF);
    }
    return s;
}

// A read into a vector, remembering how much was asked for.
struct Reader {
    std::vector<double> values, scratch;
    size_t asked = 0;
    ReadOutcome operator()(const std::string& current, const std::string* next = nullptr, double fraction = 0,
                           size_t elements = 0) {
        return ReadFrame(current, next, fraction, elements, [&](size_t n) {
            asked = n;
            values.assign(n, -1.0);
            return values.data();
        }, scratch);
    }
};

CacheTime Remap(TimingInputs in, int32_t lastCount = 100) { return RemapCacheTime(lastCount, in); }

TimingInputs Range(double frame, int32_t start = 1, int32_t end = 100) {
    TimingInputs in;
    in.frame = frame;
    in.startFrame = start;
    in.endFrame = end;
    return in;
}

}  // namespace

TEST(CacheFiles, FrameTextsAndPaths) {
    EXPECT_EQ(FrameText(7, 5), L"00007");
    EXPECT_EQ(FrameText(123456, 5), L"123456");
    EXPECT_EQ(FrameText(0, 5), L"00000");
    EXPECT_EQ(FrameText(-3, 5), L"000-3");
    EXPECT_EQ(FrameText(-2147483647 - 1, 5), L"-2147483648");

    const std::vector<std::wstring> parts = SplitFullPath(L"Scene_Root.sphere.polymsh.cls.Point_Cluster.Weight_Map");
    ASSERT_EQ(parts.size(), 6u);
    EXPECT_EQ(parts[0], L"Scene_Root");
    FilesSequence files;
    EXPECT_TRUE(files.Init(L"/proj/CacheMap", parts[0], parts[1], parts[4], parts[5]));
    EXPECT_EQ(files.GetFileName(L"wmc", 5, 12), L"/proj/CacheMap/Scene_Root/sphere/Point_Cluster_Weight_Map.00012.wmc");
    EXPECT_EQ(files.GetFileName(L"wmc", 5, -3), L"/proj/CacheMap/Scene_Root/sphere/Point_Cluster_Weight_Map.000-3.wmc");
}

TEST(CacheFiles, DirectoriesAreMadeOneLevelAtATime) {
    Folder dir;
    EXPECT_TRUE(CreateDirectory(dir / "a"));
    EXPECT_FALSE(CreateDirectory(dir / "a"));    // there already
    EXPECT_FALSE(CreateDirectory(dir / "b/c"));  // its parent is missing
    EXPECT_FALSE(CreateDirectory(""));
}

TEST(CacheFiles, AFrameFileIsTheCountThenTheWeightsLittleEndian) {
    Folder dir;
    const std::vector<double> w{0.5, -0.0, 1e-310, std::numeric_limits<double>::infinity(), 1.0 / 3.0};
    ASSERT_EQ(WriteFrameFile(dir / "f.wmc", w).result, WriteOutcome::Written);
    EXPECT_EQ(Bytes(dir / "f.wmc"), Int32(5) + Doubles(w));
    EXPECT_EQ(fs::file_size(dir / "f.wmc"), 4u + 8u * 5u);
    ASSERT_EQ(WriteFrameFile(dir / "empty.wmc", {}).result, WriteOutcome::Written);
    EXPECT_EQ(Bytes(dir / "empty.wmc"), Int32(0));

    // Read back bit for bit, a NaN's payload included.
    std::vector<double> odd = w;
    odd.push_back(std::bit_cast<double>(uint64_t{0x7FF8000000012345}));
    ASSERT_EQ(WriteFrameFile(dir / "g.wmc", odd).result, WriteOutcome::Written);
    Reader r;
    const ReadOutcome got = r(dir / "g.wmc");
    ASSERT_EQ(got.result, ReadOutcome::Read);
    EXPECT_FALSE(got.Incomplete());
    ASSERT_EQ(r.values.size(), odd.size());
    EXPECT_EQ(std::memcmp(r.values.data(), odd.data(), odd.size() * 8), 0);
}

TEST(CacheFiles, WritingFailsWithAReason) {
    Folder dir;
    ASSERT_EQ(WriteFrameFile(dir / "f.wmc", std::vector<double>{1, 2}).result, WriteOutcome::Written);
    // A folder where the file should be, a missing folder, a folder that is a file.
    fs::create_directory(dir / "d.wmc");
    EXPECT_EQ(WriteFrameFile(dir / "d.wmc", std::vector<double>{1}).result, WriteOutcome::CannotCreate);
    EXPECT_EQ(WriteFrameFile(dir / "missing/f.wmc", std::vector<double>{1}).result, WriteOutcome::CannotCreate);
    EXPECT_EQ(WriteFrameFile(dir / "f.wmc/x.wmc", std::vector<double>{1}).result, WriteOutcome::CannotCreate);
    // A full device: the failure is reported, not hidden.
    if (fs::exists("/dev/full")) {
        const WriteOutcome full = WriteFrameFile("/dev/full", std::vector<double>(10000, 1.0));
        EXPECT_EQ(full.result, WriteOutcome::Failed);
        EXPECT_EQ(full.error, ENOSPC);
    }
    EXPECT_EQ(Bytes(dir / "f.wmc"), Int32(2) + Doubles({1, 2}));
    EXPECT_TRUE(fs::exists("/dev/full"));
}

TEST(CacheFiles, BlendingUsesTheFirstFilesCount) {
    Folder dir;
    WriteFrameFile(dir / "a.wmc", std::vector<double>{0, 10, 20});
    WriteFrameFile(dir / "b.wmc", std::vector<double>{4, 14, 24, 99, 99});
    Reader r;
    const std::string b = dir / "b.wmc";
    ReadOutcome got = r(dir / "a.wmc", &b, 0.25);
    ASSERT_EQ(got.result, ReadOutcome::Read);
    EXPECT_EQ(got.count, 3);
    EXPECT_EQ(r.values, (std::vector<double>{0.75 * 0 + 0.25 * 4, 0.75 * 10 + 0.25 * 14, 0.75 * 20 + 0.25 * 24}));
    // A negative fraction extrapolates.
    got = r(dir / "a.wmc", &b, -0.5);
    EXPECT_EQ(r.values, (std::vector<double>{-2, 8, 18}));
    // A next file shorter than the first count reads 0 past its end, and says so.
    const std::string a = dir / "a.wmc";
    got = r(b, &a, 0.5);
    ASSERT_EQ(got.result, ReadOutcome::Read);
    EXPECT_TRUE(got.Incomplete());
    EXPECT_EQ(r.values, (std::vector<double>{2, 12, 22, 49.5, 49.5}));
    // A missing file on either side.
    const std::string none = dir / "none.wmc";
    EXPECT_EQ(r(none, &b, 0.5).result, ReadOutcome::Missing);
    got = r(dir / "a.wmc", &none, 0.5);
    EXPECT_EQ(got.result, ReadOutcome::Missing);
    EXPECT_TRUE(got.inNext);
}

TEST(CacheFiles, BadFilesGiveAClearOutcomeAndBoundedMemory) {
    Folder dir;
    Reader r;
    // Shorter than its count: what is there, then zeros, up to the element count.
    WriteBytes(dir / "short.wmc", Int32(4) + Doubles({1, 2}) + "abc");
    ReadOutcome got = r(dir / "short.wmc", nullptr, 0, 4);
    ASSERT_EQ(got.result, ReadOutcome::Read);
    EXPECT_TRUE(got.Incomplete());
    EXPECT_EQ(got.held, 2u);
    EXPECT_EQ(r.values, (std::vector<double>{1, 2, 0, 0}));
    // Two billion weights in a 4-byte file: never allocated; the map's element count bounds it.
    WriteBytes(dir / "huge.wmc", Int32(2000000000));
    got = r(dir / "huge.wmc", nullptr, 0, 7);
    ASSERT_EQ(got.result, ReadOutcome::Read);
    EXPECT_EQ(got.count, 2000000000);
    EXPECT_EQ(r.asked, 7u);
    EXPECT_EQ(r.values, std::vector<double>(7, 0.0));
    // ... or the file's own values, when it holds more than the map has elements.
    WriteBytes(dir / "more.wmc", Int32(1000000) + Doubles({5, 6, 7}));
    got = r(dir / "more.wmc", nullptr, 0, 2);
    EXPECT_EQ(r.asked, 3u);
    EXPECT_TRUE(got.Incomplete());
    // No count, a negative count, a folder: nothing read.
    WriteBytes(dir / "empty.wmc", "");
    WriteBytes(dir / "three.wmc", "abc");
    WriteBytes(dir / "negative.wmc", Int32(-5) + Doubles({1}));
    fs::create_directory(dir / "folder.wmc");
    r.asked = 12345;
    EXPECT_EQ(r(dir / "empty.wmc").problem, ReadOutcome::NoCount);
    EXPECT_EQ(r(dir / "three.wmc").problem, ReadOutcome::NoCount);
    got = r(dir / "negative.wmc");
    EXPECT_EQ(got.result, ReadOutcome::Unreadable);
    EXPECT_EQ(got.problem, ReadOutcome::NegativeCount);
    EXPECT_EQ(got.count, -5);
    got = r(dir / "folder.wmc");
    EXPECT_EQ(got.result, ReadOutcome::Unreadable);
    EXPECT_EQ(got.problem, ReadOutcome::NotAFile);
    EXPECT_EQ(r.asked, 12345u);  // none of them allocated
}

TEST(CacheFiles, MutatedFilesNeverReadPastTheirBound) {
    Folder dir;
    std::mt19937 rng(11);
    const std::string path = dir / "m.wmc", next = dir / "n.wmc";
    const std::string good = Int32(6) + Doubles({0.1, 0.2, 0.3, 0.4, 0.5, 0.6});
    WriteBytes(next, good);
    for (int i = 0; i < 3000; ++i) {
        std::string bytes = good;
        switch (rng() % 4) {
            case 0: bytes.resize(rng() % (bytes.size() + 1)); break;
            case 1: bytes[rng() % bytes.size()] = static_cast<char>(rng()); break;
            case 2: bytes.replace(0, 4, Int32(static_cast<int32_t>(rng()))); break;
            default: bytes += std::string(rng() % 40, static_cast<char>(rng())); break;
        }
        WriteBytes(path, bytes);
        const size_t elements = rng() % 10;
        Reader r;
        const ReadOutcome got = r(path, rng() % 2 ? &next : nullptr, 0.5, elements);
        const size_t held = bytes.size() >= 4 ? (bytes.size() - 4) / 8 : 0;
        if (got.result == ReadOutcome::Read) {
            ASSERT_GE(got.count, 0);
            ASSERT_LE(r.asked, std::max(held, elements));
            ASSERT_LE(r.asked, static_cast<size_t>(got.count));
        } else {
            ASSERT_TRUE(bytes.size() < 4 || got.count < 0) << i;
        }
    }
}

TEST(CacheRemap, ClampOffsetAndFrameCount) {
    int32_t last = -1;
    CacheTime t = RemapCacheTime(last, Range(150));
    EXPECT_TRUE(t.sizeChanged);
    EXPECT_EQ(last, 100);
    EXPECT_EQ(t.frameCount, 100);
    EXPECT_EQ(t.fileFrame, 100);
    EXPECT_EQ(t.cacheIndex, 99);
    EXPECT_TRUE(t.exact);
    t = RemapCacheTime(last, Range(-5));
    EXPECT_FALSE(t.sizeChanged);
    EXPECT_EQ(t.fileFrame, 1);
    EXPECT_EQ(t.cacheIndex, 0);
    // The same length elsewhere is no change of size.
    EXPECT_FALSE(RemapCacheTime(last, Range(5, 11, 110)).sizeChanged);

    TimingInputs in = Range(50);
    in.offset = 10;
    t = Remap(in);
    EXPECT_EQ(t.fileFrame, 40);
    EXPECT_EQ(t.cacheIndex, 49);  // the memory slot follows the host's frame, not the file's
    // Within a frame the truncation goes toward zero: frame 7.75 reads file 7 blended with 8.
    t = Remap(Range(7.75));
    EXPECT_EQ(t.fileFrame, 7);
    EXPECT_EQ(t.cacheIndex, 6);
    EXPECT_FALSE(t.exact);
    EXPECT_EQ(t.fraction, 0.75);

    // A reversed range: StartFrame wins the clamp; no frames to cache.
    t = Remap(Range(50, 10, 5));
    EXPECT_EQ(t.frameCount, -4);
    EXPECT_EQ(t.fileFrame, 10);
    EXPECT_EQ(t.cacheIndex, 0);
    // A NaN frame reads StartFrame; a range at the ends of int32 does not overflow.
    EXPECT_EQ(Remap(Range(std::nan(""))).fileFrame, 1);
    t = Remap(Range(1e300, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    EXPECT_EQ(t.frameCount, std::numeric_limits<int32_t>::max());
    EXPECT_EQ(t.fileFrame, std::numeric_limits<int32_t>::max());
    EXPECT_TRUE(t.exact);
}

TEST(CacheRemap, ScalingWarpingAndTheTolerance) {
    TimingInputs in = Range(11);
    in.timingMode = kTimingScaling;
    in.timingScale = 0.5;
    CacheTime t = Remap(in);
    EXPECT_EQ(t.fileFrame, 6);
    EXPECT_TRUE(t.exact);
    in.frame = 12;
    t = Remap(in);
    EXPECT_EQ(t.fileFrame, 6);
    EXPECT_FALSE(t.exact);
    EXPECT_EQ(t.fraction, 0.5);
    // A negative scale plays from the end.
    in.timingScale = -1;
    in.frame = 1;
    EXPECT_EQ(Remap(in).fileFrame, 100);
    in.frame = 2;
    EXPECT_EQ(Remap(in).fileFrame, 99);
    // Scale 0 holds StartFrame.
    in.timingScale = 0;
    in.frame = 77;
    EXPECT_EQ(Remap(in).fileFrame, 1);
    // Single precision: 1/3 as a float, times 3, then the offset.
    in.timingScale = 1.0 / 3.0;
    in.frame = 4;
    in.offset = 0.5;
    t = Remap(in);
    const float w = (4.0f - 1.0f) * static_cast<float>(1.0 / 3.0) + 1.0f - 0.5f;
    EXPECT_EQ(t.workFrame, w);
    EXPECT_EQ(t.fileFrame, 1);
    EXPECT_EQ(t.fraction, static_cast<double>(w - 1.0f));

    // Warping reads the curve's value as the frame, unclamped; the offset still applies.
    in = Range(30);
    in.timingMode = kTimingWarping;
    in.warpValue = 250.0;
    in.offset = 10;
    EXPECT_EQ(Remap(in).fileFrame, 240);
    in.offset = 0;
    // Within 2^-23 of a whole frame is that frame: 1 + 2^-23 is exact, 1 + 2^-22 is not; 6 +
    // 1e-8 is 6 once in single precision.
    in.warpValue = 1.0 + std::ldexp(1.0, -23);
    t = Remap(in);
    EXPECT_TRUE(t.exact);
    EXPECT_EQ(t.fileFrame, 1);
    in.warpValue = 1.0 + std::ldexp(1.0, -22);
    t = Remap(in);
    EXPECT_FALSE(t.exact);
    EXPECT_EQ(t.fraction, std::ldexp(1.0, -22));
    in.warpValue = 6.00000001;
    EXPECT_TRUE(Remap(in).exact);
    in.warpValue = 1e-8;
    t = Remap(in);
    EXPECT_TRUE(t.exact);
    EXPECT_EQ(t.fileFrame, 0);
    // A negative w that is not whole: toward zero, and a negative fraction.
    in.warpValue = -2.5;
    t = Remap(in);
    EXPECT_EQ(t.fileFrame, -2);
    EXPECT_EQ(t.fraction, -0.5);
    // What no frame can be: NaN and values beyond int32 read a whole frame.
    in.warpValue = std::nan("");
    t = Remap(in);
    EXPECT_TRUE(t.exact);
    EXPECT_EQ(t.fileFrame, 0);
    in.warpValue = -1e30;
    t = Remap(in);
    EXPECT_TRUE(t.exact);
    EXPECT_EQ(t.fileFrame, std::numeric_limits<int32_t>::min());
    in = Range(50);
    in.timingMode = kTimingScaling;
    in.timingScale = std::numeric_limits<double>::max();
    EXPECT_TRUE(Remap(in).exact);
}
