#include "gradientcurve/evaluate.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "common/parallel.h"

namespace orbelin::gradientcurve {

namespace {

// The squared distance to beat at the start: past 1000 units nothing is taken.
constexpr double kReach = 1000000.0;

struct Range {
    double hi = -10000.0, lo = 10000.0;
    void Take(double v) {
        hi = std::max(hi, v);
        lo = std::min(lo, v);
    }
};

double PostProcessed(double v, const Options& o, Range& range) {
    if (o.postProcess == kClamp) {
        if (v <= o.min) v = o.min;
        else if (v >= o.max) v = o.max;
    } else if (o.postProcess == kChangeRange) {
        range.Take(v);
    }
    return v;
}

bool InSlots(int slot, size_t slots) { return slot >= 0 && static_cast<size_t>(slot) < slots; }

// Element i reads what is stored at its vertex, else keeps its weight; then Change Range.
Stats Gather(std::span<const int> elements, std::span<const double> incoming, const std::vector<double>& slotValue,
             const std::vector<int>& slotWinner, const Options& o, const Range& range, std::span<double> out) {
    Stats stats;
    const bool remap = o.postProcess == kChangeRange && range.hi != range.lo;
    const double k = remap ? (o.max - o.min) / (range.hi - range.lo) : 0.0;
    for (size_t i = 0; i < out.size(); ++i) {
        const int slot = i < elements.size() ? elements[i] : -1;
        if (!InSlots(slot, slotValue.size()) || slotWinner[static_cast<size_t>(slot)] < 0) {
            out[i] = i < incoming.size() ? incoming[i] : 0.0;
            continue;
        }
        ++stats.written;
        double x = slotValue[static_cast<size_t>(slot)];
        if (remap) {
            const double mirrored = x - range.lo < 0 ? -x : x;
            x = k * (mirrored - range.lo) + o.min;
        }
        out[i] = x;
    }
    return stats;
}

// A curve that may be near an element: its box's squared gap and its place in the order of
// connexions and their curves (which decides ties).
struct Candidate {
    double gap;
    unsigned place;
    unsigned connexion;
    const Curve* curve;
};

}  // namespace

Vec3 Transform(const Vec3& p, const Matrix& m) {
    const double x = p[0], y = p[1], z = p[2];
    return {x * m[0] + y * m[4] + z * m[8] + m[12], x * m[1] + y * m[5] + z * m[9] + m[13],
            x * m[2] + y * m[6] + z * m[10] + m[14]};
}

Stats EvaluateStraight(std::span<const Vec3> vertices, std::span<const int> elements, std::span<const double> incoming,
                       std::span<const Connexion> connexions, Options o, std::span<double> out) {
    const size_t count = out.size();
    std::vector<double> best(count, kReach), slotValue(vertices.size(), 0.0);
    std::vector<int> slotWinner(vertices.size(), -1);
    Range range;
    for (size_t j = 0; j < connexions.size(); ++j) {
        const Connexion& c = connexions[j];
        if (!c.enabled) continue;
        for (size_t i = 0; i < count; ++i) {
            if (i >= vertices.size()) break;
            const Vec3 q = Transform(Transform(vertices[i], c.toWorld), c.toCurve);
            ClosestPoint nearest;
            bool found = false;
            for (const Curve& curve : c.curves) {
                ClosestPoint p;
                if (curve.Closest(q, std::numeric_limits<double>::infinity(), p) &&
                    (!found || p.squaredDistance < nearest.squaredDistance)) {
                    nearest = p;
                    found = true;
                }
            }
            if (!found || !(best[i] > nearest.squaredDistance)) continue;
            const double value = PostProcessed(nearest.normalized * c.factor, o, range);
            const int slot = i < elements.size() ? elements[i] : -1;
            if (InSlots(slot, slotValue.size())) {
                slotValue[static_cast<size_t>(slot)] = value;
                slotWinner[static_cast<size_t>(slot)] = static_cast<int>(j);
            }
            best[i] = nearest.squaredDistance;
        }
    }
    return Gather(elements, incoming, slotValue, slotWinner, o, range, out);
}

Stats Evaluate(std::span<const Vec3> vertices, std::span<const int> elements, std::span<const double> incoming,
               std::span<const Connexion> connexions, Options o, std::span<double> out) {
    Workspace workspace;
    return Evaluate(vertices, elements, incoming, connexions, o, out, workspace);
}

Stats Evaluate(std::span<const Vec3> vertices, std::span<const int> elements, std::span<const double> incoming,
               std::span<const Connexion> connexions, Options o, std::span<double> out, Workspace& workspace) {
    const size_t count = std::min(out.size(), vertices.size());
    // Every entry is written below before it is read.
    std::vector<double>& value = workspace.value;
    std::vector<int>& winner = workspace.winner;
    value.resize(count);
    winner.resize(count);
    size_t curveCount = 0;
    for (const Connexion& c : connexions)
        if (c.enabled) curveCount += c.curves.size();
    Range range;
    std::mutex merge;
    ForChunks(count, [&](size_t begin, size_t end) {
        std::vector<Candidate> candidates;
        candidates.reserve(curveCount);
        std::vector<Vec3> local(connexions.size());
        Range chunkRange;
        unsigned lastPlace = ~0u;
        for (size_t i = begin; i < end; ++i) {
            double best = kReach;
            int bestConnexion = -1;
            unsigned bestPlace = 0;
            double bestValue = 0.0;
            candidates.clear();
            unsigned place = 0;
            for (size_t j = 0; j < connexions.size(); ++j) {
                const Connexion& c = connexions[j];
                if (!c.enabled) continue;
                local[j] = Transform(Transform(vertices[i], c.toWorld), c.toCurve);
                for (const Curve& curve : c.curves) {
                    const double gap = curve.Bounds().SquaredGap(local[j]);
                    // A position that is not a number is near nothing (its gap is NaN).
                    if (gap < kReach) candidates.push_back({gap, place, static_cast<unsigned>(j), &curve});
                    ++place;
                }
            }
            if (o.postProcess == kChangeRange) {
                // Every value taken on the way counts: walk the connexions in order, a curve
                // looked at only when its box can beat the best of those before it.
                unsigned current = ~0u;
                double connexionBest = 0.0, connexionValue = 0.0;
                bool taken = false;
                auto settle = [&] {
                    if (!taken) return;
                    best = connexionBest;
                    bestValue = PostProcessed(connexionValue, o, chunkRange);
                    bestConnexion = static_cast<int>(current);
                    taken = false;
                };
                for (const Candidate& k : candidates) {
                    if (k.connexion != current) {
                        settle();
                        current = k.connexion;
                        connexionBest = best;
                    }
                    if (k.gap > connexionBest) continue;
                    ClosestPoint p;
                    if (k.curve->ClosestNearestFirst(local[k.connexion], connexionBest, p)) {
                        connexionBest = p.squaredDistance;
                        connexionValue = p.normalized * connexions[k.connexion].factor;
                        taken = true;
                    }
                }
                settle();
            } else {
                // Only the final value matters: the nearest curve, the earlier one on a tie.
                // The curve that won for the element before is looked at first: neighbours
                // are mostly nearest to the same curve, and its distance then rules out most
                // of the others. The order only changes how much is looked at, not the answer.
                auto visit = [&](const Candidate& k) {
                    const bool earlier = bestConnexion >= 0 && k.place < bestPlace;
                    const double beat = earlier ? std::nextafter(best, std::numeric_limits<double>::infinity()) : best;
                    ClosestPoint p;
                    if (!k.curve->ClosestNearestFirst(local[k.connexion], beat, p)) return;
                    if (p.squaredDistance < best || (earlier && p.squaredDistance == best)) {
                        best = p.squaredDistance;
                        bestPlace = k.place;
                        bestConnexion = static_cast<int>(k.connexion);
                        bestValue = p.normalized * connexions[k.connexion].factor;
                    }
                };
                // A curve can still win when its box is nearer than the best so far, or as
                // near and earlier. Each visit keeps the nearest, then earliest, so the order
                // of the visits only decides how much is ruled out.
                auto open = [&](const Candidate& k) {
                    return k.gap < best || (k.gap == best && (bestConnexion < 0 || k.place < bestPlace));
                };
                const Candidate* seed = nullptr;
                for (const Candidate& k : candidates)
                    if (k.place == lastPlace) seed = &k;
                if (seed) {
                    visit(*seed);
                    for (const Candidate& k : candidates)
                        if (&k != seed && open(k)) visit(k);
                } else {
                    std::sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
                        return a.gap < b.gap || (a.gap == b.gap && a.place < b.place);
                    });
                    for (const Candidate& k : candidates) {
                        if (!open(k)) break;  // sorted: none after it is open either
                        visit(k);
                    }
                }
                if (bestConnexion >= 0) lastPlace = bestPlace;
                if (bestConnexion >= 0) bestValue = PostProcessed(bestValue, o, chunkRange);
            }
            value[i] = bestValue;
            winner[i] = bestConnexion;
        }
        std::lock_guard<std::mutex> lock(merge);
        range.hi = std::max(range.hi, chunkRange.hi);
        range.lo = std::min(range.lo, chunkRange.lo);
    });
    // Several elements may share a vertex: the last write the connexion-by-connexion loop
    // would make is the one of the latest connexion, then of the latest element.
    std::vector<double>& slotValue = workspace.slotValue;
    std::vector<int>& slotWinner = workspace.slotWinner;
    slotValue.assign(vertices.size(), 0.0);
    slotWinner.assign(vertices.size(), -1);
    for (size_t i = 0; i < count; ++i) {
        const int slot = i < elements.size() ? elements[i] : -1;
        if (winner[i] < 0 || !InSlots(slot, slotValue.size())) continue;
        const size_t s = static_cast<size_t>(slot);
        if (winner[i] >= slotWinner[s]) {
            slotWinner[s] = winner[i];
            slotValue[s] = value[i];
        }
    }
    return Gather(elements, incoming, slotValue, slotWinner, o, range, out);
}

}  // namespace orbelin::gradientcurve
