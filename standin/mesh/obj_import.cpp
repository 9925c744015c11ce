#include "mesh/obj_import.h"

#include <tiny_obj_loader.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace standin::mesh {

namespace {

std::string TrimLineEnds(std::string s) {
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r')) s.pop_back();
    return s;
}

// tinyobjloader reads a vertex number too large for an int as some other number, and skips an
// "f" line without corners: either would shift or change the polygons silently. Each corner
// must be v, v/vt, v//vn or v/vt/vn, numbers that are not 0 and fit an int, and each face have
// at least 3 corners; faces and lines are numbered from 1 as in the file.
template <class Fail>
void CheckFaces(std::string_view text, const Fail& fail) {
    auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; };
    size_t lineNo = 0, face = 0;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        ++lineNo;
        while (!line.empty() && blank(line.front())) line.remove_prefix(1);
        if (line.size() < 1 || line[0] != 'f' || (line.size() > 1 && !blank(line[1]))) continue;
        ++face;
        const std::string where = "line " + std::to_string(lineNo) + ": face " + std::to_string(face);
        line.remove_prefix(1);
        int corners = 0;
        while (true) {
            while (!line.empty() && blank(line.front())) line.remove_prefix(1);
            if (line.empty()) break;
            size_t n = 0;
            while (n < line.size() && !blank(line[n])) ++n;
            const std::string_view corner = line.substr(0, n);
            line.remove_prefix(n);
            ++corners;
            // The vertex number, then optional texture and normal numbers.
            std::string_view rest = corner;
            for (int part = 0; part < 3 && (part == 0 || !rest.empty()); ++part) {
                const size_t slash = std::min(rest.find('/'), rest.size());
                const std::string_view number = rest.substr(0, slash);
                rest.remove_prefix(std::min(slash + 1, rest.size()));
                if (number.empty() && part > 0) continue;  // v//vn, or v/ with nothing after
                long long value = 0;
                const char* first = number.data() + (number.starts_with('-') ? 1 : 0);
                const auto [ptr, error] = std::from_chars(first, number.data() + number.size(), value);
                if (first == number.data() + number.size() || ptr != number.data() + number.size() ||
                    (error != std::errc() && error != std::errc::result_out_of_range))
                    throw fail(where + " has a corner '" + std::string(corner) + "' that is not a vertex number");
                if (error == std::errc::result_out_of_range || value > std::numeric_limits<int>::max())
                    throw fail(where + " refers to vertex " + std::string(number) + ", a number too large");
                if (value == 0) throw fail(where + " refers to vertex 0; vertices are numbered from 1");
            }
            if (!rest.empty()) throw fail(where + " has a corner '" + std::string(corner) + "' that is not a vertex number");
        }
        if (corners == 0) throw fail(where + " has no corners");
        if (corners < 3) throw fail(where + " has fewer than 3 corners");
    }
}

}  // namespace

PolyMesh ImportObj(const std::string& path) {
    auto fail = [&](const std::string& why) { return std::runtime_error("cannot import OBJ file '" + path + "': " + why); };
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    if (!std::filesystem::exists(status)) throw fail("no such file");
    if (!std::filesystem::is_regular_file(status)) throw fail("not a regular file");
    std::ifstream in(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad() || !in.is_open()) throw fail("the file could not be read");
    return ImportObjText(text, path);
}

PolyMesh ImportObjText(std::string_view text, const std::string& name) {
    auto fail = [&](const std::string& why) { return std::runtime_error("cannot import OBJ file '" + name + "': " + why); };
    // Editors on some systems start UTF-8 files with a byte-order mark; it is not part of the
    // first line.
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    CheckFaces(text, fail);

    tinyobj::ObjReaderConfig config;
    config.triangulate = false;
    config.vertex_color = false;
    tinyobj::ObjReader reader;
    // Materials are never used: the empty material text keeps "mtllib" from opening whatever
    // file it names (a device would be read forever).
    if (!reader.ParseFromString(std::string(text), std::string(), config)) {
        std::string why = TrimLineEnds(reader.Error());
        throw fail(why.empty() ? "the file could not be parsed" : why);
    }
    // tinyobjloader drops faces of fewer than 3 corners with only a warning; the polygons after
    // them would then not match the file's face numbers, so such a file is refused.
    if (reader.Warning().find("Degenerated face") != std::string::npos)
        throw fail("a face has fewer than 3 corners");

    const tinyobj::attrib_t& attrib = reader.GetAttrib();
    const size_t pointCount = attrib.vertices.size() / 3;
    std::vector<Vec3> points;
    points.reserve(pointCount);
    for (size_t i = 0; i < pointCount; ++i)
        points.push_back({attrib.vertices[3 * i], attrib.vertices[3 * i + 1], attrib.vertices[3 * i + 2]});

    std::vector<int32_t> offsets{0}, verts;
    size_t face = 0;
    for (const tinyobj::shape_t& shape : reader.GetShapes()) {
        const tinyobj::mesh_t& mesh = shape.mesh;
        // Corner counts are stored as unsigned char: a face of 256 corners or more comes back
        // with its count wrapped, which shows as counts that no longer add up to the indices.
        size_t total = 0;
        for (unsigned char n : mesh.num_face_vertices) total += n;
        if (total != mesh.indices.size()) throw fail("a face has more than 255 corners, more than tinyobjloader can read");
        size_t index = 0;
        for (unsigned char n : mesh.num_face_vertices) {
            ++face;
            for (size_t k = 0; k < n; ++k) {
                const int v = mesh.indices[index + k].vertex_index;
                // Reported in the file's terms: faces and vertices numbered from 1.
                // (A negative index is a relative one that reached back before the first vertex.)
                if (v < 0)
                    throw fail("face " + std::to_string(face) + " refers to a vertex before the first one");
                if (static_cast<size_t>(v) >= pointCount)
                    throw fail("face " + std::to_string(face) + " refers to vertex " + std::to_string(static_cast<long long>(v) + 1) +
                               ", but the file defines " + std::to_string(pointCount) + " vertices");
                verts.push_back(v);
            }
            index += n;
            offsets.push_back(static_cast<int32_t>(verts.size()));
        }
    }
    if (face == 0) throw fail(pointCount == 0 ? "no geometry: the file holds no vertex and no face" : "no geometry: the file holds no face");
    try {
        return PolyMesh::Build(std::move(points), std::move(offsets), std::move(verts));
    } catch (const std::invalid_argument& e) {
        throw fail(std::string(e.what()) + " (polygons numbered from 0 in file order)");
    }
}

}  // namespace standin::mesh
