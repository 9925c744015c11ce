#include "common/function_curve.h"

#include <algorithm>
#include <cmath>

namespace orbelin {

namespace {

double BezierDerivative(double p0, double p1, double p2, double p3, double u) {
    const double s = 1.0 - u;
    return 3.0 * (s * s * (p1 - p0) + 2.0 * s * u * (p2 - p1) + u * u * (p3 - p2));
}

// A handle's time offset is kept within its segment and on its own side, its value offset
// scaled with it: time is then non-decreasing in the Bezier parameter.
void ClampHandle(double dt, double sign, double& dx, double& dy) {
    if (dx * sign < 0.0) dx = 0.0;
    if (std::abs(dx) > dt) {
        const double scale = dt / std::abs(dx);
        dx *= scale;
        dy *= scale;
    }
}

double Slope(double dx, double dy) { return dx != 0.0 ? dy / dx : 0.0; }

}  // namespace

FunctionCurve::FunctionCurve(std::vector<CurveKey> keys, int interpolation, int extrapolation)
    : keys_(std::move(keys)), interpolation_(interpolation), extrapolation_(extrapolation) {
    for (size_t i = 0; i + 1 < keys_.size(); ++i) {
        const CurveKey& a = keys_[i];
        const CurveKey& b = keys_[i + 1];
        const double dt = b.time - a.time;
        Segment s{};
        s.kind = SegmentInterpolation(i);
        double rx = a.rightX, ry = a.rightY, lx = b.leftX, ly = b.leftY;
        ClampHandle(dt, 1.0, rx, ry);
        ClampHandle(dt, -1.0, lx, ly);
        s.x[0] = a.time, s.x[1] = a.time + rx, s.x[2] = b.time + lx, s.x[3] = b.time;
        s.y[0] = a.value, s.y[1] = a.value + ry, s.y[2] = b.value + ly, s.y[3] = b.value;
        const double eps = 1e-12 * dt;
        s.linearTime = std::abs(rx - dt / 3.0) <= eps && std::abs(-lx - dt / 3.0) <= eps;
        segments_.push_back(s);
    }
}

int FunctionCurve::SegmentInterpolation(size_t i) const {
    const int k = keys_[i].interpolation;
    if (k >= ConstantInterpolation && k <= CubicInterpolation) return k;
    if (interpolation_ == ConstantInterpolation || interpolation_ == LinearInterpolation) return interpolation_;
    return CubicInterpolation;
}

// Past the ends a linear extrapolation follows the end segment's outward slope: the tangent
// of a cubic segment, the segment's own slope when it is linear, flat when constant.
double FunctionCurve::EndSlope(bool last) const {
    const size_t n = keys_.size();
    const size_t seg = last ? n - 2 : 0;
    const CurveKey& a = keys_[seg];
    const CurveKey& b = keys_[seg + 1];
    switch (SegmentInterpolation(seg)) {
    case ConstantInterpolation: return 0.0;
    case LinearInterpolation: return (b.value - a.value) / (b.time - a.time);
    default: return last ? Slope(b.rightX, b.rightY) : Slope(a.leftX, a.leftY);
    }
}

double FunctionCurve::EvalAnywhere(double time) const {
    const size_t n = keys_.size();
    if (n == 0) return 0.0;
    if (n == 1) return keys_[0].value;
    const CurveKey& first = keys_.front();
    const CurveKey& last = keys_.back();
    if (time >= first.time && time <= last.time) return EvalInRange(time);

    switch (extrapolation_) {
    case LinearExtrapolation:
        return time < first.time ? first.value + (time - first.time) * EndSlope(false)
                                 : last.value + (time - last.time) * EndSlope(true);
    case PeriodicExtrapolation:
    case PeriodicRelativeExtrapolation: {
        const double period = last.time - first.time;
        const double cycles = std::floor((time - first.time) / period);
        const double local = std::clamp(time - cycles * period, first.time, last.time);
        const double offset = extrapolation_ == PeriodicRelativeExtrapolation ? cycles * (last.value - first.value) : 0.0;
        return EvalInRange(local) + offset;
    }
    default:
        return time < first.time ? first.value : last.value;
    }
}

namespace {

// One segment between two keys, every value as if inside it: the operations of EvalInside.
// Built for wider vector lanes too where the processor has them; the arithmetic, and so every
// value, is the same.
[[gnu::target_clones("avx2", "default")]] void EvalOneSegment(const double* time, double* out, std::size_t n, double t0,
                                                              double dt, bool linear, double v0, double v1, double y0,
                                                              double y1, double y2, double y3) {
    if (linear) {
        for (std::size_t k = 0; k < n; ++k) out[k] = v0 + (v1 - v0) * (time[k] - t0) / dt;
        return;
    }
    for (std::size_t k = 0; k < n; ++k) {
        const double u = (time[k] - t0) / dt, s = 1.0 - u;
        out[k] = s * s * s * y0 + 3.0 * s * s * u * y1 + 3.0 * s * u * u * y2 + u * u * u * y3;
    }
}

}  // namespace

void FunctionCurve::EvalMany(const double* time, double* out, std::size_t n) const {
    if (keys_.size() != 2 || segments_[0].kind == ConstantInterpolation || (segments_[0].kind == CubicInterpolation && !segments_[0].linearTime)) {
        for (std::size_t k = 0; k < n; ++k) out[k] = Eval(time[k]);
        return;
    }
    // Every value as if inside the one segment, then the few outside it taken again the long way.
    const Segment& s = segments_[0];
    const double t0 = keys_[0].time, t1 = keys_[1].time;
    EvalOneSegment(time, out, n, t0, t1 - t0, s.kind == LinearInterpolation, keys_[0].value, keys_[1].value, s.y[0], s.y[1],
                   s.y[2], s.y[3]);
    for (std::size_t k = 0; k < n; ++k)
        if (!(time[k] >= t0 && time[k] < t1)) out[k] = EvalAnywhere(time[k]);
}

double FunctionCurve::EvalInRange(double time) const {
    if (time >= keys_.back().time) return keys_.back().value;
    return EvalInside(time);
}

std::size_t FunctionCurve::SegmentOf(double time) const {
    auto it = std::upper_bound(keys_.begin(), keys_.end(), time, [](double t, const CurveKey& k) { return t < k.time; });
    // Clamped both ways: a NaN time compares false everywhere.
    return static_cast<size_t>(
        std::clamp<std::ptrdiff_t>(it - keys_.begin() - 1, 0, static_cast<std::ptrdiff_t>(keys_.size()) - 2));
}

// The Bezier parameter at `time` where time is not linear in it: Newton safeguarded by
// bisection (time is non-decreasing in u, but its derivative may vanish, where Newton alone
// would stall or leave [0, 1]).
double FunctionCurve::SolveU(const Segment& s, double time, double u) {
    double lo = 0.0, hi = 1.0;
    const double tol = 1e-12 * std::max(1.0, std::abs(time));
    for (int iter = 0; iter < 200 && hi - lo > 1e-16; ++iter) {
        const double f = Bezier(s.x[0], s.x[1], s.x[2], s.x[3], u) - time;
        if (std::abs(f) <= tol) break;
        (f < 0.0 ? lo : hi) = u;
        const double d = BezierDerivative(s.x[0], s.x[1], s.x[2], s.x[3], u);
        const double next = d > 0.0 ? u - f / d : -1.0;
        u = (next > lo && next < hi) ? next : 0.5 * (lo + hi);
    }
    return u;
}

}  // namespace orbelin
