#include "maps/proximity/binding/evaluate.h"

#include <algorithm>
#include <cmath>

namespace orbelin::proximity {

Result Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                const std::function<double(double)>& falloff, Options o) {
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
    const size_t n = elements.size();
    result.weights.assign(n, 0.0);
    double maxSeen = -10000.0, minSeen = 10000.0;
    const double width = farR - nearR;
    auto radius = [&](double d) {
        double t = std::max(d - nearR, 0.0) * 100.0 / width;
        return falloff(t) * width + nearR;
    };
    for (const Connexion& c : connexions) {
        double f = c.enabled ? c.factor : 0.0;
        if (f == 0.0) continue;
        double effective = o.additive ? f : f / sum;
        for (size_t i = 0; i < n; ++i) {
            double D = farR;
            if (c.pointSet) {
                double total = 0.0;
                size_t counted = 0;
                for (const Point& q : c.points) {
                    const Point& p = elements[i];
                    double d = std::sqrt((p[0] - q[0]) * (p[0] - q[0]) + (p[1] - q[1]) * (p[1] - q[1]) + (p[2] - q[2]) * (p[2] - q[2]));
                    double r = radius(d);
                    if (r < farR) {
                        total += r;
                        ++counted;
                    }
                }
                if (counted > 0) D = total / static_cast<double>(counted);
            } else if (i < c.distances.size()) {
                double r = radius(c.distances[i]);
                if (r < farR) D = r;
            }
            double v = result.weights[i] + (1.0 - D / farR) * effective;
            if (o.postProcess == 1) {
                if (std::min(v, o.upper) <= o.lower) v = o.lower;
                else if (v >= o.upper) v = o.upper;
            } else if (o.postProcess == 2) {
                maxSeen = std::max(maxSeen, v);
                minSeen = std::min(minSeen, v);
            }
            result.weights[i] = v;
        }
    }
    if (o.postProcess == 2 && maxSeen != minSeen)
        for (double& v : result.weights) v = (o.upper - o.lower) / (maxSeen - minSeen) * (v - minSeen) + o.lower;
    return result;
}

}  // namespace orbelin::proximity
