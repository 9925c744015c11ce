#include "proximity/evaluate.h"

#include "common/parallel.h"

#include <algorithm>
#include <cmath>
#include <limits>

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
    double tEnd = f.hasKeys ? std::max(f.lastKeyTime, 0.0) : 0.0;
    double v0 = f.eval(tEnd), v1 = f.eval(tEnd + 1.0);
    int ext = f.hasKeys ? f.extrapolation : 1;
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

struct Accumulator {
    std::vector<double>& weights;
    const Options& o;
    double farR;
    double maxSeen = -10000.0, minSeen = 10000.0;

    void Add(size_t i, double D, double effective) {
        double v = weights[i] + (1.0 - D / farR) * effective;
        if (o.postProcess == 1) {
            if (std::min(v, o.upper) <= o.lower) v = o.lower;
            else if (v >= o.upper) v = o.upper;
        } else if (o.postProcess == 2) {
            if (v > maxSeen) maxSeen = v;
            if (v < minSeen) minSeen = v;
        }
        weights[i] = v;
    }
    void Finish() {
        if (o.postProcess == 2 && maxSeen != minSeen)
            for (double& v : weights) v = (o.upper - o.lower) / (maxSeen - minSeen) * (v - minSeen) + o.lower;
    }
};

double Distance(const Point& a, const Point& b) {
    double dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// What one evaluation shares between its connexions.
struct Setting {
    double nearR, farR, width;
    const Falloff& falloff;
    double R(double d) const { return falloff.eval(std::max(d - nearR, 0.0) * 100.0 / width) * width + nearR; }
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

// `pointSetD(c, setting, D)` fills D (one per element) for a point-set connexion; `parallel`
// spreads the per-element work over the cores (the falloff is then read from several threads).
template <class PointSetD>
Result Run(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
           const Falloff& falloff, Options o, bool parallel, PointSetD&& pointSetD) {
    Result result;
    double nearR = o.nearRange, farR = o.farRange;
    if (nearR + 0.0001 >= farR) {
        farR = nearR + 0.0001;
        result.farAdjusted = true;
    }
    result.farUsed = farR;
    double sum = 0.0;
    for (const Connexion& c : connexions) sum += c.enabled ? c.factor : 0.0;
    if (sum == 0.0) {
        result.weights.assign(base.begin(), base.end());
        return result;
    }
    result.weights.assign(elements.size(), 0.0);
    Accumulator acc{result.weights, o, farR};
    const Setting setting{nearR, farR, farR - nearR, falloff};
    std::vector<double> D(elements.size());
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
                for (size_t i = begin; i < end; ++i) {
                    D[i] = farR;
                    if (i < c.distances.size()) {
                        double ri = setting.R(c.distances[i]);
                        if (ri < farR) D[i] = ri;
                    }
                }
            });
        }
        for (size_t i = 0; i < elements.size(); ++i) acc.Add(i, D[i], effective);
    }
    acc.Finish();
    return result;
}

}  // namespace

Result EvaluateStraight(std::span<const Point> elements, std::span<const double> base,
                        std::span<const Connexion> connexions, const Falloff& falloff, Options options) {
    return Run(elements, base, connexions, falloff, options, false,
               [&](const Connexion& c, const Setting& s, std::vector<double>& D, auto&&) {
                   static const std::vector<Point> none;
                   const std::vector<Point>& pts = c.points ? c.points->Points() : none;
                   for (size_t i = 0; i < elements.size(); ++i) D[i] = MeanOverAll(s, elements[i], pts);
               });
}

double SettledDistance(const Falloff& falloff, Options options) {
    double nearR = options.nearRange, farR = std::max(options.farRange, options.nearRange + 0.0001);
    Reach reach = FindReach(falloff, nearR, farR - nearR);
    if (reach.kind == Reach::Everywhere) return std::numeric_limits<double>::infinity();
    return ReachRadius(reach, nearR, farR - nearR);
}

Result Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                const Falloff& falloff, Options options) {
    return Run(elements, base, connexions, falloff, options, true,
               [&](const Connexion& c, const Setting& s, std::vector<double>& D, auto&& forElements) {
                   const size_t m = c.points ? c.points->Size() : 0;
                   if (m == 0) {
                       std::fill(D.begin(), D.end(), s.farR);
                       return;
                   }
                   Reach reach = FindReach(falloff, s.nearR, s.width);
                   if (reach.kind == Reach::Everywhere) {
                       // No distance is too far for this curve: every candidate is looked at.
                       forElements([&](size_t begin, size_t end) {
                           for (size_t i = begin; i < end; ++i) D[i] = MeanOverAll(s, elements[i], c.points->Points());
                       });
                       return;
                   }
                   const double radius = ReachRadius(reach, s.nearR, s.width);
                   forElements([&](size_t begin, size_t end) {
                       for (size_t i = begin; i < end; ++i) {
                           double total = 0.0;
                           size_t counted = 0, inside = 0;
                           c.points->Within(elements[i], radius, [&](uint32_t, double d2) {
                               ++inside;
                               double ri = s.R(std::sqrt(d2));
                               if (ri < s.farR) {
                                   total += ri;
                                   ++counted;
                               }
                           });
                           if (reach.kind == Reach::ConstantTail && inside < m) {
                               total += static_cast<double>(m - inside) * reach.tailR;
                               counted += m - inside;
                           }
                           D[i] = counted ? total / static_cast<double>(counted) : s.farR;
                       }
                   });
               });
}

}  // namespace orbelin::proximity
