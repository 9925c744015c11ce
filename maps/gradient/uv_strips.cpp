#include "gradient/uv_strips.h"

#include <algorithm>
#include <stdexcept>

namespace orbelin::gradient {

namespace {

constexpr uint32_t kNone = UINT32_MAX;

struct Start {
    uint32_t vertex;
    double u, du;
};

// Everything one run needs, sized once.
class StripBuilder {
public:
    StripBuilder(const UVMesh& mesh, std::span<const double> gradient, std::span<double> uvw)
        : m_nb(mesh.neighbours), m_offsets(mesh.offsets), m_corners(mesh.corners), m_g(gradient), m_uvw(uvw) {
        const size_t n = m_nb.vertexCount, polygons = m_offsets.empty() ? 0 : m_offsets.size() - 1;
        // Each vertex's polygons in increasing index.
        m_vertexStart.assign(n + 1, 0);
        for (uint32_t v : m_corners) ++m_vertexStart[v + 1];
        for (size_t v = 0; v < n; ++v) m_vertexStart[v + 1] += m_vertexStart[v];
        m_vertexPolygons.resize(m_corners.size());
        std::vector<uint32_t> fill(m_vertexStart.begin(), m_vertexStart.end() - 1);
        for (size_t p = 0; p < polygons; ++p)
            for (uint32_t s = m_offsets[p]; s < m_offsets[p + 1]; ++s) {
                m_vertexPolygons[fill[m_corners[s]]++] = static_cast<uint32_t>(p);
            }
        m_vertexMark.assign(n, 0);
        m_polygonMark.assign(polygons, 0);
    }

    std::vector<uint16_t>& VertexMarks() { return m_vertexMark; }

    // One strip from `cur` towards `nxt`; the greatest u it and its side strips started at.
    double Strip(uint32_t cur, uint32_t nxt, double u, double du, bool branching, std::vector<Start>& nextStarts) {
        m_stack.clear();
        m_stack.push_back(Open(cur, nxt, u, du, branching));
        double result = u;
        while (!m_stack.empty()) {
            Frame& f = m_stack.back();
            if (f.stepped) {
                if (f.nextChild < f.childCount) {
                    const int k = f.nextChild++;
                    if (!m_vertexMark[f.children[k]]) {
                        // Copies first: the push may move the frame.
                        const uint32_t from = f.nxt, to = f.children[k];
                        const double at = f.u + (k + 1) * f.du, width = f.du;
                        m_stack.push_back(Open(from, to, at, width, true));
                    }
                    continue;
                }
                f.cur = f.nxt, f.nxt = f.chosen, f.stepped = false;
                continue;
            }
            if (!(m_g[f.nxt] > m_g[f.cur])) {
                result = f.best;
                m_stack.pop_back();
                if (!m_stack.empty()) m_stack.back().best = std::max(m_stack.back().best, result);
                continue;
            }
            Step(f, nextStarts);
        }
        return result;
    }

    // Polygons no strip wrote, as cells of width du above the smallest u and v around them.
    void Fill(double du, double vIncrement) {
        for (uint32_t p = 0; p < m_polygonMark.size(); ++p) {
            if (m_polygonMark[p]) continue;
            m_polygonMark[p] = 1;
            double uMin = 1.0, vMin = 1.0;
            for (uint32_t c = m_offsets[p]; c < m_offsets[p + 1]; ++c) {
                const uint32_t v = m_corners[c];
                for (uint32_t i = m_vertexStart[v]; i < m_vertexStart[v + 1]; ++i) {
                    const uint32_t q = m_vertexPolygons[i];
                    if (q == p || !m_polygonMark[q] || !SharesEdge(p, q)) continue;
                    const uint32_t s = SampleOf(q, v);
                    uMin = std::min(uMin, m_uvw[3 * size_t{s}]);
                    vMin = std::min(vMin, m_uvw[3 * size_t{s} + 1]);
                }
            }
            for (uint32_t s = m_offsets[p], k = 0; s < m_offsets[p + 1]; ++s, ++k) {
                m_uvw[3 * size_t{s}] = k == 1 || k == 2 ? uMin + du : uMin;
                m_uvw[3 * size_t{s} + 1] = k >= 2 ? vMin + vIncrement : vMin;
            }
        }
    }

private:
    struct Frame {
        uint32_t cur, nxt, side;
        double u, du, best;
        bool branching;
        bool stepped = false;  // a step was written; side strips, then the move to `chosen`, remain
        uint32_t chosen = kNone;
        uint32_t children[2] = {kNone, kNone};
        int childCount = 0, nextChild = 0;
    };
    struct Ranked {
        uint32_t vertex;
        double gradient;
    };

    Frame Open(uint32_t cur, uint32_t nxt, double u, double du, bool branching) {
        m_vertexMark[cur] = 1;
        const auto around = m_nb.Of(cur);
        const size_t at = Find(around, nxt);
        Frame f{cur, nxt, at == kNone ? kNone : around[(at + 1) % around.size()], u, du, u, branching};
        return f;
    }

