#include "gradient/propagate.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace orbelin::gradient {

namespace {

void CheckIndices(std::span<const int32_t> list, size_t vertexCount, const char* what) {
    for (int32_t v : list)
        if (v < 0 || static_cast<size_t>(v) >= vertexCount)
            throw std::invalid_argument(std::string(what) + " names vertex " + std::to_string(v) + " of a mesh of " +
                                        std::to_string(vertexCount) + " vertices");
}

}  // namespace

Propagation Propagate(const PropagationInput& in, const RingCallback& afterRing) {
    const Neighbours& nb = in.neighbours;
    const size_t n = nb.vertexCount;
    if (n > static_cast<size_t>(INT32_MAX)) throw std::invalid_argument("too many vertices");
    ValidateNeighbours(nb);
    CheckIndices(in.roots, n, "the root list");
    CheckIndices(in.targets, n, "the target list");
    const bool useNormals = in.normals.size() >= 3 * n;
    if (in.wantCurvature && !useNormals) throw std::invalid_argument("curvature needs one normal per vertex");

    enum : uint16_t { kNotReached = 0, kProcessed = 1, kQueued = 2 };
    std::vector<uint16_t> state(n, kNotReached), inTarget(n, 0);
    std::vector<double> gradient(n, 0.0), curvature(in.wantCurvature ? n : 0, 0.0);
    Propagation out;

    for (int32_t t : in.targets) inTarget[static_cast<size_t>(t)] = 1;
    bool restrict = false;
    for (int32_t r : in.roots) {
        if (inTarget[static_cast<size_t>(r)]) restrict = true;
        state[static_cast<size_t>(r)] = kQueued;
    }
    std::vector<uint32_t> front(in.roots.begin(), in.roots.end()), nextFront;
    std::vector<uint32_t> candidates;
    front.reserve(n);
    nextFront.reserve(n);
    double level = 0.0;
    size_t processed = 0;

    if (n >= 1) {
        size_t ringSize = in.roots.size();
        while (ringSize >= 1) {
            nextFront.clear();
            ringSize = front.size();
            processed += ringSize;
            for (uint32_t v : front) {
                const std::span<const uint32_t> around = nb.Of(v);
                const double* nv = useNormals ? &in.normals[3 * size_t{v}] : nullptr;
                double minDot = 1.0;
                bool added = false;
                for (uint32_t u : around) {
                    if (nv) {
                        const double* nu = &in.normals[3 * size_t{u}];
                        const double d = std::fabs(nu[0] * nv[0] + nu[1] * nv[1] + nu[2] * nv[2]);
                        if (minDot > d) minDot = d;
                    }
                    if (state[u] == kNotReached && (!restrict || inTarget[u] == 1)) {
                        nextFront.push_back(u);
                        state[u] = kQueued;
                        added = true;
                    }
                }
                if (!added) candidates.push_back(v);
                if (in.wantCurvature) curvature[v] = 1.0 - minDot;
                gradient[v] = level;
                state[v] = kProcessed;
                if (around.size() != 4) out.singular.push_back(static_cast<int32_t>(v));
            }
            front.assign(nextFront.begin(), nextFront.end());
            level += 1.0;
            if (afterRing && !afterRing(ringSize)) {
                Propagation stopped;
                stopped.cancelled = true;
                return stopped;
            }
            if (processed >= n) break;
        }
    }
    // Vertices admitted to a front that was never processed get no gradient, but still count
    // as singular by their valence.
    for (uint32_t v : nextFront)
        if (nb.Of(v).size() != 4) out.singular.push_back(static_cast<int32_t>(v));

    // Unguarded on purpose: a walk of the roots alone divides by 0, no roots by -1.
    const double maxLevel = level + 0.0 - 1.0;
    for (double& g : gradient) g = g / maxLevel;

    for (uint32_t v : candidates) {
        double m = 0.0;
        for (uint32_t u : nb.Of(v))
            if (gradient[u] > m) m = gradient[u];
        if (gradient[v] >= m) out.maxima.push_back(static_cast<int32_t>(v));
    }

    out.maxLevel = maxLevel;
    out.gradient.resize(in.targets.size());
    for (size_t i = 0; i < in.targets.size(); ++i) out.gradient[i] = gradient[static_cast<size_t>(in.targets[i])];
    if (in.wantCurvature) {
        out.curvature.resize(in.targets.size());
        for (size_t i = 0; i < in.targets.size(); ++i) out.curvature[i] = curvature[static_cast<size_t>(in.targets[i])];
    }
    return out;
}

}  // namespace orbelin::gradient
