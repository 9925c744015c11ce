// Preview pictures from scripts: what RenderPreview draws and where, its errors, and the
// examples that make pictures (the proximity, mix, smooth and expression examples).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <png.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <sstream>

#include "scene/host.h"
#include "script/lua_host.h"
#include "support.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

namespace {

namespace fs = std::filesystem;

struct Picture {
    unsigned width = 0, height = 0;
    std::vector<uint8_t> rgb;
    struct Pixel {
        int r, g, b;
    };
    Pixel At(unsigned x, unsigned y) const {
        const uint8_t* p = &rgb[(y * width + x) * 3];
        return {p[0], p[1], p[2]};
    }
};

Picture ReadPng(const fs::path& path) {
    Picture out;
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str())) {
        ADD_FAILURE() << "cannot read " << path << ": " << png.message;
        return out;
    }
    png.format = PNG_FORMAT_RGB;
    out.rgb.resize(PNG_IMAGE_SIZE(png));
    if (!png_image_finish_read(&png, nullptr, out.rgb.data(), 0, nullptr)) {
        ADD_FAILURE() << "cannot read " << path << ": " << png.message;
        return out;
    }
    out.width = png.width;
    out.height = png.height;
    return out;
}

// The colour map's ends and the grey of a surface without values, as lit surfaces show them.
bool Yellowish(Picture::Pixel p) { return p.r > 150 && p.g > 150 && p.b < 100; }
bool DarkPurple(Picture::Pixel p) { return p.r < 110 && p.g < 60 && p.b > p.g; }
bool Grey(Picture::Pixel p) { return p.r > 100 && std::abs(p.r - p.g) < 12 && std::abs(p.g - p.b) < 12; }
// The background is a gradient from top to bottom: a pixel with nothing in front of it has the
// colour of the picture's left edge on its row.
bool Empty(const Picture& pic, unsigned x, unsigned y) {
    Picture::Pixel a = pic.At(x, y), b = pic.At(0, y);
    return a.r == b.r && a.g == b.g && a.b == b.b;
}

std::ostream& operator<<(std::ostream& o, Picture::Pixel p) { return o << "(" << p.r << ", " << p.g << ", " << p.b << ")"; }

// Looking straight down at the origin from 20 up: picture x runs along world x.
const char* kTopView = "camera = {eye = {0, 20, 0}, target = {0, 0, 0}, up = {0, 0, -1}}, width = 300, height = 200";

struct PreviewTest : scripttest::Session {
    PreviewTest() : Session("orbelin_preview_test") {}
    // A 10 x 10 grid of 5 x 5 points on the floor, with a weight map "W" over `points` (all when empty).
    void Grid(std::vector<LONG> points = {}) {
        ASSERT_EQ(Run("CreatePrim('Grid', 'g', {sizex = 10, sizez = 10, subdivu = 4, subdivv = 4})\n"), 0) << err.str();
        XSI::Cluster cluster;
        XSI::CLongArray indices;
        for (LONG p : points) indices.Add(p);
        ASSERT_EQ(XSI::X3DObject(host.Find(L"g")).GetActivePrimitive().GetGeometry().AddCluster(L"pnt", L"part", indices, cluster),
                  XSI::CStatus::OK);
        ASSERT_EQ(Run("ExecuteCommand('CreateWeightMap', {'', 'g.polymsh.cls.part', 'W', '', false})\n"), 0) << err.str();
    }
};

TEST_F(PreviewTest, ColoursTheMapsMeshByTheWeightOfEachPoint) {
    // Every point, listed backwards: the map's element i is point 24 - i. Weight 1 on the left
    // half (x < 0), 0 on the right.
    std::vector<LONG> backwards;
    for (LONG p = 24; p >= 0; --p) backwards.push_back(p);
    Grid(backwards);
    ASSERT_EQ(Run(std::string("local map = 'g.polymsh.cls.part.W'\n"
                              "local pos, w = GetPointPositions('g'), {}\n"
                              "for i, point in ipairs(GetElements(map)) do w[i] = pos[point + 1][1] < 0 and 1 or 0 end\n"
                              "SetWeights(map, w)\n"
                              "local file = RenderPreview('pics/halves.png', {weightmap = map, range = {0, 1}, ") +
                  kTopView + "})\n"
                             "assert(file == '" + (dir / "pics" / "halves.png").string() + "', file)\n"),
              0)
        << err.str();
    Picture pic = ReadPng(dir / "pics" / "halves.png");
    ASSERT_EQ(pic.width, 300u);
    ASSERT_EQ(pic.height, 200u);
    // 16 pixels a unit; the view's middle moves left of the picture's to make room for the
    // colour bar.
    EXPECT_TRUE(Yellowish(pic.At(75, 100))) << pic.At(75, 100);
    EXPECT_TRUE(DarkPurple(pic.At(190, 100))) << pic.At(190, 100);
}

