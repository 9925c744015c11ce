#include "script/lua_host.h"
#include "script/lua_values.h"

#include <signal.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

#include "core/numbers.h"
#include "core/text.h"
#include "io/file_out.h"
#include "nurbs/nurbs.h"
#include "render/render.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_string.h"
#include "xsi_value.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_vector3.h"
#include "xsi_x3dobject.h"

namespace standin {

namespace {

using XSI::CRef;
using XSI::CStatus;
using XSI::CValue;
using XSI::CValueArray;

Host* g_host = nullptr;

struct ScriptError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string U8(const std::wstring& s) { return XSI::Host::ToUtf8(s); }
std::wstring Wide(const std::string& s) { return XSI::Host::FromUtf8(s); }

// Runs a binding; an error of ours becomes a Lua error at the caller's line. Lua is built as
// C++: its own errors (from a metamethod, a finalizer, memory) are exceptions of its own type
// that unwind the binding's frames and must reach Lua's catch untouched, message and all, so
// only ours are caught here. Ours would otherwise reach that catch too, as an unknown error.
template <class F>
int Safe(lua_State* L, F&& f) {
    char message[1024];
    try {
        return f(L);
    } catch (const std::exception& e) {
        std::snprintf(message, sizeof message, "%s", e.what());
    }
    luaL_where(L, 1);
    lua_pushstring(L, message);
    lua_concat(L, 2);
    return lua_error(L);
}

std::string ArgString(lua_State* L, int i, const char* what) {
    if (lua_type(L, i) != LUA_TSTRING) throw ScriptError(std::string("expected ") + what + " (a string) as argument " + std::to_string(i));
    size_t n = 0;
    const char* s = lua_tolstring(L, i, &n);
    return std::string(s, n);
}

double ArgNumber(lua_State* L, int i, const char* what) {
    if (lua_type(L, i) != LUA_TNUMBER) throw ScriptError(std::string("expected ") + what + " (a number) as argument " + std::to_string(i));
    return lua_tonumber(L, i);
}

// Script numbers that become counts, indices or frames: a cast of NaN, an infinity or a value
// beyond what the host holds is undefined, so such a number stops here with the function and
// the argument named.
constexpr int32_t kMostInt = std::numeric_limits<int32_t>::max();

int32_t Whole(double v, const char* function, const char* what, int32_t lo, int32_t hi) {
    if (std::optional<int32_t> n = WholeNumber(v, lo, hi)) return *n;
    throw ScriptError(std::string(function) + ": " + what + " must be a whole number from " + std::to_string(lo) + " to " + std::to_string(hi));
}

double Finite(double v, const char* function, const char* what) {
    if (!std::isfinite(v)) throw ScriptError(std::string(function) + ": " + what + " must be a finite number");
    return v;
}

std::string OptString(lua_State* L, int i) { return lua_isnoneornil(L, i) ? std::string() : ArgString(L, i, "a name"); }

CRef Lookup(const std::string& path) {
    CRef r = g_host->Find(Wide(path));
    if (!r.IsValid()) throw ScriptError("object not found: '" + path + "'");
    return r;
}

CRef OptParent(lua_State* L, int i) { return lua_isnoneornil(L, i) ? CRef() : Lookup(ArgString(L, i, "a parent path")); }

XSI::ClusterProperty WeightMap(const std::string& path) {
    CRef r = Lookup(path);
    if (!r.IsA(XSI::siClusterPropertyID)) throw ScriptError("'" + path + "' is not a weight map");
    return XSI::ClusterProperty(r);
}

// Host values nest no deeper than this; a deeper table is almost surely one that holds itself.
constexpr int kMaxNesting = 100;

// Each nesting level takes one Lua stack slot; without room, Lua would write past its stack.
void RoomOnStack(lua_State* L) {
    if (!lua_checkstack(L, 2)) throw ScriptError("values nested too deep for the script stack");
}

CValue ToValue(lua_State* L, int i, int depth = 0) {
    switch (lua_type(L, i)) {
        case LUA_TNONE:
        case LUA_TNIL: return CValue();
        case LUA_TBOOLEAN: return CValue(lua_toboolean(L, i) != 0);
        case LUA_TNUMBER: {
            double d = lua_tonumber(L, i);
            if (std::floor(d) == d && d >= -2147483648.0 && d <= 2147483647.0) return CValue(static_cast<LONG>(d));
            return CValue(d);
        }
        case LUA_TSTRING: return CValue(XSI::CString(Wide(lua_tostring(L, i)).c_str()));
        case LUA_TTABLE: {
            if (depth >= kMaxNesting) throw ScriptError("tables nested too deep to pass to the host (a table that holds itself?)");
            RoomOnStack(L);
            CValueArray arr;
            int n = static_cast<int>(lua_objlen(L, i));
            for (int k = 1; k <= n; ++k) {
                lua_rawgeti(L, i, k);
                arr.Add(ToValue(L, lua_gettop(L), depth + 1));
                lua_pop(L, 1);
            }
            return CValue(arr);
        }
        default: throw ScriptError(std::string("cannot pass a ") + lua_typename(L, lua_type(L, i)) + " to the host");
    }
}

void PushValue(lua_State* L, const CValue& v) {
    switch (v.m_t) {
        case CValue::siEmpty: lua_pushnil(L); return;
        case CValue::siBool: lua_pushboolean(L, static_cast<bool>(v)); return;
        case CValue::siString: lua_pushstring(L, U8(v.GetAsText().GetWideString()).c_str()); return;
        case CValue::siRef: {
            CRef r = v;
            if (r.IsValid()) lua_pushstring(L, U8(r.GetAsText().GetWideString()).c_str());
            else lua_pushnil(L);
            return;
        }
        case CValue::siArray: {
            RoomOnStack(L);
            const CValueArray& arr = v;
            lua_createtable(L, arr.GetCount(), 0);
            for (LONG k = 0; k < arr.GetCount(); ++k) {
                PushValue(L, arr[k]);
                lua_rawseti(L, -2, k + 1);
            }
            return;
        }
        case CValue::siRefArray: {
            RoomOnStack(L);
            const XSI::CRefArray& arr = v;
            lua_createtable(L, arr.GetCount(), 0);
            for (LONG k = 0; k < arr.GetCount(); ++k) {
                PushValue(L, CValue(arr[k]));
                lua_rawseti(L, -2, k + 1);
            }
            return;
        }
        case CValue::siDouble: case CValue::siFloat: case CValue::siInt1: case CValue::siInt2: case CValue::siInt4:
        case CValue::siInt8: case CValue::siUInt1: case CValue::siUInt2: case CValue::siUInt4: case CValue::siUInt8:
            lua_pushnumber(L, static_cast<double>(v));
            return;
        default: lua_pushstring(L, U8(v.GetAsText().GetWideString()).c_str()); return;
    }
}

void PushPath(lua_State* L, const CRef& r) { lua_pushstring(L, U8(r.GetAsText().GetWideString()).c_str()); }

std::filesystem::path ProjectFile(const std::string& file) { return std::filesystem::path(g_host->ResolvePath(Wide(file))); }

// ---- scene

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

double OptNumber(lua_State* L, int i, double fallback) { return lua_isnoneornil(L, i) ? fallback : ArgNumber(L, i, "a number"); }

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

// ---- commands and values

int RunCommand(lua_State* L, bool raise) {
    std::string name = ArgString(L, 1, "a command name");
    if (!g_host->HasCommand(Wide(name))) throw ScriptError("unknown command '" + name + "'");
    CValueArray args;
    if (!lua_isnoneornil(L, 2)) {
        if (!lua_istable(L, 2)) throw ScriptError("command arguments go in a table: ExecuteCommand(name, {...})");
        int n = static_cast<int>(lua_objlen(L, 2));
        for (int k = 1; k <= n; ++k) {
            lua_rawgeti(L, 2, k);
            args.Add(ToValue(L, lua_gettop(L)));
            lua_pop(L, 1);
        }
    }
    CValue ret;
    CStatus st = g_host->ExecuteCommand(Wide(name), args, ret);
    if (raise) {
        if (!st.Succeeded()) throw ScriptError(name + " failed: " + U8(st.GetDescription().GetWideString()));
        PushValue(L, ret);
        return 1;
    }
    lua_pushnumber(L, static_cast<double>(static_cast<uint32_t>(st.GetCode())));
    PushValue(L, ret);
    return 2;
}

int ExecuteCommand(lua_State* L) {
    return Safe(L, [](lua_State* L) { return RunCommand(L, true); });
}

int ExecuteCommandStatus(lua_State* L) {
    return Safe(L, [](lua_State* L) { return RunCommand(L, false); });
}

int GetValue(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "a parameter path");
        if (!g_host->Find(Wide(path)).IsValid()) throw ScriptError("object not found: '" + path + "'");
        CValue v;
        CStatus st = g_host->GetValue(Wide(path), v);
        if (!st.Succeeded()) throw ScriptError("cannot read '" + path + "': " + U8(st.GetDescription().GetWideString()));
        PushValue(L, v);
        return 1;
    });
}

