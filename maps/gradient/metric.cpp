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

// ---- The heat method.

struct Triangle {
    std::array<uint32_t, 3> v;
};

// Symmetric sparse matrix, rows in CSR with the diagonal kept apart.
struct Sparse {
    std::vector<uint32_t> offsets, cols;
    std::vector<double> values, diagonal;
};

struct Corner {
    uint32_t row, col;
    double w;
};

// The cotangents at the three corners of a triangle; false when it is degenerate.
bool Cotangents(const std::array<Vec, 3>& p, std::array<double, 3>& cot, double& twiceArea) {
    const Vec n = Cross(Sub(p[1], p[0]), Sub(p[2], p[0]));
    twiceArea = Norm(n);
    double longest = 0.0;
    for (int a = 0; a < 3; ++a) longest = std::max(longest, Dot(Sub(p[(a + 1) % 3], p[a]), Sub(p[(a + 1) % 3], p[a])));
    if (!std::isfinite(twiceArea) || !(twiceArea > 1e-12 * longest)) return false;
    for (int a = 0; a < 3; ++a) {
        const Vec u = Sub(p[(a + 1) % 3], p[a]), v = Sub(p[(a + 2) % 3], p[a]);
        cot[static_cast<size_t>(a)] = Dot(u, v) / twiceArea;
    }
    return true;
}

// y = A x on the rows and columns of `free`, A = L + shift * mass (diagonal).
void Multiply(const Sparse& L, std::span<const double> mass, double shift, const std::vector<uint8_t>& free,
              const std::vector<double>& x, std::vector<double>& y) {
    const size_t n = L.diagonal.size();
    for (size_t i = 0; i < n; ++i) {
        if (!free[i]) {
            y[i] = 0.0;
            continue;
        }
        double s = (L.diagonal[i] + shift * mass[i]) * x[i];
        for (uint32_t k = L.offsets[i]; k < L.offsets[i + 1]; ++k)
            if (free[L.cols[k]]) s += L.values[k] * x[L.cols[k]];
        y[i] = s;
    }
}

// Conjugate gradients with a Jacobi preconditioner on the free rows, until the residual is
// `relativeResidual` times the right-hand side (or a cap on the iterations); x holds the start.
// Returns false when stopped by keepGoing.
bool Solve(const Sparse& L, std::span<const double> mass, double shift, const std::vector<uint8_t>& free,
           const std::vector<double>& b, std::vector<double>& x, double relativeResidual, const KeepGoing& keepGoing) {
    const size_t n = b.size();
    std::vector<double> r(n, 0.0), z(n, 0.0), p(n, 0.0), q(n, 0.0), inv(n, 0.0);
    size_t count = 0;
    for (size_t i = 0; i < n; ++i)
        if (free[i]) {
            ++count;
            const double d = L.diagonal[i] + shift * mass[i];
            inv[i] = d > 0.0 ? 1.0 / d : 0.0;
        } else {
            x[i] = 0.0;
        }
    Multiply(L, mass, shift, free, x, q);
    double bb = 0.0, rz = 0.0;
    for (size_t i = 0; i < n; ++i)
        if (free[i]) {
            r[i] = b[i] - q[i];
            z[i] = inv[i] * r[i];
            p[i] = z[i];
            bb += b[i] * b[i];
            rz += r[i] * z[i];
        }
    if (bb == 0.0) bb = 1.0;
    const double tolerance = relativeResidual * relativeResidual * bb;
    const size_t maxIterations = 2000 + 20 * static_cast<size_t>(std::sqrt(static_cast<double>(count)));
    for (size_t it = 0; it < maxIterations; ++it) {
        double rr = 0.0;
        for (size_t i = 0; i < n; ++i) rr += r[i] * r[i];
        if (!(rr > tolerance)) break;
        if (it % 32 == 31 && keepGoing && !keepGoing()) return false;
        Multiply(L, mass, shift, free, p, q);
        double pq = 0.0;
        for (size_t i = 0; i < n; ++i) pq += p[i] * q[i];
        if (!(pq > 0.0)) break;
        const double alpha = rz / pq;
        double rzNext = 0.0;
        for (size_t i = 0; i < n; ++i) {
            x[i] += alpha * p[i];
            r[i] -= alpha * q[i];
            z[i] = inv[i] * r[i];
            rzNext += r[i] * z[i];
        }
        const double beta = rzNext / rz;
        rz = rzNext;
        for (size_t i = 0; i < n; ++i) p[i] = z[i] + beta * p[i];
    }
    return true;
}

