#include "proximity/evaluate.h"

#include "common/parallel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

namespace orbelin::proximity {

namespace {

// How far a counting candidate can be, read from the falloff's end.
struct Reach {
    enum Kind { Bounded, ConstantTail, Everywhere } kind = Everywhere;
    double tMax = 0.0;    // Bounded / ConstantTail: candidates with t > tMax ...
    double tailR = 0.0;   // ConstantTail: ... all count, with this r
};

Reach FindReach(const Falloff& f, double nearR, double width) {
    Reach reach;
    double tEnd = f.HasKeys() ? std::max(f.LastKeyTime(), 0.0) : 0.0;
    double v0 = f.Eval(tEnd), v1 = f.Eval(tEnd + 1.0);
    int ext = f.HasKeys() ? f.Extrapolation() : 1;
    if (ext == 1) {
        if (v1 >= 1.0) {
            reach.kind = Reach::Bounded;
            reach.tMax = tEnd;
        } else {
            reach.kind = Reach::ConstantTail;
            reach.tMax = tEnd;
            reach.tailR = v1 * width + nearR;
        }
    } else if (ext == 2) {
        double slope = v1 - v0;
        if (slope > 0.0) {
            reach.kind = Reach::Bounded;
            reach.tMax = tEnd + std::max(0.0, (1.0 - v0) / slope);
        } else if (slope == 0.0 && v0 >= 1.0) {
            reach.kind = Reach::Bounded;
            reach.tMax = tEnd;
        }
    }
    return reach;
}

// Candidates further than this from an element are past the falloff's reach: t > tMax, where
// t <= tMax  <=>  d <= near + tMax x width / 100. A hair wider, so that rounding cannot drop a
// candidate at the edge (its own r decides anyway).
double ReachRadius(const Reach& reach, double nearR, double width) {
    double radius = nearR + reach.tMax * width / 100.0;
    return radius * (1.0 + 1e-12) + 1e-12;
}

// Adds each connexion's share to the weights, post-processing each value as it is produced.
// Change Range's running bounds are kept per chunk and merged: maximum and minimum do not
// depend on the order they are taken in.
struct Accumulator {
    std::span<double> weights;
    const Options& o;
    double farR;
    double maxSeen = -10000.0, minSeen = 10000.0;
    std::mutex merge;

    Accumulator(std::span<double> w, const Options& options, double far) : weights(w), o(options), farR(far) {}