// NaN reads "nan" or "-nan" by the sign bit 0/0 happens to leave; in a message it is just NaN.
bool IsNaN(const CValue& v) { return v.m_t == CValue::siDouble && std::isnan(static_cast<double>(v)); }

int SetValue(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "a parameter path");
        CValue v = ToValue(L, 2);
        if (!g_host->Find(Wide(path)).IsValid()) throw ScriptError("object not found: '" + path + "'");
        if (!g_host->SetValue(Wide(path), v).Succeeded())
            throw ScriptError("cannot set '" + path + "' to " + (IsNaN(v) ? std::string("NaN") : U8(v.GetAsText().GetWideString())));
        return 0;
    });
}

int InspectObj(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        CRef r = Lookup(ArgString(L, 1, "a property path"));
        bool modal = lua_toboolean(L, 2) != 0;
        bool cancelled = false;
        CStatus st = g_host->InspectObj(r, modal ? XSI::siModal : XSI::siRecycle, cancelled);
        if (!st.Succeeded()) throw ScriptError("InspectObj failed: " + U8(st.GetDescription().GetWideString()));
        lua_pushboolean(L, cancelled);
        return 1;
    });
}

int PressButton(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        CRef r = Lookup(ArgString(L, 1, "a property path"));
        std::string button = ArgString(L, 2, "a button name");
        CStatus st = g_host->PressButton(r, Wide(button));
        if (!st.Succeeded()) throw ScriptError("the button " + button + " failed: " + U8(st.GetDescription().GetWideString()));
        return 0;
    });
}

