// Scripts setting tools up as a user would: function curves, clusters, parameters, classes;
// each refusing what names nothing or does not fit with an error naming the function.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support.h"

namespace {

struct FunctionsTest : scripttest::Session {
    FunctionsTest() : Session("orbelin_functions_test") {}
    void ExpectErrors(const std::string& setup, const std::vector<std::pair<std::string, std::string>>& cases) {
        for (const auto& [code, message] : cases) {
            err.str("");
            EXPECT_EQ(Run(setup + "\n" + code), 1) << code;
            EXPECT_NE(err.str().find(message), std::string::npos) << code << "\n" << err.str();
        }
    }
    // A floor with a Proximity Map from a null at the origin, near 0, far 10.
    static constexpr const char* kProximity =
        "local floor = CreatePrim('Grid', 'floor', {sizex = 20, sizez = 20, subdivu = 8, subdivv = 8})\n"
        "CreateNull('n')\n"
        "SelectObj(floor)\n"
        "ExecuteCommand('Orbelin_zrProximityMapApplyCmd', {})\n"
        "map = 'floor.polymsh.cls.WeightMapCls.ProximityWeightMap'\n"
        "prop = map .. '_ProximityMap'\n"
        "falloff = prop .. '.Falloff'\n"
        "ExecuteCommand('Orbelin_zrProximityMapAddConnexionCmd', {prop, 'n'})\n"
        "SetValue(prop .. '.Far', 10)\n";
};

TEST_F(FunctionsTest, TheProximityMapFollowsAFalloffSetFromAScript) {
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    EXPECT_EQ(Run(std::string(kProximity) +
                  "local points = GetPointPositions('floor')\n"
                  "local function check(expected, what)\n"
                  "  local w = GetWeights(map)\n"
                  "  for i, p in ipairs(points) do\n"
                  "    local want = expected(math.sqrt(p[1]^2 + p[2]^2 + p[3]^2))\n"
                  "    assert(math.abs(w[i] - want) < 1e-9, what .. ': weight ' .. i .. ' is ' .. w[i] .. ', not ' .. want)\n"
                  "  end\n"
                  "end\n"
                  "check(function(d) return math.max(0, 1 - d / 10) end, 'default falloff')\n"
                  // Full falloff by half the range: the weights must drop twice as fast.
                  "SetFCurveKeys(falloff, {{0, 0, 2}, {50, 1, 2}})\n"
                  "local keys, interpolation, extrapolation = GetFCurveKeys(falloff)\n"
                  "assert(#keys == 2 and keys[1][1] == 0 and keys[1][2] == 0 and keys[1][3] == 2, 'first key')\n"
                  "assert(keys[2][1] == 50 and keys[2][2] == 1 and keys[2][3] == 2, 'second key')\n"
                  "assert(extrapolation == 1, 'extrapolation ' .. extrapolation)\n"
                  "check(function(d) return math.max(0, 1 - d / 5) end, 'half-range falloff')\n"
                  // Past a last key at a quarter of the range, constant extrapolation holds its value (out of
                  // range too);
                  // linear extrapolation carries its slope on, back to the straight line.
                  "SetFCurveKeys(falloff, {{0, 0, 2}, {25, 0.25, 2}})\n"
                  "check(function(d) return 1 - math.min(d, 2.5) / 10 end, 'held falloff')\n"
                  "SetFCurveExtrapolation(falloff, 2)\n"
                  "assert(select(3, GetFCurveKeys(falloff)) == 2)\n"
                  "check(function(d) return math.max(0, 1 - d / 10) end, 'extrapolated falloff')\n"
                  // Tangents given are kept as given.
                  "SetFCurveKeys(falloff, {{0, 0, 3, -1, 0, 10, 0.25}, {100, 1, 3, -10, -0.25, 1, 0}})\n"
                  "keys = GetFCurveKeys(falloff)\n"
                  "assert(#keys == 2 and keys[1][6] == 10 and keys[1][7] == 0.25 and keys[2][4] == -10, 'tangents')\n"
                  "SetFCurveInterpolation(falloff, 2)\n"
                  "assert(select(2, GetFCurveKeys(falloff)) == 2)\n"),
              0)
        << err.str();
}

TEST_F(FunctionsTest, FunctionCurveCallsRefuseWhatDoesNotFit) {
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    ExpectErrors(kProximity, {
        {"GetFCurveKeys('nothing.here')", "object not found: 'nothing.here'"},
        {"GetFCurveKeys(3)", "expected a parameter path (a string) as argument 1"},
        {"GetFCurveKeys('floor')", "GetFCurveKeys: 'floor' is not a parameter"},
        {"GetFCurveKeys(prop .. '.Far')", "the parameter '" "floor.polymsh.cls.WeightMapCls.ProximityWeightMap_ProximityMap.Far' has no function curve"},
        {"SetFCurveKeys(falloff, {})", "SetFCurveKeys: no keys"},
        {"SetFCurveKeys(falloff, 'keys')", "SetFCurveKeys takes a table of keys"},
        {"SetFCurveKeys(falloff, {{0/0, 1}})", "SetFCurveKeys: key 1 time must be a finite number"},
        {"SetFCurveKeys(falloff, {{0, 1}, {5, 1/0}})", "SetFCurveKeys: key 2 value must be a finite number"},
        {"SetFCurveKeys(falloff, {{0, 1, 7}})", "SetFCurveKeys: key 1 interpolation must be a whole number from 0 to 3"},
        {"SetFCurveKeys(falloff, {{0, 1, 0/0}})", "SetFCurveKeys: key 1 interpolation must be a whole number from 0 to 3"},
        {"SetFCurveKeys(falloff, {{0, 1, 3, 1, 0, 1, 0}})", "SetFCurveKeys: key 1: lx must be <= 0 and rx >= 0"},
        {"SetFCurveKeys(falloff, {{0, 1, 3, -1, 0, 1, 0/0}})", "SetFCurveKeys: key 1 ry must be a finite number"},
        {"SetFCurveKeys(falloff, {{0, 1, 3, -1}})", "SetFCurveKeys: key 1 has 4 numbers"},
        {"SetFCurveKeys(falloff, {{0, 'one'}})", "SetFCurveKeys: key 1: the value is not a number"},
        {"SetFCurveKeys(falloff, {5})", "SetFCurveKeys: key 1 is not a table"},
        {"SetFCurveKeys(falloff, {{10, 0}, {20, 1}, {10, 1}})", "SetFCurveKeys: keys 3 and an earlier one are at the same time"},
        {"SetFCurveInterpolation(falloff, 4)", "SetFCurveInterpolation: the interpolation must be a whole number from 0 to 3"},
        {"SetFCurveExtrapolation(falloff, 0/0)", "SetFCurveExtrapolation: the extrapolation must be a whole number from 1 to 4"},
        {"SetFCurveExtrapolation(falloff, 0)", "SetFCurveExtrapolation: the extrapolation must be a whole number from 1 to 4"},
    });
    // A refused edit leaves the curve as it was: no half-replaced keys.
    EXPECT_EQ(Run(std::string(kProximity) + "local before = GetFCurveKeys(falloff)\n"
                                            "pcall(SetFCurveKeys, falloff, {{0, 0}, {1, 0/0}})\n"
                                            "local after = GetFCurveKeys(falloff)\n"
                                            "assert(#after == #before)\n"
                                            "for i = 1, #before do for c = 1, 7 do assert(after[i][c] == before[i][c]) end end\n"),
              0)
        << err.str();
}

TEST_F(FunctionsTest, ClustersAreMadeFromIndexLists) {
    EXPECT_EQ(Run("CreatePrim('Grid', 'g', {subdivu = 2, subdivv = 2})\n"
                  "local c = CreateCluster('g', 'poly', {3, 0}, 'corners')\n"
                  "assert(c == 'g.polymsh.cls.corners', c)\n"
                  "assert(ClassName(c) == 'Cluster' and TypeName(c) == 'poly', ClassName(c) .. ' ' .. TypeName(c))\n"
                  "local p = CreateCluster('g', 'pnt', {8})\n"
                  "assert(TypeName(p) == 'pnt' and p ~= c)\n"
                  "CreateCluster('g', 'edge', {11})\n"
                  "CreateCluster('g', 'sample', {15})\n"),
              0)
        << err.str();
    ExpectErrors("CreatePrim('Grid', 'h', {subdivu = 2, subdivv = 2})\nCreateNull('empty')", {
        {"CreateCluster('h', 'poly', {4})", "CreateCluster: an index must be a whole number from 0 to 3"},
        {"CreateCluster('h', 'poly', {-1})", "CreateCluster: an index must be a whole number from 0 to 3"},
        {"CreateCluster('h', 'pnt', {0/0})", "CreateCluster: an index must be a whole number from 0 to 8"},
        {"CreateCluster('h', 'pnt', {1e300})", "CreateCluster: an index must be a whole number from 0 to 8"},
        {"CreateCluster('h', 'pnt', {1.5})", "CreateCluster: an index must be a whole number from 0 to 8"},
        {"CreateCluster('h', 'pnt', {'a'})", "CreateCluster: index 1 is not a number"},
        {"CreateCluster('h', 'pnt', {2, 5, 2})", "CreateCluster: index 2 is given twice"},
        {"CreateCluster('h', 'pnt', {})", "CreateCluster: no indices"},
        {"CreateCluster('h', 'pnt')", "CreateCluster takes a table of component indices as argument 3"},
        {"CreateCluster('h', 'vertex', {0})", "CreateCluster: unknown cluster type 'vertex'"},
        {"CreateCluster('empty', 'pnt', {0})", "CreateCluster: 'empty' is not an object with geometry"},
        {"CreateCluster('nowhere', 'pnt', {0})", "object not found: 'nowhere'"},
        {"CreateCluster('h', 'pnt', {0}, 5)", "expected a name (a string) as argument 4"},
    });
    EXPECT_FALSE(host.Find(L"h.polymsh.cls.Cluster").IsValid());
}

TEST_F(FunctionsTest, HairIsGrownAndItsStrandsRead) {
    EXPECT_EQ(Run("CreatePrim('Grid', 'g', {subdivu = 2, subdivv = 2})\n"
                  "local c = CreateCluster('g', 'poly', {3}, 'patch')\n"
                  "local h = CreateHair('g', 'fur', {length = 2, noise = 0.1, seed = 4, cluster = c})\n"
                  "assert(h == 'fur' and TypeName(h) == 'hair' and TypeName(h .. '.hair.hairGenOp') == 'hairGenOp')\n"
                  "local all = GetStrandPoints(h)\n"
                  "assert(#all == 4 and #all[1] == 14 and #all[1][14] == 3)\n"
                  "local s = GetStrandPoints(h, 3)\n"
                  "for k = 1, 14 do for i = 1, 3 do assert(s[k][i] == all[4][k][i]) end end\n"
                  "assert(#GetPointPositions(h) == 56)\n"
                  "assert(#GetStrandPoints(CreateHair('g')) == 9)\n"),
              0)
        << err.str();
    ExpectErrors("CreatePrim('Grid', 'g', {subdivu = 2, subdivv = 2})\nCreateNull('empty')\n"
                 "p = CreateCluster('g', 'pnt', {0})\nh = CreateHair('g', 'fur')", {
        {"CreateHair('g', 'f', {length = 0/0})", "CreateHair: length must be a finite number"},
        {"CreateHair('g', 'f', {length = -1})", "CreateHair: the length must be a finite number above 0"},
        {"CreateHair('g', 'f', {noise = 1/0})", "CreateHair: noise must be a finite number"},
        {"CreateHair('g', 'f', {noise = -0.5})", "CreateHair: the noise must be a finite number from 0"},
        {"CreateHair('g', 'f', {seed = 1.5})", "CreateHair: seed must be a whole number from 0 to 2147483647"},
        {"CreateHair('g', 'f', {length = 'long'})", "CreateHair: length must be a number"},
        {"CreateHair('g', 'f', {cluster = p})", "CreateHair: the cluster is not a polygon cluster of the emitter"},
        {"CreateHair('g', 'f', 5)", "CreateHair takes a table of options as argument 3"},
        {"CreateHair('empty')", "CreateHair: the emitter is not a polygon mesh object"},
        {"GetStrandPoints('g')", "GetStrandPoints: 'g' is not a hair object"},
        {"GetStrandPoints(h, 0/0)", "GetStrandPoints: strand must be a whole number from 0 to 8"},
        {"GetStrandPoints(h, 9)", "GetStrandPoints: strand must be a whole number from 0 to 8"},
    });
    EXPECT_FALSE(host.Find(L"f").IsValid());
}

TEST_F(FunctionsTest, ParametersAreListedWithTheirRanges) {
    ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
    EXPECT_EQ(Run(std::string(kProximity) +
                  "local params = GetParameters(prop)\n"
                  "local byName = {}\n"
                  "for i, p in ipairs(params) do byName[p.name] = p end\n"
                  "assert(params[1].name == 'Enable', params[1].name)\n"
                  "local far = byName.Far\n"
                  "assert(far.type == 'double' and far.max == 1000 and type(far.caps) == 'number', 'Far')\n"
                  "assert(far.default ~= nil and far.min ~= nil and far.softmin ~= nil and far.softmax ~= nil, 'Far range')\n"
                  "assert(type(far.label) == 'string' and #far.label > 0)\n"
                  "assert(byName.Falloff.type == 'fcurve', byName.Falloff.type)\n"
                  "assert(byName.Enable.type == 'bool', byName.Enable.type)\n"
                  "assert(ClassName(prop) == 'CustomProperty', ClassName(prop))\n"
                  "assert(ClassName(falloff) == 'Parameter' and ClassName('floor') == 'X3DObject')\n"
                  "assert(TypeName('floor') == 'polymsh' and TypeName(map) == 'wtmap', TypeName(map))\n"),
              0)
        << err.str();
    ExpectErrors("CreatePrim('Grid', 'g')", {
        {"GetParameters('nothing')", "object not found: 'nothing'"},
        {"GetParameters(0/0)", "expected a property path (a string) as argument 1"},
        {"ClassName('nothing')", "object not found: 'nothing'"},
        {"TypeName({})", "expected a path (a string) as argument 1"},
    });
}

}  // namespace
