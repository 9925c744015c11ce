// The post-processes the live tools share: a clamp into [min, max] applied to each value as it
// is produced, and a change of range that tracks the values seen and afterwards maps them onto
// [min, max]. The comparisons are written so that a NaN or an infinity passes through them as
// the tools define (no guard, no trap), and Min wins a clamp when Min >= Max.
#pragma once

namespace orbelin {

enum PostProcess { kPostNone = 0, kPostClamp = 1, kPostChangeRange = 2 };

// m = max > a ? a : max; min when !(m > min); else max when !(max > a); else a.
inline double ClampValue(double a, double min, double max) {
    const double m = max > a ? a : max;
    if (!(m > min)) return min;
    if (!(max > a)) return max;
    return a;
}

// The largest and smallest values seen, from the sentinels -10000 and 10000 (so a range that
// saw nothing, or only values inside the sentinels' reach, keeps them as they are). NaN is
// never seen.
struct RangeSeen {
    double hi = -10000.0, lo = 10000.0;
    void See(double a) {
        if (a > hi) hi = a;
        if (a < lo) lo = a;
    }
    // The range of two parts seen apart, as if seen together.
    void Merge(const RangeSeen& other) {
        if (other.hi > hi) hi = other.hi;
        if (other.lo < lo) lo = other.lo;
    }
    // Whether values are remapped at all: not when everything seen was equal.
    bool Stretches() const { return hi != lo; }
};

// The change of range of one value: with d = v - lo, (d >= 0 ? d : -v - lo) * scale + min,
// scale = (max - min) / (hi - lo) (0 when the range does not stretch, which is not to be used).
// Values below the smallest seen (only values not seen can
// be) are mirrored by the negative branch; that rule is long-standing and kept.
struct RangeMap {
    double lo, scale, min;
    RangeMap(const RangeSeen& seen, double min_, double max_)
        : lo(seen.lo), scale(seen.Stretches() ? (max_ - min_) / (seen.hi - seen.lo) : 0.0), min(min_) {}
    double operator()(double v) const {
        const double d = v - lo;
        return (d >= 0 ? d : -v - lo) * scale + min;
    }
};

}  // namespace orbelin
