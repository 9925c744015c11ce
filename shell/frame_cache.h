// The execution model shared by the Proximity, Smooth, Tension and Gradient Curve operators:
// an enable switch, Hold, live evaluation, and live evaluation with a per-frame cache (with
// its frame range, its cleaning counter and the Keep Maximum processing).
//
// BeginUpdate decides, before the tool computes anything, whether the update writes nothing,
// writes the held or the cached weights, or evaluates; FinishUpdate applies Keep Maximum and
// stores the result for the frame.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "xsi_doublearray.h"

namespace orbelin {

// Frames are rounded half away from zero: 2.5 gives 3, -2.5 gives -3. Frames beyond int32
// saturate, and NaN, which is no frame, gives frame 0.
int32_t RoundFrame(double frame);

// The per-operator record, kept by the host as the operator's user data.
struct FrameWeightCache {
    int32_t lastMode = -1;  // -1: disabled, or never updated (the first update sees a mode change)
    XSI::CDoubleArray heldWeights;
    std::unique_ptr<XSI::CDoubleArray[]> frameWeights;
    int32_t startFrame = -1;
    int32_t endFrame = -1;
    int32_t reserved = -1;
    std::unique_ptr<uint8_t[]> frameDone;
    int32_t cleanIndex = -1;
    int32_t currentFrame = 0;
    int32_t elementCount = 0;

    // Frames the cache holds: endFrame - startFrame + 1, at least 1 (more than int32 holds
    // when the range spans all of it).
    int64_t FrameCount() const;
    void Clear();
    void Reset();
    bool Built() const { return frameWeights != nullptr; }
    bool IsCached(int32_t frame) const;
    // The frame's weights when it lies in the range (possibly empty), else elementCount zeros.
    XSI::CDoubleArray Get(int32_t frame) const;
    // Stores the weights of currentFrame and marks it done.
    void Store(const XSI::CDoubleArray& weights);
};

enum ExecutionMode { kModeHold = 0, kModeLive = 1, kModeLiveCaching = 2 };

struct ExecutionParams {
    bool enable = true;
    int32_t opMode = kModeLive;
    int32_t startFrame = 1, endFrame = 100;
    int32_t cleanCacheIdx = 0;
    int32_t processingMode = 0;  // 1: Keep Maximum
};

enum class UpdateStep {
    WriteNothing,  // disabled
    WriteHeld,     // Hold: write heldWeights
    WriteCached,   // caching, frame already cached: write Get(currentFrame)
    Evaluate,      // compute, then FinishUpdate, then write
};

// `currentWeights` gives the weight map's weights as they are (Hold captures them on entry);
// `elementCount` its element count, read only when the tool goes on to evaluate.
UpdateStep BeginUpdate(FrameWeightCache& record, const ExecutionParams& params, double frame,
                       const std::function<XSI::CDoubleArray()>& currentWeights,
                       const std::function<int32_t()>& elementCount);
void FinishUpdate(FrameWeightCache& record, const ExecutionParams& params, XSI::CDoubleArray& result);

}  // namespace orbelin
