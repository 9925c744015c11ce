// Scene scripts drawing the scene to a picture: meshes coloured by a weight map, curves and
// surfaces as they are evaluated.

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "nurbs/nurbs.h"
#include "render/render.h"
#include "scene/nodes.h"
#include "scene/hair.h"
#include "script/functions.h"

namespace standin::scripting {

namespace {

using mesh::Vec3;
constexpr double kPi = 3.14159265358979323846;

Vec3 ToWorld(const MATH::CTransformation& t, const Vec3& p) {
    XSI::MATH::CVector3 v(p.x, p.y, p.z);
    v.MulByTransformationInPlace(t);
    return {v.GetX(), v.GetY(), v.GetZ()};
}

// Samples per knot span: curves read as smooth lines, surfaces as smooth shading, at
// preview sizes. Knots are one apart, so a parameter range is a span count.
constexpr int kCurveSamplesPerSpan = 32;
constexpr int kSurfaceSamplesPerSpan = 8;

int Samples(double lo, double hi, int perSpan, int atLeast) {
    double spans = std::isfinite(hi - lo) ? std::max(1.0, std::round(hi - lo)) : 1.0;
    return std::clamp(static_cast<int>(std::min(spans, 4096.0)) * perSpan, atLeast, 4096);
}

std::vector<Vec3> CurvePolyline(const nurbs::Curve& c) {
    int n = Samples(c.UMin(), c.UMax(), kCurveSamplesPerSpan, 64);
    std::vector<Vec3> line;
    line.reserve(static_cast<size_t>(n) + 1);
    for (int i = 0; i <= n; ++i) line.push_back(c.Evaluate(c.UMin() + (c.UMax() - c.UMin()) * i / n));
    return line;
}

// A surface as a grid of quads through points evaluated on it, appended to `d`.
void AddSurfaceGrid(const nurbs::Surface& s, render::Drawable& d) {
    int nu = Samples(s.UMin(), s.UMax(), kSurfaceSamplesPerSpan, 16);
    int nv = Samples(s.VMin(), s.VMax(), kSurfaceSamplesPerSpan, 16);
    auto first = static_cast<int32_t>(d.positions.size());
    for (int j = 0; j <= nv; ++j)
        for (int i = 0; i <= nu; ++i)
            d.positions.push_back(s.Evaluate(s.UMin() + (s.UMax() - s.UMin()) * i / nu, s.VMin() + (s.VMax() - s.VMin()) * j / nv));
    if (d.polyOffsets.empty()) d.polyOffsets.push_back(0);
    for (int j = 0; j < nv; ++j)
        for (int i = 0; i < nu; ++i) {
            int32_t a = first + j * (nu + 1) + i;
            d.polyVertices.insert(d.polyVertices.end(), {a, a + 1, a + nu + 2, a + nu + 1});
            d.polyOffsets.push_back(static_cast<int32_t>(d.polyVertices.size()));
        }
}

// Whether an object has anything to show: a polygon mesh, curves or surfaces.
bool Drawn(const X3DNode& x) {
    GeometryNode* g = x.primitive ? x.primitive->geometry.get() : nullptr;
    return dynamic_cast<PolyMeshNode*>(g) || dynamic_cast<CurveListNode*>(g) || dynamic_cast<SurfaceMeshNode*>(g) ||
           dynamic_cast<HairGeometryNode*>(g);
}

// A hair's strands as line strips from their roots (when its generator still reads the
// emitter), each coloured by `rootValues` (one per emitter vertex, NaN for none) at its root
// when given.
void AddStrands(const HairGeometryNode& hair, const std::vector<double>* rootValues, render::Drawable& d) {
    const std::vector<double>& pos = hair.Positions();
    const HairGenOpNode* gen = hair.operators.empty() ? nullptr : dynamic_cast<const HairGenOpNode*>(hair.operators.front().get());
    const CRef emitter = gen && !gen->instances.empty() && !gen->instances[0].empty() ? gen->instances[0][0][0] : CRef();
    auto* prim = XSI::Host::As<PrimitiveNode>(emitter);
    auto* m = prim ? dynamic_cast<PolyMeshNode*>(prim->geometry.get()) : nullptr;
    const size_t per = static_cast<size_t>(kHairStrandPoints), strands = std::min<size_t>(static_cast<size_t>(hair.strandCount), pos.size() / (3 * per));
    for (size_t i = 0; i < strands; ++i) {
        std::vector<Vec3> line;
        int32_t root = gen && i < gen->roots.size() ? gen->roots[i] : -1;
        if (m && (root < 0 || root >= m->mesh.VertexCount())) root = -1;
        if (m && root >= 0) line.push_back(m->mesh.Positions()[static_cast<size_t>(root)]);
        for (size_t k = 0; k < per; ++k) {
            const double* p = &pos[(i * per + k) * 3];
            line.push_back({p[0], p[1], p[2]});
        }
        d.polylines.push_back(std::move(line));
        if (rootValues)
            d.polylineValues.push_back(root >= 0 && static_cast<size_t>(root) < rootValues->size()
                                           ? (*rootValues)[static_cast<size_t>(root)]
                                           : std::numeric_limits<double>::quiet_NaN());
    }
}

// The emitter mesh object of a hair, or null.
const X3DNode* EmitterOf(const X3DNode& x) {
    auto* hair = x.primitive ? dynamic_cast<HairGeometryNode*>(x.primitive->geometry.get()) : nullptr;
    const auto* gen = hair && !hair->operators.empty() ? dynamic_cast<const HairGenOpNode*>(hair->operators.front().get()) : nullptr;
    if (!gen || gen->instances.empty() || gen->instances[0].empty()) return nullptr;
    auto* prim = XSI::Host::As<PrimitiveNode>(gen->instances[0][0][0]);
    return prim ? prim->Owner() : nullptr;
}

// What an object shows in a preview, in world space at `frame`: a polygon mesh as it is (with
// `values` per point, if any), curves as line strips, surfaces as grids of quads, hair as its
// strands (coloured by `rootValues` at their roots, if given).
render::Drawable ObjectDrawable(const X3DNode& x, double frame, std::vector<double> values = {},
                                const std::vector<double>* rootValues = nullptr) {
    GeometryNode* g = x.primitive ? x.primitive->geometry.get() : nullptr;
    render::Drawable d;
    if (auto* m = dynamic_cast<PolyMeshNode*>(g)) {
        d = render::MeshDrawable(m->mesh, std::move(values));
    } else if (auto* c = dynamic_cast<CurveListNode*>(g)) {
        for (const nurbs::Curve& curve : c->curves) d.polylines.push_back(CurvePolyline(curve));
    } else if (auto* s = dynamic_cast<SurfaceMeshNode*>(g)) {
        for (const nurbs::Surface& surface : s->surfaces) AddSurfaceGrid(surface, d);
    } else if (auto* h = dynamic_cast<HairGeometryNode*>(g)) {
        AddStrands(*h, rootValues, d);
    }
    MATH::CTransformation world = x.GlobalAt(frame);
    for (Vec3& p : d.positions) p = ToWorld(world, p);
    for (auto& line : d.polylines)
        for (Vec3& p : line) p = ToWorld(world, p);
    return d;
}

void AllObjects(const X3DNode& parent, std::vector<const X3DNode*>& out) {
    for (const auto& child : parent.children) {
        if (!child->alive) continue;
        if (Drawn(*child)) out.push_back(child.get());
        AllObjects(*child, out);
    }
}

// A weight map's mesh and its values per point of that mesh: NaN where the map's cluster does
// not reach.
struct MapOnMesh {
    const X3DNode* object = nullptr;
    std::vector<double> values;
};

MapOnMesh MapValues(const std::string& path) {
    XSI::ClusterProperty wm = WeightMap(path);
    // Read through the object model first: that is what brings the map's operators up to date.
    XSI::CDoubleArray w = wm.GetElements().GetArray();
    XSI::CLongArray e = Elements(wm);
    auto* node = XSI::Host::As<ClusterPropertyNode>(wm.GetRef());
    ClusterNode* cluster = node ? node->Cluster() : nullptr;
    PrimitiveNode* prim = cluster ? cluster->Primitive() : nullptr;
    auto* m = prim ? dynamic_cast<PolyMeshNode*>(prim->geometry.get()) : nullptr;
    if (!m || cluster->type != L"pnt") throw ScriptError("'" + path + "' is not a weight map on the points of a polygon mesh");
    MapOnMesh out;
    out.object = prim->Owner();
    out.values.assign(static_cast<size_t>(m->mesh.VertexCount()), std::numeric_limits<double>::quiet_NaN());
    for (LONG i = 0; i < std::min(w.GetCount(), e.GetCount()); ++i)
        if (e[i] >= 0 && static_cast<size_t>(e[i]) < out.values.size()) out.values[static_cast<size_t>(e[i])] = w[i];
    return out;
}

// A UV property's (u, v) per sample of its mesh: NaN where the property's cluster does not reach.
struct UVsOnMesh {
    const X3DNode* object = nullptr;
    const mesh::PolyMesh* mesh = nullptr;
    std::vector<double> uv;  // 2 per sample
};

UVsOnMesh UVValues(const std::string& path) {
    auto* node = XSI::Host::As<ClusterPropertyNode>(Lookup(path));
    ClusterNode* cluster = node ? node->Cluster() : nullptr;
    PrimitiveNode* prim = cluster ? cluster->Primitive() : nullptr;
    auto* m = prim ? dynamic_cast<PolyMeshNode*>(prim->geometry.get()) : nullptr;
    if (!m || cluster->type != L"sample" || node->valueSize < 2)
        throw ScriptError("'" + path + "' is not a UV property on the samples of a polygon mesh");
    UVsOnMesh out;
    out.object = prim->Owner();
    out.mesh = &m->mesh;
    out.uv.assign(2 * static_cast<size_t>(m->mesh.SampleCount()), std::numeric_limits<double>::quiet_NaN());
    const size_t size = static_cast<size_t>(node->valueSize);
    for (size_t i = 0; i < cluster->elements.size() && (i + 1) * size <= node->values.size(); ++i) {
        const LONG s = cluster->elements[i];
        if (s < 0 || s >= m->mesh.SampleCount()) continue;
        out.uv[2 * static_cast<size_t>(s)] = node->values[i * size];
        out.uv[2 * static_cast<size_t>(s) + 1] = node->values[i * size + 1];
    }
    return out;
}

// Checker squares per unit of u and v, and the subdivision of each triangle that draws them.
constexpr double kCheckerSquares = 10.0;
constexpr int kCheckerCuts = 8;

double Checker(double u, double v) {
    if (!std::isfinite(u) || !std::isfinite(v)) return std::numeric_limits<double>::quiet_NaN();
    const double cell = std::floor(u * kCheckerSquares) + std::floor(v * kCheckerSquares);
    return std::fmod(std::fabs(cell), 2.0);
}

// The mesh in world space with a checker through its UVs: each triangle of each polygon's fan
// cut into small triangles, each of one checker colour (0 or 1) at its centre.
render::Drawable CheckerDrawable(const UVsOnMesh& uvs, double frame) {
    const mesh::PolyMesh& m = *uvs.mesh;
    const MATH::CTransformation world = uvs.object->GlobalAt(frame);
    render::Drawable d;
    d.polyOffsets.push_back(0);
    struct Corner {
        Vec3 p;
        double u, v;
    };
    auto corner = [&](int32_t s) {
        return Corner{ToWorld(world, m.Positions()[static_cast<size_t>(m.SampleVertex(s))]), uvs.uv[2 * static_cast<size_t>(s)],
                      uvs.uv[2 * static_cast<size_t>(s) + 1]};
    };
    auto mix = [](const Corner& a, const Corner& b, const Corner& c, double i, double j) {
        const double k = kCheckerCuts, wa = 1.0 - (i + j) / k, wb = i / k, wc = j / k;
        return Corner{a.p * wa + b.p * wb + c.p * wc, a.u * wa + b.u * wb + c.u * wc, a.v * wa + b.v * wb + c.v * wc};
    };
    auto emit = [&](const Corner& a, const Corner& b, const Corner& c) {
        const double value = Checker((a.u + b.u + c.u) / 3.0, (a.v + b.v + c.v) / 3.0);
        for (const Corner* x : {&a, &b, &c}) {
            d.polyVertices.push_back(static_cast<int32_t>(d.positions.size()));
            d.positions.push_back(x->p);
            d.values.push_back(value);
        }
        d.polyOffsets.push_back(static_cast<int32_t>(d.polyVertices.size()));
    };
    for (int32_t p = 0; p < m.PolygonCount(); ++p) {
        const auto samples = m.PolygonSamples(p);
        const int32_t first = *samples.begin();
        for (int32_t s = first + 1; s + 1 < first + static_cast<int32_t>(samples.size()); ++s) {
            const Corner a = corner(first), b = corner(s), c = corner(s + 1);
            for (int i = 0; i < kCheckerCuts; ++i)
                for (int j = 0; i + j < kCheckerCuts; ++j) {
                    emit(mix(a, b, c, i, j), mix(a, b, c, i + 1, j), mix(a, b, c, i, j + 1));
                    if (i + j + 1 < kCheckerCuts) emit(mix(a, b, c, i + 1, j), mix(a, b, c, i + 1, j + 1), mix(a, b, c, i, j + 1));
                }
        }
    }
    return d;
}

// The UV layout flat in the XY plane: every polygon at its samples' (u, v), coloured by v,
// outlined just in front so that its edges read.
render::Drawable LayoutDrawable(const UVsOnMesh& uvs, double lift) {
    const mesh::PolyMesh& m = *uvs.mesh;
    render::Drawable d;
    d.polyOffsets.push_back(0);
    for (int32_t p = 0; p < m.PolygonCount(); ++p) {
        std::vector<Vec3> outline;
        bool complete = true;
        for (int32_t s : m.PolygonSamples(p)) {
            const double u = uvs.uv[2 * static_cast<size_t>(s)], v = uvs.uv[2 * static_cast<size_t>(s) + 1];
            complete = complete && std::isfinite(u) && std::isfinite(v);
            outline.push_back({u, v, lift});
        }
        if (!complete) continue;
        for (const Vec3& q : outline) {
            d.polyVertices.push_back(static_cast<int32_t>(d.positions.size()));
            d.positions.push_back({q.x, q.y, 0.0});
            d.values.push_back(q.y);
        }
        d.polyOffsets.push_back(static_cast<int32_t>(d.polyVertices.size()));
        outline.push_back(outline.front());
        d.polylines.push_back(std::move(outline));
    }
    return d;
}

// Reading the options table of RenderPreview: every value checked, the option named in errors.
std::string OptionError(const char* option, const std::string& what) {
    return std::string("RenderPreview: option '") + option + "' " + what;
}

double FieldNumber(lua_State* L, int table, int index, const char* key, const char* option) {
    if (key) lua_getfield(L, table, key);
    else lua_rawgeti(L, table, index);
    if (lua_type(L, -1) != LUA_TNUMBER) {
        lua_pop(L, 1);
        throw ScriptError(OptionError(option, "must be a table of numbers"));
    }
    double v = lua_tonumber(L, -1);
    lua_pop(L, 1);
    return v;
}

Vec3 OptionVector(lua_State* L, int t, const char* option) {
    if (!lua_istable(L, t)) throw ScriptError(OptionError(option, "must be a table {x, y, z}"));
    return {FieldNumber(L, t, 1, nullptr, option), FieldNumber(L, t, 2, nullptr, option), FieldNumber(L, t, 3, nullptr, option)};
}

struct PreviewRequest {
    std::string weightmap;
    std::string uvs;
    std::optional<std::vector<std::string>> objects;
    render::RenderOptions render;
};

PreviewRequest PreviewOptions(lua_State* L, int t) {
    PreviewRequest r;
    r.render.width = 960;
    r.render.height = 640;
    if (lua_isnoneornil(L, t)) return r;
    if (!lua_istable(L, t)) throw ScriptError("RenderPreview: the options must be a table {weightmap = ..., camera = ...}");
    static const std::set<std::string> known = {"weightmap", "uvs", "objects", "camera", "range", "title", "width", "height",
                                                "colormap"};
    lua_pushnil(L);
    while (lua_next(L, t) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) != LUA_TSTRING || !known.contains(lua_tostring(L, -1))) {
            std::string key = lua_type(L, -1) == LUA_TSTRING ? lua_tostring(L, -1) : std::string("a ") + luaL_typename(L, -1) + " key";
            lua_pop(L, 1);
            throw ScriptError("RenderPreview: unknown option '" + key + "' (weightmap, uvs, objects, camera, range, title, width, height, colormap)");
        }
    }
    auto field = [&](const char* key) {
        lua_getfield(L, t, key);
        return lua_gettop(L);
    };
    auto text = [&](const char* key) {
        int i = field(key);
        std::string s;
        if (!lua_isnil(L, i)) {
            if (lua_type(L, i) != LUA_TSTRING) throw ScriptError(OptionError(key, "must be a string"));
            s = lua_tostring(L, i);
        }
        lua_pop(L, 1);
        return s;
    };
    auto size = [&](const char* key, int& out) {
        int i = field(key);
        if (!lua_isnil(L, i)) {
            double v = lua_type(L, i) == LUA_TNUMBER ? lua_tonumber(L, i) : 0.5;
            if (v != std::floor(v) || v < 1 || v > 16384) throw ScriptError(OptionError(key, "must be a whole number of pixels, 1 to 16384"));
            out = static_cast<int>(v);
        }
        lua_pop(L, 1);
    };

