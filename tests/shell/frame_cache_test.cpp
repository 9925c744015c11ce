// The shared execution model: modes, the frame cache and its rebuild triggers, Keep Maximum.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "shell/frame_cache.h"
#include "shell/numbers.h"

using namespace orbelin;

namespace {

XSI::CDoubleArray Values(std::initializer_list<double> v) {
    XSI::CDoubleArray a;
    for (double x : v) a.Add(x);
    return a;
}

// Runs one update the way an operator does; `computed` is what the tool would evaluate.
struct Operator {
    FrameWeightCache record;
    XSI::CDoubleArray map = Values({0.1, 0.2});
    int evaluations = 0;

    XSI::CDoubleArray Update(const ExecutionParams& p, double frame, XSI::CDoubleArray computed) {
        UpdateStep step = BeginUpdate(record, p, frame, [&] { return map; }, [&] { return map.GetCount(); });
        switch (step) {
            case UpdateStep::WriteNothing: return map;
            case UpdateStep::WriteHeld: return map = record.heldWeights;
            case UpdateStep::WriteCached: return map = record.Get(record.currentFrame);
            case UpdateStep::Evaluate:
                ++evaluations;
                FinishUpdate(record, p, computed);
                return map = computed;
        }
        return map;
    }
};

ExecutionParams Caching(int start = 1, int end = 10) {
    ExecutionParams p;
    p.opMode = kModeLiveCaching;
    p.startFrame = start;
    p.endFrame = end;
    return p;
}

TEST(FrameCache, RoundsHalfAwayFromZero) {
    EXPECT_EQ(RoundFrame(2.5), 3);
    EXPECT_EQ(RoundFrame(-2.5), -3);
    EXPECT_EQ(RoundFrame(2.49), 2);
    EXPECT_EQ(RoundFrame(-0.4), 0);
    EXPECT_EQ(RoundFrame(7.0), 7);
}

constexpr int32_t kFirst = std::numeric_limits<int32_t>::min(), kLast = std::numeric_limits<int32_t>::max();

TEST(FrameCache, RoundingIsDefinedForEveryDouble) {
    EXPECT_EQ(RoundFrame(std::nan("")), 0);
    EXPECT_EQ(RoundFrame(HUGE_VAL), kLast);
    EXPECT_EQ(RoundFrame(-HUGE_VAL), kFirst);
    EXPECT_EQ(RoundFrame(1e300), kLast);
    EXPECT_EQ(RoundFrame(-1e300), kFirst);
    EXPECT_EQ(RoundFrame(2147483646.5), kLast);
    EXPECT_EQ(RoundFrame(2147483647.5), kLast);
    EXPECT_EQ(RoundFrame(-2147483647.5), kFirst);
    EXPECT_EQ(RoundFrame(-2147483648.5), kFirst);
    EXPECT_EQ(RoundFrame(2147483645.5), 2147483646);
}

TEST(FrameCache, CountersWrapInsteadOfStopping) {
    EXPECT_EQ(NextCounter(0), 1);
    EXPECT_EQ(NextCounter(-1), 0);
    EXPECT_EQ(NextCounter(kLast), kFirst);
}

// Frame differences once overflowed int32 at the ends of its range.
TEST(FrameCache, RangesAtTheEndsOfInt32) {
    FrameWeightCache whole;
    whole.startFrame = kFirst;
    whole.endFrame = kLast;
    EXPECT_EQ(whole.FrameCount(), int64_t{1} << 32);
    whole.startFrame = kLast;
    whole.endFrame = kFirst;
    EXPECT_EQ(whole.FrameCount(), 1);

    // Keep Maximum at the first frame there is: no frame before it to read.
    Operator low;
    ExecutionParams p = Caching(kFirst, kFirst + 2);
    p.processingMode = 1;
    EXPECT_EQ(low.Update(p, -1e300, Values({0.4, 0.2}))[0], 0.4);
    EXPECT_TRUE(low.record.IsCached(kFirst));
    EXPECT_EQ(low.Update(p, kFirst + 1.0, Values({0.1, 0.3}))[0], 0.4);  // forward from it: the maximum
    EXPECT_EQ(low.map[1], 0.3);
    EXPECT_FALSE(low.record.IsCached(kLast));

    Operator high;
    p = Caching(kLast - 1, kLast);
    p.processingMode = 1;
    high.Update(p, kLast - 1.0, Values({0.5, 0.5}));
    EXPECT_EQ(high.Update(p, HUGE_VAL, Values({0.2, 0.6}))[0], 0.5);
    EXPECT_EQ(high.record.currentFrame, kLast);
    EXPECT_TRUE(high.record.IsCached(kLast));
    EXPECT_EQ(high.Update(p, 1e300, Values({0.0, 0.0}))[1], 0.6);  // cached
    EXPECT_EQ(high.evaluations, 2);
    EXPECT_FALSE(high.record.IsCached(kFirst));
    EXPECT_EQ(high.record.Get(kFirst).GetCount(), 2);  // zeros, far outside the range

    // A NaN frame is frame 0, cached like any other.
    Operator nan;
    p = Caching(-1, 1);
    nan.Update(p, std::nan(""), Values({0.7, 0.7}));
    EXPECT_TRUE(nan.record.IsCached(0));
}

TEST(FrameCache, RangeWithEndBeforeStartHoldsOneFrame) {
    FrameWeightCache r;
    r.startFrame = 10;
    r.endFrame = 4;
    r.Reset();
    EXPECT_EQ(r.FrameCount(), 1);
    r.currentFrame = 10;
    r.Store(Values({1}));
    EXPECT_FALSE(r.IsCached(10));  // outside [start, end] when end < start
    r.elementCount = 3;
    EXPECT_EQ(r.Get(10).GetCount(), 3);  // zeros
}

TEST(FrameCache, CachedFramesAreReplayedUntilSomethingRebuildsTheCache) {
    Operator op;
    ExecutionParams p = Caching();
    op.Update(p, 3, Values({0.5, 0.5}));
    EXPECT_EQ(op.Update(p, 3, Values({0.9, 0.9}))[0], 0.5);  // cached
    EXPECT_EQ(op.evaluations, 1);
    // The cleaning counter rebuilds the cache, once per press.
    p.cleanCacheIdx = 1;
    EXPECT_EQ(op.Update(p, 3, Values({0.7, 0.7}))[0], 0.7);
    EXPECT_EQ(op.Update(p, 3, Values({0.1, 0.1}))[0], 0.7);
    p.cleanCacheIdx = 2;
    EXPECT_EQ(op.Update(p, 3, Values({0.3, 0.3}))[0], 0.3);
    EXPECT_EQ(op.evaluations, 3);
    // A new range keeps nothing.
    op.Update(p, 4, Values({0.4, 0.4}));
    p.endFrame = 20;
    op.Update(p, 5, Values({0.6, 0.6}));
    EXPECT_FALSE(op.record.IsCached(3));
    EXPECT_FALSE(op.record.IsCached(4));
    EXPECT_TRUE(op.record.IsCached(5));
    // Leaving the caching mode drops the cache; coming back starts a new one.
    ExecutionParams live = p;
    live.opMode = kModeLive;
    op.Update(live, 5, Values({0.2, 0.2}));
    EXPECT_FALSE(op.record.Built());
    op.Update(p, 5, Values({0.8, 0.8}));
    EXPECT_EQ(op.map[0], 0.8);
}

TEST(FrameCache, KeepMaximumOnlyFollowsTheTimeLine) {
    Operator op;
    ExecutionParams p = Caching();
    p.processingMode = 1;
    op.Update(p, 1, Values({0.9, 0.1}));
    EXPECT_EQ(op.Update(p, 2, Values({0.2, 0.5}))[0], 0.9);  // forward: the maximum
    EXPECT_EQ(op.map[1], 0.5);
    EXPECT_EQ(op.Update(p, 3, Values({0.0, 0.0}))[1], 0.5);
    // Backwards: frame 0 is outside the range, frame 5 jumps past an empty frame 4.
    EXPECT_EQ(op.Update(p, 5, Values({0.1, 0.1}))[0], 0.1);
    p.cleanCacheIdx = 1;
    op.Update(p, 6, Values({0.3, 0.3}));
    EXPECT_EQ(op.Update(p, 5, Values({0.2, 0.2}))[0], 0.2);  // played backwards: no maximum
}

TEST(FrameCache, HoldFreezesTheMapAsItWasWhenChosen) {
    Operator op;
    ExecutionParams p;
    op.Update(p, 1, Values({0.4, 0.6}));
    p.opMode = kModeHold;
    EXPECT_EQ(op.Update(p, 2, Values({1, 1}))[0], 0.4);
    op.map = Values({0.9, 0.9});  // someone writes the map: Hold keeps what it captured
    EXPECT_EQ(op.Update(p, 3, Values({1, 1}))[0], 0.4);
    EXPECT_EQ(op.evaluations, 1);
    // Disabled: nothing is written, and Hold captures again afterwards.
    ExecutionParams off = p;
    off.enable = false;
    op.map = Values({0.7, 0.7});
    EXPECT_EQ(op.Update(off, 4, Values({1, 1}))[0], 0.7);
    EXPECT_EQ(op.record.lastMode, -1);
    EXPECT_EQ(op.Update(p, 5, Values({1, 1}))[0], 0.7);
}

}  // namespace
