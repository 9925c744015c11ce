#include "shell/frame_cache.h"

#include <algorithm>
#include <limits>

#include "shell/numbers.h"

namespace orbelin {

int32_t RoundFrame(double frame) { return SaturatedInt32(frame); }

namespace {
// Frame differences are taken in 64 bits: any two int32 frames may be asked about.
int64_t Offset(int32_t frame, int32_t start) { return static_cast<int64_t>(frame) - start; }
}  // namespace

int64_t FrameWeightCache::FrameCount() const { return std::max<int64_t>(1, Offset(endFrame, startFrame) + 1); }

void FrameWeightCache::Clear() {
    frameWeights.reset();
    frameDone.reset();
}

void FrameWeightCache::Reset() {
    Clear();
    const auto n = static_cast<size_t>(FrameCount());
    frameWeights = std::make_unique<XSI::CDoubleArray[]>(n);
    frameDone = std::make_unique<uint8_t[]>(n);  // value-initialised: no frame done
}

bool FrameWeightCache::IsCached(int32_t frame) const {
    if (!frameDone || frame < startFrame || frame > endFrame) return false;
    return frameDone[static_cast<size_t>(Offset(frame, startFrame))] != 0;
}

XSI::CDoubleArray FrameWeightCache::Get(int32_t frame) const {
    if (frameWeights && frame >= startFrame && frame <= endFrame && Offset(frame, startFrame) < FrameCount())
        return frameWeights[static_cast<size_t>(Offset(frame, startFrame))];
    XSI::CDoubleArray zeros(elementCount);
    return zeros;
}

void FrameWeightCache::Store(const XSI::CDoubleArray& weights) {
    if (!frameWeights || currentFrame < startFrame || Offset(currentFrame, startFrame) >= FrameCount()) return;
    frameWeights[static_cast<size_t>(Offset(currentFrame, startFrame))] = weights;
    frameDone[static_cast<size_t>(Offset(currentFrame, startFrame))] = 1;
}

UpdateStep BeginUpdate(FrameWeightCache& r, const ExecutionParams& p, double frame,
                       const std::function<XSI::CDoubleArray()>& currentWeights,
                       const std::function<int32_t()>& elementCount) {
    if (!p.enable) {
        r.lastMode = -1;
        return UpdateStep::WriteNothing;
    }
    bool rangeChanged = p.startFrame != r.startFrame || p.endFrame != r.endFrame;
    if (rangeChanged) {
        r.startFrame = p.startFrame;
        r.endFrame = p.endFrame;
    }
    r.currentFrame = RoundFrame(frame);
    bool cached = false;
    if (p.opMode == kModeLiveCaching) {
        if (rangeChanged) r.Reset();
        if (r.lastMode != kModeLiveCaching) r.Reset();
        if (p.cleanCacheIdx != r.cleanIndex) r.Reset();
        r.cleanIndex = p.cleanCacheIdx;
        cached = r.IsCached(r.currentFrame);
    } else {
        r.Clear();
    }
    if (p.opMode == kModeHold) {
        if (r.lastMode != kModeHold) {
            r.lastMode = kModeHold;
            r.heldWeights = currentWeights();
        }
        return UpdateStep::WriteHeld;
    }
    r.lastMode = p.opMode;
    r.elementCount = elementCount();
    if (p.opMode == kModeLiveCaching && cached) return UpdateStep::WriteCached;
    return UpdateStep::Evaluate;
}

void FinishUpdate(FrameWeightCache& r, const ExecutionParams& p, XSI::CDoubleArray& result) {
    if (p.opMode != kModeLiveCaching) return;
    // Keep Maximum follows the time line only: it needs the frame just before this one, and
    // the first frame there is has none.
    if (p.processingMode == 1 && r.currentFrame > std::numeric_limits<int32_t>::min() && r.IsCached(r.currentFrame - 1)) {
        XSI::CDoubleArray previous = r.Get(r.currentFrame - 1);
        LONG n = std::min(result.GetCount(), previous.GetCount());
        for (LONG i = 0; i < n; ++i) result[i] = std::max(result[i], previous[i]);
    }
    r.Store(result);
}

}  // namespace orbelin