    r.weightmap = text("weightmap");
    r.uvs = text("uvs");
    if (!r.weightmap.empty() && !r.uvs.empty()) throw ScriptError("RenderPreview: give a weightmap or uvs, not both");
    r.render.title = text("title");
    const std::string colours = text("colormap");
    if (colours == "diverging") r.render.colourMap = render::ColourMap::Diverging;
    else if (!colours.empty() && colours != "perceptual")
        throw ScriptError(OptionError("colormap", "must be \"perceptual\" or \"diverging\""));
    size("width", r.render.width);
    size("height", r.render.height);

    int objects = field("objects");
    if (!lua_isnil(L, objects)) {
        if (!lua_istable(L, objects)) throw ScriptError(OptionError("objects", "must be a table of object paths"));
        r.objects.emplace();
        for (int k = 1; k <= static_cast<int>(lua_objlen(L, objects)); ++k) {
            lua_rawgeti(L, objects, k);
            if (lua_type(L, -1) != LUA_TSTRING) throw ScriptError(OptionError("objects", "must be a table of object paths"));
            r.objects->push_back(lua_tostring(L, -1));
            lua_pop(L, 1);
        }
    }
    lua_pop(L, 1);

    int camera = field("camera");
    if (!lua_isnil(L, camera)) {
        if (!lua_istable(L, camera)) throw ScriptError(OptionError("camera", "must be a table {eye = {x, y, z}, target = {x, y, z}[, up = ...][, fov = degrees]}"));
        render::Camera c;
        lua_getfield(L, camera, "eye");
        c.eye = OptionVector(L, lua_gettop(L), "camera.eye");
        lua_getfield(L, camera, "target");
        c.target = OptionVector(L, lua_gettop(L), "camera.target");
        lua_getfield(L, camera, "up");
        if (!lua_isnil(L, -1)) c.up = OptionVector(L, lua_gettop(L), "camera.up");
        lua_getfield(L, camera, "fov");
        if (!lua_isnil(L, -1)) {
            if (lua_type(L, -1) != LUA_TNUMBER) throw ScriptError(OptionError("camera.fov", "must be a number of degrees"));
            c.fovDegrees = lua_tonumber(L, -1);
        }
        lua_pop(L, 4);
        r.render.camera = c;
    }
    lua_pop(L, 1);

