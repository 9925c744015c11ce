// Reading PNG files back, and contact sheets of labelled thumbnails.
#include <png.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "render/render.h"

namespace standin::render {

namespace {

constexpr int kMaxSide = 16384;
constexpr Rgb kSheetBackground{246, 247, 249}, kFrame{200, 204, 212}, kLabel{35, 35, 42};
constexpr int kGap = 16, kTextScale = 2, kLabelGap = 8;

// The picture shrunk by a box filter (each target pixel the mean of the source pixels it
// covers) to fit w x h with its proportions kept; pictures that already fit are kept as they are.
Image Shrink(const Image& src, int w, int h) {
    if (src.width <= w && src.height <= h) return src;
    const double scale = std::min(double(w) / src.width, double(h) / src.height);
    const int tw = std::max(1, static_cast<int>(src.width * scale)), th = std::max(1, static_cast<int>(src.height * scale));
    Image out(tw, th);
    for (int y = 0; y < th; ++y) {
        const int y0 = static_cast<int>(int64_t(y) * src.height / th), y1 = std::max(y0 + 1, static_cast<int>(int64_t(y + 1) * src.height / th));
        for (int x = 0; x < tw; ++x) {
            const int x0 = static_cast<int>(int64_t(x) * src.width / tw), x1 = std::max(x0 + 1, static_cast<int>(int64_t(x + 1) * src.width / tw));
            int64_t r = 0, g = 0, b = 0;
            for (int sy = y0; sy < y1; ++sy)
                for (int sx = x0; sx < x1; ++sx) {
                    const Rgb c = src.At(sx, sy);
                    r += c.r, g += c.g, b += c.b;
                }
            const int64_t n = int64_t(x1 - x0) * (y1 - y0);
            out.Set(x, y, {static_cast<uint8_t>((r + n / 2) / n), static_cast<uint8_t>((g + n / 2) / n), static_cast<uint8_t>((b + n / 2) / n)});
        }
    }
    return out;
}

// The label cut to fit `width` pixels, with ".." where it was cut.
std::string Fit(const std::string& label, int width) {
    if (TextWidth(label, kTextScale) <= width) return label;
    std::string cut = label;
    while (!cut.empty() && TextWidth(cut + "..", kTextScale) > width) cut.pop_back();
    return cut + "..";
}

void FillRect(Image& image, int x, int y, int w, int h, Rgb c) {
    for (int j = std::max(0, y); j < std::min(image.height, y + h); ++j)
        for (int i = std::max(0, x); i < std::min(image.width, x + w); ++i) image.Set(i, j, c);
}

}  // namespace

Image ReadPng(const std::string& path) {
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str()))
        throw std::runtime_error("cannot read " + path + ": " + (png.message[0] ? png.message : "not a PNG file"));
    if (png.width < 1 || png.height < 1 || png.width > kMaxSide || png.height > kMaxSide) {
        png_image_free(&png);
        throw std::runtime_error("cannot read " + path + ": a picture of " + std::to_string(png.width) + " x " +
                                 std::to_string(png.height) + " pixels is beyond " + std::to_string(kMaxSide) + " on a side");
    }
    png.format = PNG_FORMAT_RGB;
    Image image(static_cast<int>(png.width), static_cast<int>(png.height));
    png_color white{255, 255, 255};
    if (!png_image_finish_read(&png, &white, image.rgb.data(), 0, nullptr)) {
        std::string why = png.message[0] ? png.message : "libpng failed";
        png_image_free(&png);
        throw std::runtime_error("cannot read " + path + ": " + why);
    }
    return image;
}

Image ContactSheet(const std::vector<SheetEntry>& entries, const SheetOptions& options) {
    if (entries.empty()) throw std::invalid_argument("a contact sheet needs at least one picture");
    if (options.columns < 1) throw std::invalid_argument("a contact sheet needs at least one column");
    if (options.thumbWidth < 16 || options.thumbHeight < 16 || options.thumbWidth > 2048 || options.thumbHeight > 2048)
        throw std::invalid_argument("a contact sheet's thumbnails must be 16 to 2048 pixels on a side, not " +
                                    std::to_string(options.thumbWidth) + " x " + std::to_string(options.thumbHeight));
    for (const SheetEntry& e : entries)
        if (e.picture.width < 1 || e.picture.height < 1 ||
            e.picture.rgb.size() != static_cast<size_t>(e.picture.width) * e.picture.height * 3)
            throw std::invalid_argument("the picture for \"" + e.label + "\" on the contact sheet is empty");

    const int columns = std::min<int>(options.columns, static_cast<int>(entries.size()));
    const int rows = static_cast<int>((entries.size() + columns - 1) / columns);
    const int cellW = options.thumbWidth, cellH = options.thumbHeight + kLabelGap + TextHeight(kTextScale);
    const int top = options.title.empty() ? kGap : kGap + TextHeight(kTextScale) + kGap;
    const int64_t width = int64_t(columns) * (cellW + kGap) + kGap, height = top + int64_t(rows) * (cellH + kGap);
    if (width > kMaxSide || height > kMaxSide)
        throw std::invalid_argument("a contact sheet of " + std::to_string(width) + " x " + std::to_string(height) +
                                    " pixels is beyond " + std::to_string(kMaxSide) + " on a side");

    Image sheet(static_cast<int>(width), static_cast<int>(height), kSheetBackground);
    if (!options.title.empty()) DrawText(sheet, kGap, kGap, Fit(options.title, sheet.width - 2 * kGap), kLabel, kTextScale);
    for (size_t i = 0; i < entries.size(); ++i) {
        const int x = kGap + static_cast<int>(i % columns) * (cellW + kGap);
        const int y = top + static_cast<int>(i / columns) * (cellH + kGap);
        const Image thumb = Shrink(entries[i].picture, options.thumbWidth, options.thumbHeight);
        const int tx = x + (options.thumbWidth - thumb.width) / 2, ty = y + (options.thumbHeight - thumb.height) / 2;
        FillRect(sheet, tx - 1, ty - 1, thumb.width + 2, thumb.height + 2, kFrame);
        for (int v = 0; v < thumb.height; ++v)
            for (int u = 0; u < thumb.width; ++u) sheet.Set(tx + u, ty + v, thumb.At(u, v));
        const std::string label = Fit(entries[i].label, cellW);
        DrawText(sheet, x + (cellW - TextWidth(label, kTextScale)) / 2, y + options.thumbHeight + kLabelGap, label, kLabel, kTextScale);
    }
    return sheet;
}

}  // namespace standin::render
