// OBJ import: polygons kept as written, and errors that say which file and what is wrong.
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <future>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "mesh/obj_import.h"
#include "mesh_test_util.h"

using namespace standin::mesh;
using namespace mesh_test;

namespace {

// A folder of its own per test, removed afterwards.
class ObjImport : public ::testing::Test {
protected:
    std::filesystem::path dir;

    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = "orbelin_mesh_obj_";
        name.append(info->name()).append("_").append(std::to_string(::getpid()));
        dir = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(dir);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }

    std::string Write(const std::string& name, const std::string& text) {
        auto path = dir / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }
    // Three points, for faces to refer to.
    const std::string header = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";

    // The error's message, or "no error".
    static std::string Error(const std::string& path) {
        try {
            ImportObj(path);
        } catch (const std::runtime_error& e) {
            return e.what();
        }
        return "no error";
    }
};

#define EXPECT_CONTAINS(haystack, needle) EXPECT_NE(std::string(haystack).find(needle), std::string::npos) << (haystack)

TEST_F(ObjImport, KeepsQuadsAndPentagonsAsWritten) {
    const std::string path = Write("shapes.obj",
                                   "# a quad, a pentagon and a triangle, and a point nobody uses\n"
                                   "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nv 2 1 0\nv 3 1 0\nv 1.5 2 0\n"
                                   "v 9 9 9\n"
                                   "f 1 2 3 4\nf 2 5 6 7 8\nf 3 8 4\n");
    PolyMesh m = ImportObj(path);
    EXPECT_EQ(m.VertexCount(), 9);
    ASSERT_EQ(m.PolygonCount(), 3);
    EXPECT_EQ(ToIds(m.PolygonVertices(0)), (Ids{0, 1, 2, 3}));
    EXPECT_EQ(ToIds(m.PolygonVertices(1)), (Ids{1, 4, 5, 6, 7}));
    EXPECT_EQ(ToIds(m.PolygonVertices(2)), (Ids{2, 7, 3}));
    EXPECT_EQ(m.Positions()[7], (Vec3{1.5, 2, 0}));
    EXPECT_TRUE(m.VertexPolygons(8).empty());
    EXPECT_EQ(m.EdgeCount(), 4 + 5 + 2);  // the triangle shares 3-4 with the quad
}

TEST_F(ObjImport, ReadsEveryFaceSyntaxAndKeepsFileOrderAcrossGroups) {
    const std::string path = Write("groups.obj",
                                   "mtllib missing.mtl\n"
                                   "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\n"
                                   "vt 0 0\nvn 0 0 1\n"
                                   "o first\nf 1/1/1 2/1/1 3/1/1\n"
                                   "g second\nf 2//1 4//1 3//1\n"
                                   "o third\nf -4/1 -3/1 -1/1\n"
                                   "l 1 2\n"
                                   "o first\nf 1 3 4 2\n");
    PolyMesh m = ImportObj(path);
    ASSERT_EQ(m.PolygonCount(), 4);
    EXPECT_EQ(ToIds(m.PolygonVertices(0)), (Ids{0, 1, 2}));
    EXPECT_EQ(ToIds(m.PolygonVertices(1)), (Ids{1, 3, 2}));
    EXPECT_EQ(ToIds(m.PolygonVertices(2)), (Ids{0, 1, 3}));  // relative indices
    EXPECT_EQ(ToIds(m.PolygonVertices(3)), (Ids{0, 2, 3, 1}));
}

TEST_F(ObjImport, ReadsWindowsLineEnds) {
    PolyMesh m = ImportObj(Write("crlf.obj", "v 0 0 0\r\nv 1 0 0\r\nv 1 1 0\r\nv 0 1 0\r\nf 1 2 3 4\r\n"));
    EXPECT_EQ(m.PolygonCount(), 1);
    EXPECT_EQ(m.PolygonVertices(0).size(), 4u);
}

TEST_F(ObjImport, ReportsAMissingFile) {
    const std::string path = (dir / "nowhere.obj").string();
    const std::string m = Error(path);
    EXPECT_CONTAINS(m, path);
    EXPECT_CONTAINS(m, "no such file");
    EXPECT_CONTAINS(Error(dir.string()), "not a regular file");
}

TEST_F(ObjImport, ReportsAFileWithoutGeometry) {
    EXPECT_CONTAINS(Error(Write("empty.obj", "")), "no geometry");
    EXPECT_CONTAINS(Error(Write("comments.obj", "# nothing here\n")), "no geometry");
    const std::string path = Write("points.obj", "v 0 0 0\nv 1 0 0\nl 1 2\n");
    const std::string m = Error(path);
    EXPECT_CONTAINS(m, path);
    EXPECT_CONTAINS(m, "no face");
}