int DescribePage(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        lua_pushstring(L, U8(g_host->DescribePage(Lookup(ArgString(L, 1, "a property path")))).c_str());
        return 1;
    });
}

int QueuePick(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        PickAnswer a;
        if (lua_isnoneornil(L, 1)) {
            a.button = 0;
        } else if (lua_istable(L, 1)) {
            lua_getfield(L, 1, "path");
            a.path = lua_isnil(L, -1) ? L"" : Wide(ArgString(L, lua_gettop(L), "a path"));
            lua_pop(L, 1);
            lua_getfield(L, 1, "button");
            a.button = lua_isnil(L, -1) ? (a.path.empty() ? 0 : 1) : Whole(ArgNumber(L, lua_gettop(L), "a button"), "QueuePick", "button", 0, 2);
            lua_pop(L, 1);
            lua_getfield(L, 1, "modifier");
            a.modifier = lua_isnil(L, -1) ? 0 : Whole(ArgNumber(L, lua_gettop(L), "a modifier"), "QueuePick", "modifier", 0, 3);
            lua_pop(L, 1);
        } else {
            a.path = Wide(ArgString(L, 1, "a path"));
        }
        g_host->PickQueue().push_back(a);
        return 0;
    });
}

int QueuePageAnswer(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        PageAnswer a;
        if (lua_istable(L, 1)) {
            lua_getfield(L, 1, "cancel");
            a.cancel = lua_toboolean(L, -1) != 0;
            lua_pop(L, 1);
            lua_getfield(L, 1, "values");
            if (lua_istable(L, -1)) {
                int t = lua_gettop(L);
                lua_pushnil(L);
                while (lua_next(L, t) != 0) {
                    a.values.emplace_back(Wide(ArgString(L, lua_gettop(L) - 1, "a parameter name")), ToValue(L, lua_gettop(L)));
                    lua_pop(L, 1);
                }
            }
            lua_pop(L, 1);
        }
        g_host->PageQueue().push_back(a);
        return 0;
    });
}

int SetFrame(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        g_host->SetFrame(Finite(ArgNumber(L, 1, "a frame"), "SetFrame", "the frame"));
        return 0;
    });
}

