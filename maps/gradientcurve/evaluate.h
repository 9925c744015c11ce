// One evaluation of the Gradient Curve Map on plain arrays.
//
// Element i is evaluated at the position of vertex i (the map is meant to cover every vertex
// in vertex order). Each enabled connexion j in order maps that position into its curve
// object's space and finds the nearest point on its curves (the earlier curve on a tie); its
// value is the point's normalised parameter times the connexion's factor. The value is taken
// when the squared distance is below the best so far (which starts at 1000000: past 1000
// units nothing is taken), so a tie keeps the earlier connexion. A taken value is clamped
// there (Clamp), or widens the running range (Change Range, which counts every value taken,
// also those a nearer curve replaced later); it is stored at the element's vertex
// (`elements[i]`), and element i reads back what is stored at its vertex. An element whose
// vertex got nothing keeps its incoming weight. Change Range then maps the values onto
// [min, max], mirroring those below the range's low end first, as the tool defines it.
//
// EvaluateStraight looks at every curve for every element. Evaluate gives the same result
// looking at a curve only when its box can beat the best distance so far, nearest box first,
// with the elements split over the cores.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "gradientcurve/curve.h"

namespace orbelin::gradientcurve {

// A 4 x 4 matrix in the row-vector convention (a point p maps to p x M, the translation in
// the last row), row-major: m[4 * row + col].
using Matrix = std::array<double, 16>;

// p x M, in the order of operations the host uses for a position.
Vec3 Transform(const Vec3& p, const Matrix& m);

struct Connexion {
    bool enabled = true;
    double factor = 1.0;
    // The mesh's object space to world (the mesh's global transform), then world to the curve
    // object's space (the inverse of its global transform; the identity when it has none).
    Matrix toWorld{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    Matrix toCurve{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::vector<Curve> curves;  // in the curve object's space
};

enum PostProcess { kNone = 0, kClamp = 1, kChangeRange = 2 };

struct Options {
    int postProcess = kNone;
    double min = 0.0, max = 1.0;
};

struct Stats {
    size_t written = 0;  // elements that took a value from a curve
};

// What an evaluation needs besides its result, kept by the caller from one evaluation to the
// next so that repeated updates touch no fresh memory.
struct Workspace {
    std::vector<double> value, slotValue;
    std::vector<int> winner, slotWinner;
};

// `vertices`: the mesh's vertex positions in its object space; `elements`: the vertex index
// of each weight-map element; `incoming`: each element's weight as it is (an element beyond
// its end reads 0). `out`: one weight per element (may be `incoming` itself).
Stats EvaluateStraight(std::span<const Vec3> vertices, std::span<const int> elements, std::span<const double> incoming,
                       std::span<const Connexion> connexions, Options options, std::span<double> out);
Stats Evaluate(std::span<const Vec3> vertices, std::span<const int> elements, std::span<const double> incoming,
               std::span<const Connexion> connexions, Options options, std::span<double> out);
Stats Evaluate(std::span<const Vec3> vertices, std::span<const int> elements, std::span<const double> incoming,
               std::span<const Connexion> connexions, Options options, std::span<double> out, Workspace& workspace);

}  // namespace orbelin::gradientcurve
