// Scene scripts building and selecting: primitives, imported meshes, curves and surfaces,
// transforms and point positions, the selection.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "nurbs/nurbs.h"
#include "scene/nodes.h"
#include "script/functions.h"
#include "xsi_vector3.h"

namespace standin::scripting {

namespace {

int CreatePrim(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string kind = ArgString(L, 1, "a primitive kind");
        std::string name = OptString(L, 2);
        std::map<std::wstring, double> options;
        if (lua_istable(L, 3)) {
            lua_pushnil(L);
            while (lua_next(L, 3) != 0) {
                if (lua_type(L, -2) != LUA_TSTRING) throw ScriptError("primitive options are named: {subdivu = 8, ...}");
                std::string key = lua_tostring(L, -2);
                double value = lua_isboolean(L, -1) ? (lua_toboolean(L, -1) ? 1.0 : 0.0) : ArgNumber(L, lua_gettop(L), key.c_str());
                for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
                options[Wide(key)] = value;
                lua_pop(L, 1);
            }
        }
        CRef r = g_host->CreatePrim(Wide(kind), Wide(name), options, OptParent(L, 4));
        PushPath(L, r);
        return 1;
    });
}

int ImportObj(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string file = ArgString(L, 1, "an OBJ file");
        PushPath(L, g_host->ImportObj(ProjectFile(file), Wide(OptString(L, 2))));
        return 1;
    });
}

int CreateNull(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        PushPath(L, g_host->CreateNull(Wide(ArgString(L, 1, "a name")), OptParent(L, 2)));
        return 1;
    });
}

int CreateModel(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        PushPath(L, g_host->CreateModel(Wide(ArgString(L, 1, "a name")), OptParent(L, 2)));
        return 1;
    });
}

std::vector<standin::mesh::Vec3> PointList(lua_State* L, int i) {
    if (!lua_istable(L, i)) throw ScriptError("expected a table of points {{x, y, z}, ...} as argument " + std::to_string(i));
    std::vector<standin::mesh::Vec3> out;
    int n = static_cast<int>(lua_objlen(L, i));
    for (int k = 1; k <= n; ++k) {
        lua_rawgeti(L, i, k);
        int t = lua_gettop(L);
        if (!lua_istable(L, t)) throw ScriptError("point " + std::to_string(k) + " is not a table {x, y, z}");
        double xyz[3];
        for (int c = 0; c < 3; ++c) {
            lua_rawgeti(L, t, c + 1);
            xyz[c] = ArgNumber(L, lua_gettop(L), "a coordinate");
            lua_pop(L, 1);
            if (!std::isfinite(xyz[c]))
                throw ScriptError("point " + std::to_string(k) + " has a coordinate that is not a finite number");
        }
        lua_pop(L, 1);
        out.push_back({xyz[0], xyz[1], xyz[2]});
    }
    return out;
}


int CreateCurve(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string name = ArgString(L, 1, "a name");
        nurbs::Curve c(PointList(L, 2), Whole(OptNumber(L, 3, 3), "CreateCurve", "degree", 1, 3), lua_toboolean(L, 4) != 0);
        PushPath(L, g_host->CreateCurveList(Wide(name), {c}, OptParent(L, 5)));
        return 1;
    });
}

int CreateCircle(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string name = ArgString(L, 1, "a name");
        nurbs::Curve c = nurbs::Circle(Finite(OptNumber(L, 2, 1.0), "CreateCircle", "radius"),
                                       Whole(OptNumber(L, 3, 8), "CreateCircle", "segments", 4, kMostInt));
        PushPath(L, g_host->CreateCurveList(Wide(name), {c}));
        return 1;
    });
}

int CreateSpiral(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string name = ArgString(L, 1, "a name");
        nurbs::Curve c = nurbs::Spiral(Finite(OptNumber(L, 2, 1.0), "CreateSpiral", "radius"), Finite(OptNumber(L, 3, 2.0), "CreateSpiral", "height"),
                                       Finite(OptNumber(L, 4, 2.0), "CreateSpiral", "turns"));
        PushPath(L, g_host->CreateCurveList(Wide(name), {c}));
        return 1;
    });
}

int CreateSurface(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string kind = ArgString(L, 1, "a surface kind (Grid or Sphere)");
        std::string name = ArgString(L, 2, "a name");
        auto opt = [&](const char* key, double fallback) {
            double v = fallback;
            if (lua_istable(L, 3)) {
                lua_getfield(L, 3, key);
                if (!lua_isnil(L, -1)) v = ArgNumber(L, lua_gettop(L), key);
                lua_pop(L, 1);
            }
            return v;
        };
        auto size = [&](const char* key, double fallback) { return Finite(opt(key, fallback), "CreateSurface", key); };
        auto spans = [&](const char* key, double fallback) { return Whole(opt(key, fallback), "CreateSurface", key, 1, kMostInt); };
        std::vector<nurbs::Surface> s;
        if (kind == "Grid") s.push_back(nurbs::GridSurface(size("sizex", 8), size("sizez", 8), spans("spansu", 4), spans("spansv", 4)));
        else if (kind == "Sphere") s.push_back(nurbs::SphereSurface(size("radius", 4), spans("spansu", 8), spans("spansv", 6)));
        else throw ScriptError("unknown surface '" + kind + "' (Grid or Sphere)");
        PushPath(L, g_host->CreateSurfaceMesh(Wide(name), std::move(s), OptParent(L, 4)));
        return 1;
    });
}

