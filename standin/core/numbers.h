// Doubles that the stand-in turns into counts, indices and frames go through here. A cast of
// a NaN, an infinity or a value beyond the target type is undefined; the host either refuses
// such a value (WholeNumber) or holds the nearest one it can (Saturated).
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace standin {

// `value` when it is a whole number within [lo, hi]; nothing for NaN, fractions and values
// out of range.
inline std::optional<int32_t> WholeNumber(double value, int32_t lo, int32_t hi) {
    if (!(value >= lo && value <= hi) || value != std::floor(value)) return std::nullopt;
    return static_cast<int32_t>(value);
}

// `value` clamped to [lo, hi] before the conversion; NaN, which has no nearest value, gives
// `ifNaN`.
template <class T>
T Saturated(double value, T ifNaN, T lo = std::numeric_limits<T>::min(), T hi = std::numeric_limits<T>::max()) {
    if (std::isnan(value)) return ifNaN;
    if (value <= static_cast<double>(lo)) return lo;
    if (value >= static_cast<double>(hi)) return hi;
    return static_cast<T>(value);
}

}  // namespace standin
