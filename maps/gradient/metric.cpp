#include "gradient/metric.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <queue>
#include <stdexcept>
#include <string>
#include <utility>

namespace orbelin::gradient {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

using Vec = std::array<double, 3>;
Vec Sub(const Vec& a, const Vec& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
double Dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec Cross(const Vec& a, const Vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Norm(const Vec& a) { return std::sqrt(Dot(a, a)); }

void CheckIndices(std::span<const int32_t> list, size_t n, const char* what) {
    for (int32_t v : list)
        if (v < 0 || static_cast<size_t>(v) >= n)
            throw std::invalid_argument(std::string(what) + " names vertex " + std::to_string(v) + " of a mesh of " +
                                        std::to_string(n) + " vertices");
}

// Common checks; returns the vertex count and fills `allowed` (the restriction to targets).
size_t Prepare(const MetricInput& in, std::vector<uint8_t>& allowed) {
    const size_t n = in.neighbours.vertexCount;
    if (n > static_cast<size_t>(INT32_MAX)) throw std::invalid_argument("too many vertices");
    ValidateNeighbours(in.neighbours);
    if (in.points.size() < 3 * n) throw std::invalid_argument("a metric distance needs 3 coordinates per vertex");
    CheckIndices(in.roots, n, "the root list");
    CheckIndices(in.targets, n, "the target list");
    std::vector<uint8_t> inTarget(n, 0);
    for (int32_t t : in.targets) inTarget[static_cast<size_t>(t)] = 1;
    bool restrict = false;
    for (int32_t r : in.roots) restrict = restrict || inTarget[static_cast<size_t>(r)];
    allowed = restrict ? std::move(inTarget) : std::vector<uint8_t>(n, 1);
    return n;
}

Vec Point(const MetricInput& in, size_t v) {
    const Vec p{in.points[3 * v], in.points[3 * v + 1], in.points[3 * v + 2]};
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]))
        throw std::invalid_argument("point " + std::to_string(v) + " is not finite");
    return p;
}

double EdgeLength(const MetricInput& in, size_t a, size_t b) {
    const double d = Norm(Sub(Point(in, a), Point(in, b)));
    if (!std::isfinite(d))
        throw std::invalid_argument("the edge from point " + std::to_string(a) + " to point " + std::to_string(b) +
                                    " is too long to measure");
    return d;
}

std::vector<double> Dijkstra(const MetricInput& in, const std::vector<uint8_t>& allowed) {
    const size_t n = in.neighbours.vertexCount;
    std::vector<double> dist(n, kInf);
    using Item = std::pair<double, uint32_t>;
    std::priority_queue<Item, std::vector<Item>, std::greater<Item>> queue;
    for (int32_t r : in.roots) {
        const auto v = static_cast<uint32_t>(r);
        if (dist[v] != 0.0) {
            (void)Point(in, v);
            dist[v] = 0.0;
            queue.push({0.0, v});
        }
    }
    while (!queue.empty()) {
        const auto [d, v] = queue.top();
        queue.pop();
        if (d > dist[v]) continue;
        for (uint32_t u : in.neighbours.Of(v)) {
            if (!allowed[u] || u == v) continue;
            const double nd = d + EdgeLength(in, v, u);
            if (nd < dist[u]) {
                dist[u] = nd;
                queue.push({nd, u});
            }
        }
    }
    return dist;
}

// ---- Fast marching over the triangle fans.

// The triangles of the polygons' fans (from each polygon's first corner) whose corners are all
// allowed, apart from degenerate ones, and the triangles around each vertex.
struct Fans {
    std::vector<std::array<uint32_t, 3>> triangles;
    std::vector<uint8_t> obtuse;  // per triangle, bit i: the angle at corner i is over a right angle
    std::vector<uint32_t> offsets, around;  // triangles around v: around[offsets[v] .. offsets[v+1])
};

