#include "proximity/point_index.h"

#include <algorithm>
#include <numeric>

namespace orbelin::proximity {

PointIndex::PointIndex(std::span<const Point> points) : m_points(points.begin(), points.end()) {
    m_order.resize(m_points.size());
    std::iota(m_order.begin(), m_order.end(), 0u);
    size_t leaves = 1;
    while (leaves * kLeaf < m_points.size()) leaves *= 2;
    m_nodes.resize(2 * leaves - 1);
    if (!m_points.empty()) Build(0, 0, static_cast<uint32_t>(m_points.size()), 0);
    m_sorted.resize(m_points.size());
    for (size_t i = 0; i < m_order.size(); ++i) m_sorted[i] = m_points[m_order[i]];
}

void PointIndex::Build(size_t node, uint32_t begin, uint32_t end, int depth) {
    Node& n = m_nodes[node];
    n.begin = begin;
    n.end = end;
    Point lo = m_points[m_order[begin]], hi = lo;
    for (uint32_t i = begin; i < end; ++i)
        for (size_t a = 0; a < 3; ++a) {
            lo[a] = std::min(lo[a], m_points[m_order[i]][a]);
            hi[a] = std::max(hi[a], m_points[m_order[i]][a]);
        }
    n.lo = lo;
    n.hi = hi;
    if (2 * node + 2 >= m_nodes.size() || end - begin <= kLeaf) {
        n.axis = -1;  // descendants of an early leaf are never visited
        return;
    }
    // Split the widest extent at the median.
    int axis = 0;
    for (int a = 1; a < 3; ++a)
        if (hi[static_cast<size_t>(a)] - lo[static_cast<size_t>(a)] > hi[static_cast<size_t>(axis)] - lo[static_cast<size_t>(axis)]) axis = a;
    uint32_t mid = begin + (end - begin) / 2;
    auto key = [&](uint32_t i) { return m_points[i][static_cast<size_t>(axis)]; };
    std::nth_element(m_order.begin() + begin, m_order.begin() + mid, m_order.begin() + end,
                     [&](uint32_t a, uint32_t b) { return key(a) < key(b); });
    n.axis = axis;
    n.split = key(m_order[mid]);
    // Left holds keys <= split (the median itself included), right holds keys >= split.
    Build(2 * node + 1, begin, mid + 1, depth + 1);
    Build(2 * node + 2, mid + 1, end, depth + 1);
    (void)depth;
}

}  // namespace orbelin::proximity
