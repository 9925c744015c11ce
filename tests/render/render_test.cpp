#include "render/render.h"

#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>

#include "mesh/primitives.h"

namespace {

using standin::mesh::Vec3;
using namespace standin::render;
namespace fs = std::filesystem;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// An axis-aligned quad in the plane z, split into `columns` strips along x so that values can
// vary across it; `value(x)` gives each point's value (none: a grey quad).
Drawable Quad(double x0, double y0, double x1, double y1, double z, int columns = 1, double (*value)(double) = nullptr) {
    Drawable d;
    for (int c = 0; c <= columns; ++c) {
        double x = x0 + (x1 - x0) * c / columns;
        d.positions.push_back({x, y0, z});
        d.positions.push_back({x, y1, z});
        if (value) d.values.insert(d.values.end(), 2, value(x));
    }
    d.polyOffsets.push_back(0);
    for (int c = 0; c < columns; ++c) {
        d.polyVertices.insert(d.polyVertices.end(), {2 * c, 2 * c + 2, 2 * c + 3, 2 * c + 1});
        d.polyOffsets.push_back(static_cast<int32_t>(d.polyVertices.size()));
    }
    return d;
}

Camera Front(double distance = 5.0) { return {{0, 0, distance}, {0, 0, 0}, {0, 1, 0}, 35.0}; }

RenderOptions WithCamera(Camera camera) {
    RenderOptions o;
    o.camera = camera;
    return o;
}

// The background and the greys are nearly neutral; the colour map never is.
bool Coloured(Rgb c) { return std::max({c.r, c.g, c.b}) - std::min({c.r, c.g, c.b}) > 30; }
bool Ink(Rgb c) { return c.r < 80 && c.g < 80 && c.b < 80; }

// The map position whose colour points the same way as `c`: lighting scales a colour but
// keeps its direction.
double MapPosition(Rgb c) {
    double best = -1.0, bestT = 0.0;
    for (int i = 0; i <= 255; ++i) {
        Rgb v = Viridis(i / 255.0);
        double dot = double(c.r) * v.r + double(c.g) * v.g + double(c.b) * v.b;
        double len = std::hypot(double(c.r), double(c.g), double(c.b)) * std::hypot(double(v.r), double(v.g), double(v.b));
        if (dot / len > best) best = dot / len, bestT = i / 255.0;
    }
    return bestT;
}

TEST(RenderColourMap, RunsFromDarkPurpleToYellowGettingLighter) {
    Rgb low = Viridis(0.0), high = Viridis(1.0);
    EXPECT_NEAR(low.r, 68, 6);
    EXPECT_NEAR(low.g, 1, 6);
    EXPECT_NEAR(low.b, 84, 6);
    EXPECT_NEAR(high.r, 253, 6);
    EXPECT_NEAR(high.g, 231, 6);
    EXPECT_NEAR(high.b, 37, 10);
    EXPECT_EQ(Viridis(-3.0), low);
    EXPECT_EQ(Viridis(kNaN), low);
    EXPECT_EQ(Viridis(7.0), high);
    double previous = -1.0;
    for (int i = 0; i <= 50; ++i) {
        Rgb c = Viridis(i / 50.0);
        double luma = 0.2126 * c.r + 0.7152 * c.g + 0.0722 * c.b;
        EXPECT_GT(luma, previous) << "at " << i / 50.0;
        previous = luma;
    }
}

TEST(RenderColourMap, DivergingRunsFromBlueThroughWhiteToRedAndIsDrawnWhenChosen) {
    const Rgb low = Diverging(0.0), mid = Diverging(0.5), high = Diverging(1.0);
    EXPECT_GT(low.b, 150);
    EXPECT_LT(low.r, 100);
    EXPECT_EQ(mid, (Rgb{255, 255, 255}));
    EXPECT_GT(high.r, 150);
    EXPECT_LT(high.b, 100);
    EXPECT_EQ(Diverging(-2.0), low);
    EXPECT_EQ(Diverging(9.0), high);
    EXPECT_EQ(Diverging(kNaN), mid);
    EXPECT_EQ(MapColour(ColourMap::Perceptual, 0.3), Viridis(0.3));
    // Values from -1 to 1 over a plane: blue on the left, red on the right.
    Scene scene;
    scene.drawables.push_back(Quad(-1, -1, 1, 1, 0, 4, [](double x) { return x; }));
    RenderOptions o = WithCamera(Front());
    o.colourMap = ColourMap::Diverging;
    o.valueRange = ValueRange{-1.0, 1.0};
    Image image = Render(scene, o);
    const int y = image.height / 2;
    int first = -1, last = -1;
    for (int x = 0; x < image.width * 3 / 4; ++x)
        if (Coloured(image.At(x, y))) {
            if (first < 0) first = x;
            last = x;
        }
    ASSERT_GT(last - first, 100);
    const Rgb left = image.At(first + 4, y), right = image.At(last - 4, y);
    EXPECT_GT(left.b, left.r + 60);
    EXPECT_GT(right.r, right.b + 60);
}

TEST(RenderValues, ColourFollowsTheMapAcrossAPlane) {
    Scene scene;
    scene.drawables.push_back(Quad(-1, -1, 1, 1, 0, 4, [](double x) { return (x + 1) / 2; }));
    Image image = Render(scene, WithCamera(Front()));
    // Per-pixel interpolation: a strip of 4 quads still shades smoothly, so the colours
    // along a row walk the whole map in order.
    const int y = image.height / 2;
    std::vector<double> ts;
    for (int x = 0; x < image.width * 3 / 4; ++x)
        if (Coloured(image.At(x, y))) ts.push_back(MapPosition(image.At(x, y)));
    ASSERT_GT(ts.size(), 200u);
    ts = {ts.begin() + 2, ts.end() - 2};  // the edges blend into the background
    EXPECT_LT(ts.front(), 0.05);
    EXPECT_GT(ts.back(), 0.95);
    for (size_t i = 1; i < ts.size(); ++i) ASSERT_GE(ts[i], ts[i - 1] - 0.03) << "pixel " << i;
    EXPECT_NEAR(ts[ts.size() / 2], 0.5, 0.08);

    // A given range: the same values now reach only the middle of the map.
    RenderOptions half = WithCamera(Front());
    half.valueRange = ValueRange{0.0, 2.0};
    Image halfImage = Render(scene, half);
    int right = 0;
    for (int x = 0; x < image.width * 3 / 4; ++x)
        if (Coloured(halfImage.At(x, y))) right = x;
    EXPECT_NEAR(MapPosition(halfImage.At(right - 2, y)), 0.5, 0.05);
}

TEST(RenderValues, ConstantAndMissingValues) {
    const int x = 320, y = 300;
    Scene scene;
    scene.drawables.push_back(Quad(-1, -1, 1, 1, 0, 1, [](double) { return 7.0; }));
    // One value: the range is widened around it, which puts it in the middle of the map.
    EXPECT_NEAR(MapPosition(Render(scene, WithCamera(Front())).At(x, y)), 0.5, 0.05);
    // No value anywhere: grey, not the low end of the map.
    std::fill(scene.drawables[0].values.begin(), scene.drawables[0].values.end(), kNaN);
    EXPECT_FALSE(Coloured(Render(scene, WithCamera(Front())).At(x, y)));

    // Values on the right half only: the colour stops halfway across the strip that joins
    // the last point without a value to the first with one.
    scene.drawables[0] = Quad(-1, -1, 1, 1, 0, 4, [](double v) { return v < -0.25 ? kNaN : v; });
    Image image = Render(scene, WithCamera(Front())), empty = Render(Scene{});
    int left = image.width, right = 0, firstColoured = image.width;
    for (int px = 0; px < image.width * 3 / 4; ++px) {
        if (image.At(px, y) == empty.At(px, y)) continue;
        left = std::min(left, px), right = std::max(right, px);
        if (Coloured(image.At(px, y))) firstColoured = std::min(firstColoured, px);
    }
    ASSERT_LT(left, right);
    // Strips of a quarter of the width: the boundary at three eighths.
    EXPECT_NEAR(firstColoured, left + (right - left) * 3 / 8.0, 3.0);
}

TEST(RenderDepth, TheNearerOfTwoOverlappingQuadsWins) {
    Drawable nearQuad = Quad(-1, -1, 1, 1, 1.0, 1, [](double) { return 1.0; });
    Drawable farQuad = Quad(-2.5, -2.5, 2.5, 2.5, -1.0, 1, [](double) { return 0.0; });
    for (bool nearFirst : {true, false}) {
        Scene scene;
        scene.drawables = nearFirst ? std::vector{nearQuad, farQuad} : std::vector{farQuad, nearQuad};
        Image image = Render(scene, WithCamera(Front()));
        EXPECT_GT(MapPosition(image.At(320, 300)), 0.95) << "near quad drawn first: " << nearFirst;
        // Outside the near quad the far one shows.
        EXPECT_LT(MapPosition(image.At(320, 300 + 270)), 0.05) << "near quad drawn first: " << nearFirst;
    }
}

TEST(RenderDepth, SurfacesPassingBehindTheEyeAreClipped) {
    // Standing on a wide floor, looking at the horizon: the floor fills the lower half, the
    // part behind the eye neither shows nor wraps around into the sky.
    Scene scene;
    scene.drawables.push_back(Quad(-100, -100, 100, 100, 0, 4, [](double x) { return x; }));
    for (Vec3& p : scene.drawables[0].positions) p = {p.x, 0.0, p.y};
    Camera camera{{0, 1, 0}, {0, 1, -10}, {0, 1, 0}, 60.0};
    Image image = Render(scene, WithCamera(camera));
    EXPECT_TRUE(Coloured(image.At(image.width / 3, image.height - 2)));
    EXPECT_FALSE(Coloured(image.At(image.width / 3, image.height / 4)));
}

TEST(RenderGeometry, FanTriangulatesNGons) {
    Drawable hexagon;
    hexagon.polyOffsets = {0, 6};
    for (int i = 0; i < 6; ++i) {
        hexagon.positions.push_back({std::cos(i * M_PI / 3), std::sin(i * M_PI / 3), 0});
        hexagon.polyVertices.push_back(i);
    }
    hexagon.values.assign(6, 1.0);
    Scene scene{{hexagon}};
    Image image = Render(scene, WithCamera(Front(4.0)));
    // The viewport's centre is left of the picture's by half the legend; find it from the
    // hexagon's own extent along the middle row, then probe near every corner.
    int left = image.width, right = 0;
    for (int x = 0; x < image.width * 3 / 4; ++x)
        if (Coloured(image.At(x, image.height / 2))) left = std::min(left, x), right = std::max(right, x);
    ASSERT_LT(left, right);
    const double cx = (left + right) / 2.0, radius = (right - left) / 2.0;
    for (int i = 0; i < 6; ++i) {
        int x = static_cast<int>(cx + 0.85 * radius * std::cos(i * M_PI / 3));
        int y = static_cast<int>(image.height / 2.0 - 0.85 * radius * std::sin(i * M_PI / 3));
        EXPECT_TRUE(Coloured(image.At(x, y))) << "corner " << i;
    }
}

TEST(RenderCamera, AutomaticViewKeepsTheWholeSceneInside) {
    auto sphere = standin::mesh::Sphere(3.0, 48, 24);
    std::vector<double> heights;
    for (const Vec3& p : sphere.Positions()) heights.push_back(p.y);
    Drawable d = MeshDrawable(sphere, heights);
    for (Vec3& p : d.positions) p = p + Vec3{40, -7, 12};  // far from the origin
    Scene scene{{d}};
    Image image = Render(scene);
    int top = image.height, bottom = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width * 3 / 4; ++x)
            if (Coloured(image.At(x, y))) top = std::min(top, y), bottom = std::max(bottom, y);
    for (int x = 0; x < image.width; ++x) EXPECT_FALSE(Coloured(image.At(x, 0)) || Coloured(image.At(x, image.height - 1))) << x;
    for (int y = 0; y < image.height; ++y) EXPECT_FALSE(Coloured(image.At(0, y)) || Coloured(image.At(image.width - 1, y))) << y;
    // Framed, not lost in the distance.
    EXPECT_GT(bottom - top, image.height / 2);

