// What every scene-script function shares: the running host, the checks on arguments, the
// wrapper that turns our errors into Lua errors, values both ways. The functions themselves
// live by area in the *_functions.cpp files beside this one, each with its registration.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
}

#include "core/numbers.h"
#include "core/text.h"
#include "scene/host.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_string.h"
#include "xsi_value.h"

namespace standin::scripting {

using XSI::CRef;
using XSI::CStatus;
using XSI::CValue;
using XSI::CValueArray;

// The host the running script drives (set by the interpreter for the length of a run).
extern Host* g_host;

// Whether Ctrl-C was pressed during the running script: for functions that loop long in the
// host, where the script's own stop comes only once they return.
bool Interrupted();

struct ScriptError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline std::string U8(const std::wstring& s) { return XSI::Host::ToUtf8(s); }

inline std::wstring Wide(const std::string& s) { return XSI::Host::FromUtf8(s); }

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

inline std::string ArgString(lua_State* L, int i, const char* what) {
    if (lua_type(L, i) != LUA_TSTRING) throw ScriptError(std::string("expected ") + what + " (a string) as argument " + std::to_string(i));
    size_t n = 0;
    const char* s = lua_tolstring(L, i, &n);
    return std::string(s, n);
}

inline double ArgNumber(lua_State* L, int i, const char* what) {
    if (lua_type(L, i) != LUA_TNUMBER) throw ScriptError(std::string("expected ") + what + " (a number) as argument " + std::to_string(i));
    return lua_tonumber(L, i);
}

// Script numbers that become counts, indices or frames: a cast of NaN, an infinity or a value
// beyond what the host holds is undefined, so such a number stops here with the function and
// the argument named.
inline constexpr int32_t kMostInt = std::numeric_limits<int32_t>::max();

inline int32_t Whole(double v, const char* function, const char* what, int32_t lo, int32_t hi) {
    if (std::optional<int32_t> n = WholeNumber(v, lo, hi)) return *n;
    throw ScriptError(std::string(function) + ": " + what + " must be a whole number from " + std::to_string(lo) + " to " + std::to_string(hi));
}

inline double Finite(double v, const char* function, const char* what) {
    if (!std::isfinite(v)) throw ScriptError(std::string(function) + ": " + what + " must be a finite number");
    return v;
}

inline std::string OptString(lua_State* L, int i) { return lua_isnoneornil(L, i) ? std::string() : ArgString(L, i, "a name"); }

inline CRef Lookup(const std::string& path) {
    CRef r = g_host->Find(Wide(path));
    if (!r.IsValid()) throw ScriptError("object not found: '" + path + "'");
    return r;
}

inline CRef OptParent(lua_State* L, int i) { return lua_isnoneornil(L, i) ? CRef() : Lookup(ArgString(L, i, "a parent path")); }

inline XSI::ClusterProperty WeightMap(const std::string& path) {
    CRef r = Lookup(path);
    if (!r.IsA(XSI::siClusterPropertyID)) throw ScriptError("'" + path + "' is not a weight map");
    return XSI::ClusterProperty(r);
}

inline double OptNumber(lua_State* L, int i, double fallback) { return lua_isnoneornil(L, i) ? fallback : ArgNumber(L, i, "a number"); }

inline void PushPath(lua_State* L, const CRef& r) { lua_pushstring(L, U8(r.GetAsText().GetWideString()).c_str()); }

inline std::filesystem::path ProjectFile(const std::string& file) { return std::filesystem::path(g_host->ResolvePath(Wide(file))); }

inline XSI::CLongArray Elements(const XSI::ClusterProperty& wm) { return XSI::Cluster(wm.GetParent()).GetElements().GetArray(); }

// Values between Lua and the host (value_functions.cpp).
CValue ToValue(lua_State* L, int i, int depth = 0);
void PushValue(lua_State* L, const CValue& v);

// Each area's functions, made globals of a fresh interpreter.
inline void Register(lua_State* L, const luaL_Reg* functions) {
    for (const luaL_Reg* f = functions; f->name; ++f) lua_register(L, f->name, f->func);
}
void RegisterSceneFunctions(lua_State* L);
void RegisterValueFunctions(lua_State* L);
void RegisterWeightMapFunctions(lua_State* L);
void RegisterPreviewFunctions(lua_State* L);
void RegisterLogFunctions(lua_State* L);
void RegisterFCurveFunctions(lua_State* L);
void RegisterObjectFunctions(lua_State* L);
void RegisterHairFunctions(lua_State* L);

}  // namespace standin::scripting
