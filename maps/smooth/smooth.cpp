#include "smooth/smooth.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <stdexcept>

#include "common/parallel.h"
#include "common/post_process.h"

namespace orbelin::smooth {

namespace {

void Check(const Neighbours& nb, size_t elements, size_t results) {
    if (results != elements) throw std::invalid_argument("smooth: one result per cluster element is needed");
    if (nb.vertexCount > std::numeric_limits<uint32_t>::max() - 1)
        throw std::invalid_argument("smooth: too many vertices");
    if (nb.offsets.size() != nb.vertexCount + 1)
        throw std::invalid_argument("smooth: neighbour offsets must have one entry per vertex, plus one");
    for (size_t v = 0; v < nb.vertexCount; ++v)
        if (nb.offsets[v] > nb.offsets[v + 1])
            throw std::invalid_argument("smooth: neighbour offsets must not decrease");
    if (nb.offsets[nb.vertexCount] > nb.indices.size())
        throw std::invalid_argument("smooth: neighbour offsets go past the indices");
    for (size_t i = nb.offsets[0]; i < nb.offsets[nb.vertexCount]; ++i)
        if (nb.indices[i] >= nb.vertexCount) throw std::invalid_argument("smooth: a neighbour names no vertex");
}

struct Gathered {
    double sum = 0.0;
    size_t count = 0;
};

Gathered GatherDirect(const Neighbours& nb, const double* cur, uint32_t p) {
    Gathered g;
    for (uint32_t i = nb.offsets[p], e = nb.offsets[p + 1]; i < e; ++i) g.sum += cur[nb.indices[i]];
    g.count = nb.offsets[p + 1] - nb.offsets[p];
    return g;
}

// The recursive walk with an explicit stack; a neighbour is marked when it is pushed, which is
// the moment the recursion would mark it (nothing happens between its count and its walk).
Gathered GatherWalk(const Neighbours& nb, const double* cur, uint32_t p, int64_t radius, Workspace::Walker& w) {
    if (++w.generation == 0) {
        // Wrapped: old marks could equal the new generation.
        std::fill(w.marks.begin(), w.marks.end(), 0u);
        w.generation = 1;
    }
    const uint32_t gen = w.generation;
    uint32_t* marks = w.marks.data();
    const uint32_t* offsets = nb.offsets.data();
    const uint32_t* indices = nb.indices.data();
    Gathered g;
    w.stack.clear();
    marks[p] = gen;
    w.stack.push_back({p, offsets[p], 1});
    while (!w.stack.empty()) {
        Workspace::Frame& f = w.stack.back();
        if (f.next == offsets[f.vertex + 1]) {
            w.stack.pop_back();
            continue;
        }
        const uint32_t n = indices[f.next++];
        if (marks[n] == gen) continue;
        g.sum += cur[n];
        ++g.count;
        if (f.depth < radius) {
            marks[n] = gen;
            const int64_t depth = f.depth + 1;
            w.stack.push_back({n, offsets[n], depth});  // may move f: not used after this
        } else if (f.depth == radius) {
            // n's walk is the last depth: it marks n and counts its unmarked neighbours without
            // walking them, so nothing changes the marks while it runs. Done here, in the order
            // the walk would take, instead of through the stack.
            marks[n] = gen;
            for (uint32_t i = offsets[n], e = offsets[n + 1]; i < e; ++i) {
                const uint32_t m = indices[i];
                if (marks[m] == gen) continue;
                g.sum += cur[m];
                ++g.count;
            }
        }
    }
    return g;
}

}  // namespace

Stats Smooth(const Neighbours& nb, std::span<const int32_t> cluster, std::span<const double> weights,
             const Options& options, std::span<double> result, Workspace& ws) {
    Check(nb, cluster.size(), result.size());
    const size_t V = nb.vertexCount, E = cluster.size();
    auto valid = [&](int32_t p) { return p >= 0 && static_cast<size_t>(p) < V; };

    ws.cur.assign(V, 0.0);
    ws.next.assign(V, 0.0);
    ws.averages.resize(E);
    for (size_t j = 0; j < E; ++j)
        if (valid(cluster[j])) ws.cur[static_cast<size_t>(cluster[j])] = j < weights.size() ? weights[j] : 0.0;

    const bool walk = options.radius >= 1;
    if (walk && options.repeat >= 1) {
        ws.walkers.resize(std::max<size_t>(1, WorkerCount()));
        for (Workspace::Walker& w : ws.walkers) {
            if (w.marks.size() != V) {
                w.marks.assign(V, 0u);
                w.generation = 0;
            }
            // Each frame is a distinct marked vertex and the walk goes no deeper than radius + 1.
            w.stack.reserve(std::min<size_t>(V, static_cast<size_t>(options.radius) + 1) + 1);
        }
    }

    Stats stats;
    RangeSeen seen;
    std::mutex walkersLock;
    std::vector<size_t> freeWalkers;  // the walkers no chunk is using
    freeWalkers.reserve(ws.walkers.size());
    for (int pass = 0; pass < options.repeat; ++pass) {
        const double* cur = ws.cur.data();
        double* averages = ws.averages.data();
        std::atomic<size_t> empty{0};
        freeWalkers.clear();
        if (walk)
            for (size_t i = 0; i < ws.walkers.size(); ++i) freeWalkers.push_back(i);
        // Each element's average depends only on cur, so the elements split freely; next[] is
        // written afterwards in element order so that a vertex named twice ends with the later
        // element's value.
        ForChunks(
            E,
            [&](size_t begin, size_t end) {
                Workspace::Walker* w = nullptr;
                if (walk) {
                    std::lock_guard<std::mutex> lock(walkersLock);
                    // One walker per thread ForChunks may start; only a change of the CPUs
                    // granted during the call could leave none.
                    if (freeWalkers.empty()) throw std::runtime_error("smooth: more workers than walkers");
                    w = &ws.walkers[freeWalkers.back()];
                    freeWalkers.pop_back();
                }
                size_t chunkEmpty = 0;
                for (size_t j = begin; j < end; ++j) {
                    const int32_t p = cluster[j];
                    if (!valid(p)) continue;
                    const uint32_t v = static_cast<uint32_t>(p);
                    Gathered g = walk ? GatherWalk(nb, cur, v, options.radius, *w) : GatherDirect(nb, cur, v);
                    double a;
                    if (g.count == 0) {
                        a = cur[v];
                        ++chunkEmpty;
                    } else {
                        a = g.sum / static_cast<double>(g.count);
                    }
                    if (options.postProcess == kPostClamp) a = ClampValue(a, options.min, options.max);
                    averages[j] = a;
                }
                if (chunkEmpty) empty += chunkEmpty;
                if (walk) {
                    std::lock_guard<std::mutex> lock(walkersLock);
                    freeWalkers.push_back(static_cast<size_t>(w - ws.walkers.data()));
                }
            },
            1024);
        if (pass == 0) stats.withoutNeighbours = empty;
        for (size_t j = 0; j < E; ++j) {
            if (!valid(cluster[j])) continue;
            const double a = averages[j];
            if (options.postProcess == kPostChangeRange) seen.See(a);
            ws.next[static_cast<size_t>(cluster[j])] = a;
        }
        // Vertices outside the cluster are 0 in both arrays and cluster vertices are all
        // rewritten each pass, so swapping is the copy cur = next.
        std::swap(ws.cur, ws.next);
    }
    // After the last swap the last pass's values are in cur (or, with no pass, next is zeros).
    const std::vector<double>& last = options.repeat >= 1 ? ws.cur : ws.next;
    for (size_t j = 0; j < E; ++j) result[j] = valid(cluster[j]) ? last[static_cast<size_t>(cluster[j])] : 0.0;

    if (options.postProcess == kPostChangeRange && seen.Stretches()) {
        const RangeMap stretch(seen, options.min, options.max);
        for (size_t j = 0; j < E; ++j)
            if (valid(cluster[j])) result[j] = stretch(result[j]);
    }
    return stats;
}

Result Smooth(const Neighbours& nb, std::span<const int32_t> cluster, std::span<const double> weights,
              const Options& options) {
    Result r;
    r.weights.resize(cluster.size());
    Workspace ws;
    static_cast<Stats&>(r) = Smooth(nb, cluster, weights, options, r.weights, ws);
    return r;
}

}  // namespace orbelin::smooth
