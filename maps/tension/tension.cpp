#include "tension/tension.h"

#include <algorithm>
#include <limits>
#include <vector>
#include <mutex>
#include <stdexcept>

#include "common/parallel.h"

namespace orbelin::tension {

namespace {

void Check(const Neighbourhoods& nb, size_t positions, size_t perVertex) {
    if (nb.vertexCount > std::numeric_limits<uint32_t>::max() - 1u)
        throw std::invalid_argument("tension: too many vertices");
    if (nb.offsets.size() != nb.vertexCount + 1)
        throw std::invalid_argument("tension: neighbourhood offsets must have one entry per vertex, plus one");
    if (positions != 3 * nb.vertexCount) throw std::invalid_argument("tension: three coordinates per vertex are needed");
    if (perVertex != nb.vertexCount) throw std::invalid_argument("tension: one value per vertex is needed");
    for (size_t v = 0; v < nb.vertexCount; ++v)
        if (nb.offsets[v] > nb.offsets[v + 1]) throw std::invalid_argument("tension: neighbourhood offsets must not decrease");
    if (nb.offsets[nb.vertexCount] > nb.indices.size())
        throw std::invalid_argument("tension: neighbourhood offsets go past the indices");
    // The indices are checked as they are read, on every core, rather than in a pass of their own.
}

[[noreturn]] void NamesNoVertex() { throw std::invalid_argument("tension: a neighbour names no vertex"); }

// S(v) / c(v): 0/0 (NaN) when nothing counts, as defined.
inline double Spread(const uint32_t* offsets, const uint32_t* indices, const double* p, size_t v, size_t vertexCount) {
    const double x = p[3 * v], y = p[3 * v + 1], z = p[3 * v + 2];
    double sum = 0.0;
    size_t count = 0;
    for (uint32_t i = offsets[v], e = offsets[v + 1]; i < e; ++i) {
        if (indices[i] >= vertexCount) NamesNoVertex();
        const double* q = p + 3 * size_t{indices[i]};
        const double dx = q[0] - x, dy = q[1] - y, dz = q[2] - z;
        const double d = dx * dx + dy * dy + dz * dz;
        if (d > 0.0) {
            sum += d;
            ++count;
        }
    }
    return sum / static_cast<double>(count);
}

}  // namespace

void Spreads(const Neighbourhoods& nb, std::span<const double> positions, std::span<double> spreads) {
    Check(nb, positions.size(), spreads.size());
    const uint32_t* offsets = nb.offsets.data();
    const uint32_t* indices = nb.indices.data();
    const double* p = positions.data();
    double* out = spreads.data();
    ForChunks(nb.vertexCount, [&](size_t begin, size_t end) {
        for (size_t v = begin; v < end; ++v) out[v] = Spread(offsets, indices, p, v, nb.vertexCount);
    });
}

void SpreadsOfPolygons(size_t vertexCount, std::span<const int32_t> polygons, std::span<const double> positions,
                       std::span<double> spreads) {
    if (positions.size() != 3 * vertexCount) throw std::invalid_argument("tension: three coordinates per vertex are needed");
    if (spreads.size() != vertexCount) throw std::invalid_argument("tension: one value per vertex is needed");
    std::fill(spreads.begin(), spreads.end(), 0.0);
    std::vector<uint32_t> counts(vertexCount, 0);
    const double* p = positions.data();
    const size_t size = polygons.size();
    for (size_t i = 0; i < size;) {
        const int32_t n = polygons[i];
        if (n < 0 || static_cast<size_t>(n) > size - i - 1) break;
        const int32_t* corners = polygons.data() + i + 1;
        bool valid = true;
        for (int32_t c = 0; c < n; ++c) valid &= corners[c] >= 0 && static_cast<size_t>(corners[c]) < vertexCount;
        if (!valid) break;
        for (int32_t a = 0; a < n; ++a) {
            const size_t v = static_cast<size_t>(corners[a]);
            const double x = p[3 * v], y = p[3 * v + 1], z = p[3 * v + 2];
            double sum = spreads[v];
            uint32_t count = counts[v];
            for (int32_t b = 0; b < n; ++b) {
                const double* q = p + 3 * static_cast<size_t>(corners[b]);
                const double dx = q[0] - x, dy = q[1] - y, dz = q[2] - z;
                const double d = dx * dx + dy * dy + dz * dz;
                if (d > 0.0) {
                    sum += d;
                    ++count;
                }
            }
            spreads[v] = sum;
            counts[v] = count;
        }
        i += 1 + static_cast<size_t>(n);
    }
    for (size_t v = 0; v < vertexCount; ++v) spreads[v] /= static_cast<double>(counts[v]);
}

RangeSeen Tensions(const Neighbourhoods& nb, std::span<const double> positions, std::span<const double> reference,
                   const Options& o, std::span<double> tensions) {
    Check(nb, positions.size(), tensions.size());
    if (reference.size() != nb.vertexCount) throw std::invalid_argument("tension: one reference spread per vertex is needed");
    const uint32_t* offsets = nb.offsets.data();
    const uint32_t* indices = nb.indices.data();
    const double* p = positions.data();
    const double* ref = reference.data();
    double* out = tensions.data();
    RangeSeen seen;
    std::mutex seenLock;
    ForChunks(nb.vertexCount, [&](size_t begin, size_t end) {
        RangeSeen chunk;
        for (size_t v = begin; v < end; ++v) {
            double t = (Spread(offsets, indices, p, v, nb.vertexCount) / ref[v] - 1.0) * o.factor;
            if (o.postProcess == kPostClamp) t = ClampValue(t, o.min, o.max);
            else if (o.postProcess == kPostChangeRange) chunk.See(t);
            out[v] = t;
        }
        // The largest and smallest do not depend on the order they are met in.
        std::lock_guard<std::mutex> lock(seenLock);
        seen.Merge(chunk);
    });
    return seen;
}

void ClusterWeights(std::span<const double> tensions, std::span<const int32_t> cluster, const Options& o,
                    const RangeSeen& seen, std::span<double> out) {
    if (out.size() != cluster.size()) throw std::invalid_argument("tension: one weight per cluster element is needed");
    const size_t V = tensions.size();
    const bool stretch = o.postProcess == kPostChangeRange && seen.Stretches();
    const RangeMap map(seen, o.min, o.max);
    ForChunks(cluster.size(), [&](size_t begin, size_t end) {
        for (size_t k = begin; k < end; ++k) {
            const int32_t p = cluster[k];
            if (p < 0 || static_cast<size_t>(p) >= V) {
                out[k] = 0.0;
                continue;
            }
            const double t = tensions[static_cast<size_t>(p)];
            out[k] = stretch ? map(t) : t;
        }
    });
}

}  // namespace orbelin::tension
