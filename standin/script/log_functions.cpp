// Scene scripts writing and reading the log, and cancelling the progress bar.

#include <limits>
#include <string>

#include "script/functions.h"

namespace standin::scripting {

namespace {

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
    {"LogMessage", LogMessage},
    {"LogMessages", LogMessages},
    {"LogCount", LogCount},
    {"CancelProgressAfter", CancelProgressAfter},
    {nullptr, nullptr},
};

}  // namespace

void RegisterLogFunctions(lua_State* L) { Register(L, kFunctions); }

}  // namespace standin::scripting
