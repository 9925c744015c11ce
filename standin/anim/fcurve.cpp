#include "anim/fcurve.h"

#include <algorithm>
#include <cmath>

namespace standin {

namespace {

double Bezier(double p0, double p1, double p2, double p3, double u) {
    const double s = 1.0 - u;
    return s * s * s * p0 + 3.0 * s * s * u * p1 + 3.0 * s * u * u * p2 + u * u * u * p3;
}

double BezierDerivative(double p0, double p1, double p2, double p3, double u) {
    const double s = 1.0 - u;
    return 3.0 * (s * s * (p1 - p0) + 2.0 * s * u * (p2 - p1) + u * u * (p3 - p2));
}

// Keeps a handle's time offset within its segment (|dx| <= dt, on its own side), scaling dy
// with it so the slope is kept. With both handles so bounded, time is a non-decreasing
// function of the Bezier parameter, so the parameter for a time is unique.
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

std::size_t FCurve::AddKey(double time, double value, int interpolation, double leftX, double leftY,
                           double rightX, double rightY, double tolerance) {
    const double tol = (tolerance == kFCurveDefault || tolerance < 0.0) ? kDefaultTolerance : tolerance;
    // Every key within the tolerance counts as the key being set, so all of them give way.
    std::erase_if(keys_, [&](const FCurveKey& k) { return std::abs(k.time - time) <= tol; });

    FCurveKey key;
    key.time = time;
    key.value = value;
    key.interpolation = interpolation;
    key.defaultLeft = leftX == kFCurveDefault || leftY == kFCurveDefault;
    key.defaultRight = rightX == kFCurveDefault || rightY == kFCurveDefault;
    if (!key.defaultLeft) { key.leftX = leftX; key.leftY = leftY; }
    if (!key.defaultRight) { key.rightX = rightX; key.rightY = rightY; }

    auto pos = std::upper_bound(keys_.begin(), keys_.end(), time,
                                [](double t, const FCurveKey& k) { return t < k.time; });
    const auto index = static_cast<std::size_t>(pos - keys_.begin());
    keys_.insert(pos, key);
    KeysChanged();
    return index;
}

std::size_t FCurve::NumKeys(double start, double end) const {
    if (keys_.empty()) return 0;
    const double s = start == kFCurveDefault ? keys_.front().time : start;
    const double e = end == kFCurveDefault ? keys_.back().time : end;
    return static_cast<std::size_t>(
        std::count_if(keys_.begin(), keys_.end(), [&](const FCurveKey& k) { return k.time >= s && k.time <= e; }));
}

std::size_t FCurve::RemoveKeys(double start, double end) {
    if (keys_.empty()) return 0;
    const double s = start == kFCurveDefault ? keys_.front().time : start;
    const double e = end == kFCurveDefault ? keys_.back().time : end;
    const std::size_t removed =
        std::erase_if(keys_, [&](const FCurveKey& k) { return k.time >= s && k.time <= e; });
    if (removed) KeysChanged();
    return removed;
}

void FCurve::BeginEdit() {
    if (editDepth_++ == 0) undo_ = keys_;
}

bool FCurve::EndEdit() {
    if (editDepth_ == 0) return false;
    if (--editDepth_ == 0 && dirty_) {
        ComputeDefaultTangents();
        dirty_ = false;
    }
    return true;
}

bool FCurve::UndoEdit() {
    if (editDepth_ == 0) return false;
    keys_ = std::move(undo_);  // its tangents were computed: no edit was open when it was taken
    undo_.clear();
    editDepth_ = 0;
    dirty_ = false;
    return true;
}

void FCurve::KeysChanged() {
    dirty_ = true;
    if (!IsEditing()) {
        ComputeDefaultTangents();
        dirty_ = false;
    }
}

// "Smooth" tangents: the slope through the neighbours (toward the only neighbour at an end),
// handle length a third of the adjacent interval. The thirds keep time linear in the Bezier
// parameter, so a default segment is a cubic Hermite in time and two keys give a straight line.
void FCurve::ComputeDefaultTangents() {
    const std::size_t n = keys_.size();
    for (std::size_t i = 0; i < n; ++i) {
        FCurveKey& k = keys_[i];
        double slope = 0.0, leftLen = 1.0 / 3.0, rightLen = 1.0 / 3.0;  // a lone key: flat
        if (n > 1) {
            const FCurveKey& a = keys_[i > 0 ? i - 1 : 0];
            const FCurveKey& b = keys_[i + 1 < n ? i + 1 : n - 1];
            slope = (b.value - a.value) / (b.time - a.time);
            // An end key has one interval; its outer handle mirrors the inner one.
            leftLen = (i > 0 ? k.time - a.time : b.time - k.time) / 3.0;
            rightLen = (i + 1 < n ? b.time - k.time : k.time - a.time) / 3.0;
        }
        if (k.defaultLeft) { k.leftX = -leftLen; k.leftY = -leftLen * slope; }
        if (k.defaultRight) { k.rightX = rightLen; k.rightY = rightLen * slope; }
    }
}

int FCurve::SegmentInterpolation(std::size_t i) const {
    const int k = keys_.at(i).interpolation;
    if (k >= ConstantInterpolation && k <= CubicInterpolation) return k;
    if (interpolation_ == ConstantInterpolation || interpolation_ == LinearInterpolation) return interpolation_;
    return CubicInterpolation;  // the curve's default is cubic
}

// Slope for linear extrapolation past the first (last == false) or last key: the outward
// tangent of a cubic end segment, the segment's own slope when it is linear, flat when constant.
double FCurve::EndSlope(bool last) const {
    const std::size_t n = keys_.size();
    const std::size_t seg = last ? n - 2 : 0;
    const FCurveKey& a = keys_[seg];
    const FCurveKey& b = keys_[seg + 1];
    switch (SegmentInterpolation(seg)) {
    case ConstantInterpolation: return 0.0;
    case LinearInterpolation: return (b.value - a.value) / (b.time - a.time);
    default: return last ? Slope(b.rightX, b.rightY) : Slope(a.leftX, a.leftY);
    }
}

double FCurve::Eval(double time) const {
    const std::size_t n = keys_.size();
    if (n == 0) return 0.0;
    if (n == 1) return keys_[0].value;
    const FCurveKey& first = keys_.front();
    const FCurveKey& last = keys_.back();
    if (time >= first.time && time <= last.time) return EvalInRange(time);

    switch (extrapolation_) {
    case LinearExtrapolation:
        return time < first.time ? first.value + (time - first.time) * EndSlope(false)
                                 : last.value + (time - last.time) * EndSlope(true);
    case PeriodicExtrapolation:
    case PeriodicRelativeExtrapolation: {
        const double period = last.time - first.time;
        const double cycles = std::floor((time - first.time) / period);
        const double local = std::clamp(time - cycles * period, first.time, last.time);  // rounding
        const double offset = extrapolation_ == PeriodicRelativeExtrapolation ? cycles * (last.value - first.value) : 0.0;
        return EvalInRange(local) + offset;
    }
    default:
        return time < first.time ? first.value : last.value;
    }
}

double FCurve::EvalInRange(double time) const {
    if (time >= keys_.back().time) return keys_.back().value;
    auto it = std::upper_bound(keys_.begin(), keys_.end(), time,
                               [](double t, const FCurveKey& k) { return t < k.time; });
    // Clamped both ways so that a NaN time (which compares false everywhere) stays in bounds.
    const auto i = static_cast<std::size_t>(
        std::clamp<std::ptrdiff_t>(it - keys_.begin() - 1, 0, static_cast<std::ptrdiff_t>(keys_.size()) - 2));
    const FCurveKey& a = keys_[i];
    const FCurveKey& b = keys_[i + 1];
    const double dt = b.time - a.time;

    switch (SegmentInterpolation(i)) {
    case ConstantInterpolation: return a.value;
    case LinearInterpolation: return a.value + (b.value - a.value) * (time - a.time) / dt;
    default: break;
    }

    double rx = a.rightX, ry = a.rightY, lx = b.leftX, ly = b.leftY;
    ClampHandle(dt, 1.0, rx, ry);
    ClampHandle(dt, -1.0, lx, ly);
    const double x0 = a.time, x1 = a.time + rx, x2 = b.time + lx, x3 = b.time;
    const double y0 = a.value, y1 = a.value + ry, y2 = b.value + ly, y3 = b.value;

    double u = (time - a.time) / dt;
    // Handles at a third of the interval make time linear in u: no solve needed, and the
    // result is exact (this is what makes two default keys an exact straight line).
    const double eps = 1e-12 * dt;
    const bool linearTime = std::abs(rx - dt / 3.0) <= eps && std::abs(-lx - dt / 3.0) <= eps;
    if (!linearTime) {
        // Newton safeguarded by bisection: time is non-decreasing in u (see ClampHandle), but
        // its derivative may vanish, where Newton alone would stall or jump out of [0, 1].
        double lo = 0.0, hi = 1.0;
        const double tol = 1e-12 * std::max(1.0, std::abs(time));
        for (int iter = 0; iter < 200 && hi - lo > 1e-16; ++iter) {
            const double f = Bezier(x0, x1, x2, x3, u) - time;
            if (std::abs(f) <= tol) break;
            (f < 0.0 ? lo : hi) = u;
            const double d = BezierDerivative(x0, x1, x2, x3, u);
            const double next = d > 0.0 ? u - f / d : -1.0;
            u = (next > lo && next < hi) ? next : 0.5 * (lo + hi);
        }
    }
    return Bezier(y0, y1, y2, y3, u);
}

}  // namespace standin
