// One evaluation of the Proximity Map on plain arrays.
//
// Each element (a weight-map point, in world space) takes from each enabled connexion the
// value 1 - D / far, scaled by the connexion's effective factor, where D is the mean of the
// counted candidates' r = falloff(t) x (far - near) + near, t = max(d - near, 0) x 100 / (far - near),
// a candidate counting only when r < far (D = far when none does).
//
// EvaluateStraight does that literally, every element against every candidate. Evaluate gives
// the same weights (to rounding of the sums) by searching only where a candidate can count:
// from the falloff curve's end it finds how far a counting candidate can be, and looks that
// far in a grid of the connexion's points, the elements split over the cores.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "common/function_curve.h"
#include "proximity/point_index.h"

namespace orbelin::proximity {

// The falloff curve, read on 0 to 100 (beyond its keys it follows its extrapolation).
using Falloff = FunctionCurve;

struct Connexion {
    bool enabled = true;
    double factor = 1.0;
    // Either every point of a point set is a candidate (an empty set gives D = far at once) ...
    bool pointSet = false;
    std::shared_ptr<PointIndex> points;
    // ... or there is one candidate per element, at this distance (curves, surfaces, origins).
    std::vector<double> distances;
};

struct Options {
    double nearRange = 0.0, farRange = 10.0;
    bool additive = true;
    int postProcess = 0;  // 0 none, 1 clamp, 2 change range
    double lower = 0.0, upper = 1.0;
};

struct RangeUsed {
    bool farAdjusted = false;  // the range was too narrow: far became near + 0.0001
    double farUsed = 0.0;
};

struct Result : RangeUsed {
    std::vector<double> weights;
};

// What an evaluation needs besides its result, kept by the caller from one evaluation to
// the next so that repeated updates allocate nothing.
struct Workspace {
    std::vector<double> D;
};

// S: the sum of the enabled connexions' factors. When it is 0 the base weights are the result.
double FactorSum(std::span<const Connexion> connexions);

// `elements`: world position of each weight-map element; `base`: its current weight, one per
// element (read only when FactorSum is 0, and may then be shorter: missing weights are 0).
Result EvaluateStraight(std::span<const Point> elements, std::span<const double> base,
                        std::span<const Connexion> connexions, const Falloff& falloff, Options options);
Result Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                const Falloff& falloff, Options options);
// The same into `weights` (one per element), reusing the workspace's storage.
RangeUsed Evaluate(std::span<const Point> elements, std::span<const double> base, std::span<const Connexion> connexions,
                   const Falloff& falloff, Options options, std::span<double> weights, Workspace& workspace);

// The distance past which a candidate's r no longer depends on how far it is (it never counts,
// or the falloff's constant tail gives every such candidate the same r); infinity when the
// curve has no such distance. A per-element distance known to be beyond it can be given as any
// value beyond it, which spares the search for the exact one.
double SettledDistance(const Falloff& falloff, Options options);

}  // namespace orbelin::proximity
