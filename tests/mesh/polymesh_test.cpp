// The mesh's own contract: validation, list orders, queries against a plain breadth-first
// search, primitives and OBJ import.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <queue>
#include <random>
#include <set>

#include "mesh/obj_import.h"
#include "mesh/polymesh.h"
#include "mesh/primitives.h"
#include "nurbs/nurbs.h"

using namespace standin::mesh;

namespace {

std::vector<int32_t> Query(const PolyMesh& m, void (PolyMesh::*f)(int32_t, int32_t, std::vector<int32_t>&) const, int32_t i,
                           int32_t d) {
    std::vector<int32_t> out;
    (m.*f)(i, d, out);
    return out;
}

// Vertices within d edges of v, without v: the plain way, for comparison.
std::set<int32_t> Bfs(const PolyMesh& m, int32_t v, int32_t d) {
    std::vector<int32_t> dist(static_cast<size_t>(m.VertexCount()), -1);
    std::queue<int32_t> q;
    dist[static_cast<size_t>(v)] = 0;
    q.push(v);
    std::set<int32_t> out;
    while (!q.empty()) {
        int32_t x = q.front();
        q.pop();
        if (dist[static_cast<size_t>(x)] == d) continue;
        for (int32_t e = 0; e < m.EdgeCount(); ++e) {
            auto [a, b] = m.EdgeVertices(e);
            int32_t y = a == x ? b : b == x ? a : -1;
            if (y >= 0 && dist[static_cast<size_t>(y)] < 0) {
                dist[static_cast<size_t>(y)] = dist[static_cast<size_t>(x)] + 1;
                out.insert(y);
                q.push(y);
            }
        }
    }
    return out;
}

TEST(PolyMesh, RejectsBrokenPolygons) {
    std::vector<Vec3> pts(4);
    EXPECT_THROW(PolyMesh::Build(pts, {0, 2}, {0, 1}), std::invalid_argument);           // two corners
    EXPECT_THROW(PolyMesh::Build(pts, {0, 3}, {0, 1, 7}), std::invalid_argument);        // no vertex 7
    EXPECT_THROW(PolyMesh::Build(pts, {0, 4}, {0, 1, 2, 1}), std::invalid_argument);     // vertex twice
    EXPECT_THROW(PolyMesh::Build(pts, {0, 3}, {0, 1, 2, 3}), std::invalid_argument);     // offsets short
    try {
        PolyMesh::Build(pts, {0, 3, 6}, {0, 1, 2, 0, 2, 9});
        FAIL();
    } catch (const std::invalid_argument& e) {
        EXPECT_NE(std::string(e.what()).find("polygon 1"), std::string::npos) << e.what();
    }
}

TEST(PolyMesh, EdgesAndListsFollowTheDocumentedOrder) {
    // Two triangles sharing the edge 1-2, and an isolated point 4.
    PolyMesh m = PolyMesh::Build(std::vector<Vec3>(5), {0, 3, 6}, {0, 1, 2, 2, 1, 3});
    ASSERT_EQ(m.EdgeCount(), 5);
    EXPECT_EQ(m.EdgeVertices(0), std::make_pair(0, 1));
    EXPECT_EQ(m.EdgeVertices(1), std::make_pair(1, 2));
    EXPECT_EQ(m.EdgeVertices(2), std::make_pair(2, 0));
    EXPECT_EQ(m.EdgeVertices(3), std::make_pair(1, 3));  // 2-1 is edge 1 again
    EXPECT_EQ(m.EdgeVertices(4), std::make_pair(3, 2));
    auto v1 = m.VertexEdges(1);
    EXPECT_EQ(std::vector<int32_t>(v1.begin(), v1.end()), (std::vector<int32_t>{0, 1, 3}));
    auto n1 = m.VertexNeighbors(1);
    EXPECT_EQ(std::vector<int32_t>(n1.begin(), n1.end()), (std::vector<int32_t>{0, 2, 3}));
    auto p1 = m.EdgePolygons(1);
    EXPECT_EQ(std::vector<int32_t>(p1.begin(), p1.end()), (std::vector<int32_t>{0, 1}));
    auto s2 = m.VertexSamples(2);
    EXPECT_EQ(std::vector<int32_t>(s2.begin(), s2.end()), (std::vector<int32_t>{2, 3}));
    EXPECT_EQ(m.SamplePolygon(3), 1);
    EXPECT_EQ(m.SampleVertex(5), 3);
    EXPECT_TRUE(m.VertexEdges(4).empty());
    EXPECT_TRUE(Query(m, &PolyMesh::VertexNeighborVertices, 4, 3).empty());
    EXPECT_EQ(m.VertexNormals()[4].x, 0.0);
    // Ring by ring: from 0, ring 1 is {1, 2} (in edge order), ring 2 is {3}.
    EXPECT_EQ(Query(m, &PolyMesh::VertexNeighborVertices, 0, 2), (std::vector<int32_t>{1, 2, 3}));
}

TEST(PolyMesh, VertexQueriesMatchABreadthFirstSearch) {
    std::mt19937 rng(7);
    for (int round = 0; round < 20; ++round) {
        // A grid with random holes: irregular borders and valences.
        int n = 6;
        std::vector<Vec3> pts(static_cast<size_t>((n + 1) * (n + 1)));
        std::vector<int32_t> offsets{0}, verts;
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c) {
                if (rng() % 4 == 0) continue;
                int a = r * (n + 1) + c;
                for (int v : {a, a + n + 1, a + n + 2, a + 1}) verts.push_back(v);
                offsets.push_back(static_cast<int32_t>(verts.size()));
            }
        PolyMesh m = PolyMesh::Build(pts, offsets, verts);
        for (int32_t v = 0; v < m.VertexCount(); ++v)
            for (int32_t d = 1; d <= 4; ++d) {
                auto got = Query(m, &PolyMesh::VertexNeighborVertices, v, d);
                std::set<int32_t> unique(got.begin(), got.end());
                EXPECT_EQ(unique.size(), got.size());
                EXPECT_EQ(unique, Bfs(m, v, d)) << "vertex " << v << " distance " << d;
            }
    }
}

