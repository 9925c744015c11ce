// Every neighbourhood query against a reference computed the plain way, on random meshes:
// polygon soups (non-manifold edges, isolated points, several pieces), grids with holes and
// the primitives. The reference knows nothing of the mesh's derived arrays: it rebuilds edges
// and adjacency from the polygons with std::map and std::set and measures distances with a
// breadth-first search, then gives every element its ring. A query must return exactly the
// elements of rings 1..d, each once, in non-decreasing ring order.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <queue>
#include <random>
#include <set>
#include <string>

#include "mesh/polymesh.h"
#include "mesh/primitives.h"
#include "mesh_test_util.h"

using namespace standin::mesh;
using namespace mesh_test;

namespace {

constexpr int kNone = -1;

struct Reference {
    int32_t nv = 0;
    std::vector<Ids> polys;
    std::vector<std::pair<int32_t, int32_t>> edges;  // in order of first appearance
    std::map<std::pair<int32_t, int32_t>, int32_t> edgeIndex;  // (min, max) -> edge
    std::vector<std::set<int32_t>> adjacency;
    std::vector<std::set<int32_t>> polyEdges;

    explicit Reference(const PolyMesh& m) : nv(m.VertexCount()), adjacency(static_cast<size_t>(m.VertexCount())) {
        for (int32_t p = 0; p < m.PolygonCount(); ++p) {
            polys.push_back(ToIds(m.PolygonVertices(p)));
            polyEdges.emplace_back();
            const Ids& c = polys.back();
            for (size_t i = 0; i < c.size(); ++i) {
                int32_t a = c[i], b = c[(i + 1) % c.size()];
                auto key = std::minmax(a, b);
                auto [it, added] = edgeIndex.emplace(key, static_cast<int32_t>(edges.size()));
                if (added) edges.emplace_back(a, b);
                polyEdges.back().insert(it->second);
                adjacency[static_cast<size_t>(a)].insert(b);
                adjacency[static_cast<size_t>(b)].insert(a);
            }
        }
    }

    // Edge distance of every vertex from the nearest source, kNone when unreachable.
    std::vector<int> Distances(const Ids& sources) const {
        std::vector<int> dist(static_cast<size_t>(nv), kNone);
        std::queue<int32_t> q;
        for (int32_t s : sources)
            if (dist[static_cast<size_t>(s)] == kNone) {
                dist[static_cast<size_t>(s)] = 0;
                q.push(s);
            }
        while (!q.empty()) {
            int32_t x = q.front();
            q.pop();
            for (int32_t y : adjacency[static_cast<size_t>(x)])
                if (dist[static_cast<size_t>(y)] == kNone) {
                    dist[static_cast<size_t>(y)] = dist[static_cast<size_t>(x)] + 1;
                    q.push(y);
                }
        }
        return dist;
    }
    int MinOver(const std::vector<int>& dist, const Ids& vertices) const {
        int best = kNone;
        for (int32_t v : vertices) {
            int d = dist[static_cast<size_t>(v)];
            if (d != kNone && (best == kNone || d < best)) best = d;
        }
        return best;
    }
    int EdgeMin(const std::vector<int>& dist, int32_t e) const {
        return MinOver(dist, {edges[static_cast<size_t>(e)].first, edges[static_cast<size_t>(e)].second});
    }
    bool PolyHasEdge(size_t p, int32_t e) const { return polyEdges[p].count(e) > 0; }

