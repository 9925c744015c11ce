// CVector3, CMatrix4, CRotation, CTransformation and the mapping functions.
#include <gtest/gtest.h>

#include <random>

#include "xsi_math.h"
#include "xsi_matrix4.h"
#include "xsi_rotation.h"
#include "xsi_transformation.h"
#include "xsi_vector3.h"

using namespace XSI::MATH;

namespace {
constexpr double kEps = 1e-9;

CTransformation Srt(double sx, double sy, double sz, double rx, double ry, double rz, double tx, double ty, double tz,
                    CRotation::RotationOrder order = CRotation::siXYZ) {
    CTransformation t;
    t.SetScalingFromValues(sx, sy, sz);
    t.SetRotationFromXYZAnglesValues(DegreesToRadians(rx), DegreesToRadians(ry), DegreesToRadians(rz), order);
    t.SetTranslationFromValues(tx, ty, tz);
    return t;
}

CVector3 Map(const CVector3& p, const CTransformation& t) {
    CVector3 out;
    return out.MulByTransformation(p, t);
}

::testing::AssertionResult Near(const CVector3& a, const CVector3& b, double eps = kEps) {
    if (a.EpsilonEquals(b, eps)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << a.GetX() << ", " << a.GetY() << ", " << a.GetZ() << ") vs ("
                                         << b.GetX() << ", " << b.GetY() << ", " << b.GetZ() << ")";
}

const CRotation::RotationOrder kOrders[] = {CRotation::siXYZ, CRotation::siXZY, CRotation::siYXZ,
                                            CRotation::siYZX, CRotation::siZXY, CRotation::siZYX};
}  // namespace

TEST(CVector3, Basics) {
    CVector3 v(3, 4, 0);
    EXPECT_EQ(v.GetLength(), 5);
    EXPECT_EQ(v.GetLengthSquared(), 25);
    EXPECT_EQ(v[0], 3);
    EXPECT_EQ(v[1], 4);
    EXPECT_EQ(v.NormalizeInPlace(), XSI::CStatus::OK);
    EXPECT_TRUE(Near(v, CVector3(0.6, 0.8, 0)));
    CVector3 zero;
    EXPECT_EQ(zero.NormalizeInPlace(), XSI::CStatus::Fail);
    EXPECT_EQ(zero, CVector3(0, 0, 0));
    CVector3 c;
    c.Cross(CVector3(1, 0, 0), CVector3(0, 1, 0));
    EXPECT_EQ(c, CVector3(0, 0, 1));
    EXPECT_NEAR(CVector3(1, 0, 0).GetAngle(CVector3(0, 2, 0)), PI / 2, kEps);
    EXPECT_EQ(CVector3(1, 0, 0).GetAngle(CVector3()), 0.0);
    CVector3 s;
    s.ScaleAdd(2, CVector3(1, 2, 3), CVector3(1, 1, 1));
    EXPECT_EQ(s, CVector3(3, 5, 7));
    s.LinearlyInterpolate(CVector3(0, 0, 0), CVector3(2, 4, 6), 0.5);
    EXPECT_EQ(s, CVector3(1, 2, 3));
    s *= 2.0;
    s -= CVector3(1, 1, 1);
    s += CVector3(0, 0, 1);
    EXPECT_EQ(s, CVector3(1, 3, 6));
    EXPECT_EQ(s.Dot(CVector3(1, 1, 1)), 10);
    s.NegateInPlace();
    EXPECT_EQ(s, CVector3(-1, -3, -6));
}

TEST(Math, AngleUnits) {
    EXPECT_EQ(DegreesToRadians(180.0), PI);
    EXPECT_EQ(DegreesToRadians(1.0), 0.017453292519943295);
    EXPECT_NEAR(RadiansToDegrees(PI / 2), 90.0, 1e-12);
}

TEST(CMatrix4, MulInvertTranspose) {
    CMatrix4 m(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 1, 2, 3, 1);
    EXPECT_EQ(m.GetDeterminant(), 24);
    CMatrix4 inv;
    ASSERT_TRUE(inv.Invert(m));
    CMatrix4 prod;
    prod.Mul(m, inv);
    EXPECT_TRUE(prod.EpsilonEquals(CMatrix4(), kEps));
    CMatrix4 t;
    t.Transpose(m);
    EXPECT_EQ(t.GetValue(0, 3), 1);
    EXPECT_EQ(t(3, 0), 0);
    CMatrix4 singular(1, 2, 3, 4, 2, 4, 6, 8, 0, 0, 1, 0, 0, 0, 0, 1);
    CMatrix4 before = singular;
    EXPECT_FALSE(singular.InvertInPlace());
    EXPECT_EQ(singular, before);
    CVector3 p(1, 1, 1);
    p.MulByMatrix4InPlace(m);
    EXPECT_EQ(p, CVector3(3, 5, 7));
}

TEST(CTransformation, KnownRotations) {
    // 90° about Z maps x to y; about X maps y to z; about Y maps z to x.
    EXPECT_TRUE(Near(Map(CVector3(1, 0, 0), Srt(1, 1, 1, 0, 0, 90, 0, 0, 0)), CVector3(0, 1, 0)));
    EXPECT_TRUE(Near(Map(CVector3(0, 1, 0), Srt(1, 1, 1, 90, 0, 0, 0, 0, 0)), CVector3(0, 0, 1)));
    EXPECT_TRUE(Near(Map(CVector3(0, 0, 1), Srt(1, 1, 1, 0, 90, 0, 0, 0, 0)), CVector3(1, 0, 0)));
}

TEST(CTransformation, RotationOrderXYZTurnsAboutXFirst) {
    // y --X(90)--> z --Y(90)--> x
    EXPECT_TRUE(Near(Map(CVector3(0, 1, 0), Srt(1, 1, 1, 90, 90, 0, 0, 0, 0, CRotation::siXYZ)), CVector3(1, 0, 0)));
    // y --Y(90)--> y --X(90)--> z
    EXPECT_TRUE(Near(Map(CVector3(0, 1, 0), Srt(1, 1, 1, 90, 90, 0, 0, 0, 0, CRotation::siYXZ)), CVector3(0, 0, 1)));
}

TEST(CTransformation, ScaleThenRotateThenTranslate) {
    const CTransformation t = Srt(2, 1, 1, 0, 0, 90, 10, 0, 0);
    // (1,0,0) → scale (2,0,0) → rotate (0,2,0) → translate (10,2,0)
    EXPECT_TRUE(Near(Map(CVector3(1, 0, 0), t), CVector3(10, 2, 0)));
    EXPECT_TRUE(Near(MapObjectPositionToWorldSpace(t, CVector3(1, 0, 0)), CVector3(10, 2, 0)));
    CVector3 p(1, 0, 0);
    p *= t;
    EXPECT_TRUE(Near(p, CVector3(10, 2, 0)));
}

TEST(CTransformation, PartsReadBackAfterSet) {
    CTransformation t;
    t.SetTranslationFromValues(1, 2, 3);
    t.SetRotationFromXYZAnglesValues(0.1, 0.2, 0.3, CRotation::siZXY);
    t.SetScalingFromValues(2, 3, 4);
    double x, y, z;
    t.GetTranslationValues(x, y, z);
    EXPECT_EQ(CVector3(x, y, z), CVector3(1, 2, 3));
    t.GetRotationFromXYZAnglesValues(x, y, z);
    EXPECT_EQ(CVector3(x, y, z), CVector3(0.1, 0.2, 0.3));
    EXPECT_EQ(t.GetRotationOrder(), CRotation::siZXY);
    t.GetScalingValues(x, y, z);
    EXPECT_EQ(CVector3(x, y, z), CVector3(2, 3, 4));

    t.SetRotationFromXYZAnglesValues(0.4, 0.5, 0.6);  // keeps ZXY
    EXPECT_EQ(t.GetRotationOrder(), CRotation::siZXY);
    EXPECT_EQ(t.GetRotationXYZAngles(), CVector3(0.4, 0.5, 0.6));
    t.SetPosX(7);
    t.SetPosY(8);
    t.SetPosZ(9);
    EXPECT_EQ(t.GetTranslation(), CVector3(7, 8, 9));
    EXPECT_EQ(t.GetPosY(), 8);
    t.SetScaling(CVector3(1, 1, 5));
    EXPECT_EQ(t.GetScaling(), CVector3(1, 1, 5));
    t.SetRotationFromXYZAngles(CVector3(0, 0, 0));
    t.SetTranslation(CVector3());
    CTransformation expected;
    expected.SetScalingFromValues(1, 1, 5);
    EXPECT_TRUE(t == expected);
    t.SetIdentity();
    EXPECT_TRUE(t == CTransformation());
    EXPECT_EQ(t.GetScaling(), CVector3(1, 1, 1));
}

TEST(CTransformation, EulerAnglesSurviveMatrixRoundTripInEveryOrder) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> outer(-PI * 0.95, PI * 0.95), middle(-PI * 0.45, PI * 0.45);
    for (CRotation::RotationOrder order : kOrders) {
        for (int n = 0; n < 50; ++n) {
            double a[3] = {outer(rng), outer(rng), outer(rng)};
            // The second axis of the order stays within ±90°, where angles are unique.
            const int middleAxis[6] = {1, 2, 0, 2, 0, 1};
            a[middleAxis[order]] = middle(rng);
            CTransformation t;
            t.SetRotationFromXYZAnglesValues(a[0], a[1], a[2], order);
            CTransformation back;
            back.SetRotationFromXYZAnglesValues(0, 0, 0, order);
            back.SetMatrix4(t.GetMatrix4());
            EXPECT_TRUE(Near(back.GetRotationXYZAngles(), CVector3(a[0], a[1], a[2]), 1e-9)) << "order " << order;
            EXPECT_TRUE(back.EpsilonEquals(t, 1e-12));
        }
    }
}

