#include "script/lua_host.h"

#include <signal.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <string>

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

#include "scene/host.h"
#include "script/functions.h"

namespace standin {

namespace scripting {

Host* g_host = nullptr;

}  // namespace scripting

namespace {

using scripting::g_host;

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
    scripting::RegisterSceneFunctions(L);
    scripting::RegisterValueFunctions(L);
    scripting::RegisterWeightMapFunctions(L);
    scripting::RegisterPreviewFunctions(L);
    scripting::RegisterLogFunctions(L);
    scripting::RegisterFCurveFunctions(L);
    scripting::RegisterObjectFunctions(L);
    scripting::RegisterHairFunctions(L);
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

bool scripting::Interrupted() { return g_interrupted != 0; }

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