TEST_F(ObjImport, ReportsBrokenFaces) {
    // A vertex that is not there, counted from 1 as in the file.
    std::string path = Write("range.obj", header + "f 1 2 3\nf 1 2 9\n");
    std::string m = Error(path);
    EXPECT_CONTAINS(m, path);
    EXPECT_CONTAINS(m, "face 2 refers to vertex 9");
    EXPECT_CONTAINS(Error(Write("relative.obj", header + "f -1 -2 -7\n")), "before the first");
    // Index 0 does not exist in OBJ.
    path = Write("zero.obj", header + "f 0 1 2\n");
    m = Error(path);
    EXPECT_CONTAINS(m, path);
    EXPECT_CONTAINS(m, "line 4: face 1 refers to vertex 0; vertices are numbered from 1");
    // Faces the mesh cannot hold.
    EXPECT_CONTAINS(Error(Write("two.obj", header + "f 1 2\nf 1 2 3\n")), "fewer than 3 corners");
    m = Error(Write("twice.obj", header + "v 1 1 0\nf 1 2 3\nf 1 2 4 2\n"));
    EXPECT_CONTAINS(m, "polygon 1 uses vertex 1 twice");
}

TEST_F(ObjImport, ReportsFacesTooLargeForTheReader) {
    // tinyobjloader stores corner counts in a byte: 255 corners is fine, 300 is refused.
    auto ngon = [](int n) {
        std::ostringstream text, face;
        face << "f";
        for (int i = 0; i < n; ++i) {
            const double a = 6.283185307179586 * i / n;
            text << "v " << std::cos(a) << " " << std::sin(a) << " 0\n";
            face << " " << i + 1;
        }
        return text.str() + face.str() + "\n";
    };
    PolyMesh m = ImportObj(Write("ngon255.obj", ngon(255)));
    EXPECT_EQ(m.PolygonVertices(0).size(), 255u);
    EXPECT_CONTAINS(Error(Write("ngon300.obj", ngon(300))), "more than 255 corners");
    EXPECT_CONTAINS(Error(Write("ngon256.obj", ngon(256))), "more than 255 corners");
}

TEST_F(ObjImport, ReportsFacesItCannotReadAsWritten) {
    const std::pair<std::string, std::string> cases[] = {
        // Beyond an int: it used to wrap to some other vertex and import as a triangle.
        {"f 1 2 3\nf 1 2 9223372036854775808\n", "line 5: face 2 refers to vertex 9223372036854775808, a number too large"},
        {"f 1 2 -4294967297\n", "line 4: face 1 refers to vertex -4294967297, a number too large"},
        {"vn 0 0 1\nf 1 2 3//99999999999\n", "line 5: face 1 refers to vertex 99999999999, a number too large"},
        // A face without corners used to vanish, numbering every later polygon one lower.
        {"f 1 2 3\nf\nf 3 2 1\n", "line 5: face 2 has no corners"},
        {"f  \t\r\nf 1 2 3\n", "line 4: face 1 has no corners"},
        {"f 1 2\n", "line 4: face 1 has fewer than 3 corners"},
        {"f 1 2 x\n", "line 4: face 1 has a corner 'x' that is not a vertex number"},
        {"f 1 2 1/2/3/4\n", "corner '1/2/3/4' that is not"},
        {"f 1 2 -\n", "corner '-' that is not"},
        {"f 1 2 1.5\n", "corner '1.5' that is not"},
        {"f 1 2 3 # the end\n", "corner '#' that is not"},
    };
    for (const auto& [faces, expected] : cases) {
        const std::string path = Write("faces.obj", header + faces);
        const std::string m = Error(path);
        EXPECT_CONTAINS(m, path);
        EXPECT_CONTAINS(m, expected);
    }
    // Names that merely start with f are not faces.
    PolyMesh ok = ImportObj(Write("fo.obj", header + "fo 1 2\nf 1 2 3\n"));
    EXPECT_EQ(ok.PolygonCount(), 1);
}

TEST_F(ObjImport, SkipsAByteOrderMark) {
    PolyMesh m = ImportObj(Write("bom.obj", "\xEF\xBB\xBFv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"));
    EXPECT_EQ(m.VertexCount(), 3);
    EXPECT_EQ(ToIds(m.PolygonVertices(0)), (Ids{0, 1, 2}));
}

TEST_F(ObjImport, NeverReadsMaterialLibraries) {
    // A library naming an endless device: the import used to read it forever.
    auto imported = std::async(std::launch::async, [&] {
        return ImportObj(Write("zero.obj",
                               "mtllib ../../../../../../../dev/zero /dev/zero\nusemtl x\n"
                               "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"))
            .PolygonCount();
    });
    if (imported.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
        std::fprintf(stderr, "the import of an OBJ naming /dev/zero as its materials did not end\n");
        std::_Exit(1);  // the reading thread cannot be stopped
    }
    EXPECT_EQ(imported.get(), 1);
}

}  // namespace
