#include "expression/expression.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

#include "common/host_rand.h"

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}

namespace orbelin::expression {

Needs Detect(std::wstring_view expression) {
    Needs needs;
    for (wchar_t c : expression) {
        if (c == L'x' || c == L'y' || c == L'z') needs.positions = true;
        if (c == L'r') needs.random = true;
    }
    return needs;
}

std::wstring AssembleChunk(std::wstring_view helpers, std::wstring_view expression, size_t connexionCount) {
    std::wstring chunk;
    chunk.reserve(helpers.size() + expression.size() + 64 + 16 * connexionCount);
    chunk.append(helpers);
    chunk.append(L"\n");
    chunk.append(L"function f (w, a, b, r, x, y, z");
    for (size_t i = 0; i < connexionCount; ++i) {
        const std::wstring number = std::to_wstring(i);
        chunk.append(L", v").append(number).append(L", w").append(number);
    }
    chunk.append(L")\n");
    chunk.append(L"\treturn (");
    chunk.append(expression);
    chunk.append(L")\n");
    chunk.append(L"end\n");
    return chunk;
}

ChunkBuffer ConvertChunk(std::wstring_view chunk) {
    ChunkBuffer out;
    const std::wstring text(chunk);  // null-terminated
    size_t n = std::wcstombs(out.bytes.data(), text.c_str(), kChunkBytes);
    if (n == static_cast<size_t>(-1)) n = strnlen(out.bytes.data(), kChunkBytes);
    out.converted = n;
    out.length = std::min(chunk.size(), n);
    return out;
}

std::wstring ConvertMessage(const char* text) {
    if (!text) return {};
    wchar_t buffer[kMessageChars + 1] = {};
    size_t n = std::mbstowcs(buffer, text, kMessageChars);
    if (n == static_cast<size_t>(-1)) n = wcsnlen(buffer, kMessageChars);
    return std::wstring(buffer, std::min(n, kMessageChars));
}

namespace {

// ---- The state: memory limit and panic -------------------------------------------------------

struct Memory {
    size_t used = 0;
    size_t limit = 0;  // 0: none
};

void* Allocate(void* ud, void* ptr, size_t osize, size_t nsize) {
    auto* memory = static_cast<Memory*>(ud);
    if (nsize == 0) {
        std::free(ptr);
        memory->used -= osize;
        return nullptr;
    }
    if (memory->limit && nsize > osize && memory->used - osize + nsize > memory->limit) return nullptr;
    void* block = std::realloc(ptr, nsize);
    if (block) memory->used = memory->used - osize + nsize;
    return block;
}

// Reached only by an error outside every protected call, which the steps below avoid; Lua's
// default would end the process.
struct Panic {};
int ThrowOnPanic(lua_State*) { throw Panic{}; }

struct State {
    Memory memory;
    lua_State* L = nullptr;
    explicit State(size_t limit) {
        memory.limit = limit;
        L = lua_newstate(Allocate, &memory);
        if (L) lua_atpanic(L, ThrowOnPanic);
    }
    ~State() {
        if (L) lua_close(L);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
};

// ---- The runaway guard ---------------------------------------------------------------------------

struct Stop {};  // thrown through the interpreter by the hook: not a Lua error

struct Guard {
    lua_State* main = nullptr;
    uint32_t interval = 0;
    uint64_t callFiresAllowed = 0;  // a call stops at fire callFiresAllowed + 1
    uint64_t callFires = 0;
    bool counted = false;    // the count was restarted when the call began (else carried over)
    bool inLoop = false;
    uint64_t loopFiresAllowed = 0;
    uint64_t loopFires = 0;
    bool tripped = false;    // the current call was stopped
    bool recordWhere = false;
    std::string where;       // "[string "Expression"]:<line>: " of the stop
};

thread_local Guard* t_guard = nullptr;

void Hook(lua_State* L, lua_Debug*);

// Before a call: its budget, and the count restarted.
void Arm(lua_State* L, Guard& g, uint64_t budget, bool recordWhere) {
    if (!g.interval) return;
    g.callFiresAllowed = budget / g.interval;
    g.callFires = 0;
    g.tripped = false;
    g.counted = true;
    g.recordWhere = recordWhere;
    lua_sethook(L, Hook, LUA_MASKCOUNT, static_cast<int>(g.interval));
}

// Before a point's call. The count restarts only when the last call saw the hook; otherwise it
// carries over (no call into Lua for the common point that runs a few instructions), so the
// first hook of a call may come before it has run a whole interval: a call that was not
// restarted gets one hook more, which keeps its budget and the "first hook" after the loop's
// budget at whole intervals of its own.
inline void ArmPoint(lua_State* L, Guard& g, uint64_t budget) {
    if (g.callFires || g.tripped) {
        Arm(L, g, budget, false);
        return;
    }
    g.callFiresAllowed = budget / g.interval;
    g.counted = false;
}

void Hook(lua_State* L, lua_Debug*) {
    Guard* g = t_guard;
    if (!g) return;
    if (!g->tripped) {
        ++g->callFires;
        const uint64_t own = g->counted ? g->callFires : g->callFires - 1;  // whole intervals of this call
        bool stop = own > g->callFiresAllowed;
        if (g->inLoop && ++g->loopFires > g->loopFiresAllowed && own >= 1) stop = true;
        if (!stop) return;
        g->tripped = true;
        if (g->recordWhere) {
            // The innermost level running Lua code (level 0 may be a C function).
            lua_Debug ar;
            g->where.clear();
            for (int level = 0; lua_getstack(L, level, &ar); ++level) {
                if (lua_getinfo(L, "Sl", &ar) && ar.currentline > 0) {
                    g->where = std::string(ar.short_src) + ":" + std::to_string(ar.currentline) + ": ";
                    break;
                }
            }
        }
        // From now on every instruction stops, on this thread and on the main one, so that a
        // pcall of the formula's cannot carry on.
        lua_sethook(L, Hook, LUA_MASKCOUNT, 1);
        if (L != g->main) lua_sethook(g->main, Hook, LUA_MASKCOUNT, 1);
    }
    throw Stop{};
}

struct GuardScope {
    Guard* previous;
    explicit GuardScope(Guard* g) : previous(t_guard) { t_guard = g; }
    ~GuardScope() { t_guard = previous; }
    GuardScope(const GuardScope&) = delete;
    GuardScope& operator=(const GuardScope&) = delete;
};

// ---- Messages ------------------------------------------------------------------------------------

void Log(Result& result, std::wstring text) { result.messages.push_back({kSeverityInfo, std::move(text)}); }

// The text of the value on top, without allocating in the state: a string as it is, a number as
// Lua would print it, anything else nothing.
std::wstring TopMessage(lua_State* L) {
    if (lua_gettop(L) < 1) return {};
    if (lua_type(L, -1) == LUA_TSTRING) return ConvertMessage(lua_tostring(L, -1));
    if (lua_type(L, -1) == LUA_TNUMBER) {
        char text[64];
        std::snprintf(text, sizeof text, LUA_NUMBER_FMT, lua_tonumber(L, -1));
        return ConvertMessage(text);
    }
    return ConvertMessage(nullptr);
}

void RunFailureReport(Result& result, lua_State* L, int status, const Guard& guard, uint64_t budget) {
    std::wstring message;
    if (guard.tripped) {
        status = LUA_ERRRUN;
        result.outOfBudget = true;
        message = ConvertMessage(
            (guard.where + "the formula ran out of its budget of " + std::to_string(budget) + " instructions").c_str());
    } else {
        message = TopMessage(L);
    }
    result.luaStatus = status;
    Log(result, L"Error in executing expression : ");
    if (status == LUA_ERRRUN) Log(result, L"Script Runtime Error");
    else if (status == LUA_ERRMEM) Log(result, L"Script Memory Error");
    else if (status == LUA_ERRERR) Log(result, L"Script Error Handling Error");
    Log(result, L"Lua Error Message : " + message);
}

// ---- Steps run inside lua_cpcall -----------------------------------------------------------------

int OpenLibraries(lua_State* L) {
    static const struct {
        const char* name;
        lua_CFunction open;
    } kLibraries[] = {{"", luaopen_base},      {LUA_TABLIBNAME, luaopen_table}, {LUA_IOLIBNAME, luaopen_io},
                      {LUA_STRLIBNAME, luaopen_string}, {LUA_MATHLIBNAME, luaopen_math},
                      {LUA_DBLIBNAME, luaopen_debug},   {LUA_LOADLIBNAME, luaopen_package}};
    for (const auto& library : kLibraries) {
        lua_pushcfunction(L, library.open);
        lua_pushstring(L, library.name);
        lua_call(L, 1, 0);
        lua_settop(L, 0);
    }
    return 0;
}

struct Run {
    const Inputs* in;
    const Options* options;
    Result* result;
    Guard* guard;
    Needs needs;
    double* pointWeights;
    std::vector<const double*> connexionWeights;  // null: inactive (w<i> = 0)
    // outcome of the trial call
    bool trialFailed = false;
};

inline void PushArguments(lua_State* L, double w, double a, double b, double r, double x, double y, double z) {
    lua_pushnumber(L, w);
    lua_pushnumber(L, a);
    lua_pushnumber(L, b);
    lua_pushnumber(L, r);
    lua_pushnumber(L, x);
    lua_pushnumber(L, y);
    lua_pushnumber(L, z);
}

// The trial call, then every point. Runs inside lua_cpcall: an error raised by the API calls
// here (none is expected once the stack is grown) fails this step instead of reaching panic.
int TrialAndPoints(lua_State* L) {
    Run& run = *static_cast<Run*>(lua_touserdata(L, 1));
    lua_settop(L, 0);
    const Inputs& in = *run.in;
    const Options& options = *run.options;
    Result& result = *run.result;
    Guard& guard = *run.guard;
    const size_t n = in.connexions.size();
    const int nargs = static_cast<int>(7 + 2 * n);
    luaL_checkstack(L, nargs + 4, "expression arguments");

    // Trial: w = 1, r = x = y = z = 0, every connexion weight 0.
    lua_getfield(L, LUA_GLOBALSINDEX, "f");
    PushArguments(L, 1.0, in.a, in.b, 0.0, 0.0, 0.0, 0.0);
    for (size_t i = 0; i < n; ++i) {
        lua_pushnumber(L, in.connexions[i].factor);
        lua_pushnumber(L, 0.0);
    }
    Arm(L, guard, options.trialBudget, true);
    const int status = lua_pcall(L, nargs, 1, 0);
    if (status != 0) {
        RunFailureReport(result, L, status, guard, options.trialBudget);
        result.status = Status::TrialFailure;
        run.trialFailed = true;
        return 0;
    }
    if (!lua_isnumber(L, -1)) {
        Log(result, L"Expression must return a number!");
        result.status = Status::NotANumber;
        run.trialFailed = true;
        return 0;
    }
    lua_settop(L, -2);

    // Every point.
    lua_getfield(L, LUA_GLOBALSINDEX, "f");
    const int fSlot = lua_gettop(L);
    HostSrand(static_cast<uint32_t>(in.seed));
    double maxSeen = -10000.0, minSeen = 10000.0;
    const size_t count = in.clusterIndices.size();
    const double* positions = in.positions.data();
    // Points past the positions given (not the binding's case) read as the origin.
    const size_t positioned = in.positions.size() / 3;
    const std::array<double, 16>& m = in.transform;
    const bool guarded = guard.interval != 0;
    guard.inLoop = true;
    guard.loopFires = 0;
    guard.callFires = 1;  // the first point restarts the count
    guard.loopFiresAllowed = guarded ? options.loopBudget / guard.interval : 0;
    const double lo = in.postMin, hi = in.postMax;
    const int post = in.postProcess;
    double* pw = run.pointWeights;
    for (size_t k = 0; k < count; ++k) {
        const int32_t p = in.clusterIndices[k];
        if (p < 0 || static_cast<size_t>(p) >= in.pointCount) continue;
        const size_t pi = static_cast<size_t>(p);
        const double w = pw[pi];
        double r = 0.0, x = 0.0, y = 0.0, z = 0.0;
        if (run.needs.random) r = HostRand() / 32767.0;
        if (run.needs.positions) {
            double px = 0.0, py = 0.0, pz = 0.0;
            if (pi < positioned) px = positions[3 * pi], py = positions[3 * pi + 1], pz = positions[3 * pi + 2];
            x = px * m[0] + py * m[4] + pz * m[8] + m[12];
            y = px * m[1] + py * m[5] + pz * m[9] + m[13];
            z = px * m[2] + py * m[6] + pz * m[10] + m[14];
        }
        if (guarded) ArmPoint(L, guard, options.pointBudget);
        lua_pushvalue(L, fSlot);
        PushArguments(L, w, in.a, in.b, r, x, y, z);
        for (size_t i = 0; i < n; ++i) {
            lua_pushnumber(L, in.connexions[i].factor);
            lua_pushnumber(L, run.connexionWeights[i] ? run.connexionWeights[i][pi] : 0.0);
        }
        lua_pcall(L, nargs, 1, 0);
        const double res = lua_tonumber(L, -1);
        lua_settop(L, -2);
        if (guarded && guard.tripped) ++result.pointsOutOfBudget;
        double value = res;
        if (post == Clamp) {
            const double mm = hi > res ? res : hi;
            value = mm > lo ? mm : lo;
        } else if (post == ChangeRange) {
            if (res > maxSeen) maxSeen = res;
            if (res < minSeen) minSeen = res;
        }
        pw[pi] = value;
    }
    guard.inLoop = false;
    lua_settop(L, -2);  // f

    // The output, remapped in the same pass under Change Range.
    std::vector<double>& out = result.output;
    out.resize(count);
    const bool remap = post == ChangeRange && maxSeen != minSeen;
    const double scale = remap ? (hi - lo) / (maxSeen - minSeen) : 0.0;
    for (size_t k = 0; k < count; ++k) {
        const int32_t p = in.clusterIndices[k];
        double v = (p < 0 || static_cast<size_t>(p) >= in.pointCount) ? 0.0 : pw[static_cast<size_t>(p)];
        if (remap) {
            const double d = v - minSeen;
            const double term = d < 0 ? (-v) - minSeen : d;
            v = scale * term + lo;
        }
        out[k] = v;
    }
    return 0;
}

// Whether element k is on point k for every point: the scatter would copy the values as they are.
bool IsIdentity(std::span<const int32_t> indices, size_t pointCount) {
    if (indices.size() != pointCount) return false;
    for (size_t k = 0; k < pointCount; ++k)
        if (indices[k] != static_cast<int32_t>(k)) return false;
    return true;
}

void Scatter(std::vector<double>& into, size_t pointCount, std::span<const double> values,
             std::span<const int32_t> indices) {
    into.assign(pointCount, 0.0);
    const size_t count = std::min(values.size(), indices.size());
    for (size_t k = 0; k < count; ++k) {
        const int32_t p = indices[k];
        if (p >= 0 && static_cast<size_t>(p) < pointCount) into[static_cast<size_t>(p)] = values[k];
    }
}

}  // namespace

void Evaluate(const Inputs& in, const Options& options, Workspace& workspace, Result& result) {
    result.status = Status::Ok;
    result.messages.clear();
    result.pointsOutOfBudget = 0;
    result.luaStatus = 0;
    result.outOfBudget = false;

    const Needs needs = Detect(in.expression);
    result.needs = needs;
    const size_t P = in.pointCount;
    if (IsIdentity(in.clusterIndices, P) && in.weights.size() >= P)
        workspace.pointWeights.assign(in.weights.begin(), in.weights.begin() + static_cast<std::ptrdiff_t>(P));
    else
        Scatter(workspace.pointWeights, P, in.weights, in.clusterIndices);
    const size_t n = in.connexions.size();
    if (workspace.connexionWeights.size() < n) workspace.connexionWeights.resize(n);
    Run run{&in, &options, &result, nullptr, needs, workspace.pointWeights.data(), {}, false};
    run.connexionWeights.assign(n, nullptr);
    for (size_t i = 0; i < n; ++i) {
        const Connexion& c = in.connexions[i];
        if (!c.active) continue;
        if (IsIdentity(c.indices, P) && c.values.size() >= P) {
            run.connexionWeights[i] = c.values.data();  // already by point: read in place
            continue;
        }
        Scatter(workspace.connexionWeights[i], P, c.values, c.indices);
        run.connexionWeights[i] = workspace.connexionWeights[i].data();
    }

    const std::wstring text = AssembleChunk(in.helpers, in.expression, n);
    const ChunkBuffer chunk = ConvertChunk(text);

    State state(options.memoryLimit);
    lua_State* L = state.L;
    auto fail = [&](Status status) {
        result.status = status;
        result.output.clear();
    };
    Guard guard;
    guard.main = L;
    guard.interval = options.hookInterval;
    run.guard = &guard;
    GuardScope scope(&guard);
    if (!L) {
        result.luaStatus = LUA_ERRMEM;
        Log(result, L"Error in executing expression : ");
        Log(result, L"Script Memory Error");
        Log(result, L"Lua Error Message : not enough memory");
        return fail(Status::RunFailure);
    }
    try {
        int status = lua_cpcall(L, OpenLibraries, nullptr);
        if (status != 0) {
            RunFailureReport(result, L, status, guard, 0);
            return fail(Status::RunFailure);
        }
        status = luaL_loadbuffer(L, chunk.bytes.data(), chunk.length, "Expression");
        if (status != 0) {
            result.luaStatus = status;
            Log(result, L"Expression : " + std::wstring(in.expression));
            Log(result, L"Invalid Syntax of expression : " + TopMessage(L));
            return fail(Status::SyntaxFailure);
        }
        Arm(L, guard, options.chunkBudget, true);
        status = lua_pcall(L, 0, 0, 0);
        if (status != 0) {
            RunFailureReport(result, L, status, guard, options.chunkBudget);
            return fail(Status::RunFailure);
        }
        guard.tripped = false;
        status = lua_cpcall(L, TrialAndPoints, &run);
        if (status != 0) {
            // An error of the API calls themselves (memory while growing the stack, a metamethod
            // of the globals while f is fetched): reported as the trial call's failure.
            if (result.messages.empty() || !run.trialFailed) {
                result.messages.clear();
                RunFailureReport(result, L, status, guard, options.trialBudget);
            }
            return fail(Status::TrialFailure);
        }
        if (run.trialFailed) return fail(result.status);
    } catch (const Panic&) {
        result.messages.clear();
        result.luaStatus = -1;
        Log(result, L"Error in executing expression : ");
        Log(result, L"Lua Error Message : " + TopMessage(L));
        return fail(Status::RunFailure);
    }
}

Result Evaluate(const Inputs& inputs, const Options& options) {
    Workspace workspace;
    Result result;
    Evaluate(inputs, options, workspace, result);
    return result;
}

}  // namespace orbelin::expression