int GetFrame(lua_State* L) {
    lua_pushnumber(L, g_host->Frame());
    return 1;
}

// ---- weight maps

int GetWeights(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::CDoubleArray w = WeightMap(ArgString(L, 1, "a weight map path")).GetElements().GetArray();
        lua_createtable(L, w.GetCount(), 0);
        for (LONG i = 0; i < w.GetCount(); ++i) {
            lua_pushnumber(L, w[i]);
            lua_rawseti(L, -2, i + 1);
        }
        return 1;
    });
}

int SetWeights(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "a weight map path");
        XSI::ClusterProperty wm = WeightMap(path);
        if (!lua_istable(L, 2)) throw ScriptError("SetWeights takes a table of weights");
        XSI::CClusterPropertyElementArray elements = wm.GetElements();
        LONG n = static_cast<LONG>(lua_objlen(L, 2));
        if (n != elements.GetCount())
            throw ScriptError("'" + path + "' holds " + std::to_string(elements.GetCount()) + " weights, " + std::to_string(n) + " given");
        XSI::CDoubleArray w(n);
        for (LONG i = 0; i < n; ++i) {
            lua_rawgeti(L, 2, i + 1);
            w[i] = ArgNumber(L, lua_gettop(L), "a weight");
            lua_pop(L, 1);
        }
        elements.PutArray(w);
        return 0;
    });
}

XSI::CLongArray Elements(const XSI::ClusterProperty& wm) { return XSI::Cluster(wm.GetParent()).GetElements().GetArray(); }

int GetElements(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::CLongArray e = Elements(WeightMap(ArgString(L, 1, "a weight map path")));
        lua_createtable(L, e.GetCount(), 0);
        for (LONG i = 0; i < e.GetCount(); ++i) {
            lua_pushnumber(L, e[i]);
            lua_rawseti(L, -2, i + 1);
        }
        return 1;
    });
}

int WriteWeightsCSV(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        XSI::ClusterProperty wm = WeightMap(ArgString(L, 1, "a weight map path"));
        std::filesystem::path file = ProjectFile(ArgString(L, 2, "a file name"));
        XSI::CDoubleArray w = wm.GetElements().GetArray();
        XSI::CLongArray e = Elements(wm);
        std::string text = "element,point,weight\n";
        char line[96];
        for (LONG i = 0; i < w.GetCount(); ++i) {
            std::snprintf(line, sizeof line, "%d,%d,%.17g\n", i, i < e.GetCount() ? e[i] : -1, w[i]);
            text += line;
        }
        io::WriteFileWhole(file, text);
        return 0;
    });
}

int GetPointPositions(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "an object path");
        XSI::X3DObject obj(Lookup(path));
        XSI::Geometry geom = obj.GetActivePrimitive().GetGeometry();
        if (!geom.IsValid()) throw ScriptError("'" + path + "' is not an object with geometry");
        XSI::MATH::CVector3Array pos = geom.GetPoints().GetPositionArray();
        lua_createtable(L, pos.GetCount(), 0);
        for (LONG i = 0; i < pos.GetCount(); ++i) {
            lua_createtable(L, 3, 0);
            double xyz[3] = {pos[i].GetX(), pos[i].GetY(), pos[i].GetZ()};
            for (int k = 0; k < 3; ++k) {
                lua_pushnumber(L, xyz[k]);
                lua_rawseti(L, -2, k + 1);
            }
            lua_rawseti(L, -2, i + 1);
        }
        return 1;
    });
}

// ---- preview pictures

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
    return dynamic_cast<PolyMeshNode*>(g) || dynamic_cast<CurveListNode*>(g) || dynamic_cast<SurfaceMeshNode*>(g);
}