    static size_t Find(std::span<const uint32_t> list, uint32_t v) {
        for (size_t i = 0; i < list.size(); ++i)
            if (list[i] == v) return i;
        return kNone;
    }

    void Step(Frame& f, std::vector<Start>& nextStarts) {
        const uint32_t cur = f.cur, nxt = f.nxt;
        m_vertexMark[nxt] = 1;
        WriteQuad(cur, nxt, f.side, f.u, f.du);
        const auto around = m_nb.Of(nxt);
        const size_t k = around.size(), curAt = Find(around, cur);
        f.side = curAt == kNone ? kNone : around[(curAt + k - 1) % k];
        // Decreasing gradient, equal values in list order; an exchange sort never needs the
        // comparison to be a strict order, so a NaN cannot break it.
        m_ranked.clear();
        for (uint32_t w : around) m_ranked.push_back({w, w == cur ? -1.0 : m_g[w]});
        for (size_t i = 1; i < m_ranked.size(); ++i)
            for (size_t j = i; j > 0 && m_ranked[j].gradient > m_ranked[j - 1].gradient; --j)
                std::swap(m_ranked[j], m_ranked[j - 1]);

        f.childCount = f.nextChild = 0;
        uint32_t chosen = m_ranked.empty() ? kNone : m_ranked[0].vertex;
        if (k == 4) {
            chosen = curAt == kNone ? chosen : around[(curAt + 2) % 4];
            if (f.branching) {
                uint32_t three[3] = {m_ranked[0].vertex, m_ranked[1].vertex, m_ranked[2].vertex};
                int drop = 2;
                for (int i = 0; i < 3; ++i)
                    if (three[i] == chosen) {
                        drop = i;
                        break;
                    }
                for (int i = 0; i < 3; ++i)
                    if (i != drop) f.children[f.childCount++] = three[i];
            }
        } else if (k > 4) {
            const double top = m_ranked[0].gradient;
            double running = -1.0;
            for (const Ranked& r : m_ranked) {
                if (!(r.gradient == top)) break;
                const auto next = m_nb.Of(r.vertex);
                if (next.size() == 4) {
                    const size_t at = Find(next, nxt);
                    if (at != kNone && m_g[next[(at + 2) % 4]] > running) {
                        running = m_g[next[(at + 2) % 4]];
                        chosen = r.vertex;
                    }
                } else if (next.size() > 4) {
                    uint32_t last = kNone;
                    for (uint32_t x : next)
                        if (m_g[x] > running) last = x;
                    if (last != kNone) {
                        running = m_g[last];
                        chosen = r.vertex;
                    }
                }
            }
            f.branching = true;
            nextStarts.push_back({nxt, f.u, f.du});
        }
        f.chosen = chosen;
        f.stepped = true;
        if (chosen == kNone) f.chosen = nxt;  // nowhere to go: the loop test ends the strip
    }

    // The polygon on the edge a-b that holds c, written as one cell of the strip.
    void WriteQuad(uint32_t a, uint32_t b, uint32_t c, double u, double du) {
        for (uint32_t i = m_vertexStart[b]; i < m_vertexStart[b + 1]; ++i) {
            const uint32_t p = m_vertexPolygons[i];
            if (!HasEdge(p, a, b) || !Holds(p, c)) continue;
            m_polygonMark[p] = 1;
            for (uint32_t s = m_offsets[p]; s < m_offsets[p + 1]; ++s) {
                const uint32_t v = m_corners[s];
                double& su = m_uvw[3 * size_t{s}];
                double& sv = m_uvw[3 * size_t{s} + 1];
                if (v == a) su = u + du, sv = m_g[a];
                else if (v == b) su = u + du, sv = m_g[b];
                else if (v == c) su = u, sv = m_g[a];
                else su = u, sv = m_g[b];
            }
            return;
        }
    }

    // v's corner in polygon p, which holds it.
    uint32_t SampleOf(uint32_t p, uint32_t v) const {
        uint32_t s = m_offsets[p];
        while (m_corners[s] != v) ++s;
        return s;
    }
    bool Holds(uint32_t p, uint32_t v) const {
        for (uint32_t s = m_offsets[p]; s < m_offsets[p + 1]; ++s)
            if (m_corners[s] == v) return true;
        return false;
    }
    bool HasEdge(uint32_t p, uint32_t a, uint32_t b) const {
        const uint32_t first = m_offsets[p], count = m_offsets[p + 1] - first;
        for (uint32_t i = 0; i < count; ++i) {
            const uint32_t x = m_corners[first + i], y = m_corners[first + (i + 1) % count];
            if ((x == a && y == b) || (x == b && y == a)) return true;
        }
        return false;
    }
    bool SharesEdge(uint32_t p, uint32_t q) const {
        const uint32_t first = m_offsets[p], count = m_offsets[p + 1] - first;
        for (uint32_t i = 0; i < count; ++i)
            if (HasEdge(q, m_corners[first + i], m_corners[first + (i + 1) % count])) return true;
        return false;
    }

