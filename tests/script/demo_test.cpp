// `orbelin demo` as people run it, on a few frames: every example's folder, a contact sheet
// with a thumbnail per example, and an index of what each wrote; and the chaining example over
// its whole range, whose cache plays the chained maps back at half speed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "render/render.h"
#include "scene/host.h"
#include "script/lua_host.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;

using scripttest::Slurp;

struct Demo : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("orbelin_demo_test_" + std::to_string(::getpid()));
    Demo() {
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    ~Demo() override { fs::remove_all(dir); }
    // Runs `orbelin demo --out DIR/out ARGS`; its exit status, its output in `log`.
    int Run(const std::string& args) {
        return scripttest::RunCommand(scripttest::ShellQuoted(ORBELIN_COMMAND_PATH) + " demo --plugin " +
                                          scripttest::ShellQuoted(ORBELIN_PLUGIN_PATH) + " --out " +
                                          scripttest::ShellQuoted((dir / "out").string()) + " " + args,
                                      dir / "log", log);
    }
    std::string log;
};

// What the index lists per example, by example name: the pictures it wrote.
std::map<std::string, std::vector<std::string>> PicturesInIndex(const std::string& index) {
    std::map<std::string, std::vector<std::string>> pictures;
    std::istringstream lines(index);
    std::string line, example;
    bool inPictures = false;
    while (std::getline(lines, line)) {
        if (!line.empty() && line[0] != ' ' && line.find(" (") != std::string::npos && line.back() == '/') {
            example = line.substr(0, line.find(" ("));
            pictures[example];
        } else if (line.rfind("  pictures (", 0) == 0) {
            inPictures = !example.empty();
        } else if (line.rfind("    ", 0) == 0) {
            if (inPictures) pictures[example].push_back(line.substr(4));
        } else {
            inPictures = false;
        }
    }
    return pictures;
}

// A contact sheet of `n` black pictures, titled as the demo's is.
standin::render::Image SheetOf(size_t n) {
    standin::render::SheetOptions options;
    options.title = "a title";
    return standin::render::ContactSheet(std::vector<standin::render::SheetEntry>(n, {"label", standin::render::Image(300, 200)}), options);
}

// The whole tour on a few frames: every example writes into its folder, the index lists what
// each wrote (every picture there and a PNG), the contact sheet has one thumbnail per example.
TEST_F(Demo, EndsWithAContactSheetAndAnIndexOfEveryExample) {
    ASSERT_EQ(Run("--frames 1-6"), 0) << log;
    const fs::path out = dir / "out";
    const std::vector<std::string> examples = {"proximity", "mix", "smooth", "expression", "cache", "tension",
                                               "gradient", "clusters", "gradient_curve", "haircomb", "chain"};
    const std::string index = Slurp(out / "index.txt");
    const auto pictures = PicturesInIndex(index);
    EXPECT_EQ(pictures.size(), examples.size()) << index;
    for (const std::string& example : examples) {
        EXPECT_TRUE(fs::is_directory(out / example)) << example;
        ASSERT_TRUE(pictures.count(example)) << example << " not in\n" << index;
        EXPECT_FALSE(pictures.at(example).empty()) << example << " wrote no picture";
        for (const std::string& picture : pictures.at(example)) {
            standin::render::Image image;
            EXPECT_NO_THROW(image = standin::render::ReadPng((out / example / picture).string())) << example << "/" << picture;
            EXPECT_GT(image.width, 0) << example << "/" << picture;
        }
    }
    // The animated examples picture frames within the range; the chain caches the six frames
    // and plays the middle one back at half speed.
    for (const char* line : {"    frame06.png", "    mix_frame06.csv", "    tube_frame06.png", "    half_speed_frame05.png",
                             "    mixed_smoothed_frame06.png", "    half_speed_frame05.csv", "  other files (cache frames and the like): 6",
                             "    radius3_repeat5.png", "contact sheet: contact_sheet.png"})
        EXPECT_NE(index.find(line), std::string::npos) << "no \"" << line << "\" in\n" << index;
    EXPECT_EQ(index.find("frame07"), std::string::npos) << "a frame past the range:\n" << index;
    EXPECT_NE(log.find("contact sheet: " + (out / "contact_sheet.png").string()), std::string::npos) << log;

    // Eleven thumbnails: the sheet is as large as one of eleven, the eleventh cell holds a
    // picture and the twelfth is empty.
    const standin::render::Image sheet = standin::render::ReadPng((out / "contact_sheet.png").string());
    const standin::render::Image ten = SheetOf(10), eleven = SheetOf(11), twelve = SheetOf(12);
    ASSERT_EQ(sheet.width, eleven.width);
    ASSERT_EQ(sheet.height, eleven.height);
    ASSERT_EQ(twelve.width, eleven.width);
    ASSERT_EQ(twelve.height, eleven.height);
    int eleventh = 0, drawnInEleventh = 0, twelfth = 0, drawnInTwelfth = 0;
    for (int y = 0; y < sheet.height; ++y)
        for (int x = 0; x < sheet.width; ++x) {
            if (!(eleven.At(x, y) == ten.At(x, y))) {
                ++eleventh;
                drawnInEleventh += !(sheet.At(x, y) == ten.At(x, y));
            }
            if (!(twelve.At(x, y) == eleven.At(x, y))) {
                ++twelfth;
                drawnInTwelfth += !(sheet.At(x, y) == eleven.At(x, y));
            }
        }
    ASSERT_GT(eleventh, 200 * 100);
    EXPECT_GT(drawnInEleventh, eleventh / 2);
    ASSERT_GT(twelfth, 200 * 100);
    EXPECT_EQ(drawnInTwelfth, 0);
}

