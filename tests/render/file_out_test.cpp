// Files written whole or not at all: a failed write leaves the target as it was and no
// temporary behind, and a device named as the target is never replaced.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "io/file_out.h"
#include "render/render.h"

namespace {

namespace fs = std::filesystem;
using standin::io::WriteFileWhole;
using standin::render::Image;
using standin::render::WritePng;

std::string Read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> Listing(const fs::path& dir) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Files of more than `bytes` cannot be written while it lives (EFBIG instead of a signal):
// a disk that fills up half-way through a regular file.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &saved_);
        previous_ = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = saved_;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, previous_);
    }

private:
    rlimit saved_{};
    void (*previous_)(int) = nullptr;
};

class FileOut : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() / ("orbelin_file_out_" + std::to_string(::getpid()));
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }
    fs::path dir;
};

// A picture with enough noise that its PNG is well over a few kilobytes.
Image Noise() {
    Image image(64, 64);
    uint32_t x = 12345;
    for (uint8_t& c : image.rgb) c = static_cast<uint8_t>((x = x * 1103515245 + 12345) >> 16);
    return image;
}

std::string ErrorOf(const std::function<void()>& write) {
    try {
        write();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "no error";
}

TEST_F(FileOut, ReplacesAFileKeepingItsPermissionsAndLinks) {
    const fs::path file = dir / "w.csv";
    std::ofstream(file) << "an older and longer content\n";
    ::chmod(file.c_str(), 0640);
    fs::create_symlink(file, dir / "link.csv");
    fs::create_hard_link(file, dir / "kept.csv");
    WriteFileWhole(dir / "link.csv", "new\n");
    EXPECT_EQ(Read(file), "new\n");
    // A new file takes the name: another name of the old one still reads the old content.
    EXPECT_EQ(Read(dir / "kept.csv"), "an older and longer content\n");
    EXPECT_TRUE(fs::is_symlink(dir / "link.csv"));
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, fs::perms(0640));
    WriteFileWhole(dir / "sub" / "new.csv", "");
    EXPECT_EQ(Listing(dir), (std::vector<std::string>{"kept.csv", "link.csv", "sub", "w.csv"}));
    EXPECT_NE(ErrorOf([&] { WriteFileWhole(dir, "x"); }).find("it is a folder"), std::string::npos);
}

TEST_F(FileOut, AFailedWriteLeavesTheFileAsItWasAndNoTemporary) {
    const fs::path csv = dir / "w.csv", png = dir / "p.png";
    std::ofstream(csv) << "kept\n";
    std::ofstream(png) << "kept picture\n";
    std::string csvError, pngError;
    {
        FileSizeLimit limit(1000);
        csvError = ErrorOf([&] { WriteFileWhole(csv, std::string(5000, 'x')); });
        pngError = ErrorOf([&] { WritePng(Noise(), png.string()); });
    }
    EXPECT_NE(csvError.find("cannot write " + csv.string() + ": File too large"), std::string::npos) << csvError;
    EXPECT_NE(pngError.find("cannot write " + png.string() + ": File too large"), std::string::npos) << pngError;
    EXPECT_EQ(Read(csv), "kept\n");
    EXPECT_EQ(Read(png), "kept picture\n");
    EXPECT_EQ(Listing(dir), (std::vector<std::string>{"p.png", "w.csv"}));
    // Without the limit, the same writes go through.
    WritePng(Noise(), png.string());
    EXPECT_GT(fs::file_size(png), 1000u);
}

TEST_F(FileOut, AFullDeviceIsReportedAndLeftInPlace) {
    const fs::path full = "/dev/full";
    if (!fs::is_character_file(full)) GTEST_SKIP() << "no /dev/full here";
    const std::string csvError = ErrorOf([&] { WriteFileWhole(full, "element,point,weight\n0,0,1\n"); });
    const std::string pngError = ErrorOf([&] { WritePng(Noise(), full.string()); });
    EXPECT_NE(csvError.find("cannot write /dev/full: No space left on device"), std::string::npos) << csvError;
    EXPECT_NE(pngError.find("cannot write /dev/full: No space left on device"), std::string::npos) << pngError;
    EXPECT_TRUE(fs::is_character_file(full));
    for (const std::string& name : Listing("/dev")) EXPECT_NE(name.rfind(".full", 0), 0u) << "left behind: /dev/" << name;
}

}  // namespace
