#include "script/lua_host.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

#include "core/text.h"
#include "nurbs/nurbs.h"
#include "scene/host.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_string.h"
#include "xsi_value.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
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

// Runs a binding; a C++ error becomes a Lua error at the caller's line. The message is
// copied to a plain buffer first because lua_error does not return: nothing with a
// destructor may be alive when it is called.
template <class F>
int Safe(lua_State* L, F&& f) {
    char message[1024];
    try {
        return f(L);
    } catch (const std::exception& e) {
        std::snprintf(message, sizeof message, "%s", e.what());
    } catch (...) {
        std::snprintf(message, sizeof message, "unknown error");
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
        nurbs::Curve c(PointList(L, 2), static_cast<int>(OptNumber(L, 3, 3)), lua_toboolean(L, 4) != 0);
        PushPath(L, g_host->CreateCurveList(Wide(name), {c}, OptParent(L, 5)));
        return 1;
    });
}

int CreateCircle(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string name = ArgString(L, 1, "a name");
        PushPath(L, g_host->CreateCurveList(Wide(name), {nurbs::Circle(OptNumber(L, 2, 1.0), static_cast<int>(OptNumber(L, 3, 8)))}));
        return 1;
    });
}

int CreateSpiral(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string name = ArgString(L, 1, "a name");
        PushPath(L, g_host->CreateCurveList(Wide(name), {nurbs::Spiral(OptNumber(L, 2, 1.0), OptNumber(L, 3, 2.0), OptNumber(L, 4, 2.0))}));
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
        std::vector<nurbs::Surface> s;
        if (kind == "Grid") s.push_back(nurbs::GridSurface(opt("sizex", 8), opt("sizez", 8), static_cast<int>(opt("spansu", 4)), static_cast<int>(opt("spansv", 4))));
        else if (kind == "Sphere") s.push_back(nurbs::SphereSurface(opt("radius", 4), static_cast<int>(opt("spansu", 8)), static_cast<int>(opt("spansv", 6))));
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
                    out[c] = ArgNumber(L, lua_gettop(L), key);
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

int SetValue(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string path = ArgString(L, 1, "a parameter path");
        CValue v = ToValue(L, 2);
        if (!g_host->Find(Wide(path)).IsValid()) throw ScriptError("object not found: '" + path + "'");
        if (!g_host->SetValue(Wide(path), v).Succeeded())
            throw ScriptError("cannot set '" + path + "' to " + U8(v.GetAsText().GetWideString()));
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
            a.button = lua_isnil(L, -1) ? (a.path.empty() ? 0 : 1) : static_cast<LONG>(lua_tonumber(L, -1));
            lua_pop(L, 1);
            lua_getfield(L, 1, "modifier");
            a.modifier = lua_isnil(L, -1) ? 0 : static_cast<LONG>(lua_tonumber(L, -1));
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
        g_host->SetFrame(ArgNumber(L, 1, "a frame"));
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
        if (file.has_parent_path()) std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file);
        if (!out) throw ScriptError("cannot write '" + file.string() + "'");
        XSI::CDoubleArray w = wm.GetElements().GetArray();
        XSI::CLongArray e = Elements(wm);
        out << "element,point,weight\n";
        char line[96];
        for (LONG i = 0; i < w.GetCount(); ++i) {
            std::snprintf(line, sizeof line, "%d,%d,%.17g\n", i, i < e.GetCount() ? e[i] : -1, w[i]);
            out << line;
        }
        if (!out) throw ScriptError("cannot write '" + file.string() + "'");
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

// ---- log and progress

int LogMessage(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        std::string text = ArgString(L, 1, "a message");
        int severity = lua_isnoneornil(L, 2) ? XSI::siInfoMsg : static_cast<int>(ArgNumber(L, 2, "a severity"));
        g_host->GetLog().Add(Wide(text), severity);
        return 0;
    });
}

int LogMessages(lua_State* L) {
    return Safe(L, [](lua_State* L) {
        size_t from = lua_isnoneornil(L, 1) ? 0 : static_cast<size_t>(std::max(0.0, ArgNumber(L, 1, "an index") - 1));
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
        g_host->Progress().CancelAfter(static_cast<int>(ArgNumber(L, 1, "a count")));
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
    {"LogMessage", LogMessage},
    {"LogMessages", LogMessages},
    {"LogCount", LogCount},
    {"CancelProgressAfter", CancelProgressAfter},
    {nullptr, nullptr},
};

int Run(Host& host, std::ostream& err, const std::function<int(lua_State*)>& load) {
    lua_State* L = luaL_newstate();
    if (!L) {
        err << "cannot start the script interpreter\n";
        return 1;
    }
    luaL_openlibs(L);
    for (const luaL_Reg* f = kFunctions; f->name; ++f) lua_register(L, f->name, f->func);
    Host* previous = g_host;
    g_host = &host;
    int rc = load(L);
    if (rc == 0) rc = lua_pcall(L, 0, 0, 0);
    if (rc != 0) {
        const char* msg = lua_tostring(L, -1);
        err << (msg ? msg : "script error") << "\n";
    }
    lua_close(L);
    g_host = previous;
    return rc == 0 ? 0 : 1;
}

}  // namespace

int RunScript(Host& host, const std::filesystem::path& script, std::ostream& err) {
    std::ifstream in(script, std::ios::binary);
    if (!in) {
        err << "cannot open script '" << script.string() << "'\n";
        return 1;
    }
    std::string code((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return RunScriptText(host, code, script.string(), err);
}

int RunScriptText(Host& host, std::string_view code, std::string_view chunkName, std::ostream& err) {
    // Built in place: GCC 12 warns, wrongly, about "@" + std::string(...) at -O2.
    std::string name(1, '@');
    name.append(chunkName);
    return Run(host, err, [&](lua_State* L) { return luaL_loadbuffer(L, code.data(), code.size(), name.c_str()); });
}

}  // namespace standin