    // A long grey box: its border pixels are exactly those of an empty picture.
    auto box = standin::mesh::Cube(1.0);
    Drawable bar = MeshDrawable(box);
    for (Vec3& p : bar.positions) p = {p.x * 20, p.y, p.z};
    Image boxImage = Render(Scene{{bar}}), empty = Render(Scene{});
    for (int x = 0; x < boxImage.width; ++x)
        ASSERT_TRUE(boxImage.At(x, 0) == empty.At(x, 0) && boxImage.At(x, 599) == empty.At(x, 599)) << x;
    for (int y = 0; y < boxImage.height; ++y)
        ASSERT_TRUE(boxImage.At(0, y) == empty.At(0, y) && boxImage.At(799, y) == empty.At(799, y)) << y;
}

TEST(RenderCamera, LookingStraightAlongUpStillSees) {
    Scene scene;
    scene.drawables.push_back(Quad(-1, -1, 1, 1, 0, 1, [](double x) { return x; }));
    for (Vec3& p : scene.drawables[0].positions) p = {p.x, 0.0, p.y};
    Image image = Render(scene, WithCamera({{0, 5, 0}, {0, 0, 0}, {0, 1, 0}, 35.0}));
    int coloured = 0;
    for (int x = 0; x < image.width * 3 / 4; ++x) coloured += Coloured(image.At(x, image.height / 2));
    EXPECT_GT(coloured, 200);
}

