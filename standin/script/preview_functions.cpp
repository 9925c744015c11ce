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
    std::optional<std::vector<std::string>> objects;
    render::RenderOptions render;
};

PreviewRequest PreviewOptions(lua_State* L, int t) {
    PreviewRequest r;
    r.render.width = 960;
    r.render.height = 640;
    if (lua_isnoneornil(L, t)) return r;
    if (!lua_istable(L, t)) throw ScriptError("RenderPreview: the options must be a table {weightmap = ..., camera = ...}");
    static const std::set<std::string> known = {"weightmap", "objects", "camera", "range", "title", "width", "height",
                                                "colormap"};
    lua_pushnil(L);
    while (lua_next(L, t) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) != LUA_TSTRING || !known.contains(lua_tostring(L, -1))) {
            std::string key = lua_type(L, -1) == LUA_TSTRING ? lua_tostring(L, -1) : std::string("a ") + luaL_typename(L, -1) + " key";
            lua_pop(L, 1);
            throw ScriptError("RenderPreview: unknown option '" + key + "' (weightmap, objects, camera, range, title, width, height, colormap)");
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
        if (map.object) scene.drawables.push_back(ObjectDrawable(*map.object, frame, std::move(map.values)));
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

const luaL_Reg kFunctions[] = {
    {"RenderPreview", RenderPreview},
    {nullptr, nullptr},
};

}  // namespace

void RegisterPreviewFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