TEST_F(Demo, RunsOnlyTheExamplesAskedForAndRefusesABadFrameRange) {
    ASSERT_EQ(Run("--only clusters"), 0) << log;
    EXPECT_TRUE(fs::is_directory(dir / "out" / "clusters"));
    EXPECT_FALSE(fs::exists(dir / "out" / "proximity")) << "not asked for";
    const standin::render::Image sheet = standin::render::ReadPng((dir / "out" / "contact_sheet.png").string());
    EXPECT_EQ(sheet.width, SheetOf(1).width);
    EXPECT_EQ(sheet.height, SheetOf(1).height);

    fs::remove_all(dir / "out");
    EXPECT_EQ(Run("--frames 6-1"), 1);
    EXPECT_NE(log.find("the frame range \"6-1\" is reversed"), std::string::npos) << log;
    EXPECT_FALSE(fs::exists(dir / "out")) << "nothing run";
}

TEST_F(Demo, NamesTheExamplesItHasWhenAskedForOneItHasNot) {
    EXPECT_EQ(Run("--only smooth,nosuch"), 1);
    EXPECT_NE(log.find("no example \"nosuch\""), std::string::npos) << log;
    EXPECT_NE(log.find("chain"), std::string::npos) << "the list of examples: " << log;
    EXPECT_FALSE(fs::exists(dir / "out" / "smooth")) << "nothing run";
    EXPECT_FALSE(fs::exists(dir / "out" / "contact_sheet.png"));
}

// The chaining example: every link pictured, one cache file per frame, and the half-speed
// playback of frame 19 the very weights recorded at frame 10.
TEST(ChainExample, CachesTheChainedMapsAndPlaysThemBackAtHalfSpeed) {
    const fs::path dir = fs::temp_directory_path() / ("orbelin_chain_example_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    {
        standin::Host host{fs::temp_directory_path()};
        host.GetLog().SetEcho(false);
        ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
        std::ostringstream err;
        ASSERT_EQ(standin::RunScript(host, fs::path(ORBELIN_EXAMPLES_DIR) / "chain.lua", err, {{"OUTPUT_DIR", (dir / "results").string()}}), 0)
            << err.str();
    }
    const fs::path out = dir / "results" / "chain";
    for (const char* picture : {"mixed_smoothed_frame01.png", "proximity_frame10.png", "tension_frame10.png", "mixed_smoothed_frame10.png", "proximity_frame20.png",
                                "tension_frame20.png", "mixed_smoothed_frame20.png", "half_speed_frame19.png"}) {
        const standin::render::Image image = standin::render::ReadPng((out / picture).string());
        EXPECT_EQ(image.width, 400) << picture;
        EXPECT_EQ(image.height, 320) << picture;
    }
    int cached = 0;
    for (const auto& e : fs::recursive_directory_iterator(out / "Scene_Root")) cached += e.is_regular_file();
    EXPECT_EQ(cached, 20);

    const std::string recorded = Slurp(out / "recorded_frame10.csv"), replayed = Slurp(out / "half_speed_frame19.csv");
    ASSERT_FALSE(recorded.empty());
    EXPECT_EQ(recorded, replayed);
    fs::remove_all(dir);
}

}  // namespace
