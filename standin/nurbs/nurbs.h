// NURBS curves and surfaces as plain data: evaluation and closest-point queries.
//
// Parameters are the knot values themselves (not normalised). Open curves use clamped
// knot vectors (the curve starts and ends on its end control points); closed curves are
// periodic (the first `degree` control points repeat at the end of the internal list).
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "mesh/polymesh.h"

namespace standin::nurbs {

using mesh::Vec3;

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

    Vec3 Evaluate(double u) const;
    Vec3 Derivative(double u) const;  // first derivative with respect to u
    double Length() const;            // arc length, by adaptive Gauss quadrature per span
    // The point of the curve nearest to `p`, to 1e-9 in the parameter's span.
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

    // Samples along the parameter, made on the first closest-point query (the curve never
    // changes once made), and a bound on the curve's speed between them.
    mutable std::vector<Vec3> m_samples;
    mutable double m_sampleStep = 0.0, m_maxSpeed = 0.0;

    std::array<double, 4> Homogeneous(double u) const;
    size_t Span(double u) const;
    void Sample() const;
};

struct SurfacePoint {
    double u = 0.0, v = 0.0;
    Vec3 position{0, 0, 0};
    double squaredDistance = 0.0;
};

// A tensor-product surface: control points row by row, `countU` per row, `countV` rows.
class Surface {
public:
    Surface(std::vector<Vec3> points, int countU, int countV, int degreeU, int degreeV, bool closedU, bool closedV);

    Vec3 Evaluate(double u, double v) const;
    SurfacePoint Closest(const Vec3& p) const;
    double UMin() const { return m_rows.front().UMin(); }
    double UMax() const { return m_rows.front().UMax(); }
    double VMin() const;
    double VMax() const;

private:
    int m_countU, m_countV, m_degreeV;
    bool m_closedV;
    std::vector<Curve> m_rows;  // one curve in U per row of control points
    Curve ColumnAt(double u) const;
};

// Shapes the stand-in's scripts create.
Curve Circle(double radius, int segments = 8);                        // closed cubic in the XZ plane
Curve Spiral(double radius, double height, double turns, int pointsPerTurn = 8);
Surface GridSurface(double sizeX, double sizeZ, int spansU, int spansV);  // XZ plane, bicubic
Surface SphereSurface(double radius, int spansU = 8, int spansV = 6);

}  // namespace standin::nurbs
