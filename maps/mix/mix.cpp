#include "mix/mix.h"

#include "common/parallel.h"

#include <algorithm>
#include <mutex>

namespace orbelin::mix {

namespace {

// Change Range's running bounds. Each chunk keeps its own and they are merged with the same
// strict comparisons: the largest and smallest values do not depend on the order they come
// in (no value stepped under Change Range is -0, so even the sign of a zero bound agrees).
struct Bounds {
    double maxSeen = -10000.0, minSeen = 10000.0;
    void Take(double x) {
        if (x > maxSeen) maxSeen = x;
        if (x < minSeen) minSeen = x;
    }
};

// One connexion's contribution as the pass applies it: its multiplier, and where each slot's
// weight is (by slot directly when `source` is null, else through it).
struct Step {
    double g;
    const double* weights;
    size_t count;
    const int32_t* source;
};

template <bool kMaximum, int kPost>
inline double Once(double x, double gw, const Options& o, Bounds& bounds) {
    if constexpr (kMaximum) x = gw > x ? gw : x;
    else x = gw + x;
    if constexpr (kPost == Clamp) {
        const double m = x > o.rangeMin ? x : o.rangeMin;
        if (!(o.rangeMax > m)) x = o.rangeMax;
        else if (!(x > o.rangeMin)) x = o.rangeMin;
    } else if constexpr (kPost == ChangeRange) {
        bounds.Take(x);
    }
    return x;
}

template <bool kMaximum, int kPost>
void StepSlots(double* acc, size_t begin, size_t end, const Step& s, const int32_t* repeats, const Options& o,
               Bounds& bounds) {
    if (!s.source && !repeats) {
        // The common layout: slot u is element u of the connexion too.
        const size_t covered = std::clamp(s.count, begin, end);
        for (size_t u = begin; u < covered; ++u) acc[u] = Once<kMaximum, kPost>(acc[u], s.g * s.weights[u], o, bounds);
        for (size_t u = covered; u < end; ++u) acc[u] = Once<kMaximum, kPost>(acc[u], s.g * 0.0, o, bounds);
        return;
    }
    for (size_t u = begin; u < end; ++u) {
        double w = 0.0;
        if (s.source) {
            if (s.source[u] >= 0) w = s.weights[s.source[u]];
        } else if (u < s.count) {
            w = s.weights[u];
        }
        const double gw = s.g * w;
        double x = acc[u];
        for (int32_t r = repeats ? repeats[u] : 1; r > 0; --r) x = Once<kMaximum, kPost>(x, gw, o, bounds);
        acc[u] = x;
    }
}

template <bool kMaximum>
void StepSlots(int post, double* acc, size_t begin, size_t end, const Step& s, const int32_t* repeats,
               const Options& o, Bounds& bounds) {
    if (post == Clamp) StepSlots<kMaximum, Clamp>(acc, begin, end, s, repeats, o, bounds);
    else if (post == ChangeRange) StepSlots<kMaximum, ChangeRange>(acc, begin, end, s, repeats, o, bounds);
    else StepSlots<kMaximum, None>(acc, begin, end, s, repeats, o, bounds);
}

// Puts the point -> slot map back to all -1 however the evaluation leaves.
struct SlotReset {
    std::span<const int32_t> elementPoints;
    std::vector<int32_t>& slotOf;
    ~SlotReset() {
        for (int32_t p : elementPoints)
            if (p >= 0 && static_cast<size_t>(p) < slotOf.size()) slotOf[static_cast<size_t>(p)] = -1;
    }
};

}  // namespace

double FactorSum(std::span<const Connexion> connexions) {
    double sum = 0.0;
    for (const Connexion& c : connexions) sum = sum + (c.enabled ? c.factor : 0.0);
    return sum;
}

void Evaluate(size_t pointCount, std::span<const int32_t> elementPoints, std::span<const Connexion> connexions,
              Options o, std::span<double> result, Workspace& ws) {
    const size_t nIn = elementPoints.size(), M = result.size();
    const int post = o.postProcess == Clamp || o.postProcess == ChangeRange ? o.postProcess : None;

    // One slot per distinct point of the output, in the order of first appearance: with no
    // repeated and no stray index, slot u is element u.
    // Indices are 32-bit: a larger point count needs no larger map.
    const size_t mapped = std::min<size_t>(pointCount, size_t{1} << 31);
    if (ws.slotOf.size() < mapped) ws.slotOf.resize(mapped, -1);
    ws.elementSlot.resize(nIn);
    ws.repeats.resize(nIn);
    SlotReset reset{elementPoints, ws.slotOf};
    size_t U = 0;
    bool repeated = false, identity = true;
    for (size_t j = 0; j < nIn; ++j) {
        const int32_t p = elementPoints[j];
        if (p < 0 || static_cast<size_t>(p) >= pointCount) {
            ws.elementSlot[j] = -1;
            identity = false;
            continue;
        }
        int32_t& slot = ws.slotOf[static_cast<size_t>(p)];
        if (slot < 0) {
            slot = static_cast<int32_t>(U);
            ws.repeats[U++] = 1;
        } else {
            ++ws.repeats[static_cast<size_t>(slot)];
            repeated = true;
            identity = false;
        }
        ws.elementSlot[j] = slot;
    }

    const double sum = FactorSum(connexions);
    std::vector<Step> steps;
    if (sum != 0.0) {
        if (ws.source.size() < connexions.size()) ws.source.resize(connexions.size());
        for (size_t k = 0; k < connexions.size(); ++k) {
            const Connexion& c = connexions[k];
            const double f = c.enabled && c.valid ? c.factor : 0.0;
            if (f == 0.0) continue;
            const double g = o.mode == Average ? f / sum : f;
            const size_t n = std::min(c.weights.size(), c.points.size());
            Step s{g, c.weights.data(), n, nullptr};
            if (!identity || n > nIn || !std::equal(c.points.begin(), c.points.begin() + static_cast<ptrdiff_t>(n),
                                                    elementPoints.begin())) {
                // Each slot reads the connexion's last element on its point.
                std::vector<int32_t>& source = ws.source[k];
                source.assign(U, -1);
                for (size_t i = 0; i < n; ++i) {
                    const int32_t p = c.points[i];
                    if (p < 0 || static_cast<size_t>(p) >= pointCount) continue;
                    const int32_t slot = ws.slotOf[static_cast<size_t>(p)];
                    if (slot >= 0) source[static_cast<size_t>(slot)] = static_cast<int32_t>(i);
                }
                s.source = source.data();
            }
            steps.push_back(s);
        }
    }

    // With slot u being element u the values are built in place.
    const bool inPlace = identity && nIn <= M;
    double* acc = inPlace ? result.data() : nullptr;
    if (inPlace) {
        std::fill(result.begin(), result.end(), 0.0);
    } else {
        ws.acc.assign(U, 0.0);
        acc = ws.acc.data();
    }

    Bounds bounds;
    std::mutex merge;
    const int32_t* repeats = repeated ? ws.repeats.data() : nullptr;
    const bool maximum = o.mode == Maximum;
    if (!steps.empty()) {
        ForChunks(U, [&](size_t begin, size_t end) {
            Bounds local;
            for (const Step& s : steps) {
                if (maximum) StepSlots<true>(post, acc, begin, end, s, repeats, o, local);
                else StepSlots<false>(post, acc, begin, end, s, repeats, o, local);
            }
            std::lock_guard<std::mutex> lock(merge);
            if (local.maxSeen > bounds.maxSeen) bounds.maxSeen = local.maxSeen;
            if (local.minSeen < bounds.minSeen) bounds.minSeen = local.minSeen;
        });
    }

    if (!inPlace) {
        ForChunks(M, [&](size_t begin, size_t end) {
            for (size_t j = begin; j < end; ++j) {
                const int32_t slot = j < nIn ? ws.elementSlot[j] : -1;
                result[j] = slot >= 0 ? acc[static_cast<size_t>(slot)] : 0.0;
            }
        });
    }

    if (post == ChangeRange && bounds.maxSeen != bounds.minSeen) {
        const double lo = o.rangeMin, minSeen = bounds.minSeen;
        const double scale = (o.rangeMax - o.rangeMin) / (bounds.maxSeen - bounds.minSeen);
        ForChunks(M, [&](size_t begin, size_t end) {
            for (size_t j = begin; j < end; ++j) {
                const double v = result[j], d = v - minSeen;
                result[j] = (d < 0 ? -v - minSeen : d) * scale + lo;
            }
        });
    }
}

std::vector<double> Evaluate(size_t pointCount, std::span<const int32_t> elementPoints,
                             std::span<const Connexion> connexions, Options options, size_t outputCount) {
    std::vector<double> result(outputCount);
    Workspace ws;
    Evaluate(pointCount, elementPoints, connexions, options, result, ws);
    return result;
}

}  // namespace orbelin::mix