    const Neighbours& m_nb;
    std::span<const uint32_t> m_offsets, m_corners;
    std::span<const double> m_g;
    std::span<double> m_uvw;
    std::vector<uint32_t> m_vertexStart, m_vertexPolygons;
    std::vector<uint16_t> m_vertexMark, m_polygonMark;
    std::vector<Frame> m_stack;
    std::vector<Ranked> m_ranked;
};

void CheckMesh(const UVMesh& mesh, size_t gradients, size_t uvws) {
    ValidateNeighbours(mesh.neighbours);
    const size_t n = mesh.neighbours.vertexCount;
    if (gradients != n) throw std::invalid_argument("the gradient needs one value per vertex");
    if (mesh.offsets.empty()) {
        if (!mesh.corners.empty()) throw std::invalid_argument("corners without polygons");
    } else {
        if (mesh.offsets[0] != 0 || mesh.offsets.back() != mesh.corners.size())
            throw std::invalid_argument("polygon offsets do not match the corners");
        for (size_t p = 0; p + 1 < mesh.offsets.size(); ++p)
            if (mesh.offsets[p] > mesh.offsets[p + 1]) throw std::invalid_argument("polygon offsets decrease");
    }
    for (uint32_t v : mesh.corners)
        if (v >= n) throw std::invalid_argument("a polygon corner names no vertex");
    if (uvws != 3 * mesh.corners.size()) throw std::invalid_argument("the UVs need three values per sample");
}

}  // namespace

UVResult UVFromGradient(const UVMesh& mesh, std::span<const double> g, std::span<double> uvw, const UVOptions& options,
                        const UVStageCallback& stage) {
    CheckMesh(mesh, g.size(), uvw.size());
    const Neighbours& nb = mesh.neighbours;
    const size_t n = nb.vertexCount;
    UVResult out;

    std::vector<uint8_t> isRoot(n, 0);
    std::vector<int32_t> roots;
    for (size_t v = 0; v < n; ++v) {
        if (g[v] == 0.0) {
            roots.push_back(static_cast<int32_t>(v));
            isRoot[v] = 1;
        } else if (out.vIncrement >= g[v]) {
            out.vIncrement = g[v];
        }
    }
    out.rootCount = roots.size();
    if (roots.empty()) return out;

    StripBuilder builder(mesh, g, uvw);
    std::vector<uint16_t>& visited = builder.VertexMarks();
    if (stage) stage(UVStage::Reordering, out);
    uint32_t current = static_cast<uint32_t>(roots[0]);
    if (options.rootVertex >= 0 && static_cast<uint64_t>(options.rootVertex) < n && isRoot[static_cast<size_t>(options.rootVertex)])
        current = static_cast<uint32_t>(options.rootVertex);
    for (size_t i = 0; i < roots.size(); ++i) {
        out.chain.push_back(static_cast<int32_t>(current));
        visited[current] = 1;
        uint32_t found = kNone;
        for (uint32_t u : nb.Of(current))
            if (!visited[u] && isRoot[u]) {
                found = u;
                break;
            }
        if (found == kNone) break;
        current = found;
    }

    std::fill(visited.begin(), visited.end(), 0);
    const double count = static_cast<double>(roots.size());
    std::vector<Start> starts, nextStarts;
    for (size_t i = 0; i < out.chain.size(); ++i)
        starts.push_back({static_cast<uint32_t>(out.chain[i]), static_cast<double>(i) / count, 1.0 / count});

    if (stage) stage(UVStage::Strips, out);
    double lastDu = 1.0 / count;
    std::vector<uint32_t> upward;
    for (int pass = 0; !starts.empty(); ++pass) {
        nextStarts.clear();
        for (const Start& start : starts) {
            const uint32_t r = start.vertex;
            double u = start.u;
            const double du = start.du;
            lastDu = du;
            if (pass >= 1 && !options.autoShift) u += options.rightShift;
            upward.clear();
            for (;;) {
                uint32_t best = kNone;
                for (uint32_t w : nb.Of(r))
                    if (!visited[w] && g[w] > g[r] && (best == kNone || g[w] > g[best])) best = w;
                if (best == kNone) break;
                visited[best] = 1;
                upward.push_back(best);
            }
            const bool branching = nb.Of(r).size() > 4;
            for (uint32_t s : upward) {
                out.maxU = std::max(out.maxU, builder.Strip(r, s, u, du, branching, nextStarts));
                u += static_cast<double>(upward.size() + 2) * du;
            }
        }
        starts.swap(nextStarts);
    }

    if (stage) stage(UVStage::Filling, out);
    builder.Fill(lastDu, out.vIncrement);

    out.value = count;
    if (options.normalize) {
        const double scale = 1.0 / out.maxU;
        for (size_t s = 0; s < uvw.size(); s += 3) uvw[s] *= scale;
        out.value *= out.maxU;
    }
    return out;
}

}  // namespace orbelin::gradient
