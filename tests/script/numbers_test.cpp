// Numbers that do not fit: NaN, infinities and huge values given to every scripting function
// that takes a number end in a clear error or a defined value, never in an undefined cast.
#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>
#include <utility>
#include <vector>

#include "support.h"

namespace {

namespace fs = std::filesystem;

struct NumbersTest : scripttest::Session {
    NumbersTest() : Session("orbelin_numbers_test") {}
    // Runs `code` and expects it to stop on its last line with `message`.
    void ExpectError(const std::string& code, const std::string& message) {
        err.str("");
        EXPECT_EQ(Run(code), 1) << code;
        EXPECT_NE(err.str().find(message), std::string::npos) << code << "\n" << err.str();
    }
};

TEST_F(NumbersTest, CountsMustBeWholeNumbersInRange) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"CreatePrim('Grid', 'g', {subdivu = 0/0})", "CreatePrim: subdivu must be a whole number from 1 to 2147483647"},
        {"CreatePrim('Sphere', 's', {subdivv = 1/0})", "CreatePrim: subdivv must be a whole number from 1 to 2147483647"},
        {"CreatePrim('Torus', 't', {subdivu = 1e300})", "CreatePrim: subdivu must be a whole number from 1 to 2147483647"},
        {"CreatePrim('Cylinder', 'c', {subdivv = 2.5})", "CreatePrim: subdivv must be a whole number from 1 to 2147483647"},
        {"CreatePrim('Grid', 'g', {sizex = 0/0})", "CreatePrim: sizex must be a finite number"},
        {"CreatePrim('Cube', 'c', {length = -1/0})", "CreatePrim: length must be a finite number"},
        {"CreateCurve('c', {{0,0,0},{1,0,0},{2,0,0},{3,0,0}}, 0/0)", "CreateCurve: degree must be a whole number from 1 to 3"},
        {"CreateCurve('c', {{0,0,0},{1,0,0},{2,0,0},{3,0,0}}, 1e300)", "CreateCurve: degree must be a whole number from 1 to 3"},
        {"CreateCircle('c', 1, 0/0)", "CreateCircle: segments must be a whole number from 4 to 2147483647"},
        {"CreateCircle('c', 0/0)", "CreateCircle: radius must be a finite number"},
        {"CreateSpiral('s', 1, 2, 0/0)", "CreateSpiral: turns must be a finite number"},
        {"CreateSurface('Grid', 's', {spansu = 0/0})", "CreateSurface: spansu must be a whole number from 1 to 2147483647"},
        {"CreateSurface('Sphere', 's', {spansv = 1e300})", "CreateSurface: spansv must be a whole number from 1 to 2147483647"},
        {"CreateSurface('Sphere', 's', {radius = 1/0})", "CreateSurface: radius must be a finite number"},
        {"QueuePick{path = 'x', button = 0/0}", "QueuePick: button must be a whole number from 0 to 2"},
        {"QueuePick{path = 'x', modifier = 1e300}", "QueuePick: modifier must be a whole number from 0 to 3"},
        {"LogMessage('hello', 0/0)", "LogMessage: severity must be a whole number"},
        {"LogMessages(0/0)", "LogMessages: the first index must be a whole number from 1 to 2147483647"},
        {"CancelProgressAfter(0/0)", "CancelProgressAfter: the count must be a whole number from -1 to 2147483647"},
        {"CancelProgressAfter(1e300)", "CancelProgressAfter: the count must be a whole number from -1 to 2147483647"},
    };
    for (const auto& [code, message] : cases) ExpectError(code, "scene.lua:1: " + message);
    // Nothing was half made on the way.
    EXPECT_FALSE(host.Find(L"g").IsValid());
    EXPECT_FALSE(host.Find(L"c").IsValid());
    EXPECT_TRUE(host.PickQueue().empty());
    EXPECT_EQ(host.GetLog().Count(), 0u);
    // The largest values that fit are still taken.
    EXPECT_EQ(Run("QueuePick{path = 'x', button = 2, modifier = 3}\nCancelProgressAfter(2147483647)\n"
                  "assert(#LogMessages(2147483647) == 0)\n"),
              0)
        << err.str();
}

// Spans and turns whose control points would pass 2^31: the count once overflowed, and in a
// release build a spiral of 2^28 turns came out as a 4-point curve.
TEST_F(NumbersTest, ShapesTooLargeForTheirControlPointsAreRefused) {
    ExpectError("CreateSpiral('s', 1, 2, 2^28)", "needs more control points than a curve or surface can hold");
    ExpectError("CreateSpiral('s', 1, 2, 2^31)", "needs more control points than a curve or surface can hold");
    ExpectError("CreateSurface('Grid', 's', {spansu = 2147483647, spansv = 1})", "needs more control points than a curve or surface can hold");
    ExpectError("CreateSurface('Grid', 's', {spansu = 65536, spansv = 65536})", "needs more control points than a curve or surface can hold");
    ExpectError("CreateSurface('Sphere', 's', {spansu = 8, spansv = 2147483647})", "needs more control points than a curve or surface can hold");
    EXPECT_FALSE(host.Find(L"s").IsValid());
    // A spiral of many turns that fits is built whole.
    ASSERT_EQ(Run("CreateSpiral('s', 1, 2, 1000)\nassert(#GetPointPositions('s') == 8001)\n"), 0) << err.str();
}