    int range = field("range");
    if (!lua_isnil(L, range)) {
        if (!lua_istable(L, range)) throw ScriptError(OptionError("range", "must be a table {min, max}"));
        lua_getfield(L, range, "min");
        bool named = !lua_isnil(L, -1);
        lua_pop(L, 1);
        r.render.valueRange = named ? render::ValueRange{FieldNumber(L, range, 0, "min", "range"), FieldNumber(L, range, 0, "max", "range")}
                                    : render::ValueRange{FieldNumber(L, range, 1, nullptr, "range"), FieldNumber(L, range, 2, nullptr, "range")};
        if (!std::isfinite(r.render.valueRange->min) || !std::isfinite(r.render.valueRange->max) || r.render.valueRange->max < r.render.valueRange->min)
            throw ScriptError(OptionError("range", "must be two finite numbers, the smaller first"));
    }
    lua_pop(L, 1);
    return r;
}

// RenderPreview(file[, options]) -> the file's full path
int RenderPreview(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string name = ArgString(L, 1, "a file name");
        if (name.empty()) throw ScriptError("RenderPreview: no file name");
        std::filesystem::path file = ProjectFile(name);
        PreviewRequest request = PreviewOptions(L, 2);
        double frame = g_host->Frame();

        MapOnMesh map;
        if (!request.weightmap.empty()) map = MapValues(request.weightmap);
        UVsOnMesh uvs;
        if (!request.uvs.empty()) {
            uvs = UVValues(request.uvs);
            map.object = uvs.object;
        }
        std::vector<const X3DNode*> objects;
        if (request.objects) {
            for (const std::string& path : *request.objects) {
                auto* x = XSI::Host::As<X3DNode>(Lookup(path));
                if (!x || x->IsRoot() || !Drawn(*x))
                    throw ScriptError("'" + path + "' is not a polygon mesh, curve, surface or hair object");
                objects.push_back(x);
            }
        } else {
            AllObjects(g_host->Root(), objects);
        }
        // The map's mesh is always in the picture, once, coloured.
        std::erase(objects, map.object);
        render::Scene scene;
        const std::vector<double> rootValues = map.values;
        if (uvs.object) scene.drawables.push_back(CheckerDrawable(uvs, frame));
        else if (map.object) scene.drawables.push_back(ObjectDrawable(*map.object, frame, std::move(map.values)));
        for (const X3DNode* x : objects) {
            // Hair grown on the map's mesh shows the map at the roots of its strands.
            const bool onMap = map.object && EmitterOf(*x) == map.object;
            scene.drawables.push_back(ObjectDrawable(*x, frame, {}, onMap ? &rootValues : nullptr));
        }

        render::WritePng(render::Render(scene, request.render), file.string());
        lua_pushstring(L, file.string().c_str());
        return 1;
    });
}

