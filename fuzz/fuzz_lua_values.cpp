// Lua values into host values and back, from Lua snippets: each snippet runs in a sandbox (no
// io, os or file loading, bounded memory and instructions) and passes what it likes to
// convert(v), which round-trips it through the host's value conversion.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

// Both of Debian's Lua libraries, built as C or as C++, export the API with C names.
extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

#include "script/lua_values.h"

namespace {

constexpr size_t kScriptMemory = 32u << 20;
constexpr int kInstructionBudget = 200000;

// The cap applies to the snippet, not to the conversion: a conversion cut short by a Lua
// memory error would unwind past C++ frames in a Lua built as C.
struct Budget {
    size_t used = 0;
    bool capped = true;
    int instructions = 0;
};

void* Allocate(void* ud, void* ptr, size_t old, size_t size) {
    auto* budget = static_cast<Budget*>(ud);
    if (size == 0) {
        std::free(ptr);
        budget->used -= old;
        return nullptr;
    }
    if (budget->capped && size > old && budget->used + (size - old) > kScriptMemory) return nullptr;
    void* p = std::realloc(ptr, size);
    if (p) budget->used = budget->used - old + size;
    return p;
}

void CountInstructions(lua_State* L, lua_Debug*) {
    Budget* budget = nullptr;
    lua_getallocf(L, reinterpret_cast<void**>(&budget));
    budget->instructions += 1000;
    if (budget->instructions > kInstructionBudget) luaL_error(L, "instruction budget spent");
}

// Equal values, NaN equal to itself.
bool Same(const XSI::CValue& a, const XSI::CValue& b) {
    if (a.m_t != b.m_t) return false;
    if (a.m_t == XSI::CValue::siArray) {
        const XSI::CValueArray& x = a;
        const XSI::CValueArray& y = b;
        if (x.GetCount() != y.GetCount()) return false;
        for (LONG k = 0; k < x.GetCount(); ++k)
            if (!Same(x[k], y[k])) return false;
        return true;
    }
    if (a.m_t == XSI::CValue::siDouble && std::isnan(static_cast<double>(a))) return std::isnan(static_cast<double>(b));
    return a == b;
}

// convert(v) -> v as the host sees it, pushed back as scripts see it. Errors become Lua
// errors; nothing with a destructor is alive when lua_error is called.
int Convert(lua_State* L) {
    Budget* budget = nullptr;
    lua_getallocf(L, reinterpret_cast<void**>(&budget));
    char message[512];
    budget->capped = false;
    try {
        {
            XSI::CValue value = standin::LuaToValue(L, 1);
            standin::LuaPushValue(L, value);
            // A converted value converts to itself.
            XSI::CValue again = standin::LuaToValue(L, lua_gettop(L));
            if (!Same(again, value)) __builtin_trap();
        }
        budget->capped = true;
        return 1;
    } catch (const std::runtime_error& e) {
        std::snprintf(message, sizeof message, "%s", e.what());
    }
    budget->capped = true;
    lua_pushstring(L, message);
    return lua_error(L);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Budget budget;
    lua_State* L = lua_newstate(Allocate, &budget);
    if (!L) return 0;
    // Only what cannot reach outside the process.
    const lua_CFunction libraries[] = {luaopen_base, luaopen_table, luaopen_string, luaopen_math};
    for (lua_CFunction open : libraries) {
        lua_pushcfunction(L, open);
        lua_call(L, 0, 0);
    }
    for (const char* name : {"dofile", "loadfile", "load", "collectgarbage", "print"}) {
        lua_pushnil(L);
        lua_setglobal(L, name);
    }
    lua_register(L, "convert", Convert);
    lua_sethook(L, CountInstructions, LUA_MASKCOUNT, 1000);
    if (luaL_loadbuffer(L, reinterpret_cast<const char*>(data), size, "=fuzz") == 0) lua_pcall(L, 0, 0, 0);
    lua_close(L);
    return 0;
}