TEST_F(NumbersTest, FramesMustBeFinite) {
    ASSERT_EQ(Run("CreatePrim('Grid', 'g', {subdivu = 1, subdivv = 1})\nSetFrame(7)\n"), 0) << err.str();
    for (const char* bad : {"0/0", "1/0", "-1/0"}) {
        ExpectError(std::string("SetFrame(") + bad + ")", "scene.lua:1: SetFrame: the frame must be a finite number");
        ExpectError(std::string("SetValue('PlayControl.Current', ") + bad + ")", "scene.lua:1: cannot set 'PlayControl.Current'");
        ExpectError(std::string("SetTransform('g', {pos = {1, 2, 3}}, ") + bad + ")", "a frame must be a finite number");
        ExpectError(std::string("SetPointPositions('g', GetPointPositions('g'), ") + bad + ")", "a frame must be a finite number");
        // Positions, angles and scales too: a transform of NaN would put every point nowhere.
        ExpectError(std::string("SetTransform('g', {pos = {1, ") + bad + ", 3}})", "SetTransform: pos must be a finite number");
        ExpectError(std::string("SetTransform('g', {rot = {") + bad + ", 0, 0}})", "SetTransform: rot must be a finite number");
        ExpectError(std::string("SetTransform('g', {scl = {1, 1, ") + bad + "}})", "SetTransform: scl must be a finite number");
        ExpectError(std::string("local p = GetPointPositions('g')\np[3][2] = ") + bad + "\nSetPointPositions('g', p)",
                    "point 3 has a coordinate that is not a finite number");
    }
    EXPECT_EQ(host.Frame(), 7.0);
    // Huge frames are frames: the host keeps them as they are.
    ASSERT_EQ(Run("SetFrame(1e300)\nassert(GetFrame() == 1e300)\nSetFrame(-1e300)\n"), 0) << err.str();
}

// A NaN compares with neither end of a range, so it once passed Far's and made every weight
// NaN without a word; the host refuses it and keeps the value.
TEST_F(NumbersTest, NaNIsRefusedByARangedParameter) {
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    EXPECT_EQ(Run("CreatePrim('Grid', 'floor', {subdivu = 4, subdivv = 4})\n"
                  "CreateNull('ball')\n"
                  "SelectObj('floor')\n"
                  "ExecuteCommand('Orbelin_zrProximityMapApplyCmd', {})\n"
                  "local map = 'floor.polymsh.cls.WeightMapCls.ProximityWeightMap'\n"
                  "local p = map .. '_ProximityMap'\n"
                  "ExecuteCommand('Orbelin_zrProximityMapAddConnexionCmd', {p, 'ball'})\n"
                  "local before = GetWeights(map)\n"
                  "assert(before[13] == 1)\n"
                  "for _, param in ipairs({'Far', 'Near', 'Min', 'Factor_0', 'OpMode'}) do\n"
                  "  local path = p .. '.' .. param\n"
                  "  local value = GetValue(path)\n"
                  "  local ok, message = pcall(SetValue, path, 0/0)\n"
                  "  assert(not ok and message:find(\"cannot set '\" .. path .. \"' to NaN\", 1, true), param .. ': ' .. tostring(message))\n"
                  "  assert(GetValue(path) == value, param .. ' changed')\n"
                  "  local now = GetWeights(map)\n"
                  "  for i = 1, #before do assert(now[i] == before[i], param .. ': weight ' .. i .. ' is ' .. now[i]) end\n"
                  "end\n"
                  "-- Infinities are numbers the range holds: they come to its ends.\n"
                  "SetValue(p .. '.Far', 1/0)\n"
                  "assert(GetValue(p .. '.Far') == 1000)\n"),
              0)
        << err.str();
}

// A circle of radius 1e300 overflows on its way to the screen; the line drawer once cast the
// overflowed coordinates to ints.
TEST_F(NumbersTest, APreviewOfAHugeCircleIsDrawn) {
    ASSERT_EQ(Run("CreateCircle('hoop', 1e300)\n"
                  "RenderPreview('all.png', {width = 64, height = 48})\n"
                  "RenderPreview('near.png', {width = 64, height = 48, camera = {eye = {0, 5, 0}, target = {0, 0, 0}, up = {0, 0, 1}}})\n"
                  "SetTransform('hoop', {scl = {1e300, 1e300, 1e300}})\n"
                  "RenderPreview('scaled.png', {width = 64, height = 48})\n"),
              0)
        << err.str();
    for (const char* file : {"all.png", "near.png", "scaled.png"}) EXPECT_TRUE(fs::exists(dir / file)) << file;
}

}  // namespace
