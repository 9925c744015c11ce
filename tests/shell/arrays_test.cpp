// Host objects read into plain arrays: a function curve read once gives the host curve's values
// bit for bit; positions in world space, with indices that name no point.
#include <cmath>
#include <limits>
#include <random>

#include "shell/host/arrays.h"
#include "support.h"
#include "xsi_customproperty.h"
#include "xsi_math.h"
#include "xsi_parameter.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

namespace {

using namespace XSI;

class ArraysTest : public shelltest::HostTest {
protected:
    FCurve NewCurve(const wchar_t* name) {
        SceneItem owner(grid);
        CustomProperty prop;
        owner.AddCustomProperty(CString(name), false, prop);
        return FCurve(prop.AddFCurveParameter(CString(L"Profile")).GetValue());
    }
    CRef grid = host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 2}, {L"subdivv", 2}});
};

// Random keys of every interpolation, default and explicit tangents (some pulled past their
// segment), every extrapolation; the plain curve must match at keys, between them, past both
// ends and at times that are not numbers.
TEST_F(ArraysTest, ACurveReadOnceEvaluatesAsTheHostCurveBitForBit) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int round = 0; round < 200; ++round) {
        FCurve curve = NewCurve((L"Curve" + std::to_wstring(round)).c_str());
        curve.RemoveKeys();
        const int keys = static_cast<int>(rng() % 6);
        double t = -20 + unit(rng) * 40;
        curve.BeginEdit();
        for (int k = 0; k < keys; ++k) {
            auto interpolation = static_cast<siFCurveKeyInterpolation>(rng() % 4);
            if (rng() % 2) {
                curve.AddKey(CTime(t), CValue(unit(rng) * 4 - 2), interpolation);
            } else {
                double lx = -unit(rng) * 30, rx = unit(rng) * 30;
                curve.AddKey(CTime(t), CValue(unit(rng) * 4 - 2), interpolation, lx, unit(rng) * 2 - 1, rx,
                             unit(rng) * 2 - 1);
            }
            t += 0.5 + unit(rng) * 25;
        }
        curve.EndEdit();
        curve.PutInterpolation(static_cast<siFCurveInterpolation>(rng() % 4));
        curve.PutExtrapolation(static_cast<siFCurveExtrapolation>(1 + rng() % 4));
        const orbelin::FunctionCurve plain = orbelin::ReadCurve(curve);
        ASSERT_EQ(static_cast<LONG>(plain.Keys().size()), curve.GetNumKeys());
        std::vector<double> times{-1e6, 1e6, std::numeric_limits<double>::quiet_NaN(),
                                  std::numeric_limits<double>::infinity()};
        for (LONG k = 0; k < curve.GetNumKeys(); ++k) times.push_back(curve.GetKeyTime(k).GetTime());
        for (int s = 0; s < 300; ++s) times.push_back(-60 + unit(rng) * 220);
        std::vector<double> many(times.size());
        plain.EvalMany(times.data(), many.data(), times.size());
        for (size_t s = 0; s < times.size(); ++s) {
            const double host = curve.Eval(times[s]);
            const double mine = plain.Eval(times[s]);
            if (std::isnan(host)) {
                EXPECT_TRUE(std::isnan(mine) && std::isnan(many[s])) << "round " << round << " t " << times[s];
                continue;
            }
            ASSERT_EQ(mine, host) << "round " << round << " t " << times[s];
            ASSERT_EQ(many[s], host) << "round " << round << " t " << times[s];
        }
    }
}

TEST_F(ArraysTest, WorldPositionsOfPointsAndOfIndicesThatNameNone) {
    X3DObject object(grid);
    MATH::CTransformation t;
    t.SetIdentity();
    t.SetScalingFromValues(2, 2, 2);
    t.SetTranslationFromValues(1, -3, 10);
    Geometry geometry = object.GetActivePrimitive().GetGeometry();
    MATH::CVector3Array local = geometry.GetPoints().GetPositionArray();
    std::vector<orbelin::Vec3> world;
    orbelin::ReadWorldPositions(geometry, t, world);
    ASSERT_EQ(static_cast<LONG>(world.size()), local.GetCount());
    for (LONG i = 0; i < local.GetCount(); ++i) {
        MATH::CVector3 expected = MATH::MapObjectPositionToWorldSpace(t, local[i]);
        EXPECT_EQ(world[static_cast<size_t>(i)], (orbelin::Vec3{expected.GetX(), expected.GetY(), expected.GetZ()}));
    }
    CLongArray indices;
    for (LONG i : {4L, -1L, 0L, 9L, 2147483647L}) indices.Add(i);
    orbelin::ReadWorldPositions(geometry, t, indices, world);
    ASSERT_EQ(world.size(), 5u);
    MATH::CVector3 p4 = MATH::MapObjectPositionToWorldSpace(t, local[4]);
    EXPECT_EQ(world[0], (orbelin::Vec3{p4.GetX(), p4.GetY(), p4.GetZ()}));
    EXPECT_EQ(world[1], (orbelin::Vec3{0, 0, 0}));
    EXPECT_EQ(world[3], (orbelin::Vec3{0, 0, 0}));
    EXPECT_EQ(world[4], (orbelin::Vec3{0, 0, 0}));
}

}  // namespace