// False for a triangle of no area (or one too thin to measure): its corners, if nothing else
// joins them, stay apart.
bool HasArea(const Vec& a, const Vec& b, const Vec& c, double ab, double bc, double ca) {
    const double longest = std::max({ab, bc, ca});
    if (!(longest > 0.0)) return false;
    const Vec u = Sub(b, a), v = Sub(c, a);
    const Vec us{u[0] / longest, u[1] / longest, u[2] / longest}, vs{v[0] / longest, v[1] / longest, v[2] / longest};
    return Norm(Cross(us, vs)) > 1e-12;
}

Fans CutIntoFans(const MetricInput& in, const std::vector<uint8_t>& allowed) {
    const size_t n = in.neighbours.vertexCount;
    if (in.polygonOffsets.empty() || in.polygonOffsets.front() != 0 || in.polygonOffsets.back() > in.corners.size())
        throw std::invalid_argument("the polygon offsets do not match the corner list");
    for (size_t p = 0; p + 1 < in.polygonOffsets.size(); ++p)
        if (in.polygonOffsets[p] > in.polygonOffsets[p + 1])
            throw std::invalid_argument("the polygon offsets decrease at polygon " + std::to_string(p));
    for (uint32_t c : in.corners)
        if (c >= n) throw std::invalid_argument("a polygon names vertex " + std::to_string(c) + " of a mesh of " +
                                                std::to_string(n) + " vertices");
    Fans fans;
    fans.offsets.assign(n + 1, 0);
    for (size_t p = 0; p + 1 < in.polygonOffsets.size(); ++p) {
        const uint32_t begin = in.polygonOffsets[p], end = in.polygonOffsets[p + 1];
        for (uint32_t c = begin + 1; c + 1 < end; ++c) {
            const std::array<uint32_t, 3> t{in.corners[begin], in.corners[c], in.corners[c + 1]};
            if (!allowed[t[0]] || !allowed[t[1]] || !allowed[t[2]]) continue;
            if (t[0] == t[1] || t[1] == t[2] || t[0] == t[2]) continue;
            const Vec a = Point(in, t[0]), b = Point(in, t[1]), c3 = Point(in, t[2]);
            if (!HasArea(a, b, c3, EdgeLength(in, t[0], t[1]), EdgeLength(in, t[1], t[2]), EdgeLength(in, t[2], t[0])))
                continue;
            fans.triangles.push_back(t);
            const std::array<Vec, 3> p{a, b, c3};
            uint8_t mask = 0;
            for (size_t i = 0; i < 3; ++i)
                if (Dot(Sub(p[(i + 1) % 3], p[i]), Sub(p[(i + 2) % 3], p[i])) < 0.0) mask |= static_cast<uint8_t>(1u << i);
            fans.obtuse.push_back(mask);
            for (uint32_t v : t) ++fans.offsets[v + 1];
        }
    }
    for (size_t v = 0; v < n; ++v) fans.offsets[v + 1] += fans.offsets[v];
    fans.around.resize(fans.offsets[n]);
    std::vector<uint32_t> fill(fans.offsets.begin(), fans.offsets.end() - 1);
    for (size_t k = 0; k < fans.triangles.size(); ++k)
        for (uint32_t v : fans.triangles[k]) fans.around[fill[v]++] = static_cast<uint32_t>(k);
    return fans;
}

// The way across the triangle (a, b, c) to c from the distances da at a and db at b (see the
// header): |S - c|, or +infinity when no point S fits them or the line from it to c misses ab.
double AcrossTriangle(const Vec& a, const Vec& b, const Vec& c, double da, double db) {
    const Vec ab = Sub(b, a), ac = Sub(c, a);
    const double length = Norm(ab);
    // c in the plane: x along ab from a, y > 0 across it.
    const double cx = Dot(ac, ab) / length, cy = Norm(Cross(ab, ac)) / length;
    const double sx = 0.5 * ((da - db) * (da + db) / length + length);
    double across = (da - sx) * (da + sx);
    if (across < 0.0) {
        // Rounding around a source on the line ab; otherwise da and db fit no point.
        if (!(across > -1e-12 * (da * da + db * db + length * length))) return kInf;
        across = 0.0;
    }
    const double sy = -std::sqrt(across);
    const double crossing = sx + (cx - sx) * (-sy / (cy - sy));
    const double slack = 1e-9 * length;
    if (!(crossing >= -slack && crossing <= length + slack)) return kInf;
    const double d = std::hypot(cx - sx, cy - sy);
    return std::isfinite(d) ? d : kInf;
}

}  // namespace

