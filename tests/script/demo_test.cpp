// `orbelin demo` as people run it, cut to a few examples: every example's folder, a contact
// sheet with a thumbnail per example, and an index of what each wrote; and the chaining example,
// whose cache plays the chained maps back at half speed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "render/render.h"
#include "scene/host.h"
#include "script/lua_host.h"

namespace {

namespace fs = std::filesystem;

std::string Slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

struct Demo : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("orbelin_demo_test_" + std::to_string(::getpid()));
    Demo() {
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    ~Demo() override { fs::remove_all(dir); }
    // Runs `orbelin demo --out DIR/out ARGS`; its exit status, its output in `log`.
    int Run(const std::string& args) {
        const std::string command = std::string("'") + ORBELIN_COMMAND_PATH + "' demo --plugin '" + ORBELIN_PLUGIN_PATH + "' --out '" +
                                    (dir / "out").string() + "' " + args + " > '" + (dir / "log").string() + "' 2>&1";
        const int status = std::system(command.c_str());
        log = Slurp(dir / "log");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string log;
};

TEST_F(Demo, EndsWithAContactSheetAndAnIndexOfEveryExample) {
    ASSERT_EQ(Run("--only smooth,chain"), 0) << log;
    const fs::path out = dir / "out";
    EXPECT_TRUE(fs::is_directory(out / "smooth"));
    EXPECT_TRUE(fs::is_directory(out / "chain"));
    EXPECT_FALSE(fs::exists(out / "proximity")) << "not asked for";

    // Two thumbnails side by side under a title.
    const standin::render::Image sheet = standin::render::ReadPng((out / "contact_sheet.png").string());
    EXPECT_GT(sheet.width, 2 * 300);
    EXPECT_LT(sheet.width, 3 * 300);
    EXPECT_GT(sheet.height, 200);
    EXPECT_LT(sheet.height, 2 * 200 + 100) << "one row";

    const std::string index = Slurp(out / "index.txt");
    for (const char* line : {"smooth (Smooth Map): smooth/", "    radius3_repeat5.png", "    radius3_repeat5.csv",
                             "chain (Chained tools): chain/", "    mixed_smoothed_frame20.png", "    half_speed_frame19.csv",
                             "  other files (cache frames and the like): 20", "contact sheet: contact_sheet.png"})
        EXPECT_NE(index.find(line), std::string::npos) << "no \"" << line << "\" in\n" << index;
    EXPECT_NE(index.find("  pictures (5):"), std::string::npos) << index;
    EXPECT_NE(log.find("contact sheet: " + (out / "contact_sheet.png").string()), std::string::npos) << log;
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