// RenderUVLayout(file, uvproperty[, {title =, width =, height =}]) -> the file's full path
int RenderUVLayout(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string name = ArgString(L, 1, "a file name");
        if (name.empty()) throw ScriptError("RenderUVLayout: no file name");
        std::filesystem::path file = ProjectFile(name);
        const UVsOnMesh uvs = UVValues(ArgString(L, 2, "a UV property path"));
        PreviewRequest request = PreviewOptions(L, 3);
        if (!request.weightmap.empty() || !request.uvs.empty() || request.objects || request.render.camera)
            throw ScriptError("RenderUVLayout: only the title, width, height and range options apply");
        double lo[2] = {1e300, 1e300}, hi[2] = {-1e300, -1e300};
        for (size_t i = 0; i < uvs.uv.size(); ++i)
            if (std::isfinite(uvs.uv[i])) lo[i % 2] = std::min(lo[i % 2], uvs.uv[i]), hi[i % 2] = std::max(hi[i % 2], uvs.uv[i]);
        if (!(lo[0] <= hi[0] && lo[1] <= hi[1])) lo[0] = lo[1] = 0.0, hi[0] = hi[1] = 1.0;
        const double w = std::max(hi[0] - lo[0], 1e-9), h = std::max(hi[1] - lo[1], 1e-9);
        const double aspect = static_cast<double>(request.render.width) / request.render.height;
        render::Camera camera;
        camera.fovDegrees = 30.0;
        const double half = 0.5 * std::max(h, w / aspect) * 1.15, distance = half / std::tan(camera.fovDegrees * kPi / 360.0);
        camera.target = {(lo[0] + hi[0]) / 2, (lo[1] + hi[1]) / 2, 0.0};
        camera.eye = {camera.target.x, camera.target.y, distance};
        request.render.camera = camera;
        render::Scene scene;
        scene.drawables.push_back(LayoutDrawable(uvs, 1e-3 * distance));
        render::WritePng(render::Render(scene, request.render), file.string());
        lua_pushstring(L, file.string().c_str());
        return 1;
    });
}

const luaL_Reg kFunctions[] = {
    {"RenderPreview", RenderPreview},
    {"RenderUVLayout", RenderUVLayout},
    {nullptr, nullptr},
};

}  // namespace

void RegisterPreviewFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