TEST_F(PreviewTest, PointsOutsideTheClusterAndMeshesWithoutAMapAreGrey) {
    // The two left columns of points only.
    Grid({0, 1, 5, 6, 10, 11, 15, 16, 20, 21});
    ASSERT_EQ(Run("local x = GetPointPositions('g')[1][1]\nassert(x == -5, 'points run along x: ' .. x)\n"
                  "SetWeights('g.polymsh.cls.part.W', {1, 1, 1, 1, 1, 1, 1, 1, 1, 1})\n"
                  "RenderPreview('part.png', {weightmap = 'g.polymsh.cls.part.W', range = {0, 1}, " +
                  std::string(kTopView) + "})\n"
                  "RenderPreview('plain.png', {" + kTopView + "})\n"),
              0)
        << err.str();
    Picture part = ReadPng(dir / "part.png");
    EXPECT_TRUE(Yellowish(part.At(85, 100))) << part.At(85, 100);
    EXPECT_TRUE(Grey(part.At(190, 100))) << part.At(190, 100);
    Picture plain = ReadPng(dir / "plain.png");
    EXPECT_TRUE(Grey(plain.At(110, 100))) << plain.At(110, 100);
    EXPECT_TRUE(Grey(plain.At(190, 100))) << plain.At(190, 100);
}

// Objects are drawn where they are in the world at the current frame; `objects` limits the
// picture to those listed; curves show as dark lines, surfaces as shaded grey.
TEST_F(PreviewTest, DrawsObjectsInWorldSpaceAtTheCurrentFrame) {
    ASSERT_EQ(Run("local c = CreatePrim('Cube', 'box', {length = 2})\n"
                  "SetTransform(c, {pos = {-4, 0, 0}}, 1)\n"
                  "SetTransform(c, {pos = {4, 0, 0}}, 11)\n"
                  "local m = CreateModel('holder')\n"
                  "CreateSurface('Grid', 'sheet', {sizex = 3, sizez = 3}, m)\n"
                  "SetTransform(m, {pos = {0, 0, 4}})\n"
                  "CreateCircle('hoop', 1)\nSetTransform('hoop', {pos = {0, 0, -4}})\n"
                  "CreateNull('nothing')\n"
                  "SetFrame(11)\n"
                  "RenderPreview('all.png', {" + std::string(kTopView) + "})\n"
                  "RenderPreview('box.png', {objects = {'box'}, " + kTopView + "})\n"),
              0)
        << err.str();
    // 20 up, a 35 degree view: 1 unit is about 16 pixels; the middle is (150, 100).
    Picture all = ReadPng(dir / "all.png");
    EXPECT_TRUE(Grey(all.At(150 + 64, 100))) << "the box at x = 4: " << all.At(214, 100);
    EXPECT_TRUE(Empty(all, 150 - 64, 100)) << "nothing left at x = -4: " << all.At(86, 100);
    EXPECT_TRUE(Grey(all.At(150, 100 + 64))) << "the sheet under its model at z = 4: " << all.At(150, 164);
    int dark = 0;  // the hoop's line, around (150, 36)
    for (unsigned y = 10; y < 60; ++y)
        for (unsigned x = 120; x < 180; ++x) dark += all.At(x, y).r < 90;
    EXPECT_GT(dark, 20);
    Picture box = ReadPng(dir / "box.png");
    EXPECT_TRUE(Grey(box.At(150 + 64, 100))) << box.At(214, 100);
    EXPECT_TRUE(Empty(box, 150, 164)) << "the sheet is not asked for: " << box.At(150, 164);
}

