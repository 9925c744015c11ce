// Frame ranges as the commands take them, and `orbelin run --frames` handing one to a script.
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "frames.h"
#include "support.h"

namespace {

namespace fs = std::filesystem;
using orbelin::app::FrameRange;
using orbelin::app::ParseFrameRange;

TEST(FrameRange, ReadsOneOrTwoWholeNumbersNegativeOnesToo) {
    struct Case {
        const char* text;
        int first, last;
    };
    for (const Case& c : {Case{"1-48", 1, 48}, Case{"7", 7, 7}, Case{"-3", -3, -3}, Case{"-5-10", -5, 10}, Case{"-10--5", -10, -5},
                          Case{"0-0", 0, 0}, Case{"007-010", 7, 10}, Case{"-2147483648-2147483647", INT_MIN, INT_MAX}}) {
        const FrameRange range = ParseFrameRange(c.text);
        EXPECT_EQ(range.first, c.first) << c.text;
        EXPECT_EQ(range.last, c.last) << c.text;
    }
}

TEST(FrameRange, RefusesAnythingElseSayingWhy) {
    const std::string notARange = "is not a frame range: expected FIRST-LAST or FRAME";
    const std::string beyond = "has a frame beyond -2147483648 to 2147483647";
    struct Case {
        const char* text;
        std::string message;
    };
    for (const Case& c : {Case{"", "no frame range given"},
                          Case{"10-5", "the frame range \"10-5\" is reversed: its first frame 10 comes after its last, 5"},
                          Case{"-5--10", "is reversed"}, Case{"abc", "\"abc\" " + notARange}, Case{"5-", notARange},
                          Case{"-", notARange}, Case{"--5", notARange}, Case{"1-2-3", notARange}, Case{"1.5", notARange},
                          Case{"1..5", notARange}, Case{" 5", notARange}, Case{"5 ", notARange}, Case{"+5", notARange},
                          Case{"1-+5", notARange}, Case{"1,5", notARange}, Case{"2147483648", beyond},
                          Case{"1--2147483649", beyond}, Case{"99999999999999999999999-1", beyond}}) {
        try {
            ParseFrameRange(c.text);
            ADD_FAILURE() << "\"" << c.text << "\" was taken";
        } catch (const std::invalid_argument& e) {
            EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << c.text << ": " << e.what();
        }
    }
}

// The globals a script sees, and a bad range refused before any script runs.
TEST(RunFrames, GivesTheScriptItsRangeOrRefusesItWithExitOne) {
    const fs::path dir = fs::temp_directory_path() / ("orbelin_run_frames_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream(dir / "range.lua") << "print('script sees ' .. tostring(FIRST_FRAME) .. ' to ' .. tostring(LAST_FRAME))\n";
    std::string log;
    const auto run = [&](const std::string& args) {
        return scripttest::RunCommand(scripttest::ShellQuoted(ORBELIN_COMMAND_PATH) + " run range.lua --project " +
                                          scripttest::ShellQuoted(dir.string()) + " --plugin " +
                                          scripttest::ShellQuoted(ORBELIN_PLUGIN_PATH) + " " + args,
                                      dir / "log", log);
    };
    struct Given {
        const char* args;
        const char* printed;
    };
    for (const Given& g : {Given{"", "script sees nil to nil"}, Given{"--frames 1-48", "script sees 1 to 48"}, Given{"--frames -10--5", "script sees -10 to -5"},
                           Given{"--frames=-5-10", "script sees -5 to 10"}, Given{"--frames 12", "script sees 12 to 12"}}) {
        EXPECT_EQ(run(g.args), 0) << g.args << "\n" << log;
        EXPECT_NE(log.find(g.printed), std::string::npos) << g.args << "\n" << log;
    }
    for (const Given& g : {Given{"--frames 48-1", "orbelin: the frame range \"48-1\" is reversed"},
                           Given{"--frames 1-x", "orbelin: \"1-x\" is not a frame range"},
                           Given{"--frames 1-3000000000", "orbelin: the frame range \"1-3000000000\" has a frame beyond"}}) {
        EXPECT_EQ(run(g.args), 1) << g.args << "\n" << log;
        EXPECT_NE(log.find(g.printed), std::string::npos) << g.args << "\n" << log;
        EXPECT_EQ(log.find("script sees"), std::string::npos) << "the script ran: " << log;
    }
    fs::remove_all(dir);
}

}  // namespace
