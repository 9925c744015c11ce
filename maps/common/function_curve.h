// A function curve as plain data (keys, tangent handles, interpolation, extrapolation),
// evaluated exactly as the host evaluates its curves, so that a kernel can read a profile
// curve from any thread without going back to the host.
//
// The segment arithmetic is the host's, operation for operation: a curve read from the host
// gives the same values bit for bit.
#pragma once

#include <cstddef>
#include <vector>

namespace orbelin {

struct CurveKey {
    enum Interpolation { Default = 0, Constant = 1, Linear = 2, Cubic = 3 };
    double time = 0.0, value = 0.0;
    int interpolation = Default;
    // Handles as (time, value) offsets from the key; left toward the previous key.
    double leftX = 0.0, leftY = 0.0, rightX = 0.0, rightY = 0.0;
};

class FunctionCurve {
public:
    enum Interpolation { DefaultInterpolation = 0, ConstantInterpolation = 1, LinearInterpolation = 2,
                         CubicInterpolation = 3 };
    enum Extrapolation { ConstantExtrapolation = 1, LinearExtrapolation = 2, PeriodicExtrapolation = 3,
                         PeriodicRelativeExtrapolation = 4 };

    FunctionCurve() = default;
    // `keys` in increasing time, as the host keeps them.
    FunctionCurve(std::vector<CurveKey> keys, int interpolation, int extrapolation);

    // Inline for the time strictly inside the keys, the case kernels meet per element.
    double Eval(double time) const {
        if (keys_.size() >= 2 && time >= keys_.front().time && time < keys_.back().time) return EvalInside(time);
        return EvalAnywhere(time);
    }

    // out[k] = Eval(time[k]) for k < n, the same values; arranged so that the common case (one
    // cubic or linear segment between two keys) runs as straight-line arithmetic over the array.
    void EvalMany(const double* time, double* out, std::size_t n) const;

    bool HasKeys() const { return !keys_.empty(); }
    double LastKeyTime() const { return keys_.empty() ? 0.0 : keys_.back().time; }
    int Extrapolation() const { return extrapolation_; }
    const std::vector<CurveKey>& Keys() const { return keys_; }

private:
    // One segment between two keys, its Bezier control points ready.
    struct Segment {
        int kind;          // Constant, Linear or Cubic
        bool linearTime;   // handles at a third: time is linear in the Bezier parameter
        double x[4], y[4];
    };
    double EvalAnywhere(double time) const;
    double EvalInRange(double time) const;
    // first key time <= time < last key time.
    double EvalInside(double time) const {
        std::size_t i = keys_.size() > 2 ? SegmentOf(time) : 0;
        const Segment& s = segments_[i];
        const CurveKey& a = keys_[i];
        const CurveKey& b = keys_[i + 1];
        const double dt = b.time - a.time;
        switch (s.kind) {
        case ConstantInterpolation: return a.value;
        case LinearInterpolation: return a.value + (b.value - a.value) * (time - a.time) / dt;
        default: break;
        }
        double u = (time - a.time) / dt;
        if (!s.linearTime) u = SolveU(s, time, u);
        return Bezier(s.y[0], s.y[1], s.y[2], s.y[3], u);
    }
    std::size_t SegmentOf(double time) const;
    static double SolveU(const Segment& s, double time, double u);
    static double Bezier(double p0, double p1, double p2, double p3, double u) {
        const double s = 1.0 - u;
        return s * s * s * p0 + 3.0 * s * s * u * p1 + 3.0 * s * u * u * p2 + u * u * u * p3;
    }
    double EndSlope(bool last) const;
    int SegmentInterpolation(std::size_t i) const;

    std::vector<CurveKey> keys_;
    std::vector<Segment> segments_;
    int interpolation_ = DefaultInterpolation;
    int extrapolation_ = ConstantExtrapolation;
};

}  // namespace orbelin