TEST_F(PreviewTest, ClearErrors) {
    Grid();
    ASSERT_EQ(Run("CreateNull('n')\n"), 0) << err.str();
    std::ofstream(dir / "file.txt") << "not a folder";
    struct Case {
        std::string call, message;
    };
    const Case cases[] = {
        {"RenderPreview('a.png', {weightmap = 'g.polymsh.cls.part.Nope'})", "object not found: 'g.polymsh.cls.part.Nope'"},
        {"RenderPreview('a.png', {weightmap = 'g'})", "'g' is not a weight map"},
        {"RenderPreview('a.png', {objects = {'g', 'ghost'}})", "object not found: 'ghost'"},
        {"RenderPreview('a.png', {objects = {'n'}})", "'n' is not a polygon mesh, curve, surface or hair object"},
        {"RenderPreview('a.png', {wieghtmap = 'g'})", "unknown option 'wieghtmap'"},
        {"RenderPreview('a.png', {width = 'wide'})", "option 'width' must be a whole number"},
        {"RenderPreview('a.png', {camera = {eye = {0, 1}, target = {0, 0, 0}}})", "option 'camera.eye' must be a table of numbers"},
        {"RenderPreview('a.png', {camera = {eye = {0, 0, 0}, target = {0, 0, 0}}})", "eye"},
        {"RenderPreview('a.png', {range = {1, 0}})", "option 'range' must be two finite numbers"},
        {"RenderPreview('a.png', 'g')", "the options must be a table"},
        {"RenderPreview('')", "no file name"},
        {"RenderPreview('file.txt/a.png')", "cannot write " + (dir / "file.txt" / "a.png").string()},
    };
    for (const Case& c : cases) {
        err.str("");
        EXPECT_EQ(Run(c.call + "\n"), 1) << c.call;
        EXPECT_NE(err.str().find(c.message), std::string::npos) << c.call << "\n" << err.str();
        EXPECT_NE(err.str().find("scene.lua:"), std::string::npos) << err.str();
        EXPECT_FALSE(fs::exists(dir / "a.png")) << c.call;
    }
}