TEST(RenderCurves, DrawnDarkAndHiddenBehindSurfaces) {
    Drawable curve;
    curve.polylines.push_back({{-2, 0, 0}, {2, 0, 0}});
    Scene scene{{curve}};
    Image image = Render(scene, WithCamera(Front()));
    EXPECT_TRUE(Ink(image.At(320, 300)) || Ink(image.At(320, 299)));
    scene.drawables.push_back(Quad(-0.5, -0.5, 0.5, 0.5, 1.0));
    image = Render(scene, WithCamera(Front()));
    EXPECT_FALSE(Ink(image.At(320, 300)) || Ink(image.At(320, 299)));
}

// Strands coloured by a value each: the map's colour at the two ends of the range, grey for
// NaN, and a count of values that is not one per strip refused.
TEST(RenderCurves, StripsTakeTheColourOfTheirValue) {
    Drawable strands;
    strands.polylines = {{{-2, 1, 0}, {2, 1, 0}}, {{-2, 0, 0}, {2, 0, 0}}, {{-2, -1, 0}, {2, -1, 0}}};
    strands.polylineValues = {0.0, 1.0, kNaN};
    RenderOptions o = WithCamera(Front(8));
    const Image image = Render(Scene{{strands}}, o);
    // Down the middle column: the middle pixel of each run that is not the background.
    const int x = image.width / 3;
    std::vector<Rgb> strips;
    for (int y = 0, start = -1; y < image.height; ++y) {
        const bool line = image.At(x, y) != image.At(2, y);
        if (line && start < 0) start = y;
        if (!line && start >= 0) strips.push_back(image.At(x, (start + y - 1) / 2)), start = -1;
    }
    ASSERT_EQ(strips.size(), 3u);
    const Rgb low = strips[0], high = strips[1], none = strips[2];
    EXPECT_GT(low.b, low.g);    // the dark purple end
    EXPECT_GT(high.r, high.b);  // the yellow end
    EXPECT_EQ(none.r, none.g);  // grey
    EXPECT_FALSE(Coloured(none));
    strands.polylineValues.pop_back();
    EXPECT_THROW(Render(Scene{{strands}}), std::invalid_argument);
}

