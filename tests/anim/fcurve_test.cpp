#include "anim/fcurve.h"

#include <cfloat>
#include <cmath>

#include <gtest/gtest.h>

namespace {

using standin::FCurve;
using standin::FCurveKey;

constexpr double D = DBL_MAX;

// What the plug-in's Define does for its fall-off curve.
FCurve DefaultRamp() {
    FCurve c;
    c.RemoveKeys();
    c.BeginEdit();
    c.AddKey(0.0, 0.0);
    c.AddKey(100.0, 1.0);
    c.EndEdit();
    return c;
}

double Derivative(const FCurve& c, double t, double h) { return (c.Eval(t + h) - c.Eval(t)) / h; }

TEST(FCurve, EmptyAndSingleKey) {
    FCurve c;
    EXPECT_EQ(c.Eval(3.0), 0.0);
    c.AddKey(5.0, 2.5);
    c.SetExtrapolation(FCurve::LinearExtrapolation);
    for (double t : {-100.0, 5.0, 7.0, 1e6}) EXPECT_EQ(c.Eval(t), 2.5);
}

TEST(FCurve, TwoDefaultKeysAreAStraightLine) {
    const FCurve c = DefaultRamp();
    ASSERT_EQ(c.NumKeys(), 2u);
    EXPECT_EQ(c.SegmentInterpolation(0), FCurve::CubicInterpolation);
    for (int i = 0; i <= 4000; ++i) {
        const double t = i * 0.025;
        EXPECT_NEAR(c.Eval(t), t / 100.0, 1e-12) << "t = " << t;
    }
    // Also without an edit bracket.
    FCurve d;
    d.AddKey(100.0, 1.0);
    d.AddKey(0.0, 0.0);
    for (double t : {0.0, 1e-9, 33.3, 50.0, 99.99, 100.0}) EXPECT_NEAR(d.Eval(t), t / 100.0, 1e-12);
}

TEST(FCurve, ConstantExtrapolationOnBothSides) {
    const FCurve c = DefaultRamp();  // constant is the default
    EXPECT_EQ(c.GetExtrapolation(), FCurve::ConstantExtrapolation);
    EXPECT_EQ(c.Eval(-50.0), 0.0);
    EXPECT_EQ(c.Eval(1e9), 1.0);
}

TEST(FCurve, LinearExtrapolationOnBothSides) {
    FCurve c = DefaultRamp();
    c.SetExtrapolation(FCurve::LinearExtrapolation);
    EXPECT_NEAR(c.Eval(-50.0), -0.5, 1e-12);
    EXPECT_NEAR(c.Eval(250.0), 2.5, 1e-12);

    // Cubic ends continue with the end keys' tangents: slope 1 before, -1 after.
    FCurve peak;
    peak.SetExtrapolation(FCurve::LinearExtrapolation);
    peak.AddKey(0.0, 0.0);
    peak.AddKey(10.0, 10.0);
    peak.AddKey(20.0, 0.0);
    EXPECT_NEAR(peak.Eval(-5.0), -5.0, 1e-12);
    EXPECT_NEAR(peak.Eval(30.0), -10.0, 1e-12);

    // The cache map's timing warp: a linear identity curve stays the identity outside its keys.
    FCurve warp;
    warp.BeginEdit();
    warp.AddKey(1.0, 1.0);
    warp.AddKey(100.0, 100.0);
    warp.EndEdit();
    warp.SetInterpolation(FCurve::LinearInterpolation);
    warp.SetExtrapolation(FCurve::LinearExtrapolation);
    for (double t : {-20.0, 1.0, 42.5, 100.0, 250.0}) EXPECT_NEAR(warp.Eval(t), t, 1e-12);
}

TEST(FCurve, LinearAndConstantCurveInterpolation) {
    FCurve c;
    c.AddKey(0.0, 0.0);
    c.AddKey(10.0, 10.0);
    c.AddKey(20.0, 0.0);
    c.SetInterpolation(FCurve::LinearInterpolation);
    EXPECT_DOUBLE_EQ(c.Eval(2.5), 2.5);
    EXPECT_DOUBLE_EQ(c.Eval(15.0), 5.0);

    c.SetInterpolation(FCurve::ConstantInterpolation);
    EXPECT_EQ(c.Eval(9.999), 0.0);
    EXPECT_EQ(c.Eval(10.0), 10.0);
    EXPECT_EQ(c.Eval(19.0), 10.0);
    EXPECT_EQ(c.Eval(20.0), 0.0);

    // A key's own interpolation wins over the curve's for the segment it starts.
    c.AddKey(0.0, 0.0, FCurveKey::Linear);
    EXPECT_DOUBLE_EQ(c.Eval(5.0), 5.0);
    EXPECT_EQ(c.Eval(15.0), 10.0);
}

TEST(FCurve, CubicThroughThreeKeysIsSmooth) {
    FCurve c;
    c.AddKey(0.0, 0.0);
    c.AddKey(10.0, 5.0);
    c.AddKey(30.0, 20.0);
    EXPECT_DOUBLE_EQ(c.Eval(0.0), 0.0);
    EXPECT_DOUBLE_EQ(c.Eval(10.0), 5.0);
    EXPECT_DOUBLE_EQ(c.Eval(30.0), 20.0);
    // Not the broken line through the keys...
    EXPECT_GT(std::abs(c.Eval(5.0) - 2.5), 1e-3);
    // ...and the same slope on both sides of the middle key: (20 - 0) / (30 - 0).
    const double h = 1e-6;
    const double left = Derivative(c, 10.0, -h);
    const double right = Derivative(c, 10.0, h);
    EXPECT_NEAR(left, 2.0 / 3.0, 1e-5);
    EXPECT_NEAR(right, 2.0 / 3.0, 1e-5);
}

TEST(FCurve, RemoveKeys) {
    FCurve c;
    for (double t : {0.0, 10.0, 20.0, 30.0, 40.0}) c.AddKey(t, t);
    EXPECT_EQ(c.NumKeys(10.0, 30.0), 3u);
    EXPECT_EQ(c.RemoveKeys(10.0, 30.0), 3u);  // inclusive at both ends
    ASSERT_EQ(c.NumKeys(), 2u);
    EXPECT_EQ(c.key(0).time, 0.0);
    EXPECT_EQ(c.key(1).time, 40.0);
    EXPECT_EQ(c.RemoveKeys(41.0, 50.0), 0u);
    EXPECT_EQ(c.RemoveKeys(), 2u);  // defaults: first to last key
    EXPECT_EQ(c.NumKeys(), 0u);
    EXPECT_EQ(c.Eval(10.0), 0.0);
    EXPECT_EQ(c.RemoveKeys(), 0u);
    // Open-ended: from a time to the last key.
    for (double t : {0.0, 10.0, 20.0}) c.AddKey(t, t);
    EXPECT_EQ(c.RemoveKeys(5.0, D), 2u);
}

TEST(FCurve, AddKeyKeepsOrderAndReplacesAtSameTime) {
    FCurve c;
    EXPECT_EQ(c.AddKey(20.0, 2.0), 0u);
    EXPECT_EQ(c.AddKey(5.0, 0.5), 0u);
    EXPECT_EQ(c.AddKey(10.0, 1.0), 1u);
    EXPECT_EQ(c.AddKey(10.0, 7.0, FCurveKey::Constant), 1u);
    ASSERT_EQ(c.NumKeys(), 3u);
    EXPECT_EQ(c.key(1).value, 7.0);
    EXPECT_EQ(c.key(1).interpolation, FCurveKey::Constant);
    EXPECT_EQ(c.AddKey(10.0 + 1e-9, 8.0), 1u);  // within the default tolerance
    EXPECT_EQ(c.NumKeys(), 3u);
    EXPECT_EQ(c.AddKey(10.4, 9.0, FCurveKey::Default, D, D, D, D, 0.5), 1u);  // explicit tolerance
    ASSERT_EQ(c.NumKeys(), 3u);
    EXPECT_EQ(c.key(1).time, 10.4);
    EXPECT_EQ(c.key(1).value, 9.0);
    EXPECT_EQ(c.AddKey(10.5, 1.0), 2u);  // a distinct key
    EXPECT_EQ(c.NumKeys(), 4u);
}

TEST(FCurve, PeriodicExtrapolation) {
    FCurve c;
    c.SetInterpolation(FCurve::LinearInterpolation);
    c.AddKey(0.0, 0.0);
    c.AddKey(10.0, 10.0);
    c.SetExtrapolation(FCurve::PeriodicExtrapolation);
    EXPECT_NEAR(c.Eval(15.0), 5.0, 1e-12);
    EXPECT_NEAR(c.Eval(-5.0), 5.0, 1e-12);
    EXPECT_NEAR(c.Eval(-27.5), 2.5, 1e-12);
    EXPECT_NEAR(c.Eval(1003.0), 3.0, 1e-9);

    c.SetExtrapolation(FCurve::PeriodicRelativeExtrapolation);
    EXPECT_NEAR(c.Eval(15.0), 15.0, 1e-12);
    EXPECT_NEAR(c.Eval(-5.0), -5.0, 1e-12);
    EXPECT_NEAR(c.Eval(-27.5), -27.5, 1e-12);
    EXPECT_NEAR(c.Eval(20.0), 20.0, 1e-12);
}

TEST(FCurve, BezierWithNonLinearTimeHandles) {
    // Long right handle on the first key, short left one on the second: time is far from
    // linear in the Bezier parameter, so Eval must solve for it.
    FCurve c;
    c.AddKey(0.0, 0.0, FCurveKey::Cubic, -10.0, 0.0, 80.0, 0.0);
    c.AddKey(100.0, 1.0, FCurveKey::Cubic, -5.0, 0.0, 10.0, 0.0);
    EXPECT_FALSE(c.key(0).defaultRight);

    double previous = c.Eval(0.0);
    EXPECT_EQ(previous, 0.0);
    for (int i = 1; i <= 1000; ++i) {
        const double v = c.Eval(i * 0.1);
        EXPECT_GE(v, previous) << "t = " << i * 0.1;
        previous = v;
    }
    EXPECT_DOUBLE_EQ(previous, 1.0);

    // Each point of the Bezier is where Eval puts it.
    const double x[] = {0.0, 80.0, 95.0, 100.0}, y[] = {0.0, 0.0, 1.0, 1.0};
    for (int i = 0; i <= 50; ++i) {
        const double u = i / 50.0, s = 1.0 - u;
        const double bx = s * s * s * x[0] + 3 * s * s * u * x[1] + 3 * s * u * u * x[2] + u * u * u * x[3];
        const double by = s * s * s * y[0] + 3 * s * s * u * y[1] + 3 * s * u * u * y[2] + u * u * u * y[3];
        EXPECT_NEAR(c.Eval(bx), by, 1e-9) << "u = " << u;
    }

    // Handles reaching past the next key are bounded, so time still only moves forward.
    FCurve wild;
    wild.AddKey(0.0, 0.0, FCurveKey::Cubic, D, D, 300.0, 3.0);
    wild.AddKey(100.0, 1.0, FCurveKey::Cubic, -250.0, 0.0, D, D);
    previous = wild.Eval(0.0);
    for (int i = 1; i <= 1000; ++i) {
        const double v = wild.Eval(i * 0.1);
        ASSERT_FALSE(std::isnan(v));
        EXPECT_GE(v, previous - 1e-12) << "t = " << i * 0.1;
        previous = v;
    }
}

TEST(FCurve, NonFiniteTimesStayInBounds) {
    FCurve c = DefaultRamp();
    for (int ex : {1, 2, 3, 4}) {
        c.SetExtrapolation(ex);
        c.Eval(std::nan(""));  // anything but a crash
        c.Eval(INFINITY);
        c.Eval(-INFINITY);
    }
}

TEST(FCurve, EditBatchesTangentUpdates) {
    FCurve c = DefaultRamp();
    EXPECT_NEAR(c.key(1).leftX, -100.0 / 3.0, 1e-12);
    EXPECT_NEAR(c.key(1).leftY, -1.0 / 3.0, 1e-12);

    c.BeginEdit();
    EXPECT_TRUE(c.IsEditing());
    c.AddKey(200.0, 0.0);
    EXPECT_NEAR(c.key(1).leftY, -1.0 / 3.0, 1e-12);  // not yet
    EXPECT_TRUE(c.EndEdit());
    EXPECT_FALSE(c.IsEditing());
    EXPECT_NEAR(c.key(1).leftY, 0.0, 1e-12);  // (0 - 0) / 200: flat at the peak
    EXPECT_FALSE(c.EndEdit());

    c.BeginEdit();
    c.RemoveKeys();
    EXPECT_TRUE(c.UndoEdit());
    EXPECT_EQ(c.NumKeys(), 3u);
    EXPECT_FALSE(c.IsEditing());
}

}  // namespace