// The proximity example as the demo runs it, its roll cut to 10 frames: weights and a picture
// in the folder it is given, the trail wet.
TEST(ProximityExample, WritesWeightsAndAPictureOfTheTrailWhereItIsTold) {
    fs::path dir = fs::temp_directory_path() / ("orbelin_proximity_example_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    standin::Host host(fs::temp_directory_path());
    host.GetLog().SetEcho(false);
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    std::ostringstream err;
    ASSERT_EQ(standin::RunScript(host, fs::path(ORBELIN_EXAMPLES_DIR) / "proximity.lua", err,
                                 {{"OUTPUT_DIR", (dir / "results").string()}, {"LAST_FRAME", 10.0}}),
              0)
        << err.str();
    const fs::path out = dir / "results" / "proximity";
    std::ifstream csv(out / "frame10.csv");
    std::string line;
    ASSERT_TRUE(std::getline(csv, line));
    EXPECT_EQ(line, "element,point,weight");
    int rows = 0, wet = 0;
    while (std::getline(csv, line)) {
        ++rows;
        wet += std::stod(line.substr(line.rfind(',') + 1)) > 0.9;
    }
    EXPECT_EQ(rows, 81 * 81);
    EXPECT_GT(wet, 50);
    EXPECT_FALSE(fs::exists(out / "frame20.csv"));
    Picture pic = ReadPng(out / "frame10.png");
    ASSERT_EQ(pic.width, 960u);
    ASSERT_EQ(pic.height, 640u);
    int yellow = 0, purple = 0;
    for (unsigned y = 0; y < pic.height; ++y)
        for (unsigned x = 0; x < 860; ++x) {  // left of the colour bar
            yellow += Yellowish(pic.At(x, y));
            purple += DarkPurple(pic.At(x, y));
        }
    EXPECT_GT(yellow, 2000);
    EXPECT_GT(purple, yellow);
    fs::remove_all(dir);
}

// The Mix and Smooth examples as the demo runs them, each into its own folder: the mix is the
// average of its two inputs, and smoothing takes the noise down.
std::vector<double> CsvWeights(const fs::path& file) {
    std::ifstream csv(file);
    std::string line;
    std::vector<double> out;
    std::getline(csv, line);
    while (std::getline(csv, line)) out.push_back(std::stod(line.substr(line.rfind(',') + 1)));
    return out;
}

TEST(MixSmoothAndGradientExamples, WriteTheirResultsWhereTheyAreTold) {
    fs::path dir = fs::temp_directory_path() / ("orbelin_mix_smooth_examples_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    for (const char* example : {"mix", "smooth", "gradient"}) {
        standin::Host host(fs::temp_directory_path());
        host.GetLog().SetEcho(false);
        ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
        std::ostringstream err;
        ASSERT_EQ(standin::RunScript(host, fs::path(ORBELIN_EXAMPLES_DIR) / (std::string(example) + ".lua"), err,
                                     {{"OUTPUT_DIR", (dir / "results").string()}, {"LAST_FRAME", 8.0}}),
                  0)
            << example << ": " << err.str();
    }
    const fs::path mix = dir / "results" / "mix", smooth = dir / "results" / "smooth";
    for (const char* file : {"ball_frame08.png", "hoop_frame08.png", "mix_frame08.png"}) EXPECT_TRUE(fs::exists(mix / file)) << file;
    std::vector<double> mixed = CsvWeights(mix / "mix_frame08.csv");
    ASSERT_EQ(mixed.size(), 81u * 81u);
    EXPECT_GT(*std::max_element(mixed.begin(), mixed.end()), 0.2);
    EXPECT_LE(*std::max_element(mixed.begin(), mixed.end()), 1.0);
    // Smoothing lowers the spread of the weights; more passes lower it more.
    auto spread = [](const std::vector<double>& w) {
        double mean = 0, var = 0;
        for (double v : w) mean += v;
        mean /= static_cast<double>(w.size());
        for (double v : w) var += (v - mean) * (v - mean);
        return var / static_cast<double>(w.size());
    };
    const std::vector<double> noise = CsvWeights(smooth / "noise.csv"), once = CsvWeights(smooth / "radius1_repeat1.csv"),
                              five = CsvWeights(smooth / "radius1_repeat5.csv");
    ASSERT_EQ(noise.size(), 61u * 61u);
    ASSERT_EQ(once.size(), noise.size());
    EXPECT_LT(spread(once), spread(noise) * 0.8);
    EXPECT_LT(spread(five), spread(once));
    EXPECT_TRUE(fs::exists(smooth / "radius3_repeat5.png"));
    // The gradient from one torus section runs 24 rings each way round 48 sections.
    const fs::path gradient = dir / "results" / "gradient";
    for (const char* shape : {"torus", "figure"})
        for (const char* file : {"gradient", "curvature", "singular", "maxima", "uv_checker", "uv_layout"})
            EXPECT_TRUE(fs::exists(gradient / (std::string(shape) + "_" + file + ".png"))) << shape << " " << file;
    std::vector<double> ring = CsvWeights(gradient / "torus_gradient.csv");
    ASSERT_EQ(ring.size(), 48u * 16u);
    EXPECT_EQ(*std::max_element(ring.begin(), ring.end()), 1.0);
    EXPECT_EQ(ring[0], 0.0);
    fs::remove_all(dir);
}
// A UV set as a checker on its mesh (10 squares a unit of u and v) and laid out flat.
TEST_F(PreviewTest, ShowsAUVSetAsACheckerAndAsAFlatLayout) {
    ASSERT_EQ(Run("CreatePrim('Grid', 'g', {sizex = 10, sizez = 10, subdivu = 4, subdivv = 4})\n"
                  "ExecuteCommand('CreateProjection', {'g'})\n"),
              0)
        << err.str();
    // u and v from x and z: one unit of u spans the grid, so ten squares lie across it.
    const std::wstring path = L"g.polymsh.cls.Texture_Coordinates_AUTO.Texture_Projection";
    XSI::ClusterProperty uvs(host.Find(path));
    XSI::CLongArray samples = XSI::Cluster(uvs.GetParent()).GetElements().GetArray();
    XSI::CDoubleArray values = uvs.GetElements().GetArray();
    ASSERT_EQ(values.GetCount(), 3 * samples.GetCount());
    XSI::PolygonMesh mesh(XSI::X3DObject(host.Find(L"g")).GetActivePrimitive().GetGeometry());
    XSI::MATH::CVector3Array points;
    XSI::CLongArray polygons;
    mesh.Get(points, polygons);
    std::vector<LONG> corners;
    for (LONG i = 0; i < polygons.GetCount();)
        for (LONG n = polygons[i++]; n > 0; --n) corners.push_back(polygons[i++]);
    for (LONG i = 0; i < samples.GetCount(); ++i) {
        const XSI::MATH::CVector3& p = points[corners[static_cast<size_t>(samples[i])]];
        values[3 * i] = (p.GetX() + 5) / 10, values[3 * i + 1] = (p.GetZ() + 5) / 10;
    }
    ASSERT_EQ(uvs.GetElements().PutArray(values), XSI::CStatus::OK);
    ASSERT_EQ(Run("RenderPreview('checker.png', {uvs = 'g.polymsh.cls.Texture_Coordinates_AUTO.Texture_Projection', " +
                  std::string(kTopView) + "})\n"
                  "RenderUVLayout('layout.png', 'g.polymsh.cls.Texture_Coordinates_AUTO.Texture_Projection', "
                  "{width = 300, height = 200})\n"),
              0)
        << err.str();
    // Across the middle row: the checker's two colours alternate square by square.
    Picture checker = ReadPng(dir / "checker.png");
    int changes = 0, last = -1;
    for (unsigned x = 0; x < checker.width; ++x) {
        const Picture::Pixel p = checker.At(x, 100);
        const int kind = Yellowish(p) ? 1 : DarkPurple(p) ? 0 : -1;
        if (kind >= 0 && last >= 0 && kind != last) ++changes;
        if (kind >= 0) last = kind;
    }
    EXPECT_GE(changes, 8);
    EXPECT_LE(changes, 10);
    // The layout fills the middle of its picture (u and v both span 0 to 1).
    Picture layout = ReadPng(dir / "layout.png");
    EXPECT_FALSE(Empty(layout, 130, 100));
    EXPECT_TRUE(Empty(layout, 5, 100));

    struct Case {
        const char* call;
        const char* message;
    } cases[] = {
        {"RenderUVLayout('x.png', 'g')", "'g' is not a UV property on the samples of a polygon mesh"},
        {"RenderPreview('x.png', {uvs = 'nothing.here'})", "nothing.here"},
        {"RenderPreview('x.png', {uvs = 'g.polymsh.cls.Texture_Coordinates_AUTO.Texture_Projection', weightmap = 'w'})",
         "RenderPreview: give a weightmap or uvs, not both"},
        {"RenderUVLayout('x.png', 'g.polymsh.cls.Texture_Coordinates_AUTO.Texture_Projection', {objects = {}})",
         "RenderUVLayout: only the title, width, height and range options apply"},
    };
    for (const Case& c : cases) {
        err.str("");
        EXPECT_NE(Run(std::string(c.call) + "\n"), 0) << c.call;
        EXPECT_NE(err.str().find(c.message), std::string::npos) << c.call << "\n" << err.str();
    }
    EXPECT_FALSE(fs::exists(dir / "x.png"));
}

// The Expression example as the demo runs it: its pictures, and weights that follow its formulas
// (read back from the CSV files it writes beside them, point by point).
std::map<int, double> CsvWeightsByPoint(const fs::path& file) {
    std::ifstream csv(file);
    std::string line;
    std::map<int, double> out;
    std::getline(csv, line);
    while (std::getline(csv, line)) {
        const size_t first = line.find(','), last = line.rfind(',');
        out[std::stoi(line.substr(first + 1, last - first - 1))] = std::stod(line.substr(last + 1));
    }
    return out;
}

TEST(ExpressionExample, WritesItsPicturesAndFollowsItsFormulas) {
    fs::path dir = fs::temp_directory_path() / ("orbelin_expression_example_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    standin::Host host(fs::temp_directory_path());
    host.GetLog().SetEcho(false);
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    std::ostringstream err;
    ASSERT_EQ(standin::RunScript(host, fs::path(ORBELIN_EXAMPLES_DIR) / "expression.lua", err,
                                 {{"OUTPUT_DIR", (dir / "results").string()}}),
              0)
        << err.str();
    const fs::path out = dir / "results" / "expression";
    for (const char* name : {"gradient", "radial_xyz", "funky_x", "contrast", "absolute_x", "proximity", "ripple",
                             "fails_at_some_points"}) {
        Picture pic = ReadPng(out / (std::string(name) + ".png"));
        EXPECT_EQ(pic.width, 480u) << name;
        EXPECT_EQ(pic.height, 320u) << name;
        EXPECT_TRUE(fs::exists(out / (std::string(name) + ".csv"))) << name;
    }

    const auto gradient = CsvWeightsByPoint(out / "gradient.csv"), near = CsvWeightsByPoint(out / "proximity.csv"),
               ripple = CsvWeightsByPoint(out / "ripple.csv"), contrast = CsvWeightsByPoint(out / "contrast.csv"),
               partial = CsvWeightsByPoint(out / "fails_at_some_points.csv"),
               radial = CsvWeightsByPoint(out / "radial_xyz.csv");
    ASSERT_EQ(gradient.size(), 61u * 61u);
    for (const auto* map : {&near, &ripple, &contrast, &partial, &radial}) ASSERT_EQ(map->size(), gradient.size());
    int failed = 0, ringed = 0;
    for (const auto& [point, w] : gradient) {
        // The ripple reads the connected Proximity Map at the same point.
        EXPECT_NEAR(ripple.at(point), std::sin(10 * near.at(point)) * 0.5 + 0.5, 1e-9) << point;
        ringed += ripple.at(point) < 0.1 && near.at(point) > 0;
        // Contrast 0.5 - (0.5 - w) * 2 on the gradient, clamped to 0..1.
        EXPECT_NEAR(contrast.at(point), std::clamp(0.5 - (0.5 - w) * 2, 0.0, 1.0), 1e-9) << point;
        // Where the formula fails (w <= 0.5) the point gets 0; elsewhere it keeps w.
        EXPECT_NEAR(partial.at(point), w > 0.5 ? w : 0.0, 1e-9) << point;
        failed += w <= 0.5;
        EXPECT_GE(radial.at(point), 0.0);
        EXPECT_LE(radial.at(point), 1.0);
    }
    EXPECT_GT(failed, 1000);
    EXPECT_GT(ringed, 100) << "the ripple has a dark ring";
    // The squared distance to the centre brought to 0..1: 0 at the middle point, 1 at the corners.
    EXPECT_NEAR(radial.at(30 * 61 + 30), 0.0, 1e-12);
    EXPECT_NEAR(radial.at(0), 1.0, 1e-12);
    EXPECT_NEAR(radial.at(61 * 61 - 1), 1.0, 1e-12);

    // The syntax error was told in the log; the failing points were not.
    std::vector<std::wstring> lines;
    for (const auto& e : host.GetLog().entries()) lines.push_back(e.text);
    auto has = [&](const std::wstring& text) {
        return std::any_of(lines.begin(), lines.end(), [&](const std::wstring& l) { return l.find(text) != std::wstring::npos; });
    };
    EXPECT_TRUE(has(L"Expression : w +"));
    EXPECT_TRUE(has(L"Invalid Syntax of expression : "));
    EXPECT_FALSE(has(L"Error in executing expression"));
    EXPECT_FALSE(has(L"Expression must return a number!"));
    fs::remove_all(dir);
}

// The Cache example as the demo runs it: 50 frame files of the floor's 3,721 weights beside
// the pictures, read back as they were written, at half speed blended between two files.
TEST(CacheExample, WritesItsFilesAndReplaysThem) {
    const fs::path dir = fs::temp_directory_path() / ("orbelin_cache_example_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    standin::Host host(dir);
    host.GetLog().SetEcho(false);
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    std::ostringstream err;
    ASSERT_EQ(standin::RunScript(host, fs::path(ORBELIN_EXAMPLES_DIR) / "cache.lua", err, {{"OUTPUT_DIR", (dir / "results").string()}}), 0)
        << err.str();
    const fs::path out = dir / "results" / "cache", files = out / "Scene_Root" / "floor";
    auto frame = [&](int f) {
        char name[64];
        std::snprintf(name, sizeof name, "WeightMapCls_NearBall.%05d.wmc", f);
        std::ifstream in(files / name, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        EXPECT_EQ(bytes.size(), 4u + 8u * 3721u) << name;
        std::vector<double> w(3721);
        if (bytes.size() == 4u + 8u * 3721u) std::memcpy(w.data(), bytes.data() + 4, 8 * w.size());
        return w;
    };
    for (int f = 1; f <= 50; ++f) frame(f);
    EXPECT_EQ(CsvWeights(out / "recorded_frame40.csv"), frame(40));
    const std::vector<double> half = CsvWeights(out / "half_speed_frame40.csv"), a = frame(20), b = frame(21);
    ASSERT_EQ(half.size(), a.size());
    for (size_t i = 0; i < half.size(); ++i) ASSERT_EQ(half[i], 0.5 * a[i] + 0.5 * b[i]) << i;
    EXPECT_EQ(CsvWeights(out / "reversed_frame40.csv"), frame(11));
    EXPECT_GT(*std::max_element(a.begin(), a.end()), 0.5);
    for (const char* picture : {"warped_frame40.png", "strip_warped_25.png", "live_frame01.png"})
        EXPECT_TRUE(fs::exists(out / picture)) << picture;
    host.Clear();
    fs::remove_all(dir);
}

// One of the demo's examples run in a host of its own with the plug-in loaded, its results in a
// folder of this process, removed afterwards.
struct ExampleRun : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("orbelin_example_" + std::to_string(::getpid()));
    standin::Host host{fs::temp_directory_path()};
    ExampleRun() {
        fs::remove_all(dir);
        host.GetLog().SetEcho(false);
    }
    ~ExampleRun() override { fs::remove_all(dir); }
    // Runs examples/<name>.lua; the folder it wrote into.
    fs::path Run(const std::string& name) {
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
        std::ostringstream err;
        EXPECT_EQ(standin::RunScript(host, fs::path(ORBELIN_EXAMPLES_DIR) / (name + ".lua"), err,
                                     {{"OUTPUT_DIR", (dir / "results").string()}}),
                  0)
            << err.str();
        return dir / "results" / name;
    }
};

// The Tension example: the bent tube is squashed on its inner side and stretched on its outer
// side; the ball stretched upwards is squashed around its poles.
using TensionExample = ExampleRun;
TEST_F(TensionExample, ShowsStretchAndSquash) {
    const fs::path out = Run("tension");
    for (const char* file : {"tube_frame10.png", "tube_frame20.png", "ball_frame10.png", "ball_frame20.png"})
        EXPECT_TRUE(fs::exists(out / file)) << file;
    for (const char* file : {"tube_frame20.csv", "ball_frame10.csv"}) {
        const std::vector<double> w = CsvWeights(out / file);
        ASSERT_FALSE(w.empty()) << file;
        EXPECT_LT(*std::min_element(w.begin(), w.end()), -0.3) << file;
        EXPECT_GT(*std::max_element(w.begin(), w.end()), 0.3) << file;
        EXPECT_GE(*std::min_element(w.begin(), w.end()), -1.0) << file;
        EXPECT_LE(*std::max_element(w.begin(), w.end()), 1.0) << file;
    }
}

// The Hair Comb example: every picture written, and the fur combed away from the parting in
// the middle, where the gradient starts.
using HairCombExample = ExampleRun;
TEST_F(HairCombExample, CombsTheFurAwayFromTheParting) {
    const fs::path out = Run("haircomb");
    for (const char* file : {"grown.png", "combed.png", "combed_low.png", "combed_narrow.png", "combed_arch.png"})
        EXPECT_TRUE(fs::exists(out / file)) << file;
    // Each strand's tip lies well farther from the middle than its first point (the arch of the
    // last Shape brings it back to the skin about 0.7 away; as grown, on the hill's slope,
    // less than 0.3), but for the few on the parting itself.
    XSI::MATH::CVector3Array pts =
        XSI::X3DObject(host.Find(L"Fur")).GetActivePrimitive().GetGeometry().GetPoints().GetPositionArray();
    ASSERT_GT(pts.GetCount(), 14 * 200);
    LONG outward = 0;
    for (LONG s = 0; s < pts.GetCount() / 14; ++s) {
        const XSI::MATH::CVector3 &first = pts[14 * s], &tip = pts[14 * s + 13];
        outward += std::hypot(tip.GetX(), tip.GetZ()) > std::hypot(first.GetX(), first.GetZ()) + 0.4;
    }
    EXPECT_GT(outward, pts.GetCount() / 14 - 5);
}

}  // namespace