    // Rings (kNone: never reached) of every vertex, edge or polygon for each query.
    std::vector<int> VertexRingsFromVertices(const Ids& sources, int offset) const {
        std::vector<int> ring = Distances(sources);
        for (int& r : ring)
            if (r != kNone) r += offset;
        return ring;
    }
    std::vector<int> EdgeRings(const std::vector<int>& dist, int offset) const {
        std::vector<int> ring(edges.size(), kNone);
        for (size_t e = 0; e < edges.size(); ++e) {
            int d = EdgeMin(dist, static_cast<int32_t>(e));
            if (d != kNone) ring[e] = d + offset;
        }
        return ring;
    }
    std::vector<int> PolygonRings(const std::vector<int>& dist, int offset) const {
        std::vector<int> ring(polys.size(), kNone);
        for (size_t p = 0; p < polys.size(); ++p) {
            int d = MinOver(dist, polys[p]);
            if (d != kNone) ring[p] = d + offset;
        }
        return ring;
    }
    std::vector<int> PolygonRingsAcrossEdges(int32_t start) const {
        std::vector<int> ring(polys.size(), kNone);
        std::queue<int32_t> q;
        ring[static_cast<size_t>(start)] = 0;
        q.push(start);
        while (!q.empty()) {
            int32_t p = q.front();
            q.pop();
            for (size_t o = 0; o < polys.size(); ++o)
                if (ring[o] == kNone)
                    for (int32_t e : polyEdges[static_cast<size_t>(p)])
                        if (PolyHasEdge(o, e)) {
                            ring[o] = ring[static_cast<size_t>(p)] + 1;
                            q.push(static_cast<int32_t>(o));
                            break;
                        }
        }
        return ring;
    }
};

// `got` must be the elements of rings 1..d (the start, at ring 0 or kNone, excluded), each
// once, in non-decreasing ring order.
void ExpectRings(const Ids& got, const std::vector<int>& ring, int d, const std::string& what) {
    std::set<int32_t> want;
    for (size_t i = 0; i < ring.size(); ++i)
        if (ring[i] >= 1 && ring[i] <= d) want.insert(static_cast<int32_t>(i));
    std::set<int32_t> unique(got.begin(), got.end());
    EXPECT_EQ(unique.size(), got.size()) << what << ": an element appears twice";
    EXPECT_EQ(unique, want) << what;
    for (size_t i = 1; i < got.size(); ++i)
        if (want.count(got[i]) && want.count(got[i - 1]) && ring[static_cast<size_t>(got[i])] < ring[static_cast<size_t>(got[i - 1])]) {
            ADD_FAILURE() << what << ": " << got[i] << " of ring " << ring[static_cast<size_t>(got[i])] << " after "
                          << got[i - 1] << " of ring " << ring[static_cast<size_t>(got[i - 1])];
            break;
        }
}

void CheckEveryQuery(const PolyMesh& m, const std::string& name, std::mt19937& rng) {
    Reference ref(m);
    // The derived lists agree with the reference's own bookkeeping.
    ASSERT_EQ(static_cast<size_t>(m.EdgeCount()), ref.edges.size()) << name;
    for (int32_t e = 0; e < m.EdgeCount(); ++e) ASSERT_EQ(m.EdgeVertices(e), ref.edges[static_cast<size_t>(e)]) << name;
    for (int32_t v = 0; v < m.VertexCount(); ++v) {
        std::set<int32_t> n(m.VertexNeighbors(v).begin(), m.VertexNeighbors(v).end());
        EXPECT_EQ(n, ref.adjacency[static_cast<size_t>(v)]) << name << " vertex " << v;
        EXPECT_TRUE(std::is_sorted(m.VertexEdges(v).begin(), m.VertexEdges(v).end()));
        EXPECT_TRUE(std::is_sorted(m.VertexPolygons(v).begin(), m.VertexPolygons(v).end()));
        EXPECT_TRUE(std::is_sorted(m.VertexSamples(v).begin(), m.VertexSamples(v).end()));
    }
    for (int32_t e = 0; e < m.EdgeCount(); ++e) {
        Ids want;
        for (size_t p = 0; p < ref.polys.size(); ++p)
            if (ref.PolyHasEdge(p, e)) want.push_back(static_cast<int32_t>(p));
        EXPECT_EQ(ToIds(m.EdgePolygons(e)), want) << name << " edge " << e;
    }

    // One output vector for the whole run: a query must not depend on what the previous ones left.
    Ids out;
    for (int d = 1; d <= 4; ++d) {
        const std::string at = name + " d=" + std::to_string(d);
        for (int32_t v = 0; v < m.VertexCount(); ++v) {
            auto dist = ref.Distances({v});
            m.VertexNeighborVertices(v, d, out);
            ExpectRings(out, dist, d, at + " VertexNeighborVertices " + std::to_string(v));
            m.VertexNeighborEdges(v, d, out);
            ExpectRings(out, ref.EdgeRings(dist, 1), d, at + " VertexNeighborEdges " + std::to_string(v));
            m.VertexNeighborPolygons(v, d, out);
            ExpectRings(out, ref.PolygonRings(dist, 1), d, at + " VertexNeighborPolygons " + std::to_string(v));
        }
        for (int32_t e = 0; e < m.EdgeCount(); ++e) {
            auto [a, b] = ref.edges[static_cast<size_t>(e)];
            auto dist = ref.Distances({a, b});
            m.EdgeNeighborVertices(e, d, out);
            ExpectRings(out, ref.VertexRingsFromVertices({a, b}, 1), d, at + " EdgeNeighborVertices " + std::to_string(e));
            auto edgeRings = ref.EdgeRings(dist, 1);
            edgeRings[static_cast<size_t>(e)] = kNone;
            m.EdgeNeighborEdges(e, d, out);
            ExpectRings(out, edgeRings, d, at + " EdgeNeighborEdges " + std::to_string(e));
            auto polyRings = ref.PolygonRings(dist, 1);
            for (size_t p = 0; p < polyRings.size(); ++p)
                if (ref.PolyHasEdge(p, e)) polyRings[p] = 1;
                else if (polyRings[p] != kNone) polyRings[p] = std::max(polyRings[p], 2);
            m.EdgeNeighborPolygons(e, d, out);
            ExpectRings(out, polyRings, d, at + " EdgeNeighborPolygons " + std::to_string(e));
        }
        for (int32_t p = 0; p < m.PolygonCount(); ++p) {
            const Ids& corners = ref.polys[static_cast<size_t>(p)];
            auto dist = ref.Distances(corners);
            m.PolygonNeighborVertices(p, d, out);
            ExpectRings(out, ref.VertexRingsFromVertices(corners, 1), d, at + " PolygonNeighborVertices " + std::to_string(p));
            auto edgeRings = ref.EdgeRings(dist, 2);
            for (int32_t e : ref.polyEdges[static_cast<size_t>(p)]) edgeRings[static_cast<size_t>(e)] = 1;
            m.PolygonNeighborEdges(p, d, out);
            ExpectRings(out, edgeRings, d, at + " PolygonNeighborEdges " + std::to_string(p));
            m.PolygonNeighborPolygons(p, d, out);
            ExpectRings(out, ref.PolygonRingsAcrossEdges(p), d, at + " PolygonNeighborPolygons " + std::to_string(p));
        }
        if (m.PolygonCount() > 0)
            for (int round = 0; round < 5; ++round) {
                Ids seeds;
                for (int k = 0; k < 3; ++k) seeds.push_back(static_cast<int32_t>(rng() % static_cast<unsigned>(m.PolygonCount())));
                Ids corners;
                for (int32_t p : seeds)
                    for (int32_t v : ref.polys[static_cast<size_t>(p)])
                        if (std::find(corners.begin(), corners.end(), v) == corners.end()) corners.push_back(v);
                m.PolygonsNeighborVertices(seeds, d, out);
                ExpectRings(out, ref.VertexRingsFromVertices(corners, 1), d, at + " PolygonsNeighborVertices");
                // Ring 1 is exactly the corners in order of first appearance.
                EXPECT_TRUE(std::equal(corners.begin(), corners.end(), out.begin())) << at;
            }
    }
}

// Polygons of 3 to 6 distinct random points: non-manifold edges, opposite windings, points
// used by nothing, several pieces.
PolyMesh RandomSoup(std::mt19937& rng) {
    const int nv = 8 + static_cast<int>(rng() % 25);
    const int np = static_cast<int>(rng() % 20);
    std::vector<int32_t> offsets{0}, verts;
    for (int p = 0; p < np; ++p) {
        Ids pool(static_cast<size_t>(nv));
        for (int i = 0; i < nv; ++i) pool[static_cast<size_t>(i)] = i;
        std::shuffle(pool.begin(), pool.end(), rng);
        const int k = 3 + static_cast<int>(rng() % 4);
        verts.insert(verts.end(), pool.begin(), pool.begin() + k);
        offsets.push_back(static_cast<int32_t>(verts.size()));
    }
    return PolyMesh::Build(std::vector<Vec3>(static_cast<size_t>(nv)), offsets, verts);
}

// A grid with random quads missing (irregular borders and valences), some of them split in two
// triangles.
PolyMesh RandomHoledGrid(std::mt19937& rng) {
    const int n = 6;
    std::vector<int32_t> offsets{0}, verts;
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) {
            const unsigned roll = rng() % 6;
            if (roll == 0) continue;
            const int32_t a = r * (n + 1) + c, b = a + n + 1, cc = b + 1, d = a + 1;
            if (roll == 1) {
                for (int32_t v : {a, b, cc}) verts.push_back(v);
                offsets.push_back(static_cast<int32_t>(verts.size()));
                for (int32_t v : {a, cc, d}) verts.push_back(v);
            } else {
                for (int32_t v : {a, b, cc, d}) verts.push_back(v);
            }
            offsets.push_back(static_cast<int32_t>(verts.size()));
        }
    return PolyMesh::Build(std::vector<Vec3>(static_cast<size_t>((n + 1) * (n + 1))), offsets, verts);
}