TEST(RenderText, GlyphsStayInTheirCellsAndDiffer) {
    EXPECT_EQ(TextWidth("", 2), 0);
    EXPECT_EQ(TextWidth("-1.5e+06", 2), 8 * 12 - 2);
    std::vector<std::vector<uint8_t>> seen;
    for (char c : std::string("0123456789.-e+:/_()ABCXYZabgjpqy")) {
        Image image(40, 40, {255, 255, 255});
        DrawText(image, 10, 10, std::string(1, c), {0, 0, 0}, 2);
        int inked = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                if (image.At(x, y).r == 0) {
                    ++inked;
                    EXPECT_TRUE(x >= 10 && x < 20 && y >= 10 && y < 10 + TextHeight(2)) << c << " at " << x << "," << y;
                }
        EXPECT_GT(inked, 0) << c;
        EXPECT_EQ(std::count(seen.begin(), seen.end(), image.rgb), 0) << c << " looks like another glyph";
        seen.push_back(image.rgb);
    }
    // A character the font lacks still shows that something was there.
    Image image(20, 20, {255, 255, 255});
    DrawText(image, 0, 0, "~", {0, 0, 0});
    EXPECT_EQ(image.At(0, 0).r, 0);
}

TEST(RenderText, TitleAndLegendLabels) {
    Scene scene;
    scene.drawables.push_back(Quad(-1, -1, 1, 1, 0, 1, [](double x) { return x; }));
    RenderOptions options = WithCamera(Front());
    options.valueRange = ValueRange{-250.0, 1000.0};
    options.title = "Weights: falloff (smooth)";
    Image image = Render(scene, options);
    auto inkIn = [&](int x0, int y0, int x1, int y1) {
        int n = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) n += Ink(image.At(x, y));
        return n;
    };
    EXPECT_GT(inkIn(0, 0, 400, 30), 50) << "title";
    // The bar: the right-most coloured column on the middle row; yellow at the top.
    int barRight = 0;
    for (int x = 0; x < image.width; ++x)
        if (Coloured(image.At(x, image.height / 2))) barRight = x;
    ASSERT_GT(barRight, image.width * 3 / 4);
    int barTop = image.height / 2, barBottom = image.height / 2;
    while (Coloured(image.At(barRight, barTop - 1))) --barTop;
    while (Coloured(image.At(barRight, barBottom + 1))) ++barBottom;
    EXPECT_GT(MapPosition(image.At(barRight, barTop)), 0.95);
    EXPECT_LT(MapPosition(image.At(barRight, barBottom)), 0.05);
    // "1000" beside the top, "-250" beside the bottom: the longer label is wider.
    const int labelsX = barRight + 2;
    const int topInk = inkIn(labelsX, barTop - 10, image.width, barTop + 10);
    const int bottomInk = inkIn(labelsX, barBottom - 10, image.width, barBottom + 10);
    EXPECT_GT(topInk, 40);
    EXPECT_GT(bottomInk, 30);
    EXPECT_EQ(inkIn(0, 0, image.width, barTop - 20) - inkIn(0, 0, 400, 30), 0) << "ink outside title and labels";

    options.title.clear();
    EXPECT_EQ(Render(scene, options).At(0, 0), Render(Scene{}).At(0, 0));
}