size_t Find(std::vector<uint32_t>& parent, size_t v) {
    while (parent[v] != v) {
        parent[v] = parent[parent[v]];
        v = parent[v];
    }
    return v;
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
    if (in.polygonOffsets.empty() || in.polygonOffsets.front() != 0 || in.polygonOffsets.back() > in.corners.size())
        throw std::invalid_argument("the polygon offsets do not match the corner list");
    for (size_t p = 0; p + 1 < in.polygonOffsets.size(); ++p)
        if (in.polygonOffsets[p] > in.polygonOffsets[p + 1])
            throw std::invalid_argument("the polygon offsets decrease at polygon " + std::to_string(p));
    for (uint32_t c : in.corners)
        if (c >= n) throw std::invalid_argument("a polygon names vertex " + std::to_string(c) + " of a mesh of " +
                                                std::to_string(n) + " vertices");

    // Fans of triangles over the allowed vertices, with their cotangent weights.
    std::vector<Triangle> triangles;
    std::vector<std::array<double, 3>> cots;
    std::vector<double> mass(n, 0.0);
    std::vector<uint32_t> rowCount(n, 0);
    double edgeSum = 0.0;
    size_t edgeCount = 0;
    for (size_t p = 0; p + 1 < in.polygonOffsets.size(); ++p) {
        const uint32_t begin = in.polygonOffsets[p], end = in.polygonOffsets[p + 1];
        for (uint32_t c = begin + 1; c + 1 < end; ++c) {
            const Triangle t{{in.corners[begin], in.corners[c], in.corners[c + 1]}};
            if (!allowed[t.v[0]] || !allowed[t.v[1]] || !allowed[t.v[2]]) continue;
            if (t.v[0] == t.v[1] || t.v[1] == t.v[2] || t.v[0] == t.v[2]) continue;
            const std::array<Vec, 3> pos{Point(in, t.v[0]), Point(in, t.v[1]), Point(in, t.v[2])};
            std::array<double, 3> cot{};
            double twiceArea = 0.0;
            if (!Cotangents(pos, cot, twiceArea)) continue;
            for (int a = 0; a < 3; ++a) {
                mass[t.v[static_cast<size_t>(a)]] += twiceArea / 6.0;
                rowCount[t.v[static_cast<size_t>(a)]] += 2;
                edgeSum += EdgeLength(in, t.v[static_cast<size_t>(a)], t.v[static_cast<size_t>((a + 1) % 3)]);
                ++edgeCount;
            }
            triangles.push_back(t);
            cots.push_back(cot);
        }
    }

    // Vertices joined to a root through triangles.
    std::vector<uint32_t> parent(n);
    for (size_t i = 0; i < n; ++i) parent[i] = static_cast<uint32_t>(i);
    for (const Triangle& t : triangles)
        for (int a = 0; a < 2; ++a) {
            const size_t x = Find(parent, t.v[static_cast<size_t>(a)]), y = Find(parent, t.v[static_cast<size_t>(a) + 1]);
            if (x != y) parent[x] = static_cast<uint32_t>(y);
        }
    std::vector<uint8_t> rootSet(n, 0), isRoot(n, 0);
    for (int32_t r : in.roots) {
        isRoot[static_cast<size_t>(r)] = 1;
        rootSet[Find(parent, static_cast<size_t>(r))] = 1;
    }
    std::vector<uint8_t> heatFree(n, 0), poissonFree(n, 0);
    for (size_t i = 0; i < n; ++i) {
        const bool reached = rootSet[Find(parent, i)] && mass[i] > 0.0;
        heatFree[i] = reached;
        poissonFree[i] = reached && !isRoot[i];
    }

    // The cotangent Laplacian (positive semi-definite: L_ij = -w_ij, L_ii = sum of w_ij).
    Sparse L;
    L.offsets.assign(n + 1, 0);
    for (size_t i = 0; i < n; ++i) L.offsets[i + 1] = L.offsets[i] + rowCount[i];
    std::vector<Corner> entries(L.offsets[n]);
    std::vector<uint32_t> fill(L.offsets.begin(), L.offsets.end() - 1);
    for (size_t k = 0; k < triangles.size(); ++k)
        for (size_t a = 0; a < 3; ++a) {
            const uint32_t i = triangles[k].v[(a + 1) % 3], j = triangles[k].v[(a + 2) % 3];
            const double w = 0.5 * cots[k][a];
            entries[fill[i]++] = {i, j, w};
            entries[fill[j]++] = {j, i, w};
        }
    L.diagonal.assign(n, 0.0);
    std::vector<uint32_t> compact(n + 1, 0);
    for (size_t i = 0; i < n; ++i) {
        auto first = entries.begin() + L.offsets[i], last = entries.begin() + L.offsets[i + 1];
        std::sort(first, last, [](const Corner& a, const Corner& b) { return a.col < b.col; });
        for (auto e = first; e != last; ++e) {
            L.diagonal[i] += e->w;
            if (!L.cols.empty() && L.cols.size() > compact[i] && L.cols.back() == e->col) {
                L.values.back() -= e->w;
            } else {
                L.cols.push_back(e->col);
                L.values.push_back(-e->w);
            }
        }
        compact[i + 1] = static_cast<uint32_t>(L.cols.size());
    }
    L.offsets = std::move(compact);
    entries = {};

    // The edge paths over the same triangles start the Poisson solve and scale the heat step.
    std::vector<double> start = Dijkstra(in, allowed);
    double farthest = 0.0;
    for (size_t i = 0; i < n; ++i)
        if (poissonFree[i] && std::isfinite(start[i])) farthest = std::max(farthest, start[i]);
    const double h = edgeCount ? edgeSum / static_cast<double>(edgeCount) : 0.0;
    // t = h^2 as the method asks, raised so that the heat left at the farthest vertex stays
    // within what an iterative solve resolves (a decay of about e^-15).
    const double t = std::max(h * h, (farthest / 15.0) * (farthest / 15.0));

    std::vector<double> dist(n, kInf);
    for (int32_t r : in.roots) dist[static_cast<size_t>(r)] = 0.0;
    if (triangles.empty() || !(t > 0.0)) return dist;

    // (M + t L) u = roots' indicator, solved as (L + M / t) u = indicator / t.
    std::vector<double> b(n, 0.0), u(n, 0.0);
    for (size_t i = 0; i < n; ++i)
        if (isRoot[i] && heatFree[i]) b[i] = 1.0 / t;
    // The heat far out is small (about e^-15): the solve goes well below it.
    if (!Solve(L, mass, 1.0 / t, heatFree, b, u, 1e-10, keepGoing)) return {};

    // Normalised gradient per triangle, turned away from the roots, and its divergence.
    std::vector<double> divergence(n, 0.0);
    for (size_t k = 0; k < triangles.size(); ++k) {
        const Triangle& tri = triangles[k];
        if (!heatFree[tri.v[0]]) continue;
        const std::array<Vec, 3> pos{Point(in, tri.v[0]), Point(in, tri.v[1]), Point(in, tri.v[2])};
        const Vec normal = Cross(Sub(pos[1], pos[0]), Sub(pos[2], pos[0]));
        Vec grad{0.0, 0.0, 0.0};
        for (size_t a = 0; a < 3; ++a) {
            const Vec opposite = Sub(pos[(a + 2) % 3], pos[(a + 1) % 3]);
            const Vec g = Cross(normal, opposite);
            for (size_t c = 0; c < 3; ++c) grad[c] += u[tri.v[a]] * g[c];
        }
        const double length = Norm(grad);
        if (!(length > 0.0) || !std::isfinite(length)) continue;
        const Vec X{-grad[0] / length, -grad[1] / length, -grad[2] / length};
        for (size_t a = 0; a < 3; ++a) {
            const size_t j = (a + 1) % 3, l = (a + 2) % 3;
            const double value = 0.5 * (cots[k][l] * Dot(Sub(pos[j], pos[a]), X) + cots[k][j] * Dot(Sub(pos[l], pos[a]), X));
            divergence[tri.v[a]] += value;
        }
    }

    // L d = -div with d = 0 at the roots.
    std::vector<double> rhs(n, 0.0), d(n, 0.0);
    for (size_t i = 0; i < n; ++i)
        if (poissonFree[i]) {
            rhs[i] = -divergence[i];
            d[i] = std::isfinite(start[i]) ? start[i] : 0.0;
        }
    if (!Solve(L, mass, 0.0, poissonFree, rhs, d, 1e-6, keepGoing)) return {};
    for (size_t i = 0; i < n; ++i)
        if (poissonFree[i]) dist[i] = std::isfinite(d[i]) ? std::max(d[i], 0.0) : kInf;
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