TEST(QueryProperty, RandomSoupsMatchTheReference) {
    std::mt19937 rng(20240611);
    for (int round = 0; round < 40; ++round) {
        CheckEveryQuery(RandomSoup(rng), "soup " + std::to_string(round), rng);
        if (HasFailure()) return;
    }
}

TEST(QueryProperty, RandomHoledGridsMatchTheReference) {
    std::mt19937 rng(7);
    for (int round = 0; round < 15; ++round) {
        CheckEveryQuery(RandomHoledGrid(rng), "grid " + std::to_string(round), rng);
        if (HasFailure()) return;
    }
}

TEST(QueryProperty, PrimitivesMatchTheReference) {
    std::mt19937 rng(3);
    CheckEveryQuery(Grid(4, 3, 4, 3), "grid", rng);
    CheckEveryQuery(Cube(1), "cube", rng);
    CheckEveryQuery(Sphere(1, 5, 4), "sphere", rng);
    CheckEveryQuery(Cylinder(1, 2, 5, 2, true), "cylinder", rng);
    CheckEveryQuery(Torus(2, 0.5, 5, 4), "torus", rng);
}

// The statement of the brief, on its own: VertexNeighborVertices is a breadth-first search.
TEST(QueryProperty, VertexNeighborVerticesIsABreadthFirstSearch) {
    std::mt19937 rng(11);
    Ids out;
    for (int round = 0; round < 100; ++round) {
        PolyMesh m = round % 2 ? RandomSoup(rng) : RandomHoledGrid(rng);
        Reference ref(m);
        for (int32_t v = 0; v < m.VertexCount(); ++v) {
            auto dist = ref.Distances({v});
            for (int d = 1; d <= 6; ++d) {
                m.VertexNeighborVertices(v, d, out);
                std::set<int32_t> want;
                for (int32_t u = 0; u < m.VertexCount(); ++u)
                    if (dist[static_cast<size_t>(u)] >= 1 && dist[static_cast<size_t>(u)] <= d) want.insert(u);
                ASSERT_EQ(std::set<int32_t>(out.begin(), out.end()), want) << "round " << round << " vertex " << v << " d " << d;
                ASSERT_EQ(out.size(), want.size());
            }
        }
    }
}

}  // namespace
