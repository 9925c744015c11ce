#include "proximity/point_index.h"

#include <cmath>

namespace orbelin::proximity {

PointIndex::PointIndex(std::span<const Point> points) : m_points(points.begin(), points.end()) {
    if (m_points.empty()) return;
    m_lo = m_hi = m_points.front();
    for (const Point& p : m_points)
        for (size_t a = 0; a < 3; ++a) {
            m_lo[a] = std::min(m_lo[a], p[a]);
            m_hi[a] = std::max(m_hi[a], p[a]);
        }
}

void PointIndex::Prepare(double radius) {
    if (m_points.empty()) return;
    bool finite = std::isfinite(radius) && radius > 0;
    for (size_t a = 0; a < 3; ++a) finite = finite && std::isfinite(m_lo[a]) && std::isfinite(m_hi[a]);
    // Half the radius: a query then walks about five rows a side, each a run of points cut
    // close to the sphere. The cell count is kept to a few per point, so a small radius over a
    // wide set does not flood the grid.
    double cell = finite ? radius / 2 : 0.0;
    if (cell > 0) {
        const double cap = 4.0 * static_cast<double>(m_points.size()) + 64.0;
        for (;;) {
            double cells = 1.0;
            for (size_t a = 0; a < 3; ++a) cells *= std::floor((m_hi[a] - m_lo[a]) / cell) + 1.0;
            if (cells <= cap) break;
            cell *= 1.5;
        }
    }
    if (cell == m_cell) return;
    m_cell = cell;
    m_inverse = 1.0 / cell;
    double magnitude = 0.0;
    for (size_t a = 0; a < 3; ++a) magnitude = std::max({magnitude, std::abs(m_lo[a]), std::abs(m_hi[a])});
    m_slack = cell * 1e-6 + magnitude * 1e-12;
    m_start.clear();
    m_sorted.clear();
    m_order.clear();
    if (cell == 0.0) return;
    for (size_t a = 0; a < 3; ++a) m_dims[a] = static_cast<int64_t>(std::floor((m_hi[a] - m_lo[a]) / cell)) + 1;
    const size_t cells = static_cast<size_t>(m_dims[0] * m_dims[1] * m_dims[2]);
    std::vector<uint32_t> cellOf(m_points.size());
    m_start.assign(cells + 1, 0);
    for (size_t i = 0; i < m_points.size(); ++i) {
        const Point& p = m_points[i];
        cellOf[i] = static_cast<uint32_t>((CellOf(p[2], 2) * m_dims[1] + CellOf(p[1], 1)) * m_dims[0] + CellOf(p[0], 0));
        ++m_start[cellOf[i] + 1];
    }
    for (size_t c = 0; c < cells; ++c) m_start[c + 1] += m_start[c];
    m_sorted.resize(m_points.size());
    m_order.resize(m_points.size());
    std::vector<uint32_t> fill(m_start.begin(), m_start.end() - 1);
    for (size_t i = 0; i < m_points.size(); ++i) {
        uint32_t at = fill[cellOf[i]]++;
        m_sorted[at] = m_points[i];
        m_order[at] = static_cast<uint32_t>(i);
    }
}

}  // namespace orbelin::proximity
