// Reading pictures back, and contact sheets: thumbnails shrunk with their proportions kept and
// laid out in rows, labels that stay in their cells, and clear errors for what cannot be laid out.
#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "render/render.h"

namespace {

namespace fs = std::filesystem;
using namespace standin::render;

constexpr Rgb kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255};

struct Box {
    int x0 = 1 << 30, y0 = 1 << 30, x1 = -1, y1 = -1;  // inclusive; x1 < 0: nothing found
    int Width() const { return x1 - x0 + 1; }
    int Height() const { return y1 - y0 + 1; }
};
Box Find(const Image& image, Rgb colour) {
    Box b;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            if (image.At(x, y) == colour) b.x0 = std::min(b.x0, x), b.y0 = std::min(b.y0, y), b.x1 = std::max(b.x1, x), b.y1 = std::max(b.y1, y);
    return b;
}
// Pixels of the labels' ink (dark grey) within [x0, x1) x [y0, y1).
int Ink(const Image& image, int x0, int y0, int x1, int y1) {
    int n = 0;
    for (int y = std::max(0, y0); y < std::min(image.height, y1); ++y)
        for (int x = std::max(0, x0); x < std::min(image.width, x1); ++x) {
            const Rgb c = image.At(x, y);
            n += c.r < 80 && c.g < 80 && c.b < 80;
        }
    return n;
}

struct TempDir {
    fs::path path = fs::temp_directory_path() / ("orbelin_sheet_test_" + std::to_string(::getpid()));
    TempDir() { fs::create_directories(path); }
    ~TempDir() { fs::remove_all(path); }
};

TEST(ContactSheet, ShrinksEachPictureToItsCellAndLaysThemOutInRows) {
    SheetOptions options;
    options.columns = 2, options.thumbWidth = 40, options.thumbHeight = 40;
    // Wider than the cell: halved to 40 x 20. Taller: to 20 x 40. Smaller: kept at 10 x 6.
    const Image sheet = ContactSheet({{"red", Image(80, 40, kRed)}, {"green", Image(30, 60, kGreen)}, {"blue", Image(10, 6, kBlue)}}, options);
    const Box red = Find(sheet, kRed), green = Find(sheet, kGreen), blue = Find(sheet, kBlue);
    ASSERT_GE(red.x1, 0);
    ASSERT_GE(green.x1, 0);
    ASSERT_GE(blue.x1, 0);
    EXPECT_EQ(red.Width(), 40);
    EXPECT_EQ(red.Height(), 20);
    EXPECT_EQ(green.Width(), 20);
    EXPECT_EQ(green.Height(), 40);
    EXPECT_EQ(blue.Width(), 10) << "never enlarged";
    EXPECT_EQ(blue.Height(), 6);
    // Centred in their cells: the first two side by side, the third under the first.
    EXPECT_EQ((red.y0 + red.y1) / 2, (green.y0 + green.y1) / 2);
    EXPECT_GT(green.x0, red.x1);
    EXPECT_EQ((red.x0 + red.x1) / 2, (blue.x0 + blue.x1) / 2);
    EXPECT_GT(blue.y0, red.y1 + 20) << "room for the label between the rows";
    // Two columns of two rows, no wider than the cells and their gaps.
    EXPECT_LT(sheet.width, 2 * 40 + 3 * 40);
    EXPECT_GT(sheet.height, 2 * 40);
}

TEST(ContactSheet, LabelsSitUnderTheirPicturesAndStayInTheirCells) {
    SheetOptions options;
    options.columns = 2, options.thumbWidth = 60, options.thumbHeight = 40;
    const std::string longLabel(40, 'W');
    const Image labelled = ContactSheet({{longLabel, Image(60, 40, kRed)}, {"", Image(60, 40, kGreen)}}, options);
    const Box red = Find(labelled, kRed), green = Find(labelled, kGreen);
    // Under the first picture: its label, cut to its cell; none under the second.
    EXPECT_GT(Ink(labelled, red.x0, red.y1 + 1, red.x1 + 1, labelled.height), 20);
    EXPECT_EQ(Ink(labelled, red.x1 + 1, red.y1 + 1, labelled.width, labelled.height), 0) << "the long label spills over";
    EXPECT_EQ(Ink(labelled, green.x0, 0, green.x1 + 1, labelled.height), 0);
    // A title goes along the top, above the pictures.
    options.title = "Sheet";
    const Image titled = ContactSheet({{"", Image(60, 40, kRed)}}, options);
    EXPECT_GT(Ink(titled, 0, 0, titled.width, Find(titled, kRed).y0), 10);
}

