#include "script/gltf_export.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <thread>

#include "core/numbers.h"
#include "core/text.h"
#include "io/gltf.h"
#include "render/render.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_transformation.h"

namespace standin {

namespace {

std::string U8(const std::wstring& s) { return XSI::Host::ToUtf8(s); }

std::invalid_argument Refused(const std::string& what) { return std::invalid_argument("ExportGLTF: " + what); }

PolyMeshNode* MeshOf(const X3DNode& x) {
    return x.primitive ? dynamic_cast<PolyMeshNode*>(x.primitive->geometry.get()) : nullptr;
}

X3DNode* FindMeshObject(const Host& host, const std::string& path) {
    auto* x = XSI::Host::As<X3DNode>(host.Find(XSI::Host::FromUtf8(path)));
    if (!x || x->IsRoot() || !MeshOf(*x)) throw Refused("'" + path + "' is not a polygon mesh object");
    return x;
}

ClusterPropertyNode* FindWeightMap(const Host& host, const std::string& path) {
    auto* node = XSI::Host::As<ClusterPropertyNode>(host.Find(XSI::Host::FromUtf8(path)));
    ClusterNode* cluster = node && node->type == L"wtmap" ? node->Cluster() : nullptr;
    PrimitiveNode* prim = cluster && cluster->type == L"pnt" ? cluster->Primitive() : nullptr;
    if (!prim || !dynamic_cast<PolyMeshNode*>(prim->geometry.get()))
        throw Refused("'" + path + "' is not a weight map on the points of a polygon mesh");
    return node;
}

X3DNode* ObjectOf(const ClusterPropertyNode& map) { return map.Cluster()->Primitive()->Owner(); }

// Every weight map on the points of an object's mesh, cluster by cluster.
std::vector<ClusterPropertyNode*> WeightMapsOf(const X3DNode& x) {
    std::vector<ClusterPropertyNode*> maps;
    for (const auto& cluster : x.primitive->clusters) {
        if (!cluster->alive || cluster->type != L"pnt") continue;
        for (const auto& property : cluster->properties)
            if (auto* map = dynamic_cast<ClusterPropertyNode*>(property.get()); map && map->alive && map->type == L"wtmap") maps.push_back(map);
    }
    return maps;
}

void SceneMeshes(const X3DNode& parent, std::vector<X3DNode*>& out) {
    for (const auto& child : parent.children) {
        if (!child->alive) continue;
        if (MeshOf(*child)) out.push_back(child.get());
        SceneMeshes(*child, out);
    }
}

struct MeshPlan {
    X3DNode* object = nullptr;
    std::vector<ClusterPropertyNode*> maps;
    std::vector<std::string> names;  // the attribute of each map
    int colourBy = -1;               // index into maps
};

// The attribute names of a mesh's maps: by the property's name, by cluster and name where two
// share one.
std::vector<std::string> AttributeNames(const std::vector<ClusterPropertyNode*>& maps) {
    std::vector<std::string> names;
    for (const ClusterPropertyNode* m : maps) {
        const bool shared = std::count_if(maps.begin(), maps.end(), [&](const ClusterPropertyNode* o) { return o->name == m->name; }) > 1;
        names.push_back("_WEIGHT_" + (shared ? U8(m->Cluster()->name) + "_" : std::string()) + U8(m->name));
    }
    return names;
}

std::vector<MeshPlan> Plan(const Host& host, const GltfExportRequest& request) {
    std::vector<X3DNode*> objects;
    for (const std::string& path : request.objects) objects.push_back(FindMeshObject(host, path));
    std::vector<ClusterPropertyNode*> maps;
    for (const std::string& path : request.weightmaps) maps.push_back(FindWeightMap(host, path));
    for (ClusterPropertyNode* m : maps) objects.push_back(ObjectOf(*m));
    if (request.objects.empty() && request.weightmaps.empty()) SceneMeshes(host.Root(), objects);

    std::vector<MeshPlan> plans;
    std::set<const X3DNode*> seen;
    for (X3DNode* x : objects) {
        if (!seen.insert(x).second) continue;
        MeshPlan plan{x, {}, {}, -1};
        if (maps.empty()) plan.maps = WeightMapsOf(*x);
        for (ClusterPropertyNode* m : maps)
            if (ObjectOf(*m) == x && std::find(plan.maps.begin(), plan.maps.end(), m) == plan.maps.end()) plan.maps.push_back(m);
        plan.names = AttributeNames(plan.maps);
        if (!plan.maps.empty()) plan.colourBy = 0;
        plans.push_back(std::move(plan));
    }
    if (plans.empty()) throw Refused("there is no polygon mesh to export");

    if (!request.colourBy.empty()) {
        ClusterPropertyNode* by = FindWeightMap(host, request.colourBy);
        auto plan = std::find_if(plans.begin(), plans.end(), [&](const MeshPlan& p) { return p.object == ObjectOf(*by); });
        if (plan == plans.end()) throw Refused("the colouring map '" + request.colourBy + "' is on no mesh exported");
        auto at = std::find(plan->maps.begin(), plan->maps.end(), by);
        if (at == plan->maps.end()) {
            plan->maps.push_back(by);
            plan->names = AttributeNames(plan->maps);
            at = plan->maps.end() - 1;
        }
        plan->colourBy = static_cast<int>(at - plan->maps.begin());
    }
    return plans;
}

// A map's values per point of its mesh into `out` (0 where its cluster does not reach),
// read through the object model, which brings its operators up to date first.
void ReadMapValues(ClusterPropertyNode& map, std::span<float> out) {
    XSI::CDoubleArray w = XSI::ClusterProperty(XSI::CRef::FromHost(&map)).GetElements().GetArray();
    XSI::CLongArray e = XSI::Cluster(XSI::CRef::FromHost(map.Cluster())).GetElements().GetArray();
    const LONG n = std::min(w.GetCount(), e.GetCount());
    std::fill(out.begin(), out.end(), 0.0f);
    for (LONG i = 0; i < n; ++i)
        if (e[i] >= 0 && static_cast<size_t>(e[i]) < out.size()) out[static_cast<size_t>(e[i])] = static_cast<float>(w[i]);
}

float Linear(uint8_t srgb) {
    const double c = srgb / 255.0;
    return static_cast<float>(c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4));
}

void FillColours(std::span<const float> values, std::span<float> rgb, const GltfExportRequest& request) {
    const render::ColourMap map = request.colourMap == "diverging" ? render::ColourMap::Diverging : render::ColourMap::Perceptual;
    const double span = request.rangeMax - request.rangeMin;
    for (size_t i = 0; i < values.size(); ++i) {
        const render::Rgb c = render::MapColour(map, span > 0.0 ? (values[i] - request.rangeMin) / span : 0.5);
        rgb[3 * i] = Linear(c.r), rgb[3 * i + 1] = Linear(c.g), rgb[3 * i + 2] = Linear(c.b);
    }
}

size_t TriangleCount(const mesh::PolyMesh& m) {
    size_t triangles = 0;
    for (int32_t poly = 0; poly < m.PolygonCount(); ++poly) triangles += std::max<size_t>(m.PolygonVertices(poly).size(), 2) - 2;
    return triangles;
}

io::GltfMeshShape ShapeAt(const MeshPlan& plan, double frame, const GltfExportRequest& request) {
    const mesh::PolyMesh& m = MeshOf(*plan.object)->mesh;
    io::GltfMeshShape shape;
    shape.name = U8(plan.object->name);
    shape.points = static_cast<size_t>(m.VertexCount());
    shape.triangles = TriangleCount(m);
    shape.attributes = plan.names;
    shape.colours = request.colours && plan.colourBy >= 0;
    shape.extras["object"] = U8(plan.object->FullName());
    for (size_t i = 0; i < plan.maps.size(); ++i) shape.extras[plan.names[i]] = U8(plan.maps[i]->FullName());
    // The host multiplies row vectors, (x, y, z, 1) * M: glTF's column-major matrix holds M's
    // rows in order.
    const XSI::MATH::CMatrix4 world = plan.object->GlobalAt(frame).GetMatrix4();
    for (short r = 0; r < 4; ++r)
        for (short c = 0; c < 4; ++c) shape.matrix[static_cast<size_t>(4 * r + c)] = world.GetValue(r, c);
    return shape;
}

// Positions in single floats and each polygon's fan of triangles, from plain arrays.
void FillGeometry(const mesh::PolyMesh& m, io::GltfFile& file, size_t index) {
    const std::span<float> positions = file.Positions(index);
    const std::span<uint32_t> triangles = file.Triangles(index);
    const std::span<const mesh::Vec3> p = m.Positions();
    for (size_t i = 0; i < p.size(); ++i) {
        positions[3 * i] = static_cast<float>(p[i].x);
        positions[3 * i + 1] = static_cast<float>(p[i].y);
        positions[3 * i + 2] = static_cast<float>(p[i].z);
    }
    file.SetPositionBounds(index);
    size_t t = 0;
    for (int32_t poly = 0; poly < m.PolygonCount(); ++poly) {
        const std::span<const int32_t> corners = m.PolygonVertices(poly);
        for (size_t k = 1; k + 1 < corners.size(); ++k) {
            triangles[t++] = static_cast<uint32_t>(corners[0]);
            triangles[t++] = static_cast<uint32_t>(corners[k]);
            triangles[t++] = static_cast<uint32_t>(corners[k + 1]);
        }
    }
}

void FillMesh(const MeshPlan& plan, size_t index, io::GltfFile& file, const GltfExportRequest& request) {
    const mesh::PolyMesh& m = MeshOf(*plan.object)->mesh;
    // The geometry is plain data that reading the maps does not change (their operators write
    // weight maps only): a worker converts it meanwhile, for large meshes.
    std::optional<std::jthread> worker;
    if (m.VertexCount() >= 100000) worker.emplace([&] { FillGeometry(m, file, index); });
    // The maps are read through the object model, on this thread: their operators run on this read.
    for (size_t i = 0; i < plan.maps.size(); ++i) ReadMapValues(*plan.maps[i], file.Attribute(index, i));
    if (plan.colourBy >= 0 && request.colours) FillColours(file.Attribute(index, static_cast<size_t>(plan.colourBy)), file.Colours(index), request);
    if (!worker) FillGeometry(m, file, index);
}

std::string FrameText(int frame, size_t digits) {
    char text[32];
    // Frames are within +-kMostExportFrame here, so the negation cannot overflow.
    std::snprintf(text, sizeof text, "%s%0*d", frame < 0 ? "-" : "", static_cast<int>(digits), frame < 0 ? -frame : frame);
    return text;
}

}  // namespace