    template <class ForElements>
    void AddAll(const std::vector<double>& D, double effective, ForElements&& forElements) {
        forElements([&](size_t begin, size_t end) {
            double hi = -10000.0, lo = 10000.0;
            for (size_t i = begin; i < end; ++i) {
                double v = weights[i] + (1.0 - D[i] / farR) * effective;
                if (o.postProcess == 1) {
                    if (std::min(v, o.upper) <= o.lower) v = o.lower;
                    else if (v >= o.upper) v = o.upper;
                } else if (o.postProcess == 2) {
                    if (v > hi) hi = v;
                    if (v < lo) lo = v;
                }
                weights[i] = v;
            }
            if (o.postProcess == 2) {
                std::lock_guard<std::mutex> lock(merge);
                maxSeen = std::max(maxSeen, hi);
                minSeen = std::min(minSeen, lo);
            }
        });
    }
    template <class ForElements>
    void Finish(ForElements&& forElements) {
        if (o.postProcess != 2 || maxSeen == minSeen) return;
        forElements([&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                weights[i] = (o.upper - o.lower) / (maxSeen - minSeen) * (weights[i] - minSeen) + o.lower;
        });
    }
};

double Distance(const Point& a, const Point& b) {
    double dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// What one evaluation shares between its connexions, read by every worker and written by none.
struct Setting {
    double nearR, farR, width;
    Falloff falloff;
    double R(double d) const { return falloff.Eval(std::max(d - nearR, 0.0) * 100.0 / width) * width + nearR; }
};

// The running mean of the counted candidates' r, over four partial sums: the additions of one
// element's candidates do not wait on each other.
struct MeanOfCounted {
    double sums[4] = {0.0, 0.0, 0.0, 0.0};
    size_t counted = 0;
    void Add(double total, size_t n) {
        sums[0] += total;
        counted += n;
    }
    double Total() const { return (sums[0] + sums[1]) + (sums[2] + sums[3]); }
};

// t of each candidate from its squared distance. Built for wider vector lanes too where the
// processor has them; the arithmetic, and so every value, is the same.
[[gnu::target_clones("avx2", "default")]] void FalloffTimes(const double* d2, double* t, size_t n, double nearR,
                                                            double width) {
    for (size_t k = 0; k < n; ++k) t[k] = std::max(std::sqrt(d2[k]) - nearR, 0.0) * 100.0 / width;
}

// r of each candidate from its falloff value, 0 where it does not count; gives how many count.
[[gnu::target_clones("avx2", "default")]] size_t CountedR(double* r, size_t n, double nearR, double width, double farR) {
    size_t counted = 0;
    for (size_t k = 0; k < n; ++k) {
        const double ri = r[k] * width + nearR;
        const bool counts = ri < farR;
        r[k] = counts ? ri : 0.0;
        counted += counts;
    }
    return counted;
}

// Candidates of one element gathered by squared distance, then turned into r a block at a
// time: straight-line arithmetic over arrays, which the compiler spreads over vector lanes.
struct CandidateBlock {
    static constexpr size_t kSize = 256;
    double d2[kSize], t[kSize], r[kSize];
    size_t fill = 0;

    void Flush(const Setting& s, MeanOfCounted& mean) {
        const size_t n = fill;
        FalloffTimes(d2, t, n, s.nearR, s.width);
        s.falloff.EvalMany(t, r, n);
        mean.counted += CountedR(r, n, s.nearR, s.width, s.farR);
        size_t k = 0;
        for (; k + 4 <= n; k += 4)
            for (size_t j = 0; j < 4; ++j) mean.sums[j] += r[k + j];
        for (; k < n; ++k) mean.sums[0] += r[k];
        fill = 0;
    }
};

// D of element p against every point of a set, candidate by candidate.
double MeanOverAll(const Setting& s, const Point& p, const std::vector<Point>& candidates) {
    double total = 0.0;
    size_t counted = 0;
    for (const Point& q : candidates) {
        double ri = s.R(Distance(p, q));
        if (ri < s.farR) {
            total += ri;
            ++counted;
        }
    }
    return counted ? total / static_cast<double>(counted) : s.farR;
}

// `pointSetD(c, setting, D, forElements)` fills D (one per element) for a point-set connexion;
// `parallel` spreads the per-element work over the cores.
template <class PointSetD>
void Run(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
         const Falloff& falloff, Options o, bool parallel, std::span<double> weights, RangeUsed& result, std::vector<double>& D,
         PointSetD&& pointSetD) {
    double nearR = o.nearRange, farR = o.farRange;
    result.farAdjusted = false;
    if (nearR + 0.0001 >= farR) {
        farR = nearR + 0.0001;
        result.farAdjusted = true;
    }
    result.farUsed = farR;
    const double sum = FactorSum(connexions);
    if (sum == 0.0) {
        const size_t kept = std::min(base.size(), weights.size());
        std::copy(base.begin(), base.begin() + static_cast<std::ptrdiff_t>(kept), weights.begin());
        std::fill(weights.begin() + static_cast<std::ptrdiff_t>(kept), weights.end(), 0.0);
        return;
    }
    std::fill(weights.begin(), weights.end(), 0.0);
    Accumulator acc(weights, o, farR);
    const Setting setting{nearR, farR, farR - nearR, falloff};
    D.resize(elements.size());
    auto forElements = [&](auto&& body) {
        if (parallel) ForChunks(elements.size(), body);
        else body(size_t{0}, elements.size());
    };
    for (const Connexion& c : connexions) {
        double f = c.enabled ? c.factor : 0.0;
        if (f == 0.0) continue;
        double effective = o.additive ? f : f / sum;
        if (c.pointSet) {
            pointSetD(c, setting, D, forElements);
        } else {
            forElements([&](size_t begin, size_t end) {
                const Setting& s = setting;
                for (size_t i = begin; i < end; ++i) {
                    D[i] = s.farR;
                    if (i < c.distances.size()) {
                        double ri = s.R(c.distances[i]);
                        if (ri < s.farR) D[i] = ri;
                    }
                }
            });
        }
        acc.AddAll(D, effective, forElements);
    }
    acc.Finish(forElements);
}

}  // namespace

double FactorSum(std::span<const Connexion> connexions) {
    double sum = 0.0;
    for (const Connexion& c : connexions) sum += c.enabled ? c.factor : 0.0;
    return sum;
}

Result EvaluateStraight(std::span<const Point> elements, std::span<const double> base,
                        std::span<const Connexion> connexions, const Falloff& falloff, Options options) {
    Result result;
    result.weights.resize(elements.size());
    std::vector<double> D;
    Run(elements, base, connexions, falloff, options, false, result.weights, result, D,
        [&](const Connexion& c, const Setting& s, std::vector<double>& out, auto&&) {
            static const std::vector<Point> none;
            const std::vector<Point>& pts = c.points ? c.points->Points() : none;
            for (size_t i = 0; i < elements.size(); ++i) out[i] = MeanOverAll(s, elements[i], pts);
        });
    return result;
}

double SettledDistance(const Falloff& falloff, Options options) {
    double nearR = options.nearRange, farR = std::max(options.farRange, options.nearRange + 0.0001);
    Reach reach = FindReach(falloff, nearR, farR - nearR);
    if (reach.kind == Reach::Everywhere) return std::numeric_limits<double>::infinity();
    return ReachRadius(reach, nearR, farR - nearR);
}

Result Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                const Falloff& falloff, Options options) {
    Result result;
    result.weights.resize(elements.size());
    Workspace workspace;
    static_cast<RangeUsed&>(result) = Evaluate(elements, base, connexions, falloff, options, result.weights, workspace);
    return result;
}

RangeUsed Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                   const Falloff& falloff, Options options, std::span<double> weights, Workspace& workspace) {
    RangeUsed result;
    Run(elements, base, connexions, falloff, options, true, weights, result, workspace.D,
        [&](const Connexion& c, const Setting& setting, std::vector<double>& D, auto&& forElements) {
            const size_t m = c.points ? c.points->Size() : 0;
            if (m == 0) {
                std::fill(D.begin(), D.end(), setting.farR);
                return;
            }
            Reach reach = FindReach(setting.falloff, setting.nearR, setting.width);
            if (reach.kind == Reach::Everywhere) {
                // No distance is too far for this curve: every candidate is looked at.
                forElements([&](size_t begin, size_t end) {
                    const Setting& s = setting;
                    for (size_t i = begin; i < end; ++i) D[i] = MeanOverAll(s, elements[i], c.points->Points());
                });
                return;
            }
            const double radius = ReachRadius(reach, setting.nearR, setting.width);
            c.points->Prepare(radius);
            forElements([&](size_t begin, size_t end) {
                const Setting& s = setting;
                const PointIndex& index = *c.points;
                const bool tail = reach.kind == Reach::ConstantTail;
                const double tailR = reach.tailR;
                // A chunk of elements whose box is out of reach of the points' box has no
                // candidate at all: every element gets what an element without one gets.
                Point lo{HUGE_VAL, HUGE_VAL, HUGE_VAL}, hi{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
                for (size_t i = begin; i < end; ++i)
                    for (size_t a = 0; a < 3; ++a) {
                        lo[a] = std::min(lo[a], elements[i][a]);
                        hi[a] = std::max(hi[a], elements[i][a]);
                    }
                double gap2 = 0.0;
                for (size_t a = 0; a < 3; ++a) {
                    const double g = std::max({index.Lo()[a] - hi[a], lo[a] - index.Hi()[a], 0.0});
                    gap2 += g * g;
                }
                const double reach = radius * (1.0 + 1e-9) + 1e-9;
                if (gap2 > reach * reach) {
                    MeanOfCounted none;
                    if (tail) none.Add(static_cast<double>(m) * tailR, m);
                    const double d = none.counted ? none.Total() / static_cast<double>(none.counted) : s.farR;
                    std::fill(D.begin() + static_cast<std::ptrdiff_t>(begin), D.begin() + static_cast<std::ptrdiff_t>(end), d);
                    return;
                }
                CandidateBlock block;
                const double r2 = radius * radius;
                for (size_t i = begin; i < end; ++i) {
                    MeanOfCounted mean;
                    size_t inside = 0;
                    const Point p = elements[i];
                    index.Runs(p, radius, [&](const Point* points, const uint32_t*, uint32_t count) {
                        // Every candidate is written; only those in reach move the end on.
                        for (uint32_t k = 0; k < count; ++k) {
                            const Point& q = points[k];
                            const double dx = p[0] - q[0], dy = p[1] - q[1], dz = p[2] - q[2];
                            const double d2 = dx * dx + dy * dy + dz * dz;
                            block.d2[block.fill] = d2;
                            const size_t in = d2 <= r2;
                            block.fill += in;
                            inside += in;
                            if (block.fill == CandidateBlock::kSize) block.Flush(s, mean);
                        }
                    });
                    block.Flush(s, mean);
                    if (tail && inside < m) mean.Add(static_cast<double>(m - inside) * tailR, m - inside);
                    D[i] = mean.counted ? mean.Total() / static_cast<double>(mean.counted) : s.farR;
                }
            });
        });
    return result;
}

}  // namespace orbelin::proximity