std::vector<double> EdgePathDistances(const MetricInput& in) {
    std::vector<uint8_t> allowed;
    Prepare(in, allowed);
    return Dijkstra(in, allowed);
}

std::vector<double> GeodesicDistances(const MetricInput& in, const KeepGoing& keepGoing) {
    std::vector<uint8_t> allowed;
    const size_t n = Prepare(in, allowed);
    const Fans fans = CutIntoFans(in, allowed);
    auto at = [&](size_t v) { return Vec{in.points[3 * v], in.points[3 * v + 1], in.points[3 * v + 2]}; };

    std::vector<double> dist(n, kInf);
    std::vector<uint8_t> done(n, 0);
    using Item = std::pair<double, uint32_t>;
    std::priority_queue<Item, std::vector<Item>, std::greater<Item>> queue;
    for (int32_t r : in.roots) {
        const auto v = static_cast<uint32_t>(r);
        if (dist[v] != 0.0) {
            (void)Point(in, v);
            dist[v] = 0.0;
            queue.push({0.0, v});
        }
    }
    // A corner settles when it is the nearest unsettled one, as in Dijkstra. At an obtuse corner
    // the way across can come from two corners that settle after it: it is then opened again
    // (a few times at most, so the work stays bounded whatever the mesh).
    constexpr uint8_t kMostReopenings = 4;
    std::vector<uint8_t> reopened(n, 0);
    size_t settled = 0;
    while (!queue.empty()) {
        const auto [d, v] = queue.top();
        queue.pop();
        if (done[v] || d > dist[v]) continue;
        if (settled++ % 4096 == 0 && keepGoing && !keepGoing()) return {};
        done[v] = 1;
        const Vec pv = at(v);
        for (uint32_t k = fans.offsets[v]; k < fans.offsets[v + 1]; ++k) {
            const uint32_t triangle = fans.around[k];
            const std::array<uint32_t, 3>& t = fans.triangles[triangle];
            const size_t corner = t[0] == v ? 0 : t[1] == v ? 1 : 2;
            for (const size_t side : {size_t{1}, size_t{2}}) {
                const size_t iu = (corner + side) % 3;
                const uint32_t u = t[iu], w = t[(corner + 3 - side) % 3];
                const bool again = done[u] != 0;
                if (again && (!done[w] || !(fans.obtuse[triangle] >> iu & 1u) || reopened[u] == kMostReopenings))
                    continue;
                const Vec pu = at(u);
                double best = again ? kInf : d + Norm(Sub(pu, pv));
                if (done[w]) best = std::min(best, AcrossTriangle(pv, at(w), pu, d, dist[w]));
                if (!(best < (again ? dist[u] * (1.0 - 1e-9) : dist[u]))) continue;
                if (again) {
                    done[u] = 0;
                    ++reopened[u];
                }
                dist[u] = best;
                queue.push({best, u});
            }
        }
    }
    return dist;
}

std::vector<double> NormaliseDistances(std::span<const double> distances, std::span<const int32_t> targets,
                                       double* largest) {
    double most = 0.0;
    for (double d : distances)
        if (std::isfinite(d)) most = std::max(most, d);
    if (largest) *largest = most;
    std::vector<double> out(targets.size(), 0.0);
    for (size_t i = 0; i < targets.size(); ++i) {
        const auto v = static_cast<size_t>(targets[i]);
        if (v < distances.size() && std::isfinite(distances[v]) && most > 0.0) out[i] = distances[v] / most;
    }
    return out;
}

}  // namespace orbelin::gradient
