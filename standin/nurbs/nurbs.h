// NURBS curves and surfaces as plain data: evaluation and closest-point queries.
//
// Parameters are the knot values themselves (not normalised). Open curves use clamped
// knot vectors (the curve starts and ends on its end control points); closed curves are
// periodic (the first `degree` control points repeat at the end of the internal list).
//
// Closest points. The first query on a curve or surface turns every knot span (every patch of
// a surface) into a polynomial in a local parameter and builds a tree of boxes around the
// spans' Bezier points; the curve never leaves those boxes while the weights are positive.
// A query then visits only the spans whose box can hold a point nearer than the best found
// so far, nearest box first. On a curve span the stationary points of the distance are the
// roots of one polynomial, isolated by subdividing its Bernstein form, so the span's minimum is
// exact. A patch is sampled on a grid (finer where it turns or its speed is uneven) that gives
// an upper bound; each cell of the grid also gets a lower bound (the hull of its corners
// widened by how far the patch can bend away from them), and the cells that may still hold a
// nearer point are descended by Newton's method from their middle: bounded to the patch, with
// a trust radius, a shifted Hessian where it is not positive and a step along negative
// curvature out of saddles (a sphere's poles), never ending farther than it started. The
// queries allocate nothing; the caches are made lazily, so const members are NOT safe to call
// concurrently (the host is single-threaded).
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "mesh/polymesh.h"

namespace standin::nurbs {

using mesh::Vec3;

namespace detail {
struct CurveIndex;
struct SurfaceIndex;
}  // namespace detail

struct CurvePoint {
    double u = 0.0;
    Vec3 position{0, 0, 0};
    double squaredDistance = 0.0;
};

class Curve {
public:
    // `points` are the control points (for a closed curve, without repetition); `weights`
    // empty means all 1. Throws std::invalid_argument for a degree outside 1..3 or too few points.
    Curve(std::vector<Vec3> points, int degree, bool closed, std::vector<double> weights = {});

    int Degree() const { return m_degree; }
    bool Closed() const { return m_closed; }
    double UMin() const { return m_knots[static_cast<size_t>(m_degree)]; }
    double UMax() const { return m_knots[m_knots.size() - 1 - static_cast<size_t>(m_degree)]; }
    const std::vector<Vec3>& ControlPoints() const { return m_userPoints; }
    // The full description: every knot, and the control points as (x*w, y*w, z*w, w) with a
    // closed curve's periodic copies.
    const std::vector<double>& Knots() const { return m_knots; }
    const std::vector<std::array<double, 4>>& HomogeneousPoints() const { return m_points; }

    Vec3 Evaluate(double u) const;
    Vec3 Derivative(double u) const;  // first derivative with respect to u
    double Length() const;            // arc length, by adaptive Gauss quadrature per span
    // The point of the curve nearest to `p` (u within [UMin, UMax]).
    CurvePoint Closest(const Vec3& p) const;
    // U in [0, 1] along the parameter range, and back.
    double NormalizedFromU(double u) const { return (u - UMin()) / (UMax() - UMin()); }
    double UFromNormalized(double n) const { return UMin() + n * (UMax() - UMin()); }

private:
    int m_degree;
    bool m_closed;
    std::vector<Vec3> m_userPoints;
    std::vector<std::array<double, 4>> m_points;  // homogeneous (x*w, y*w, z*w, w), periodic copies appended
    std::vector<double> m_knots;

    // Span polynomials and their box tree, made on the first closest-point query (a curve
    // never changes once made, so copies share them).
    mutable std::shared_ptr<const detail::CurveIndex> m_index;

    std::array<double, 4> Homogeneous(double u) const;
    const detail::CurveIndex& Index() const;
};

struct SurfacePoint {
    double u = 0.0, v = 0.0;
    Vec3 position{0, 0, 0};
    double squaredDistance = 0.0;
};

// A tensor-product surface: control points row by row, `countU` per row, `countV` rows.
// Rows run along U, columns along V; each direction is open (clamped) or closed (periodic)
// like a curve. `weights` empty means all 1, else one positive weight per control point.
class Surface {
public:
    Surface(std::vector<Vec3> points, int countU, int countV, int degreeU, int degreeV, bool closedU, bool closedV,
            std::vector<double> weights = {});

    Vec3 Evaluate(double u, double v) const;  // u and v are clamped to the domain
    // The point of the surface nearest to `p` (u, v within the domain).
    SurfacePoint Closest(const Vec3& p) const;
    double UMin() const { return m_knotsU[static_cast<size_t>(m_degreeU)]; }
    double UMax() const { return m_knotsU[m_knotsU.size() - 1 - static_cast<size_t>(m_degreeU)]; }
    double VMin() const { return m_knotsV[static_cast<size_t>(m_degreeV)]; }
    double VMax() const { return m_knotsV[m_knotsV.size() - 1 - static_cast<size_t>(m_degreeV)]; }
    int DegreeU() const { return m_degreeU; }
    int DegreeV() const { return m_degreeV; }
    bool ClosedU() const { return m_closedU; }
    bool ClosedV() const { return m_closedV; }
    // As given: row by row, without periodic copies.
    const std::vector<Vec3>& ControlPoints() const { return m_userPoints; }

private:
    int m_degreeU, m_degreeV;
    bool m_closedU, m_closedV;
    std::vector<Vec3> m_userPoints;
    size_t m_rowLength = 0;                       // stored points per row, periodic copies included
    std::vector<std::array<double, 4>> m_points;  // homogeneous, row by row, periodic rows appended
    std::vector<double> m_knotsU, m_knotsV;
    mutable std::shared_ptr<const detail::SurfaceIndex> m_index;  // patches and their box tree

    const detail::SurfaceIndex& Index() const;
};

// Shapes the stand-in's scripts create.
Curve Circle(double radius, int segments = 8);                        // closed cubic in the XZ plane
Curve Spiral(double radius, double height, double turns, int pointsPerTurn = 8);
Surface GridSurface(double sizeX, double sizeZ, int spansU, int spansV);  // XZ plane, bicubic
Surface SphereSurface(double radius, int spansU = 8, int spansV = 6);

}  // namespace standin::nurbs
