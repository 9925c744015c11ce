// The Cache Map's time remapping: from the host's current frame to the slot of the RAM cache
// and to the cache file(s) to read or write.
//
// Inputs (`TimingInputs`): the current frame; the frame range StartFrame..EndFrame; the
// Offset; the timing mode (1 Scaling, 2 Warping, any other value none); the scale; the value
// of the warp curve at the current frame. `lastCount` is the frame count of the previous
// evaluation, updated here.
//
// Every frame computation is in single precision, conversions included, because the caches
// already on disk were named by that arithmetic:
//   t = frame; c = t clamped to [StartFrame, EndFrame] (EndFrame first, so StartFrame wins a
//   reversed range); cacheIndex = trunc(c) - StartFrame;
//   w = c, or (c - StartFrame) * scale + (StartFrame, or EndFrame for a negative scale), or the
//   warp value; then w -= Offset; fileFrame = trunc(w) (toward zero);
//   exact when fileFrame - 2^-23 <= w <= fileFrame + 2^-23, else fraction = w - fileFrame.
// A negative w that is not whole gives a negative fraction: the blend of fileFrame and
// fileFrame + 1 then extrapolates (w = -2.5 blends -2 and -1 with fraction -0.5).
//
// Values that single precision cannot turn into a frame get a defined answer: a NaN frame
// reads as StartFrame; a w that is NaN or beyond int32 reads frame 0 or the nearest int32, and
// is exact. The frame count saturates to int32.
#pragma once

#include <cstdint>

namespace orbelin::cache {

enum TimingMode : int32_t { kTimingNone = 0, kTimingScaling = 1, kTimingWarping = 2 };

struct TimingInputs {
    double frame = 0.0;
    int32_t startFrame = 1, endFrame = 100;
    double offset = 0.0;
    int32_t timingMode = kTimingNone;
    double timingScale = 0.0;
    double warpValue = 0.0;
};

struct CacheTime {
    int32_t frameCount = 0;   // EndFrame - StartFrame + 1 (0 or less for a reversed range)
    int32_t cacheIndex = 0;   // slot of the RAM cache for the current frame
    bool sizeChanged = false; // frameCount differs from the previous evaluation's
    bool exact = true;        // fileFrame alone is read; else fileFrame and fileFrame + 1 are blended
    double fraction = 0.0;    // blend weight of fileFrame + 1
    int32_t fileFrame = 0;
    float workFrame = 0.0f;   // w
};

inline constexpr float kFrameTolerance = 1.1920929e-7f;  // 2^-23

CacheTime RemapCacheTime(int32_t& lastCount, const TimingInputs& in);

}  // namespace orbelin::cache