TEST(CTransformation, GimbalLockStillRebuildsTheSameMatrix) {
    for (CRotation::RotationOrder order : kOrders) {
        const CTransformation t = Srt(1, 1, 1, 90, 90, 90, 0, 0, 0, order);
        CTransformation back;
        back.SetRotationFromXYZAnglesValues(0, 0, 0, order);
        back.SetMatrix4(t.GetMatrix4());
        CTransformation rebuilt;
        rebuilt.SetRotation(back.GetRotation());
        EXPECT_TRUE(rebuilt.EpsilonEquals(t, 1e-9)) << "order " << order;
    }
}

TEST(CTransformation, SetMatrix4DecomposesScaleRotationTranslation) {
    const CTransformation t = Srt(2, 3, 0.5, 30, -20, 45, 1, 2, 3);
    CTransformation d;
    d.SetMatrix4(t.GetMatrix4());
    EXPECT_TRUE(Near(d.GetScaling(), CVector3(2, 3, 0.5)));
    EXPECT_TRUE(Near(d.GetRotationXYZAngles(), t.GetRotationXYZAngles()));
    EXPECT_TRUE(Near(d.GetTranslation(), CVector3(1, 2, 3)));

    // A mirror shows as a negative x scale.
    CTransformation mirror;
    mirror.SetMatrix4(CMatrix4(-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    EXPECT_TRUE(Near(mirror.GetScaling(), CVector3(-1, 1, 1)));
    EXPECT_TRUE(Near(mirror.GetRotationXYZAngles(), CVector3(0, 0, 0)));
}

TEST(CTransformation, MulIsAThenB) {
    const CTransformation a = Srt(2, 1, 3, 10, 20, 30, 1, -2, 3);
    const CTransformation b = Srt(0.5, 4, 1, -40, 15, 70, -5, 6, 0.5);
    CTransformation ab;
    ab.Mul(a, b);
    const CVector3 p(0.3, -1.2, 2.5);
    EXPECT_TRUE(Near(Map(p, ab), Map(Map(p, a), b)));
    CTransformation inPlace = a;
    inPlace.MulInPlace(b);
    EXPECT_TRUE(inPlace == ab);
    CTransformation self = a;
    self.Mul(self, self);
    EXPECT_TRUE(Near(Map(p, self), Map(Map(p, a), a)));
}

TEST(CTransformation, InvertHandlesRotationAndNonUniformScale) {
    const CTransformation t = Srt(2, 0.5, 3, 25, -60, 110, 4, 5, -6);
    CTransformation inv;
    inv.Invert(t);
    CTransformation id;
    id.Mul(t, inv);
    EXPECT_TRUE(id.EpsilonEquals(CTransformation(), 1e-12));
    id.Mul(inv, t);
    EXPECT_TRUE(id.EpsilonEquals(CTransformation(), 1e-12));
    const CVector3 p(1.5, -2, 0.25);
    EXPECT_TRUE(Near(Map(Map(p, t), inv), p));

    // A product with shear (non-uniform scale under a rotation) inverts exactly too.
    CTransformation sheared;
    sheared.Mul(Srt(1, 4, 1, 0, 0, 0, 0, 0, 0), Srt(1, 1, 1, 0, 0, 45, 1, 1, 1));
    sheared.MulInPlace(Srt(3, 1, 1, 0, 0, 0, 0, 0, 0));
    CTransformation shearedInv = sheared;
    shearedInv.InvertInPlace();
    EXPECT_TRUE(Near(Map(Map(p, sheared), shearedInv), p));

    CTransformation twice = inv;
    twice.InvertInPlace();
    EXPECT_TRUE(twice.EpsilonEquals(t, 1e-12));
    EXPECT_TRUE(Near(twice.GetScaling(), CVector3(2, 0.5, 3)));
}

TEST(CTransformation, SingularInvertLeavesTheTargetUnchanged) {
    const CTransformation flat = Srt(1, 0, 1, 0, 0, 0, 1, 2, 3);
    CTransformation target = Srt(2, 2, 2, 0, 0, 0, 0, 0, 0);
    const CTransformation before = target;
    target.Invert(flat);
    EXPECT_TRUE(target == before);
    CTransformation self = flat;
    self.InvertInPlace();
    EXPECT_TRUE(self == flat);
}

TEST(MapFunctions, WorldAndObjectSpaceRoundTrip) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> angle(-180, 180), scale(0.2, 5), offset(-10, 10);
    for (int n = 0; n < 100; ++n) {
        const CTransformation t = Srt(scale(rng), scale(rng), scale(rng), angle(rng), angle(rng), angle(rng), offset(rng),
                                      offset(rng), offset(rng), kOrders[n % 6]);
        const CVector3 p(offset(rng), offset(rng), offset(rng));
        EXPECT_TRUE(Near(MapWorldPositionToObjectSpace(t, MapObjectPositionToWorldSpace(t, p)), p, 1e-9));
        EXPECT_TRUE(Near(MapObjectPositionToWorldSpace(t, MapWorldPositionToObjectSpace(t, p)), p, 1e-9));
        EXPECT_TRUE(Near(MapObjectPositionToObjectSpace(t, t, p), p, 1e-9));
    }
}

TEST(MapFunctions, ObjectToObjectGoesThroughWorld) {
    const CTransformation a = Srt(1, 2, 1, 0, 0, 90, 5, 0, 0);
    const CTransformation b = Srt(2, 2, 2, 0, 0, 0, 0, 1, 0);
    const CVector3 p(1, 1, 0);
    // a: (1,1,0) → scale (1,2,0) → rotZ90 (-2,1,0) → (3,1,0); b⁻¹: ((3,1,0) − (0,1,0)) / 2 = (1.5,0,0)
    EXPECT_TRUE(Near(MapObjectPositionToWorldSpace(a, p), CVector3(3, 1, 0)));
    EXPECT_TRUE(Near(MapObjectPositionToObjectSpace(a, b, p), CVector3(1.5, 0, 0)));
    EXPECT_TRUE(Near(MapWorldPositionToObjectSpace(a, CVector3(3, 1, 0)), p));
}

TEST(CRotation, MatrixAndEquality) {
    CRotation r(0, 0, PI / 2);
    CVector3 p(1, 0, 0);
    p.MulByMatrix4InPlace(r.GetMatrix4());
    EXPECT_TRUE(Near(p, CVector3(0, 1, 0)));
    CRotation same;
    same.SetFromMatrix4(r.GetMatrix4(), CRotation::siZYX);
    EXPECT_EQ(same.GetOrder(), CRotation::siZYX);
    EXPECT_TRUE(same.EpsilonEquals(r, 1e-12));
    EXPECT_TRUE(CRotation(0, 0, 0, CRotation::siXYZ) == CRotation(0, 0, 0, CRotation::siZYX));
    EXPECT_TRUE(CRotation(0.1, 0, 0) != CRotation(0.2, 0, 0));
}