// What an object shows in a preview, in world space at `frame`: a polygon mesh as it is (with
// `values` per point, if any), curves as line strips, surfaces as grids of quads.
render::Drawable ObjectDrawable(const X3DNode& x, double frame, std::vector<double> values = {}) {
    GeometryNode* g = x.primitive ? x.primitive->geometry.get() : nullptr;
    render::Drawable d;
    if (auto* m = dynamic_cast<PolyMeshNode*>(g)) {
        d = render::MeshDrawable(m->mesh, std::move(values));
    } else if (auto* c = dynamic_cast<CurveListNode*>(g)) {
        for (const nurbs::Curve& curve : c->curves) d.polylines.push_back(CurvePolyline(curve));
    } else if (auto* s = dynamic_cast<SurfaceMeshNode*>(g)) {
        for (const nurbs::Surface& surface : s->surfaces) AddSurfaceGrid(surface, d);
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
    static const std::set<std::string> known = {"weightmap", "objects", "camera", "range", "title", "width", "height"};
    lua_pushnil(L);
    while (lua_next(L, t) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) != LUA_TSTRING || !known.contains(lua_tostring(L, -1))) {
            std::string key = lua_type(L, -1) == LUA_TSTRING ? lua_tostring(L, -1) : std::string("a ") + luaL_typename(L, -1) + " key";
            lua_pop(L, 1);
            throw ScriptError("RenderPreview: unknown option '" + key + "' (weightmap, objects, camera, range, title, width, height)");
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
                    throw ScriptError("'" + path + "' is not a polygon mesh, curve or surface object");
                objects.push_back(x);
            }
        } else {
            AllObjects(g_host->Root(), objects);
        }
        // The map's mesh is always in the picture, once, coloured.
        std::erase(objects, map.object);
        render::Scene scene;
        if (map.object) scene.drawables.push_back(ObjectDrawable(*map.object, frame, std::move(map.values)));
        for (const X3DNode* x : objects) scene.drawables.push_back(ObjectDrawable(*x, frame));

        render::WritePng(render::Render(scene, request.render), file.string());
        lua_pushstring(L, file.string().c_str());
        return 1;
    });
}

// ---- log and progress

int LogMessage(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string text = ArgString(L, 1, "a message");
        int severity = lua_isnoneornil(L, 2) ? XSI::siInfoMsg
                                             : Whole(ArgNumber(L, 2, "a severity"), "LogMessage", "severity", std::numeric_limits<int32_t>::min(), kMostInt);
        g_host->GetLog().Add(Wide(text), severity);
        return 0;
    });
}

int LogMessages(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        size_t from = lua_isnoneornil(L, 1) ? 0 : static_cast<size_t>(Whole(ArgNumber(L, 1, "an index"), "LogMessages", "the first index", 1, kMostInt) - 1);
        const auto& entries = g_host->GetLog().entries();
        lua_createtable(L, 0, 0);
        int k = 1;
        for (size_t i = from; i < entries.size(); ++i) {
            lua_createtable(L, 0, 2);
            lua_pushnumber(L, entries[i].severity);
            lua_setfield(L, -2, "severity");
            lua_pushstring(L, U8(entries[i].text).c_str());
            lua_setfield(L, -2, "text");
            lua_rawseti(L, -2, k++);
        }
        return 1;
    });
}

int LogCount(lua_State* L) {
    lua_pushnumber(L, static_cast<double>(g_host->GetLog().Count()));
    return 1;
}

int CancelProgressAfter(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        g_host->Progress().CancelAfter(Whole(ArgNumber(L, 1, "a count"), "CancelProgressAfter", "the count", -1, kMostInt));
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
    {"Exists", Exists},
    {"SelectObj", SelectObj},
    {"AddToSelection", AddToSelection},
    {"DeselectAll", DeselectAll},
    {"GetSelection", GetSelection},
    {"DeleteObj", DeleteObj},
    {"ExecuteCommand", ExecuteCommand},
    {"ExecuteCommandStatus", ExecuteCommandStatus},
    {"GetValue", GetValue},
    {"SetValue", SetValue},
    {"InspectObj", InspectObj},
    {"PressButton", PressButton},
    {"DescribePage", DescribePage},
    {"QueuePick", QueuePick},
    {"QueuePageAnswer", QueuePageAnswer},
    {"SetFrame", SetFrame},
    {"GetFrame", GetFrame},
    {"GetWeights", GetWeights},
    {"SetWeights", SetWeights},
    {"GetElements", GetElements},
    {"WriteWeightsCSV", WriteWeightsCSV},
    {"GetPointPositions", GetPointPositions},
    {"RenderPreview", RenderPreview},
    {"LogMessage", LogMessage},
    {"LogMessages", LogMessages},
    {"LogCount", LogCount},
    {"CancelProgressAfter", CancelProgressAfter},
    {nullptr, nullptr},
};

