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

// Vertices by distance, nearest first.
using Item = std::pair<double, uint32_t>;
using Queue = std::priority_queue<Item, std::vector<Item>, std::greater<Item>>;

// Distances of +infinity but 0 at the roots, which the queue starts with.
Queue StartAtRoots(const MetricInput& in, std::vector<double>& dist) {
    dist.assign(in.neighbours.vertexCount, kInf);
    Queue queue;
    for (int32_t r : in.roots) {
        const auto v = static_cast<uint32_t>(r);
        if (dist[v] != 0.0) {
            (void)Point(in, v);
            dist[v] = 0.0;
            queue.push({0.0, v});
        }
    }
    return queue;
}

std::vector<double> Dijkstra(const MetricInput& in, const std::vector<uint8_t>& allowed) {
    std::vector<double> dist;
    Queue queue = StartAtRoots(in, dist);
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
    std::vector<Vec> normals;     // per triangle, of unit length, in the order of its corners
    std::vector<uint8_t> obtuse;  // per triangle, bit i: the angle at corner i is over a right angle
    std::vector<uint32_t> offsets, around;  // triangles around v: around[offsets[v] .. offsets[v+1])
};

// The normal of the triangle (a, b, c) in the order of its corners, worked out at the scale of
// its longest side so that far-out points do not overflow; its length is then 0 for a
// triangle of no area.
Vec ScaledNormal(const Vec& a, const Vec& b, const Vec& c) {
    Vec u = Sub(b, a), v = Sub(c, a);
    const double scale = std::max({std::abs(u[0]), std::abs(u[1]), std::abs(u[2]), std::abs(v[0]), std::abs(v[1]),
                                   std::abs(v[2])});
    if (!(scale > 0.0)) return {0.0, 0.0, 0.0};
    for (size_t i = 0; i < 3; ++i) u[i] /= scale, v[i] /= scale;
    return Cross(u, v);
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
            for (size_t i = 0; i < 3; ++i) (void)EdgeLength(in, t[i], t[(i + 1) % 3]);
            const std::array<Vec, 3> p{Point(in, t[0]), Point(in, t[1]), Point(in, t[2])};
            // A triangle of no area (or too thin to measure) joins nothing.
            const Vec normal = ScaledNormal(p[0], p[1], p[2]);
            const double area = Norm(normal);
            if (!(area > 1e-12)) continue;
            uint8_t mask = 0;
            for (size_t i = 0; i < 3; ++i)
                if (Dot(Sub(p[(i + 1) % 3], p[i]), Sub(p[(i + 2) % 3], p[i])) < 0.0) mask |= static_cast<uint8_t>(1u << i);
            fans.triangles.push_back(t);
            fans.normals.push_back({normal[0] / area, normal[1] / area, normal[2] / area});
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

// Where a vertex's distance comes from: `corner`, a root or a corner the way bends round, at
// distance `offset` from the roots, and `point` standing for it, unfolded into the plane of
// unit normal `plane` through the vertex (no normal for a root, whose point is itself), with
// distance = |vertex - point| + offset.
struct Origin {
    Vec point{};
    Vec plane{0.0, 0.0, 0.0};
    double offset = 0.0;
    uint32_t corner = 0;
};

// `s`, lying in the plane of unit normal `from`, turned about the line where that plane meets
// the plane of unit normal `to`, into the latter (as a hinge opens); false for a turn of more
// than about 160 degrees: a fold nearly flat onto itself, or a polygon wound against its
// neighbours.
bool Turn(const Vec& s, const Vec& from, const Vec& to, Vec& out) {
    const double c = Dot(from, to);
    if (!(c > -0.94)) return false;
    const Vec k = Cross(from, to), ks = Cross(k, s);
    const double f = Dot(k, s) / (1.0 + c);
    out = {c * s[0] + ks[0] + f * k[0], c * s[1] + ks[1] + f * k[1], c * s[2] + ks[2] + f * k[2]};
    return true;
}

// The way across the triangle (a, b, c) to c from a point at distance ra from a and rb from b,
// placed in the triangle's plane on the far side of ab from c (`source`): its distance from c,
// or +infinity when no point is at those distances or the line from it to c misses ab.
double AcrossTriangle(const Vec& a, const Vec& b, const Vec& c, double ra, double rb, Vec& source) {
    const Vec ab = Sub(b, a), ac = Sub(c, a);
    const double length = Norm(ab);
    const Vec e1{ab[0] / length, ab[1] / length, ab[2] / length};
    // c in the plane: x along ab from a, y > 0 across it.
    const double cx = Dot(ac, e1);
    const Vec across{ac[0] - cx * e1[0], ac[1] - cx * e1[1], ac[2] - cx * e1[2]};
    const double cy = Norm(across);
    const double sx = 0.5 * ((ra - rb) * (ra + rb) / length + length);
    double height = (ra - sx) * (ra + sx);
    if (height < 0.0) {
        // Rounding around a point on the line ab; otherwise ra and rb fit no point.
        if (!(height > -1e-12 * (ra * ra + rb * rb + length * length))) return kInf;
        height = 0.0;
    }
    const double sy = -std::sqrt(height);
    const double crossing = sx + (cx - sx) * (-sy / (cy - sy));
    const double slack = 1e-9 * length;
    if (!(crossing >= -slack && crossing <= length + slack)) return kInf;
    const double distance = std::hypot(cx - sx, cy - sy);
    if (!std::isfinite(distance)) return kInf;
    const double up = sy / cy;
    for (size_t i = 0; i < 3; ++i) source[i] = a[i] + sx * e1[i] + up * across[i];
    return distance;
}

// The same from the point `from` in the triangle's plane; +infinity when it lies on c's side.
double AcrossTriangleFrom(const Vec& a, const Vec& b, const Vec& c, const Vec& from, Vec& source) {
    if (Dot(Sub(from, a), Cross(Cross(Sub(b, a), Sub(c, a)), Sub(b, a))) > 0.0) return kInf;
    return AcrossTriangle(a, b, c, Norm(Sub(from, a)), Norm(Sub(from, b)), source);
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

    std::vector<double> dist;
    Queue queue = StartAtRoots(in, dist);
    std::vector<Origin> origin(n);
    for (int32_t r : in.roots) origin[static_cast<size_t>(r)] = {at(static_cast<size_t>(r)), {}, 0.0, static_cast<uint32_t>(r)};
    std::vector<uint8_t> done(n, 0), reopened(n, 0);
    constexpr uint8_t kMostReopenings = 4;
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
            const Vec& normal = fans.normals[triangle];
            const size_t corner = t[0] == v ? 0 : t[1] == v ? 1 : 2;
            for (const size_t side : {size_t{1}, size_t{2}}) {
                const size_t iu = (corner + side) % 3;
                const uint32_t u = t[iu], w = t[(corner + 3 - side) % 3];
                const bool again = done[u] != 0;
                if (again && (!(fans.obtuse[triangle] >> iu & 1u) || reopened[u] == kMostReopenings)) continue;
                const Vec pu = at(u), pw = at(w);
                double best = kInf;
                Origin from;
                if (!again) {
                    // Along the edge: straight on from v's origin, or bending round v.
                    best = d + Norm(Sub(pu, pv));
                    const Origin& o = origin[v];
                    const bool straight =
                        Dot(o.plane, o.plane) > 0.0 && Norm(Sub(pu, o.point)) + o.offset >= best * (1.0 - 1e-12);
                    from = straight ? o : Origin{pv, normal, d, v};
                }
                if (done[w]) {
                    const Origin &ov = origin[v], &ow = origin[w];
                    Vec source{};
                    // Taken unless shorter than the straight line through space (no way is).
                    auto offer = [&](double way, const Origin& o) {
                        way += o.offset;
                        if (way < best && way >= (Norm(Sub(pu, at(o.corner))) + o.offset) * (1.0 - 1e-9))
                            best = way, from = {source, normal, o.offset, o.corner};
                    };
                    if (ov.corner == ow.corner && ov.offset == ow.offset) {
                        // Both from the same point: placed by their distances from it.
                        offer(AcrossTriangle(pv, pw, pu, d - ov.offset, dist[w] - ov.offset, source), ov);
                    } else {
                        // From different points (two roots' fronts meeting): each point turned
                        // into the triangle's plane.
                        for (const Origin* o : {&ov, &ow}) {
                            const Vec px = o == &ov ? pv : pw;
                            Vec turned{};
                            if (!Turn(Sub(o->point, px), o->plane, normal, turned)) continue;
                            offer(AcrossTriangleFrom(pv, pw, pu, {px[0] + turned[0], px[1] + turned[1], px[2] + turned[2]},
                                                     source),
                                  *o);
                        }
                    }
                }
                if (!(best < (again ? dist[u] * (1.0 - 1e-9) : dist[u]))) continue;
                if (again) {
                    done[u] = 0;
                    ++reopened[u];
                }
                dist[u] = best;
                origin[u] = from;
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
