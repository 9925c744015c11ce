// Scene scripts running commands, reading and setting parameters, answering pages and picks,
// moving in time; and the values that cross between Lua and the host.

#include <cmath>
#include <string>

#include "script/functions.h"
#include "script/lua_values.h"

namespace standin::scripting {

// Host values nest no deeper than this; a deeper table is almost surely one that holds itself.
constexpr int kMaxNesting = 100;

// Each nesting level takes one Lua stack slot; without room, Lua would write past its stack.
void RoomOnStack(lua_State* L) {
    if (!lua_checkstack(L, 2)) throw ScriptError("values nested too deep for the script stack");
}

CValue ToValue(lua_State* L, int i, int depth) {
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

namespace {

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

const luaL_Reg kFunctions[] = {
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
    {nullptr, nullptr},
};

}  // namespace

void RegisterValueFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting

namespace standin {

XSI::CValue LuaToValue(lua_State* L, int index) { return scripting::ToValue(L, index); }
void LuaPushValue(lua_State* L, const XSI::CValue& value) { scripting::PushValue(L, value); }

}  // namespace standin
