#include "proximity/evaluate.h"

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

template <class PointSetD>
Result Run(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
           const Falloff& falloff, Options o, PointSetD&& pointSetD) {
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
    const double width = farR - nearR;
    auto r = [&](double d) { return falloff.eval(std::max(d - nearR, 0.0) * 100.0 / width) * width + nearR; };
    for (const Connexion& c : connexions) {
        double f = c.enabled ? c.factor : 0.0;
        if (f == 0.0) continue;
        double effective = o.additive ? f : f / sum;
        if (c.pointSet) {
            pointSetD(c, r, nearR, farR, width, [&](size_t i, double D) { acc.Add(i, D, effective); });
            continue;
        }
        for (size_t i = 0; i < elements.size(); ++i) {
            double D = farR;
            if (i < c.distances.size()) {
                double ri = r(c.distances[i]);
                if (ri < farR) D = ri;
            }
            acc.Add(i, D, effective);
        }
    }
    acc.Finish();
    return result;
}

double Distance(const Point& a, const Point& b) {
    double dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

}  // namespace

Result EvaluateStraight(std::span<const Point> elements, std::span<const double> base,
                        std::span<const Connexion> connexions, const Falloff& falloff, Options options) {
    return Run(elements, base, connexions, falloff, options,
               [&](const Connexion& c, auto& r, double, double farR, double, auto&& emit) {
                   static const std::vector<Point> none;
                   const std::vector<Point>& pts = c.points ? c.points->Points() : none;
                   for (size_t i = 0; i < elements.size(); ++i) {
                       double total = 0.0;
                       size_t counted = 0;
                       for (const Point& q : pts) {
                           double ri = r(Distance(elements[i], q));
                           if (ri < farR) {
                               total += ri;
                               ++counted;
                           }
                       }
                       emit(i, counted ? total / static_cast<double>(counted) : farR);
                   }
               });
}

Result Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                const Falloff& falloff, Options options) {
    return Run(elements, base, connexions, falloff, options,
               [&](const Connexion& c, auto& r, double nearR, double farR, double width, auto&& emit) {
                   const size_t m = c.points ? c.points->Size() : 0;
                   if (m == 0) {
                       for (size_t i = 0; i < elements.size(); ++i) emit(i, farR);
                       return;
                   }
                   Reach reach = FindReach(falloff, nearR, width);
                   if (reach.kind == Reach::Everywhere) {
                       // No distance is too far for this curve: every candidate is looked at.
                       for (size_t i = 0; i < elements.size(); ++i) {
                           double total = 0.0;
                           size_t counted = 0;
                           for (const Point& q : c.points->Points()) {
                               double ri = r(Distance(elements[i], q));
                               if (ri < farR) {
                                   total += ri;
                                   ++counted;
                               }
                           }
                           emit(i, counted ? total / static_cast<double>(counted) : farR);
                       }
                       return;
                   }
                   // t <= tMax  <=>  d <= near + tMax x width / 100; a hair wider, so that
                   // rounding cannot drop a candidate at the edge (its r decides anyway).
                   double radius = nearR + reach.tMax * width / 100.0;
                   radius = radius * (1.0 + 1e-12) + 1e-12;
                   for (size_t i = 0; i < elements.size(); ++i) {
                       double total = 0.0;
                       size_t counted = 0, inside = 0;
                       c.points->Within(elements[i], radius, [&](uint32_t, double d2) {
                           ++inside;
                           double ri = r(std::sqrt(d2));
                           if (ri < farR) {
                               total += ri;
                               ++counted;
                           }
                       });
                       if (reach.kind == Reach::ConstantTail && inside < m) {
                           total += static_cast<double>(m - inside) * reach.tailR;
                           counted += m - inside;
                       }
                       emit(i, counted ? total / static_cast<double>(counted) : farR);
                   }
               });
}

}  // namespace orbelin::proximity