TEST(PolyMesh, ComponentNeighbourhoods) {
    PolyMesh g = Grid(3, 3, 3, 3);  // 16 points, 9 quads; quad 4 is the centre
    auto corners = g.PolygonVertices(4);
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborVertices, 4, 1), std::vector<int32_t>(corners.begin(), corners.end()));
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborVertices, 4, 2).size(), 16u - 4u);
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborPolygons, 4, 1).size(), 4u);
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborPolygons, 4, 2).size(), 8u);
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborEdges, 4, 1).size(), 4u);
    EXPECT_EQ(Query(g, &PolyMesh::PolygonNeighborEdges, 4, 2).size(), 4u + 8u);
    int32_t e = g.PolygonEdges(4)[0];
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborVertices, e, 1).size(), 2u);
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborPolygons, e, 1).size(), 2u);
    EXPECT_EQ(Query(g, &PolyMesh::EdgeNeighborEdges, e, 1).size(), 6u);  // two inner vertices of valence 4
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborPolygons, 5, 1).size(), 4u);
    EXPECT_EQ(Query(g, &PolyMesh::VertexNeighborEdges, 5, 1).size(), 4u);
    std::vector<int32_t> all;
    std::vector<int32_t> polys{0, 8};
    g.PolygonsNeighborVertices(polys, 1, all);
    EXPECT_EQ(all.size(), 8u);
}