// Ctrl-C while a script runs stops it the way the standalone interpreter does: the handler
// only sets a hook (the one thing Lua allows from a signal handler), and the hook raises the
// error at the script's next instruction. The hook stays, so a pcall in the script cannot
// swallow the stop; the handler is reset on use, so a second Ctrl-C ends a script stuck in
// the host.
lua_State* volatile g_running = nullptr;
volatile std::sig_atomic_t g_interrupted = 0;

// Named at the line the script was on: the innermost level that is Lua code (in a hook, level
// 0 is the function running, which may be a C function being called or returning).
void StopScript(lua_State* L, lua_Debug*) {
    lua_Debug ar;
    int level = 0;
    while (lua_getstack(L, level, &ar) && lua_getinfo(L, "l", &ar) && ar.currentline <= 0) ++level;
    luaL_where(L, level);
    lua_pushliteral(L, "interrupted!");
    lua_concat(L, 2);
    lua_error(L);
}

void OnInterrupt(int) {
    g_interrupted = 1;
    if (lua_State* L = g_running) lua_sethook(L, StopScript, LUA_MASKCALL | LUA_MASKRET | LUA_MASKCOUNT, 1);
}

class InterruptibleRun {
public:
    explicit InterruptibleRun(lua_State* L) : previous_(g_running), wasInterrupted_(g_interrupted) {
        g_interrupted = 0;
        g_running = L;
        struct sigaction on = {};
        on.sa_handler = OnInterrupt;
        sigemptyset(&on.sa_mask);
        on.sa_flags = SA_RESETHAND;
        sigaction(SIGINT, &on, &old_);
    }
    ~InterruptibleRun() {
        sigaction(SIGINT, &old_, nullptr);
        g_running = previous_;
        g_interrupted = wasInterrupted_;
    }
    InterruptibleRun(const InterruptibleRun&) = delete;
    InterruptibleRun& operator=(const InterruptibleRun&) = delete;
    bool Interrupted() const { return g_interrupted != 0; }

private:
    lua_State* previous_;
    std::sig_atomic_t wasInterrupted_;
    struct sigaction old_ = {};
};

int Run(Host& host, std::ostream& err, const ScriptGlobals& globals, const std::function<int(lua_State*)>& load) {
    lua_State* L = luaL_newstate();
    if (!L) {
        err << "cannot start the script interpreter\n";
        return 1;
    }
    luaL_openlibs(L);
    for (const luaL_Reg* f = kFunctions; f->name; ++f) lua_register(L, f->name, f->func);
    for (const auto& [name, value] : globals) {
        if (const auto* text = std::get_if<std::string>(&value)) lua_pushlstring(L, text->data(), text->size());
        else lua_pushnumber(L, std::get<double>(value));
        lua_setglobal(L, name.c_str());
    }
    Host* previous = g_host;
    g_host = &host;
    int rc = load(L);
    bool interrupted = false;
    if (rc == 0) {
        InterruptibleRun run(L);
        rc = lua_pcall(L, 0, 0, 0);
        interrupted = run.Interrupted();
    }
    if (rc != 0) {
        const char* msg = lua_tostring(L, -1);
        err << (msg ? msg : "script error") << "\n";
    }
    if (interrupted) err << "script stopped by Ctrl-C\n";
    lua_close(L);
    g_host = previous;
    return interrupted ? kInterrupted : rc == 0 ? 0 : 1;
}

}  // namespace

XSI::CValue LuaToValue(lua_State* L, int index) { return ToValue(L, index); }
void LuaPushValue(lua_State* L, const XSI::CValue& value) { PushValue(L, value); }

int RunScript(Host& host, const std::filesystem::path& script, std::ostream& err, const ScriptGlobals& globals) {
    std::ifstream in(script, std::ios::binary);
    if (!in) {
        err << "cannot open script '" << script.string() << "'\n";
        return 1;
    }
    std::string code((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return RunScriptText(host, code, script.string(), err, globals);
}

int RunScriptText(Host& host, std::string_view code, std::string_view chunkName, std::ostream& err,
                  const ScriptGlobals& globals) {
    // Built in place: GCC 12 warns, wrongly, about "@" + std::string(...) at -O2.
    std::string name(1, '@');
    name.append(chunkName);
    return Run(host, err, globals, [&](lua_State* L) { return luaL_loadbuffer(L, code.data(), code.size(), name.c_str()); });
}

}  // namespace standin
