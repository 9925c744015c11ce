// One evaluation of the Proximity Map on plain arrays, computed the straightforward way:
// every element against every candidate of every connexion.
#pragma once

#include <array>
#include <functional>
#include <span>
#include <vector>

namespace orbelin::proximity {

using Point = std::array<double, 3>;

struct Connexion {
    bool enabled = true;
    double factor = 1.0;
    // Either every point of a point set is a candidate (world positions; an empty set gives
    // D = far at once) ...
    bool pointSet = false;
    std::vector<Point> points;
    // ... or there is one candidate per element, at this distance (curves, surfaces, origins).
    std::vector<double> distances;
};

struct Options {
    double nearRange = 0.0, farRange = 10.0;
    bool additive = true;
    int postProcess = 0;  // 0 none, 1 clamp, 2 change range
    double lower = 0.0, upper = 1.0;
};

struct Result {
    std::vector<double> weights;
    bool farAdjusted = false;  // the range was too narrow: far became near + 0.0001
    double farUsed = 0.0;
};

// `elements`: world position of each weight-map element; `base`: its current weight (one per
// element); `falloff`: the falloff curve, read on 0 to 100.
Result Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                const std::function<double(double)>& falloff, Options options);

}  // namespace orbelin::proximity
