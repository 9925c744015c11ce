// A uniform grid of cells over a point set, answering "every point within a radius" without
// looking at the points that cannot be there.
//
// The cells are sized for the radius the queries will use (Prepare), and numbered x fastest,
// so the cells of one row that a query's sphere crosses hold their points contiguously: a
// query walks one short run of points per row, testing each exactly.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

namespace orbelin::proximity {

using Point = std::array<double, 3>;

class PointIndex {
public:
    explicit PointIndex(std::span<const Point> points);

    size_t Size() const { return m_points.size(); }
    const std::vector<Point>& Points() const { return m_points; }  // in their original order

    // The box around the points (meaningless for an empty set).
    const Point& Lo() const { return m_lo; }
    const Point& Hi() const { return m_hi; }

    // Sizes the cells for queries of this radius. Not to be called while queries run.
    void Prepare(double radius);

    // Calls visit(index, squaredDistance) for every point at a distance <= radius from p.
    // Any radius gives the exact set; the one prepared for is the fast one.
    template <class Visit>
    void Within(const Point& p, double radius, Visit&& visit) const;

    // Calls run(points, indices, count) for runs of points that together hold every point
    // within the radius of p, and others near it: the caller tests each one. A point that is
    // not a number has no run.
    template <class Run>
    void Runs(const Point& p, double radius, Run&& run) const;

private:
    std::vector<Point> m_points;
    Point m_lo{}, m_hi{};            // bounds of the points
    double m_cell = 0.0;             // 0: no grid yet
    double m_inverse = 0.0;          // 1 / m_cell
    double m_slack = 0.0;            // what rounding can move a cell's bound by, and more
    int64_t m_dims[3] = {0, 0, 0};
    std::vector<uint32_t> m_start;   // first sorted point of each cell, then the total
    std::vector<Point> m_sorted;     // points by cell
    std::vector<uint32_t> m_order;   // original index of each sorted point

    int64_t CellOf(double x, size_t axis) const {
        // Monotonic in x, and the points were put in their cells by the same function.
        double c = std::floor((x - m_lo[axis]) * m_inverse);
        return static_cast<int64_t>(std::clamp(c, 0.0, static_cast<double>(m_dims[axis] - 1)));
    }
};

template <class Visit>
void PointIndex::Within(const Point& p, double radius, Visit&& visit) const {
    const double r2 = radius * radius;
    Runs(p, radius, [&](const Point* points, const uint32_t* indices, uint32_t count) {
        for (uint32_t i = 0; i < count; ++i) {
            const Point& q = points[i];
            double dx = p[0] - q[0], dy = p[1] - q[1], dz = p[2] - q[2];
            double d2 = dx * dx + dy * dy + dz * dz;
            if (d2 <= r2) visit(indices ? indices[i] : i, d2);
        }
    });
}

template <class Run>
void PointIndex::Runs(const Point& p, double radius, Run&& run) const {
    if (m_points.empty() || !(radius >= 0)) return;
    // A coordinate that is not a number is at no distance from anything.
    if (std::isnan(p[0]) || std::isnan(p[1]) || std::isnan(p[2])) return;
    const double r2 = radius * radius;
    if (m_cell == 0.0) {  // no grid: every point
        run(m_points.data(), static_cast<const uint32_t*>(nullptr), static_cast<uint32_t>(m_points.size()));
        return;
    }
    // Rows are skipped and cut from their cells' bounds; the slack keeps rounding in the
    // bounds from dropping a point that the exact test would keep.
    const double slack = m_slack;
    auto gap = [&](double x, size_t axis) {
        return std::max({m_lo[axis] - x, x - m_hi[axis], 0.0});
    };
    double g0 = gap(p[0], 0), g1 = gap(p[1], 1), g2 = gap(p[2], 2);
    if (g0 * g0 + g1 * g1 + g2 * g2 > r2 + slack * radius * 4 + slack * slack) return;
    const int64_t y0 = CellOf(p[1] - radius - slack, 1), y1 = CellOf(p[1] + radius + slack, 1);
    const int64_t z0 = CellOf(p[2] - radius - slack, 2), z1 = CellOf(p[2] + radius + slack, 2);
    for (int64_t z = z0; z <= z1; ++z) {
        double zLo = m_lo[2] + static_cast<double>(z) * m_cell, gz = std::max({zLo - p[2], p[2] - (zLo + m_cell), 0.0});
        gz = std::max(0.0, gz - slack);
        if (gz * gz > r2) continue;
        for (int64_t y = y0; y <= y1; ++y) {
            double yLo = m_lo[1] + static_cast<double>(y) * m_cell, gy = std::max({yLo - p[1], p[1] - (yLo + m_cell), 0.0});
            gy = std::max(0.0, gy - slack);
            double rest = r2 - gz * gz - gy * gy;
            if (rest < 0) continue;
            double half = std::sqrt(rest) + slack;
            const int64_t x0 = CellOf(p[0] - half, 0), x1 = CellOf(p[0] + half, 0);
            const int64_t row = (z * m_dims[1] + y) * m_dims[0];
            const uint32_t begin = m_start[static_cast<size_t>(row + x0)], end = m_start[static_cast<size_t>(row + x1 + 1)];
            if (begin < end) run(m_sorted.data() + begin, m_order.data() + begin, end - begin);
        }
    }
}

}  // namespace orbelin::proximity