std::filesystem::path GltfFrameFile(const std::filesystem::path& file, int frame, bool severalFrames) {
    std::string name = file.filename().string();
    const size_t last = name.find_last_of('#');
    if (last != std::string::npos) {
        size_t first = last;
        while (first > 0 && name[first - 1] == '#') --first;
        name.replace(first, last - first + 1, FrameText(frame, last - first + 1));
        return file.parent_path() / name;
    }
    if (!severalFrames) return file;
    return file.parent_path() / (file.stem().string() + "." + FrameText(frame, 4) + file.extension().string());
}

std::vector<std::filesystem::path> ExportGltf(Host& host, const GltfExportRequest& request) {
    const std::string extension = request.file.extension().string();
    if (request.file.filename().empty() || (extension != ".glb" && extension != ".gltf"))
        throw Refused("the file name must end in .glb (binary) or .gltf (text): '" + request.file.string() + "'");
    if (request.colourMap != "perceptual" && request.colourMap != "diverging")
        throw Refused("unknown colour map '" + request.colourMap + "' (perceptual, diverging)");
    if (!std::isfinite(request.rangeMin) || !std::isfinite(request.rangeMax) || request.rangeMax < request.rangeMin)
        throw Refused("the colour range must be two finite numbers, the smaller first");
    std::vector<int> frames;
    for (double f : request.frames) {
        const std::optional<int32_t> whole = WholeNumber(f, -kMostExportFrame, kMostExportFrame);
        if (!whole)
            throw Refused("frames must be whole numbers from " + std::to_string(-kMostExportFrame) + " to " + std::to_string(kMostExportFrame));
        frames.push_back(*whole);
    }
    const bool several = frames.size() > 1;
    const std::vector<MeshPlan> plans = Plan(host, request);
    const std::filesystem::path file = request.file.is_absolute() ? request.file : host.ResolvePath(request.file.wstring());

    const double current = host.Frame();
    std::vector<std::filesystem::path> written;
    auto exportAt = [&](double frame, const std::filesystem::path& target) {
        std::vector<io::GltfMeshShape> shapes;
        for (const MeshPlan& plan : plans) shapes.push_back(ShapeAt(plan, frame, request));
        io::GltfFile out(std::move(shapes));
        for (size_t i = 0; i < plans.size(); ++i) FillMesh(plans[i], i, out, request);
        char text[32];
        std::snprintf(text, sizeof text, "%.17g", frame);
        out.Write(target, {{"frame", text}});
        written.push_back(target);
    };
    try {
        if (frames.empty()) {
            const std::optional<int32_t> whole = WholeNumber(current, -kMostExportFrame, kMostExportFrame);
            exportAt(current, whole ? GltfFrameFile(file, *whole, false) : file);
        }
        for (int frame : frames) {
            if (request.keepGoing && !request.keepGoing())
                throw std::runtime_error("ExportGLTF: stopped before frame " + std::to_string(frame) + ", after " + std::to_string(written.size()) +
                                         " of " + std::to_string(frames.size()) + " files");
            host.SetFrame(frame);
            exportAt(frame, GltfFrameFile(file, frame, several));
        }
    } catch (...) {
        host.SetFrame(current);
        throw;
    }
    host.SetFrame(current);
    return written;
}

}  // namespace standin