TEST(ContactSheet, ShrinkingAveragesThePixelsItMerges) {
    Image checker(64, 64);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) checker.Set(x, y, (x + y) % 2 ? Rgb{255, 255, 255} : Rgb{0, 0, 0});
    SheetOptions options;
    options.columns = 1, options.thumbWidth = 32, options.thumbHeight = 32;
    const Image sheet = ContactSheet({{"", checker}}, options);
    // The middle of the thumbnail is an even grey, not a pattern of black and white.
    const Box frame = Find(sheet, Rgb{200, 204, 212});
    ASSERT_GE(frame.x1, 0);
    for (int y = frame.y0 + 4; y < frame.y1 - 4; y += 3)
        for (int x = frame.x0 + 4; x < frame.x1 - 4; x += 3) {
            const Rgb c = sheet.At(x, y);
            EXPECT_NEAR(c.r, 128, 2) << x << "," << y;
        }
}

TEST(ContactSheet, RefusesWhatItCannotLayOut) {
    const Image pic(10, 10, kRed);
    SheetOptions options;
    EXPECT_THROW(ContactSheet({}, options), std::invalid_argument);
    EXPECT_THROW(ContactSheet({{"empty", Image()}}, options), std::invalid_argument);
    Image broken(4, 4);
    broken.rgb.resize(5);
    EXPECT_THROW(ContactSheet({{"broken", broken}}, options), std::invalid_argument);
    options.columns = 0;
    EXPECT_THROW(ContactSheet({{"a", pic}}, options), std::invalid_argument);
    options.columns = 4, options.thumbWidth = 8;
    EXPECT_THROW(ContactSheet({{"a", pic}}, options), std::invalid_argument);
    options.thumbWidth = 2048, options.thumbHeight = 2048, options.columns = 100;
    std::vector<SheetEntry> many(10, {"a", pic});
    EXPECT_THROW(ContactSheet(many, options), std::invalid_argument) << "a sheet over 16384 pixels wide";
    // More columns than pictures: the sheet is as wide as the pictures need.
    options.thumbWidth = 40, options.thumbHeight = 40;
    EXPECT_LT(ContactSheet({{"a", pic}}, options).width, 200);
}

TEST(ReadPng, ReadsBackWhatWritePngWrote) {
    TempDir dir;
    Image image(7, 5, kGreen);
    image.Set(6, 4, kBlue);
    WritePng(image, (dir.path / "a.png").string());
    const Image back = ReadPng((dir.path / "a.png").string());
    ASSERT_EQ(back.width, 7);
    ASSERT_EQ(back.height, 5);
    EXPECT_EQ(back.rgb, image.rgb);
}

TEST(ReadPng, LaysTransparentPixelsOverWhite) {
    TempDir dir;
    const fs::path file = dir.path / "alpha.png";
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = 2, png.height = 1;
    png.format = PNG_FORMAT_RGBA;
    const uint8_t pixels[] = {255, 0, 0, 255, 0, 0, 0, 0};
    ASSERT_TRUE(png_image_write_to_file(&png, file.c_str(), 0, pixels, 0, nullptr));
    const Image back = ReadPng(file.string());
    ASSERT_EQ(back.width, 2);
    EXPECT_EQ(back.At(0, 0), kRed);
    EXPECT_EQ(back.At(1, 0), (Rgb{255, 255, 255}));
}

TEST(ReadPng, NamesTheFileItCannotRead) {
    TempDir dir;
    std::ofstream(dir.path / "text.png") << "not a picture";
    std::ofstream(dir.path / "empty.png");
    for (const char* name : {"missing.png", "text.png", "empty.png"}) {
        try {
            ReadPng((dir.path / name).string());
            ADD_FAILURE() << name << " was read";
        } catch (const std::runtime_error& e) {
            EXPECT_NE(std::string(e.what()).find(name), std::string::npos) << e.what();
        }
    }
    // A PNG cut short: its header promises rows that are not there.
    WritePng(Image(64, 64, kRed), (dir.path / "whole.png").string());
    const auto size = fs::file_size(dir.path / "whole.png");
    fs::copy_file(dir.path / "whole.png", dir.path / "cut.png");
    fs::resize_file(dir.path / "cut.png", size / 2);
    EXPECT_THROW(ReadPng((dir.path / "cut.png").string()), std::runtime_error);
}

}  // namespace