TEST(RenderInput, RejectsWhatItCannotDraw) {
    Drawable bad = Quad(-1, -1, 1, 1, 0);
    bad.polyVertices[2] = 4;
    EXPECT_THROW(Render(Scene{{bad}}), std::invalid_argument);
    Drawable shortValues = Quad(-1, -1, 1, 1, 0);
    shortValues.values = {1.0, 2.0};
    EXPECT_THROW(Render(Scene{{shortValues}}), std::invalid_argument);
    Drawable offsets = Quad(-1, -1, 1, 1, 0);
    offsets.polyOffsets.back() = 3;
    EXPECT_THROW(Render(Scene{{offsets}}), std::invalid_argument);
    EXPECT_THROW(Render(Scene{}, WithCamera({{0, 0, 1}, {0, 0, 1}})), std::invalid_argument);
    RenderOptions range;
    range.valueRange = ValueRange{1.0, 0.0};
    EXPECT_THROW(Render(Scene{}, range), std::invalid_argument);
    RenderOptions size;
    size.width = 0;
    EXPECT_THROW(Render(Scene{}, size), std::invalid_argument);
}

class RenderPng : public ::testing::Test {
protected:
    void SetUp() override { dir = fs::temp_directory_path() / ("orbelin_render_test_" + std::to_string(::getpid())); }
    void TearDown() override { fs::remove_all(dir); }
    fs::path dir;
};

TEST_F(RenderPng, WritesWhatLibpngReadsBack) {
    Image image(37, 21);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) image.Set(x, y, {uint8_t(x * 7), uint8_t(y * 11), uint8_t(x ^ y)});
    const fs::path path = dir / "nested" / "deeper" / "picture.png";
    WritePng(image, path.string());

    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&png, path.c_str())) << png.message;
    png.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(png));
    ASSERT_TRUE(png_image_finish_read(&png, nullptr, pixels.data(), 0, nullptr)) << png.message;
    EXPECT_EQ(png.width, 37u);
    EXPECT_EQ(png.height, 21u);
    EXPECT_EQ(pixels, image.rgb);
}

TEST_F(RenderPng, UnwritablePathThrowsNamingIt) {
    fs::create_directories(dir);
    std::ofstream(dir / "file") << "not a folder";
    for (fs::path path : {dir / "file" / "picture.png", dir}) {
        try {
            WritePng(Image(4, 4), path.string());
            ADD_FAILURE() << "no error for " << path;
        } catch (const std::runtime_error& e) {
            EXPECT_NE(std::string(e.what()).find(path.string()), std::string::npos) << e.what();
        }
    }
}

}  // namespace