TEST(Primitives, CountsAndOrientation) {
    struct Case {
        const char* name;
        PolyMesh mesh;
        int points, polygons, euler;
    };
    std::vector<Case> cases;
    cases.push_back({"grid", Grid(8, 8, 4, 3), 20, 12, 1});
    cases.push_back({"cube", Cube(2), 8, 6, 2});
    cases.push_back({"sphere", Sphere(1, 6, 4), 6 * 3 + 2, 24, 2});
    cases.push_back({"cylinder", Cylinder(1, 2, 6, 2, true), 18, 14, 2});
    cases.push_back({"open cylinder", Cylinder(1, 2, 6, 2, false), 18, 12, 0});
    cases.push_back({"torus", Torus(3, 1, 8, 6), 48, 48, 0});
    for (const Case& c : cases) {
        const PolyMesh& m = c.mesh;
        EXPECT_EQ(m.VertexCount(), c.points) << c.name;
        EXPECT_EQ(m.PolygonCount(), c.polygons) << c.name;
        EXPECT_EQ(m.VertexCount() - m.EdgeCount() + m.PolygonCount(), c.euler) << c.name;
        // Outward: every polygon normal points away from the centre (the grid: up).
        for (int32_t p = 0; p < m.PolygonCount(); ++p) {
            Vec3 centre{};
            double k = 1.0 / static_cast<double>(m.PolygonVertices(p).size());
            for (int32_t v : m.PolygonVertices(p)) {
                centre.x += k * m.Positions()[static_cast<size_t>(v)].x;
                centre.y += k * m.Positions()[static_cast<size_t>(v)].y;
                centre.z += k * m.Positions()[static_cast<size_t>(v)].z;
            }
            const Vec3& n = m.PolygonNormals()[static_cast<size_t>(p)];
            std::string name = c.name;
            if (name == "grid") {
                EXPECT_NEAR(n.y, 1.0, 1e-12);
                continue;
            }
            Vec3 out = centre;
            if (name == "torus") {  // away from the tube's axis, not from the torus's centre
                double r = std::hypot(centre.x, centre.z);
                out = {centre.x - 3 * centre.x / r, centre.y, centre.z - 3 * centre.z / r};
            }
            EXPECT_GT(n.x * out.x + n.y * out.y + n.z * out.z, 0) << name << " polygon " << p;
        }
    }
    EXPECT_THROW(Grid(1, 1, 0, 1), std::invalid_argument);
    EXPECT_THROW(Sphere(1, 2, 4), std::invalid_argument);
    EXPECT_THROW(Cube(-1), std::invalid_argument);
}

TEST(PolyMesh, SetPositionsKeepsTopologyAndRefreshesNormals) {
    PolyMesh g = Grid(2, 2, 2, 2);
    std::vector<Vec3> pos(g.Positions().begin(), g.Positions().end());
    EXPECT_NEAR(g.VertexNormals()[0].y, 1.0, 1e-12);
    for (Vec3& p : pos) std::swap(p.y, p.z);  // stand the grid up
    g.SetPositions(pos);
    EXPECT_NEAR(std::abs(g.VertexNormals()[0].z), 1.0, 1e-12);
    EXPECT_EQ(g.EdgeCount(), 12);
    pos.pop_back();
    EXPECT_THROW(g.SetPositions(pos), std::invalid_argument);
}

struct ObjFile {
    std::filesystem::path path;
    explicit ObjFile(const std::string& text) {
        path = std::filesystem::temp_directory_path() /
               ("orbelin_mesh_test_" + std::to_string(std::hash<std::string>{}(text)) + ".obj");
        std::ofstream(path) << text;
    }
    ~ObjFile() { std::filesystem::remove(path); }
};

TEST(ObjImport, KeepsPolygonsAsWritten) {
    ObjFile f(
        "# a quad, a pentagon and a triangle\n"
        "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nv 2 1 0\nv 3 1 0\nv 1.5 2 0\n"
        "f 1 2 3 4\nf 2 5 6 7 8\nf 3 8 4\n");
    PolyMesh m = ImportObj(f.path.string());
    EXPECT_EQ(m.VertexCount(), 8);
    ASSERT_EQ(m.PolygonCount(), 3);
    EXPECT_EQ(m.PolygonVertices(0).size(), 4u);
    EXPECT_EQ(m.PolygonVertices(1).size(), 5u);
    EXPECT_EQ(m.PolygonVertices(2)[1], 7);
    EXPECT_DOUBLE_EQ(m.Positions()[7].x, 1.5);
}

TEST(ObjImport, ReportsWhatIsWrong) {
    auto message = [](const std::string& path) {
        try {
            ImportObj(path);
        } catch (const std::runtime_error& e) {
            return std::string(e.what());
        }
        return std::string("no error");
    };
    EXPECT_NE(message("/nonexistent/x.obj").find("no such file"), std::string::npos);
    ObjFile empty("# nothing\nv 0 0 0\n");
    EXPECT_NE(message(empty.path.string()).find("no polygon"), std::string::npos);
    ObjFile broken("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n");
    std::string m = message(broken.path.string());
    EXPECT_NE(m.find(broken.path.string()), std::string::npos) << m;
    EXPECT_NE(m, "no error");
}

}  // namespace
