// Scene scripts: errors name file and line, values cross between Lua and the host intact.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "scene/host.h"
#include "scene/host_impl.h"
#include "script/lua_host.h"
#include "support.h"
#include "xsi_kinematics.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

#include <cmath>

namespace {

namespace fs = std::filesystem;

struct ScriptTest : scripttest::Session {
    XSI::CValueArray echoed;

    ScriptTest() : Session("orbelin_script_test") {
        // A command that hands back what it was given, to see values cross both ways.
        host.impl().builtins[L"Echo"] = [this](standin::Host&, XSI::CValueArray& args, XSI::CValue& ret) {
            echoed = args;
            ret = XSI::CValue(args);
            return XSI::CStatus(XSI::CStatus::OK);
        };
    }
};

TEST_F(ScriptTest, ErrorsNameTheFileAndLine) {
    EXPECT_EQ(Run("local x = 1\n\nerror('boom')\n"), 1);
    EXPECT_NE(err.str().find("scene.lua:3: boom"), std::string::npos) << err.str();
    err.str("");
    EXPECT_EQ(Run("x = = 1\n"), 1);
    EXPECT_NE(err.str().find("scene.lua:1:"), std::string::npos) << err.str();
    err.str("");
    EXPECT_EQ(standin::RunScript(host, dir / "missing.lua", err), 1);
    EXPECT_NE(err.str().find("cannot open script"), std::string::npos);
    EXPECT_EQ(Run("CreatePrim('Grid', 'g')\nprint('fine')\n"), 0);
}

TEST_F(ScriptTest, HostErrorsBecomeScriptErrorsAtTheCallingLine) {
    EXPECT_EQ(Run("CreatePrim('Grid', 'g')\nSelectObj('g')\nSelectObj('nothing')\n"), 1);
    EXPECT_NE(err.str().find("scene.lua:3: object not found: 'nothing'"), std::string::npos) << err.str();
    err.str("");
    EXPECT_EQ(Run("ExecuteCommand('NoSuchCommand', {})\n"), 1);
    EXPECT_NE(err.str().find("unknown command 'NoSuchCommand'"), std::string::npos) << err.str();
    err.str("");
    EXPECT_EQ(Run("CreatePrim('Pyramid', 'p')\n"), 1);
    EXPECT_NE(err.str().find("unknown primitive 'Pyramid'"), std::string::npos) << err.str();
    err.str("");
    EXPECT_EQ(Run("DeselectAll()\nExecuteCommand('DeleteObj', {})\n"), 1);
    EXPECT_NE(err.str().find("scene.lua:2: DeleteObj failed"), std::string::npos) << err.str();
    err.str("");
    EXPECT_EQ(Run("CreatePrim('Grid', 'g', {subdivu = 0})\n"), 1);
    EXPECT_NE(err.str().find("scene.lua:1:"), std::string::npos) << err.str();
}

TEST_F(ScriptTest, StatusOfAFailingCommandWithoutRaising) {
    EXPECT_EQ(Run("DeselectAll()\n"
                  "local status, ret = ExecuteCommandStatus('DeleteObj', {})\n"
                  "assert(status == 2147942487, 'status ' .. status)\n"
                  "assert(ret == nil)\n"
                  "local ok = ExecuteCommandStatus('GetValue', {'PlayControl.Out'})\n"
                  "assert(ok == 0)\n"),
              0)
        << err.str();
}

TEST_F(ScriptTest, ValuesCrossBetweenLuaAndTheHost) {
    ASSERT_EQ(Run("local r = ExecuteCommand('Echo', {3, 2.5, true, 'sphère', nil, {1, {2, 'x'}}})\n"
                  "assert(r[1] == 3 and r[2] == 2.5 and r[3] == true and r[4] == 'sphère')\n"
                  "assert(r[5] == nil and r[6][1] == 1 and r[6][2][2] == 'x')\n"),
              0)
        << err.str();
    ASSERT_EQ(echoed.GetCount(), 6);
    EXPECT_EQ(echoed[0].m_t, XSI::CValue::siInt4);   // integral numbers are integers
    EXPECT_EQ(echoed[1].m_t, XSI::CValue::siDouble);
    EXPECT_EQ(echoed[2].m_t, XSI::CValue::siBool);
    EXPECT_EQ(std::wstring(echoed[3].GetAsText().GetWideString()), L"sphère");
    EXPECT_TRUE(echoed[4].IsEmpty());
    EXPECT_EQ(echoed[5].m_t, XSI::CValue::siArray);
    // Only what fits a LONG becomes an integer.
    ASSERT_EQ(Run("ExecuteCommand('Echo', {2147483647, 2147483648, -2147483648, -2147483649, -0.0, 1e300})\n"), 0) << err.str();
    ASSERT_EQ(echoed.GetCount(), 6);
    EXPECT_EQ(echoed[0].m_t, XSI::CValue::siInt4);
    EXPECT_EQ(static_cast<LONG>(echoed[0]), 2147483647);
    EXPECT_EQ(echoed[1].m_t, XSI::CValue::siDouble);
    EXPECT_EQ(static_cast<double>(echoed[1]), 2147483648.0);
    EXPECT_EQ(echoed[2].m_t, XSI::CValue::siInt4);
    EXPECT_EQ(static_cast<LONG>(echoed[2]), -2147483647 - 1);
    EXPECT_EQ(echoed[3].m_t, XSI::CValue::siDouble);
    EXPECT_EQ(echoed[4].m_t, XSI::CValue::siInt4);
    EXPECT_EQ(echoed[5].m_t, XSI::CValue::siDouble);
    // Objects come back as their paths.
    ASSERT_EQ(Run("local g = CreatePrim('Grid', 'g')\n"
                  "local maps = ExecuteCommand('CreateWeightMap', {'', g, 'W', '', false})\n"
                  "assert(maps[1] == 'g.polymsh.cls.WeightMapCls.W', maps[1])\n"
                  "assert(GetValue('PlayControl.Out') == 100)\n"
                  "SetFrame(12.5)\nassert(GetFrame() == 12.5 and GetValue('PlayControl.Current') == 12.5)\n"),
              0)
        << err.str();
}

TEST_F(ScriptTest, DeepAndSelfHoldingTablesAreErrorsNotCrashes) {
    // Deeper than the stack a C function is given, in both directions.
    ASSERT_EQ(Run("local t = 'leaf'\nfor i = 1, 60 do t = {t} end\n"
                  "local r = ExecuteCommand('Echo', {t})[1]\n"
                  "for i = 1, 60 do r = r[1] end\nassert(r == 'leaf', tostring(r))\n"),
              0)
        << err.str();
    EXPECT_EQ(Run("local t = {}\nt[1] = t\nExecuteCommand('Echo', {t})\n"), 1);
    EXPECT_NE(err.str().find("scene.lua:3: tables nested too deep"), std::string::npos) << err.str();
    err.str("");
    EXPECT_EQ(Run("GetValue('nothing.Param')\n"), 1);
    EXPECT_NE(err.str().find("scene.lua:1: object not found: 'nothing.Param'"), std::string::npos) << err.str();
}

// A Lua error raised inside a scripting function (by a metamethod, or by a finalizer that the
// function's own allocation runs) reaches the script's pcall with Lua's message, and unwinds
// the function's frames: under the leak checker, whatever they held would show as a leak.
TEST_F(ScriptTest, LuaErrorsInsideFunctionsKeepTheirMessageAndFreeWhatTheFunctionHeld) {
    ASSERT_EQ(Run(R"(
local ball = CreatePrim('Sphere', 'ball', {subdivu = 12, subdivv = 8})
local map = ExecuteCommand('CreateWeightMap', {'', ball, 'W', '', false})[1]
local function raises(f, ...)
  local ok, message = pcall(f, ...)
  assert(not ok, 'no error')
  assert(tostring(message):find('boom', 1, true), 'lost message: ' .. tostring(message))
end
local boom = setmetatable({}, {__index = function() error('boom') end})
raises(SetTransform, ball, boom)
raises(CreateSurface, 'Grid', 'surface', boom)
raises(QueuePick, boom)
raises(QueuePageAnswer, boom)
raises(RenderPreview, 'preview.png', boom)
raises(RenderPreview, 'preview.png', {camera = boom})

-- Every allocation runs a whole collection: the finalizer, armed last, runs at the first
-- allocation inside the function called, and fails there.
local function raisesInFinalizer(f, ...)
  local args = {...}
  collectgarbage('setpause', 0)
  collectgarbage('setstepmul', 1000000)
  collectgarbage('collect')
  local armed = newproxy(true)
  getmetatable(armed).__gc = function() error('boom') end
  armed = nil
  raises(f, unpack(args))
  collectgarbage('setpause', 200)
  collectgarbage('setstepmul', 200)
end
raisesInFinalizer(GetWeights, map)
raisesInFinalizer(GetPointPositions, ball)
raisesInFinalizer(ExecuteCommand, 'Echo', {'a', {'b', 'c'}})
assert(#GetWeights(map) > 0 and #GetPointPositions(ball) > 0)
)"),
              0)
        << err.str();
    // Errors of ours still carry our own message.
    EXPECT_EQ(Run("local ok, message = pcall(GetWeights, 'ball')\nassert(not ok)\nerror(message)\n"), 1);
    EXPECT_NE(err.str().find("'ball' is not a weight map"), std::string::npos) << err.str();
}

TEST_F(ScriptTest, WeightMapsReadAndWrite) {
    ASSERT_EQ(Run("local g = CreatePrim('Grid', 'g', {subdivu = 1, subdivv = 1})\n"
                  "local map = ExecuteCommand('CreateWeightMap', {'', g, 'W', '', false})[1]\n"
                  "SetWeights(map, {0, 0.25, 0.5, 1})\n"
                  "WriteWeightsCSV(map, 'out/w.csv')\n"),
              0)
        << err.str();
    std::ifstream in(dir / "out" / "w.csv");
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "element,point,weight\n0,0,0\n1,1,0.25\n2,2,0.5\n3,3,1\n");
    EXPECT_EQ(Run("SetWeights('g.polymsh.cls.WeightMapCls.W', {1, 2})\n"), 1);
    EXPECT_NE(err.str().find("holds 4 weights, 2 given"), std::string::npos) << err.str();
    EXPECT_EQ(Run("local w = GetWeights('g.polymsh.cls.WeightMapCls.W')\nassert(w[4] == 1 and #w == 4)\n"), 0)
        << err.str();
    EXPECT_EQ(Run("GetWeights('g')\n"), 1);
    EXPECT_NE(err.str().find("'g' is not a weight map"), std::string::npos) << err.str();
    // A full device: the script fails at the call instead of losing the weights.
    if (fs::is_character_file("/dev/full")) {
        err.str("");
        EXPECT_EQ(Run("\nWriteWeightsCSV('g.polymsh.cls.WeightMapCls.W', '/dev/full')\n"), 1);
        EXPECT_NE(err.str().find("scene.lua:2: cannot write /dev/full: No space left on device"), std::string::npos) << err.str();
    }
}

TEST_F(ScriptTest, AnimatedTransformsAndPointsMoveBetweenKeys) {
    ASSERT_EQ(Run("local b = CreatePrim('Cube', 'b', {length = 2})\n"
                  "SetTransform(b, {pos = {0, 0, 0}}, 1)\n"
                  "SetTransform(b, {pos = {10, 0, 0}, rot = {0, 90, 0}}, 11)\n"
                  "local p = {}\n"
                  "for i, q in ipairs(GetPointPositions(b)) do p[i] = {q[1], q[2] + 4, q[3]} end\n"
                  "SetPointPositions(b, GetPointPositions(b), 1)\n"
                  "SetPointPositions(b, p, 11)\n"
                  "SetFrame(6)\n"
                  "assert(GetPointPositions(b)[1][2] == -1 + 2, GetPointPositions(b)[1][2])\n"
                  "SetFrame(20)\n"
                  "assert(GetPointPositions(b)[1][2] == 3)\n"
                  "CreateCircle('c', 2)\nCreateSpiral('s')\nCreateSurface('Sphere', 'ss', {radius = 1})\n"),
              0)
        << err.str();
    XSI::CRef b = host.Find(L"b");
    host.SetFrame(6);
    XSI::MATH::CTransformation t = XSI::X3DObject(b).GetKinematics().GetGlobal().GetTransform();
    double x, y, z;
    t.GetTranslationValues(x, y, z);
    EXPECT_DOUBLE_EQ(x, 5.0);
    t.GetRotationFromXYZAnglesValues(x, y, z);
    EXPECT_NEAR(y, std::acos(-1.0) / 4, 1e-12);
    EXPECT_EQ(Run("SetPointPositions('b', {{0, 0, 0}})\n"), 1);
    EXPECT_NE(err.str().find("1 positions for 8 points"), std::string::npos) << err.str();
    EXPECT_EQ(Run("CreateCurve('bad', {{0, 0, 0}, {1, 0, 0}}, 3)\n"), 1);
    EXPECT_NE(err.str().find("needs at least 4 control points"), std::string::npos) << err.str();
}

TEST_F(ScriptTest, KeyDeformationBendsAndSquashesTheRestShape) {
    // A tube of height 4 standing on its base (y from -2 to 2): the origin is its base's middle.
    ASSERT_EQ(Run("local t = CreatePrim('Cylinder', 't', {radius = 0.5, height = 4, subdivu = 8, subdivv = 8, caps = false})\n"
                  "local rest = GetPointPositions(t)\n"
                  "KeyDeformation(t, 1, {})\n"
                  "KeyDeformation(t, 10, {squash = 0.25})\n"
                  "KeyDeformation(t, 20, {bend = 90})\n"
                  "SetFrame(10)\n"
                  "local top = GetPointPositions(t)[#rest]\n"
                  "assert(math.abs(top[2] - (-2 + 4 * 0.25)) < 1e-12, top[2])\n"
                  "assert(math.abs(math.sqrt(top[1]^2 + top[3]^2) - 1) < 1e-12)\n"
                  "SetFrame(20)\n"
                  "-- a quarter turn toward x: the axis ends at (R, -2 + R), R = 4 / (pi / 2), and the last\n"
                  "-- ring stands in the plane x = R\n"
                  "local R = 8 / math.pi\n"
                  "for i = #rest - 7, #rest do\n"
                  "  local p = GetPointPositions(t)[i]\n"
                  "  assert(math.abs(p[1] - R) < 1e-9, p[1])\n"
                  "end\n"
                  "SetFrame(1)\n"
                  "for i, p in ipairs(GetPointPositions(t)) do assert(p[1] == rest[i][1] and p[2] == rest[i][2]) end\n"),
              0)
        << err.str();
    for (const char* bad : {"KeyDeformation('t', 2, {squash = 0})", "KeyDeformation('t', 2, {bend = 0/0})",
                            "KeyDeformation('t', 2, {axis = 'w'})", "KeyDeformation('t', 2, {origin = {0, 0}})",
                            "KeyDeformation('t', 1/0, {})", "KeyDeformation('nothing', 2, {})"})
        EXPECT_EQ(Run(std::string("CreatePrim('Cylinder', 't')\n") + bad + "\n"), 1) << bad;
    for (const char* message : {"squash must be above 0", "bend must be a finite number", "axis must be", "expected origin",
                                "a frame must be a finite number", "object not found"})
        EXPECT_NE(err.str().find(message), std::string::npos) << message;
}

TEST_F(ScriptTest, PicksAndLogFromScripts) {
    ASSERT_EQ(Run("CreatePrim('Cube', 'c')\n"
                  "QueuePick('c')\nQueuePick()\n"
                  "local r = ExecuteCommand('PickElement', {'object', 'Pick', ''})\n"
                  "local before = LogCount()\n"
                  "LogMessage('hello', 4)\n"
                  "local m = LogMessages(before + 1)\n"
                  "assert(#m == 1 and m[1].text == 'hello' and m[1].severity == 4)\n"),
              0)
        << err.str();
    EXPECT_EQ(host.PickQueue().size(), 1u);  // the cancel is still waiting
}

// The first example runs as shipped: a map over every point of the sphere, heights 0 to 1.
TEST_F(ScriptTest, FirstExampleWritesAFullMap) {
    ASSERT_EQ(standin::RunScript(host, fs::path(ORBELIN_EXAMPLES_DIR) / "first_weightmap.lua", err), 0) << err.str();
    XSI::CRef sphere = host.Find(L"sphere");
    ASSERT_TRUE(sphere.IsValid());
    LONG points = XSI::X3DObject(sphere).GetActivePrimitive().GetGeometry().GetPoints().GetCount();
    std::ifstream in(dir / "out" / "first_weightmap.csv");
    std::string line;
    ASSERT_TRUE(std::getline(in, line));
    EXPECT_EQ(line, "element,point,weight");
    LONG rows = 0;
    double lowest = 1, highest = 0;
    while (std::getline(in, line)) {
        double w = std::stod(line.substr(line.rfind(',') + 1));
        lowest = std::min(lowest, w);
        highest = std::max(highest, w);
        ++rows;
    }
    EXPECT_EQ(rows, points);
    EXPECT_DOUBLE_EQ(lowest, 0.0);
    EXPECT_DOUBLE_EQ(highest, 1.0);
}

}  // namespace
