// One evaluation of the Mix Map on plain arrays.
//
// Inputs:
// - `pointCount` P: the points of the object.
// - `elementPoints`: the point index of each element of the weight map written, one per input
//   weight (nIn of them; the caller passes no more than it has weights for).
// - `connexions` (K of them, in order): the `Enabled_`k flag and `Factor_`k; whether the
//   connexion's weight map is a valid object; its weights and its cluster's point index per
//   element. Only the first min(weights, indices) elements of a connexion are read.
// - `options`: the mode (1 Average, 3 Maximum, any other value Additive; Hold is the caller's),
//   the post-process (1 Clamp, 2 Change Range, any other value none) and its range.
// - `result`: M values, the output's element count; written whole.
//
// Each connexion gives every point the weight of the last of its elements on that point, 0 on
// the points its cluster does not cover. The factor sum S adds every connexion's factor, 0 for
// one disabled by its flag, an invalid map's factor included. When S is 0 nothing is mixed;
// otherwise each connexion in order whose factor f is not 0 (and whose map is valid) steps
// every input element's point: Average x = f/S × w + acc, Additive x = f × w + acc, Maximum
// x = f × w when that is larger than acc, else acc; then Clamp, or Change Range's running
// bounds (starting at -10000 / 10000, taken over every x), and acc = x. An element whose point
// repeats an earlier element's point steps that point again. Element j < min(nIn, M) reads acc
// at its point, every other one 0. Change Range, when its bounds differ, then stretches every
// result value v into the range, using v - min when that is not negative and -v - min when it
// is. So no connexion, or S = 0, gives all zeros, or the middle of the range with Change Range.
//
// An element index (of the output or a connexion) outside [0, P) names no point and is
// skipped: a connexion's such element gives nothing, an output element with no point reads 0.
//
// Evaluate keeps one value per distinct point of the output, reads each connexion's weights
// straight by element when its cluster lists the output's points in the same order (an index
// map otherwise), and splits the points over the cores; every value is the one the stepping
// above gives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orbelin::mix {

enum Mode { Hold = 0, Average = 1, Additive = 2, Maximum = 3 };
enum PostProcess { None = 0, Clamp = 1, ChangeRange = 2 };

struct Connexion {
    bool enabled = true;
    double factor = 1.0;
    bool valid = true;
    std::span<const double> weights;
    std::span<const int32_t> points;
};

struct Options {
    int mode = Average;
    int postProcess = None;
    double rangeMin = 0.0, rangeMax = 1.0;
};

// Storage kept by the caller between evaluations, so that repeated updates allocate nothing.
struct Workspace {
    std::vector<int32_t> slotOf;       // point -> its slot, -1 between evaluations
    std::vector<int32_t> elementSlot;  // input element -> slot, -1 when it names no point
    std::vector<int32_t> repeats;      // slot -> how many input elements name its point
    std::vector<double> acc;           // slot -> value
    std::vector<std::vector<int32_t>> source;  // per connexion: slot -> its element, or -1
};

// The factor sum S.
double FactorSum(std::span<const Connexion> connexions);

void Evaluate(size_t pointCount, std::span<const int32_t> elementPoints, std::span<const Connexion> connexions,
              Options options, std::span<double> result, Workspace& workspace);
std::vector<double> Evaluate(size_t pointCount, std::span<const int32_t> elementPoints,
                             std::span<const Connexion> connexions, Options options, size_t outputCount);

// Whether Hold freezes the map's current weights: only when coming from the initial or the
// disabled state (-1); from a live mode it keeps the last result written.
inline bool HoldCaptures(int lastMode) { return lastMode == -1; }

}  // namespace orbelin::mix
