// A NURBS curve as plain data, prepared for closest-point queries from any thread.
//
// The curve is given the way the host hands out its full form: the degree, the knot vector
// (control point count + degree + 1 values, clamped or periodic) and the control points as
// (x, y, z, w), w the rational weight. Each knot span becomes a polynomial in a local
// parameter t in [0, 1] (homogeneous coordinates), with the box of its Bezier points around
// it: with positive weights the span never leaves that box, so a query skips the spans whose
// box is farther than the best point found so far.
//
// On a span the stationary points of the squared distance are the roots of one polynomial of
// degree at most 3 x degree - 1; they are isolated by subdividing its Bernstein form and
// refined by bisection, so the span's minimum is found, not a local one.
#pragma once

#include <array>
#include <span>
#include <vector>

namespace orbelin::gradientcurve {

using Vec3 = std::array<double, 3>;
using Vec4 = std::array<double, 4>;  // x, y, z, w

struct Box {
    Vec3 lo{0, 0, 0}, hi{0, 0, 0};
    bool bounded = false;  // false: no bound is known (a weight not positive), every point may be near
    // The squared distance from p to the box, never above the squared distance from p to any
    // point inside it; 0 when unbounded.
    double SquaredGap(const Vec3& p) const;
};

struct ClosestPoint {
    double squaredDistance = 0.0;
    double u = 0.0;           // the curve's own parameter
    double normalized = 0.0;  // (u - UMin) / (UMax - UMin)
};

class Curve {
public:
    // An empty curve (no spans) when the data describe none: a degree below 1, too few knots
    // or points, or knots that do not increase. Such a curve is never near anything.
    Curve(int degree, std::span<const double> knots, std::span<const Vec4> points);

    bool Empty() const { return m_spans.empty(); }
    const Box& Bounds() const { return m_box; }
    double UMin() const { return m_uMin; }
    double UMax() const { return m_uMax; }

    // The nearest point to p when it is nearer than `beat` (squared); false otherwise (spans
    // that cannot beat it are not looked at). Deterministic: the same p gives the same answer.
    bool Closest(const Vec3& p, double beat, ClosestPoint& out) const;
    // The same answer, looking at the spans nearest box first: faster when the curve has
    // many spans and p is near few of them.
    bool ClosestNearestFirst(const Vec3& p, double beat, ClosestPoint& out) const;
    // The position at the curve's own parameter u (clamped to the range).
    Vec3 Evaluate(double u) const;

private:
    struct Span {
        double u0 = 0.0, u1 = 0.0;
        int degree = 0;
        std::array<Vec4, 4> a{};  // power basis in t: coefficient of t^k for x*w, y*w, z*w, w
        Box box;
        // The span lies within `radius` of the chord from its first to its last Bezier point
        // (every Bezier point does, so their hull does); radius < 0 when not known.
        Vec3 chord0{0, 0, 0}, chord1{0, 0, 0};
        double radius = -1.0;
        // Never above the squared distance from p to any point of the span; the finer bound
        // is worked out only when the box alone does not already lie beyond `beat`.
        double Bound(const Vec3& p, double beat) const;
    };
    std::vector<Span> m_spans;
    Box m_box;
    double m_uMin = 0.0, m_uMax = 1.0;

    static bool ClosestOnSpan(const Span& s, const Vec3& p, double& d2, double& t);
    void Found(const Span& s, double d2, double t, ClosestPoint& out) const;
};

}  // namespace orbelin::gradientcurve
