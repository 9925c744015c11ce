#include "haircomb/comb.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "common/parallel.h"

namespace orbelin::haircomb {

std::array<double, kStrandPoints> Profile(const FunctionCurve& shape) {
    std::array<double, kStrandPoints> p{};
    for (size_t k = 0; k < kStrandPoints; ++k)
        p[k] = shape.Eval(100.0 * static_cast<double>(k + 1) / static_cast<double>(kStrandPoints)) / 100.0;
    return p;
}

std::vector<int32_t> StrandRoots(size_t strandCount, size_t vertexCount, std::span<const int32_t> polygonData,
                                 bool hasCluster, std::span<const int32_t> clusterPolygons) {
    std::vector<int32_t> roots(strandCount, kNoRoot);
    if (strandCount == vertexCount) {
        for (size_t i = 0; i < strandCount; ++i) roots[i] = static_cast<int32_t>(i);
        return roots;
    }
    if (!hasCluster) {
        if (vertexCount > 0) std::fill(roots.begin(), roots.end(), 0);
        return roots;
    }
    // Where each polygon's corners start in the host's polygon data.
    std::vector<size_t> starts;
    for (size_t at = 0; at < polygonData.size();) {
        const int32_t n = polygonData[at];
        if (n < 0 || static_cast<size_t>(n) > polygonData.size() - at - 1) break;
        starts.push_back(at);
        at += 1 + static_cast<size_t>(n);
    }
    std::vector<char> met(vertexCount, 0);
    size_t next = 0;
    for (int32_t p : clusterPolygons) {
        if (p < 0 || static_cast<size_t>(p) >= starts.size()) continue;
        const size_t at = starts[static_cast<size_t>(p)];
        for (int32_t c = 0; c < polygonData[at] && next < strandCount; ++c) {
            const int32_t v = polygonData[at + 1 + static_cast<size_t>(c)];
            if (v < 0 || static_cast<size_t>(v) >= vertexCount || met[static_cast<size_t>(v)]) continue;
            met[static_cast<size_t>(v)] = 1;
            roots[next++] = v;
        }
    }
    return roots;
}

void GradientPerVertex(size_t vertexCount, std::span<const double> weights, std::span<const int32_t> elements,
                       std::span<double> out) {
    if (weights.size() == vertexCount) {
        std::copy(weights.begin(), weights.end(), out.begin());
        return;
    }
    std::fill(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(vertexCount), 0.0);
    const size_t n = std::min(weights.size(), elements.size());
    for (size_t i = 0; i < n; ++i)
        if (elements[i] >= 0 && static_cast<size_t>(elements[i]) < vertexCount) out[static_cast<size_t>(elements[i])] = weights[i];
}

namespace {

struct V3 {
    double x, y, z;
};
V3 operator+(V3 a, V3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
V3 operator-(V3 a, V3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V3 operator*(V3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
V3 operator/(V3 a, double s) { return {a.x / s, a.y / s, a.z / s}; }
V3 Cross(V3 a, V3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double Length(V3 a) { return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z); }
V3 At(std::span<const double> a, size_t i) { return {a[3 * i], a[3 * i + 1], a[3 * i + 2]}; }

// One strand; false when it is left as it is.
bool CombStrand(const Emitter& e, int32_t root, std::span<const double> gradient, const Options& o, double* pts) {
    if (root < 0 || static_cast<size_t>(root) >= e.vertexCount) return false;
    const size_t r = static_cast<size_t>(root);
    const uint32_t begin = e.offsets[r], end = e.offsets[r + 1];
    if (begin == end) return false;
    double greatest = -2.0, smallest = 2.0;
    for (uint32_t j = begin; j < end; ++j) {
        const double g = gradient[e.neighbours[j]];
        if (g >= greatest) greatest = g;
        if (g <= smallest) smallest = g;
    }
    if (greatest == smallest) return false;
    V3 up{0, 0, 0}, down{0, 0, 0};
    size_t ups = 0, downs = 0;
    for (uint32_t j = begin; j < end; ++j) {
        const uint32_t u = e.neighbours[j];
        const double g = gradient[u];
        if (g == greatest) up = up + At(e.positions, u), ++ups;
        if (g == smallest) down = down + At(e.positions, u), ++downs;
    }
    if (ups == 0 || downs == 0) return false;
    const V3 d = up / static_cast<double>(ups) - down / static_cast<double>(downs);
    const V3 n = At(e.normals, r), base = At(e.positions, r);
    V3 t = Cross(Cross(n, d), n);
    const double tl = Length(t);
    if (tl != 0.0) t = t / tl;

    double combLen = 0.0, origLen = 0.0;
    V3 prev = base, last{0, 0, 0};
    V3 combed[kStrandPoints];
    for (size_t k = 0; k < kStrandPoints; ++k) {
        const double s = static_cast<double>(k + 1) / static_cast<double>(kStrandPoints);
        const V3 p = t * (s * o.width) + n * (o.high * o.profile[k]);
        const V3 in{pts[3 * k], pts[3 * k + 1], pts[3 * k + 2]};
        combLen += Length(p - last);
        origLen += Length(in - prev);
        prev = in;
        last = p;
        combed[k] = p;
    }
    const double scale = combLen != 0.0 ? origLen / combLen : 0.0;
    for (size_t k = 0; k < kStrandPoints; ++k) {
        const V3 q = combed[k] * scale + base;
        pts[3 * k] = q.x, pts[3 * k + 1] = q.y, pts[3 * k + 2] = q.z;
    }
    return true;
}

}  // namespace

size_t Comb(const Emitter& emitter, std::span<const int32_t> roots, std::span<const double> gradient, const Options& options,
            std::span<double> points) {
    const size_t strands = std::min(roots.size(), points.size() / (3 * kStrandPoints));
    std::atomic<size_t> combed{0};
    ForChunks(strands, [&](size_t begin, size_t end) {
        size_t here = 0;
        for (size_t i = begin; i < end; ++i)
            here += CombStrand(emitter, roots[i], gradient, options, &points[i * 3 * kStrandPoints]) ? 1 : 0;
        combed += here;
    }, 2048);
    return combed;
}

}  // namespace orbelin::haircomb
