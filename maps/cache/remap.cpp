#include "cache/remap.h"

#include <cfloat>
#include <cmath>
#include <limits>

namespace orbelin::cache {

namespace {

// A double as the nearest float; beyond the float range it is the infinity of its sign (what
// the hardware gives, written out because the language leaves that conversion undefined).
float ToFloat(double v) {
    if (v > static_cast<double>(FLT_MAX)) return std::numeric_limits<float>::infinity();
    if (v < -static_cast<double>(FLT_MAX)) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(v);
}

constexpr float kInt32Limit = 2147483648.0f;  // 2^31

bool FitsInt32(float v) { return v > -kInt32Limit && v < kInt32Limit; }

// Truncation toward zero; NaN gives 0, values beyond int32 its nearest end.
int32_t Truncate(float v) {
    if (std::isnan(v)) return 0;
    if (v >= kInt32Limit) return std::numeric_limits<int32_t>::max();
    if (v <= -kInt32Limit) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

int32_t Saturate(int64_t v) {
    if (v > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (v < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

}  // namespace

CacheTime RemapCacheTime(int32_t& lastCount, const TimingInputs& in) {
    CacheTime r;
    const float start = static_cast<float>(in.startFrame);
    const float end = static_cast<float>(in.endFrame);
    float t = ToFloat(in.frame);
    if (std::isnan(t)) t = start;

    r.frameCount = Saturate(static_cast<int64_t>(in.endFrame) - in.startFrame + 1);
    if (r.frameCount != lastCount) {
        r.sizeChanged = true;
        lastCount = r.frameCount;
    }

    const float h = t > end ? end : t;
    const float c = start > h ? start : h;
    r.cacheIndex = Saturate(static_cast<int64_t>(Truncate(c)) - in.startFrame);

    float w = c;
    if (in.timingMode == kTimingScaling) {
        w = (c - start) * ToFloat(in.timingScale);
        w = in.timingScale >= 0.0 ? w + start : w + end;
    } else if (in.timingMode == kTimingWarping) {
        w = ToFloat(in.warpValue);
    }
    w = w - ToFloat(in.offset);
    r.workFrame = w;

    r.fileFrame = Truncate(w);
    if (!FitsInt32(w)) return r;  // NaN or beyond int32: a whole frame, read alone
    const float whole = static_cast<float>(r.fileFrame);
    if (whole - kFrameTolerance <= w && w <= whole + kFrameTolerance) return r;
    r.exact = false;
    r.fraction = static_cast<double>(w - whole);
    return r;
}

}  // namespace orbelin::cache
