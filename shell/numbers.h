// Numbers the host hands the plug-in become integers only through here. A double may be NaN
// or far beyond int32, and converting such a value with a cast is undefined; these give a
// defined answer instead.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace orbelin {

// `value` rounded half away from zero and saturated to int32; NaN has no integer and gives 0.
inline int32_t SaturatedInt32(double value) {
    if (std::isnan(value)) return 0;
    const double r = std::round(value);
    if (r <= static_cast<double>(std::numeric_limits<int32_t>::min())) return std::numeric_limits<int32_t>::min();
    if (r >= static_cast<double>(std::numeric_limits<int32_t>::max())) return std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(r);
}

// A counter whose every step must change it: past the largest value it wraps to the smallest.
inline int32_t NextCounter(int32_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value) + 1u);
}

}  // namespace orbelin