// SetTransform(object, {pos = {x, y, z}, rot = {x, y, z} (degrees), scl = {x, y, z}}[, frame])
int SetTransform(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        CRef obj = Lookup(ArgString(L, 1, "an object path"));
        if (!lua_istable(L, 2)) throw ScriptError("SetTransform takes {pos = {x, y, z}, rot = {...}, scl = {...}}");
        auto triple = [&](const char* key, double fallback, double out[3]) {
            out[0] = out[1] = out[2] = fallback;
            lua_getfield(L, 2, key);
            if (lua_istable(L, -1)) {
                int t = lua_gettop(L);
                for (int c = 0; c < 3; ++c) {
                    lua_rawgeti(L, t, c + 1);
                    out[c] = Finite(ArgNumber(L, lua_gettop(L), key), "SetTransform", key);
                    lua_pop(L, 1);
                }
            }
            lua_pop(L, 1);
        };
        double pos[3], rot[3], scl[3];
        triple("pos", 0.0, pos);
        triple("rot", 0.0, rot);
        triple("scl", 1.0, scl);
        const double toRadians = std::acos(-1.0) / 180.0;
        XSI::MATH::CTransformation t;
        t.SetIdentity();
        t.SetScalingFromValues(scl[0], scl[1], scl[2]);
        t.SetRotationFromXYZAnglesValues(rot[0] * toRadians, rot[1] * toRadians, rot[2] * toRadians);
        t.SetTranslationFromValues(pos[0], pos[1], pos[2]);
        std::optional<double> frame;
        if (!lua_isnoneornil(L, 3)) frame = ArgNumber(L, 3, "a frame");
        g_host->SetTransform(obj, t, frame);
        return 0;
    });
}

int SetPointPositions(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        CRef obj = Lookup(ArgString(L, 1, "an object path"));
        std::optional<double> frame;
        if (!lua_isnoneornil(L, 3)) frame = ArgNumber(L, 3, "a frame");
        g_host->SetPointPositions(obj, PointList(L, 2), frame);
        return 0;
    });
}

// A rig's deformation of a mesh's rest shape, keyed at a frame: a squash-and-stretch along an
// axis (the length times `squash`, the width divided by its square root, so the volume
// stays), then a bend of that length by `bend` degrees toward the next axis (x for a y or z
// length, y for an x length). Both act from `origin`, by default the middle of the rest shape's
// base; the bend takes the length from the origin to the far end, points beyond it follow the
// tangent and points below the origin stay straight.
struct Deformation {
    int axis = 1;
    double squash = 1.0, bendDegrees = 0.0;
    std::optional<standin::mesh::Vec3> origin;
};

std::vector<standin::mesh::Vec3> Deform(std::vector<standin::mesh::Vec3> points, const Deformation& d) {
    if (points.empty() || (d.squash == 1.0 && d.bendDegrees == 0.0)) return points;  // the rest shape, exactly
    auto at = [](standin::mesh::Vec3& p, int a) -> double& { return a == 0 ? p.x : a == 1 ? p.y : p.z; };
    const int along = d.axis, toward = d.axis == 0 ? 1 : 0, across = 3 - along - toward;
    standin::mesh::Vec3 lo = points[0], hi = points[0];
    for (auto& p : points)
        for (int a = 0; a < 3; ++a) at(lo, a) = std::min(at(lo, a), at(p, a)), at(hi, a) = std::max(at(hi, a), at(p, a));
    standin::mesh::Vec3 o = d.origin ? *d.origin
                                     : standin::mesh::Vec3{(lo.x + hi.x) / 2, (lo.y + hi.y) / 2, (lo.z + hi.z) / 2};
    if (!d.origin) at(o, along) = at(lo, along);
    const double width = 1.0 / std::sqrt(d.squash), length = (at(hi, along) - at(o, along)) * d.squash;
    const double theta = d.bendDegrees * std::acos(-1.0) / 180.0;
    for (auto& p : points) {
        double h = (at(p, along) - at(o, along)) * d.squash, u = (at(p, toward) - at(o, toward)) * width;
        const double w = (at(p, across) - at(o, across)) * width;
        if (theta != 0.0 && length > 0.0) {
            const double r = length / theta, hc = std::clamp(h, 0.0, length), phi = hc / r, beyond = h - hc;
            const double bentU = r - (r - u) * std::cos(phi) + beyond * std::sin(phi);
            h = (r - u) * std::sin(phi) + beyond * std::cos(phi);
            u = bentU;
        }
        at(p, along) = at(o, along) + h;
        at(p, toward) = at(o, toward) + u;
        at(p, across) = at(o, across) + w;
    }
    return points;
}

