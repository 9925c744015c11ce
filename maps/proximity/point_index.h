// A k-d tree over a point set, built once while the points do not change, answering "every
// point within a radius" without looking at the points that cannot be there.
#pragma once

#include <algorithm>
#include <array>
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

    // Calls visit(index, squaredDistance) for every point at a distance <= radius from p.
    template <class Visit>
    void Within(const Point& p, double radius, Visit&& visit) const;

private:
    struct Node {
        uint32_t begin, end;   // range in m_order
        int32_t axis;          // -1: a leaf
        double split;
        Point lo, hi;          // bounds of the node's points
    };
    std::vector<Point> m_points;
    std::vector<uint32_t> m_order;  // point indices, grouped by node
    std::vector<Point> m_sorted;    // m_points in m_order, for locality
    std::vector<Node> m_nodes;      // implicit tree: children of n at 2n+1, 2n+2
    static constexpr uint32_t kLeaf = 16;

    void Build(size_t node, uint32_t begin, uint32_t end, int depth);
};

template <class Visit>
void PointIndex::Within(const Point& p, double radius, Visit&& visit) const {
    if (m_points.empty() || !(radius >= 0)) return;
    const double r2 = radius * radius;
    size_t stack[64];
    size_t top = 0;
    stack[top++] = 0;
    while (top > 0) {
        size_t n = stack[--top];
        const Node& node = m_nodes[n];
        // Most queries end here: the sphere misses the node's box.
        double gap2 = 0.0;
        for (size_t a = 0; a < 3; ++a) {
            double g = std::max(node.lo[a] - p[a], p[a] - node.hi[a]);
            if (g > 0) gap2 += g * g;
        }
        if (gap2 > r2) continue;
        if (node.axis < 0) {
            for (uint32_t i = node.begin; i < node.end; ++i) {
                const Point& q = m_sorted[i];
                double dx = p[0] - q[0], dy = p[1] - q[1], dz = p[2] - q[2];
                double d2 = dx * dx + dy * dy + dz * dz;
                if (d2 <= r2) visit(m_order[i], d2);
            }
            continue;
        }
        double delta = p[static_cast<size_t>(node.axis)] - node.split;
        // The near side always; the far side only when the sphere reaches across the plane.
        size_t nearChild = delta <= 0 ? 2 * n + 1 : 2 * n + 2, farChild = delta <= 0 ? 2 * n + 2 : 2 * n + 1;
        if (delta * delta <= r2) stack[top++] = farChild;
        stack[top++] = nearChild;
    }
}

}  // namespace orbelin::proximity