int KeyDeformation(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        CRef obj = Lookup(ArgString(L, 1, "an object path"));
        const double frame = ArgNumber(L, 2, "a frame");
        Deformation d;
        if (!lua_isnoneornil(L, 3)) {
            if (!lua_istable(L, 3)) throw ScriptError("KeyDeformation: the deformation must be a table {squash =, bend =, axis =, origin =}");
            lua_getfield(L, 3, "squash");
            if (!lua_isnil(L, -1)) d.squash = Finite(ArgNumber(L, lua_gettop(L), "squash"), "KeyDeformation", "squash");
            lua_getfield(L, 3, "bend");
            if (!lua_isnil(L, -1)) d.bendDegrees = Finite(ArgNumber(L, lua_gettop(L), "bend"), "KeyDeformation", "bend");
            lua_getfield(L, 3, "axis");
            if (!lua_isnil(L, -1)) {
                const std::string axis = ArgString(L, lua_gettop(L), "an axis");
                if (axis != "x" && axis != "y" && axis != "z") throw ScriptError("KeyDeformation: axis must be \"x\", \"y\" or \"z\"");
                d.axis = axis[0] - 'x';
            }
            lua_getfield(L, 3, "origin");
            if (!lua_isnil(L, -1)) {
                if (!lua_istable(L, -1)) throw ScriptError("KeyDeformation: origin must be a table {x, y, z}");
                standin::mesh::Vec3 o;
                for (int c = 0; c < 3; ++c) {
                    lua_rawgeti(L, -1 - c, c + 1);
                    (c == 0 ? o.x : c == 1 ? o.y : o.z) = Finite(ArgNumber(L, lua_gettop(L), "origin"), "KeyDeformation", "origin");
                }
                lua_pop(L, 3);
                d.origin = o;
            }
            lua_pop(L, 4);
        }
        if (!(d.squash > 0.0)) throw ScriptError("KeyDeformation: squash must be above 0");
        g_host->SetPointPositions(obj, Deform(g_host->RestPositions(obj), d), frame);
        return 0;
    });
}

int Exists(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        lua_pushboolean(L, g_host->Find(Wide(ArgString(L, 1, "a path"))).IsValid());
        return 1;
    });
}

std::vector<CRef> Paths(lua_State* L, int i) {
    std::vector<CRef> out;
    if (lua_istable(L, i)) {
        int n = static_cast<int>(lua_objlen(L, i));
        for (int k = 1; k <= n; ++k) {
            lua_rawgeti(L, i, k);
            std::string p = ArgString(L, lua_gettop(L), "a path");
            lua_pop(L, 1);
            out.push_back(Lookup(p));
        }
    } else {
        out.push_back(Lookup(ArgString(L, i, "a path")));
    }
    return out;
}

int SelectObj(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        g_host->Select(Paths(L, 1));
        return 0;
    });
}

int AddToSelection(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        for (const CRef& r : Paths(L, 1)) g_host->AddToSelection(r);
        return 0;
    });
}

int DeselectAll(lua_State* L) {
    return Safe(L, [](lua_State*) {
        g_host->ClearSelection();
        return 0;
    });
}

int GetSelection(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::vector<CRef> sel = g_host->Selection();
        lua_createtable(L, static_cast<int>(sel.size()), 0);
        for (size_t i = 0; i < sel.size(); ++i) {
            PushPath(L, sel[i]);
            lua_rawseti(L, -2, static_cast<int>(i) + 1);
        }
        return 1;
    });
}

int DeleteObj(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        for (const CRef& r : Paths(L, 1)) g_host->Delete(r);
        return 0;
    });
}

const luaL_Reg kFunctions[] = {
    {"CreatePrim", CreatePrim},
    {"ImportObj", ImportObj},
    {"CreateNull", CreateNull},
    {"CreateModel", CreateModel},
    {"CreateCurve", CreateCurve},
    {"CreateCircle", CreateCircle},
    {"CreateSpiral", CreateSpiral},
    {"CreateSurface", CreateSurface},
    {"SetTransform", SetTransform},
    {"SetPointPositions", SetPointPositions},
    {"KeyDeformation", KeyDeformation},
    {"Exists", Exists},
    {"SelectObj", SelectObj},
    {"AddToSelection", AddToSelection},
    {"DeselectAll", DeselectAll},
    {"GetSelection", GetSelection},
    {"DeleteObj", DeleteObj},
    {nullptr, nullptr},
};

}  // namespace

void RegisterSceneFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
