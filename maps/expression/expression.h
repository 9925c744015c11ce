// The Expression Map's engine: every weight of a weight map from a Lua 5.1 formula,
// on plain arrays. No host type and no logging: an evaluation returns its status, the log lines
// the binding writes (in order, with their severities) and the output array.
//
// What the binding hands over (`Inputs`), read from the property and the ports:
// - `expression`, `helpers`: the `Expression` and `Helpers` texts as they stand.
// - `a`, `b`, `seed`, `postProcess` (0 none, 1 Clamp, 2 Change Range, any other value none),
//   `postMin`, `postMax`: `Variable_a`, `Variable_b`, `Random_Seed`, `PostProcessing`,
//   `PostProcMin`, `PostProcMax`.
// - `pointCount` and `positions`: the geometry's point count and its local positions, x y z per
//   point (3 * pointCount doubles). Positions are read only when the expression needs them
//   (`Detect`), so the binding may leave them empty otherwise.
// - `transform`: the offsets transformation as a 4 x 4 matrix of doubles, row-major, in the
//   host's row-vector convention: exactly `CTransformation::GetMatrix4()` (m[4*row + col] =
//   GetValue(row, col)) of the transformation the binding builds with
//   SetTranslationFromValues(Translation_X/Y/Z), SetRotationFromXYZAnglesValues(Rotation_X/Y/Z
//   * 0.017453292519943295) and SetScalingFromValues(Scale_X/Y/Z). A point's x, y, z are
//       x' = x*m[0] + y*m[4] + z*m[8]  + m[12]
//       y' = x*m[1] + y*m[5] + z*m[9]  + m[13]
//       z' = x*m[2] + y*m[6] + z*m[10] + m[14]
//   evaluated left to right without fused multiply-adds: the very operations of
//   `CVector3::MulByTransformation` (scaling, then rotation, then translation, all in the
//   matrix), so the values are bit for bit the host's (tests/kernels/expression_test.cpp checks
//   them against the stand-in's CTransformation). The default is the identity.
// - `clusterIndices`: the point of each element of the weight map; `weights`: the map's values,
//   one per element.
// - `connexions`: one per connected instance, in order: `Factor_<i>`, whether `Enabled_<i>` is
//   true and the connected weight map is valid (`active`), and that map's values with its own
//   cluster indices. An inactive connexion still passes its factor v<i>; its w<i> is 0.
//
// The evaluation goes step by step:
// 1. Variable detection on the expression alone: a letter x, y or z means positions, a letter r
//    means random numbers (naively: math.max needs positions, math.sqrt draws).
// 2. The point weights (the map's values scattered to their points, others 0) and one array per
//    active connexion (its values scattered through its own indices, others 0). An index outside
//    [0, pointCount) names no point: its value is not scattered, and an element of the map
//    whose index names no point is not evaluated (no draw) and outputs 0. Only the first
//    min(values, indices) elements of a map or connexion are scattered.
// 3. The chunk (`AssembleChunk`), converted by `ConvertChunk`: helpers, "\n",
//    "function f (w, a, b, r, x, y, z", ", v<i>, w<i>" per connexion, ")\n", "\treturn (",
//    expression, ")\n", "end\n"; `wcstombs` into 2048 bytes, and as its length the number of
//    wide characters, capped (the one deviation, for safety) at the bytes actually converted.
// 4. A new Lua state (one per evaluation, closed on every path), the libraries opened in the
//    order base, table, io, string, math, debug, package, each opener called through the Lua
//    API (pushed as a C function and called, as Lua 5.1 requires: luaopen_io and
//    luaopen_package replace their calling function's environment and fail when called
//    directly) with lua_settop(L, 0) after each.
// 5. luaL_loadbuffer(chunk, length, "Expression"); on failure the lines "Expression : " +
//    expression and "Invalid Syntax of expression : " + message; status SyntaxFailure.
// 6. The chunk run (lua_pcall(L, 0, 0, 0)); on failure the run-time failure report:
//    "Error in executing expression : ", then by status "Script Runtime Error" (2), "Script
//    Memory Error" (4), "Script Error Handling Error" (5) (no line for another status), then
//    "Lua Error Message : " + message; status RunFailure.
// 7. The trial call: f(1, a, b, 0, 0, 0, 0, v0, 0, v1, 0, ...). A failure gives the run-time
//    failure report (status TrialFailure); a result that is not a number (lua_isnumber false;
//    a numeric string passes) gives "Expression must return a number!" (status NotANumber).
// 8. HostSrand(seed), then each element k in order: p = clusterIndices[k], w = point weight,
//    r = HostRand() / 32767.0 when random numbers are needed (else 0), x y z = position[p]
//    transformed when positions are needed (else 0), w<i> = connexion i at p; one protected
//    call of f, its status not looked at: the result is lua_tonumber of the top value (so a
//    failing point gets 0 as a rule, or the number a numeric error message reads as), silently.
//    Clamp: m = (max > res ? res : max); value = m > min ? m : min (so min > max gives min
//    everywhere). Change Range: the value is res; the running maximum (from -10000) and minimum
//    (from 10000) take it. The value goes back to the point's weight, so a point present twice
//    is evaluated twice, the second time with the first result as w.
// 9. out[k] = point weight of clusterIndices[k]. Change Range, when maximum != minimum:
//    scale = (postMax - postMin) / (maximum - minimum); d = out - minimum; out = scale *
//    (d < 0 ? -out - minimum : d) + postMin (the negative branch negates only out, as defined).
//    The sentinels stay: results all above 10000 keep the minimum at 10000.
// Every message line has severity 8; texts from Lua are converted with `mbstowcs` into at most
// 1024 wide characters (`ConvertMessage`). A non-string error value (a table) converts to an
// empty text; a number reads as Lua prints it ("%.14g").
//
// The per-point call: f is fetched from the globals once, after the trial call, and kept in a
// stack slot (pushed with lua_pushvalue for each point instead of a global look-up); the only
// difference from a look-up per point is for a formula that reassigns the global f while the
// points are evaluated, which keeps calling the f present after the trial call.
//
// The runaway guard. A count hook (lua_sethook, LUA_MASKCOUNT) fires every `hookInterval` VM
// instructions and stops a call that has run more than its budget of instructions; the
// granularity is the interval. Budgets: the chunk run (`chunkBudget`), the trial call
// (`trialBudget`), each point (`pointBudget`) and the whole per-point loop (`loopBudget`, all
// the intervals the points run, counted at the hooks); once the loop's budget is spent, every
// remaining point stops at its first hook after it has run a whole interval of its own (a point
// that runs fewer instructions completes as usual), so even a million failing points end in
// bounded time (at most an interval each). The count restarts for the chunk, for the trial
// and for a point after one that saw the hook; between points that did not, it carries over
// (so the common point costs no call into Lua for the guard), and a hook that comes in a
// point before it has run a whole interval does not count against that point.
// A stop is not a Lua error: the hook throws a C++ exception of its own through the interpreter
// (built as C++, `catch (...)` in its protected calls), so an error handler of the formula's
// (xpcall) is not run (a handler that loops would run with hooks off), and after a stop the
// hook fires at every instruction, so a pcall in the formula cannot swallow it. A chunk or
// trial call stopped reports through the run-time failure report as status 2:
// "Script Runtime Error" and "Lua Error Message : [string "Expression"]:<line>: the formula ran
// out of its budget of <N> instructions" (`outOfBudget` is set). A point stopped gets 0
// silently, like any failing point, and is counted in `pointsOutOfBudget` (for the binding's one
// warning per update).
// Not guarded (Lua 5.1 gives no hook there): a finaliser (__gc of a `newproxy` userdata; Lua
// turns hooks off while one runs, also in lua_close) and long work inside one C function of
// the libraries (string.rep of a huge count, a pathological string.find pattern). The memory
// limit (`memoryLimit`) bounds what a formula can allocate: past it the allocation fails with
// Lua's memory error (status 4, "Script Memory Error"; for a point, 0 silently).
//
// Lua 5.1 here is 400 M instructions per second or so (a `while true do end` loop runs about
// 2.5 ns per instruction on this machine), hence the defaults below: about 5 s for the chunk
// and for the trial call, 0.1 s per point, 30 s for the whole per-point loop.
//
// A Lua error raised outside the protected calls (a memory error while opening the libraries,
// a metamethod of the globals raising while f is fetched) never reaches Lua's panic (which
// would end the process): the steps run inside lua_cpcall, and such an error is reported with
// the run-time failure report of the step (RunFailure for the libraries, TrialFailure after the
// chunk run).
//
// Security: the formula has io, debug and package (as defined): it can read and write files and
// load native code. A scene with formulas is trusted like a script.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orbelin::expression {

inline constexpr size_t kChunkBytes = 2048;     // wcstombs limit of the chunk
inline constexpr size_t kMessageChars = 1024;   // mbstowcs limit of a message from Lua
inline constexpr int kSeverityInfo = 8;         // every line of the engine
inline constexpr int kSeverityWarning = 4;
inline constexpr int kSeverityError = 2;

// The defaults of the property: "w", and the helper text, each line ended by CR LF,
// one more CR LF at the end.
inline constexpr std::wstring_view kDefaultExpression = L"w";
inline constexpr std::wstring_view kDefaultHelpers =
    L"-----------------------------------------------------------\r\n"
    L"-- This Function returns b if a is true, c if a is false --\r\n"
    L"-----------------------------------------------------------\r\n"
    L"function cond (a,b,c)\r\n"
    L"    if a then return b\r\n"
    L"    else return c\r\n"
    L"    end\r\n"
    L"end\r\n"
    L"\r\n";


enum PostProcess { None = 0, Clamp = 1, ChangeRange = 2 };

struct Needs {
    bool positions = false;  // a letter x, y or z
    bool random = false;     // a letter r
};
// The naive variable detection, on the expression alone.
Needs Detect(std::wstring_view expression);

// The chunk's text, byte for byte as defined (for 0 connexions: helpers "\n" "function f (w,
// a, b, r, x, y, z)\n" "\treturn (" expression ")\n" "end\n").
std::wstring AssembleChunk(std::wstring_view helpers, std::wstring_view expression, size_t connexionCount);

struct ChunkBuffer {
    std::array<char, kChunkBytes> bytes{};  // zero past what was converted
    size_t converted = 0;  // bytes wcstombs wrote (stops at 2048; up to an unconvertible character)
    size_t length = 0;     // handed to luaL_loadbuffer: min(wide characters, converted)
};
// wcstombs(bytes, chunk, 2048) in the current C locale. The defined length is the number of
// wide characters; it never exceeds `converted` here, so nothing past the bytes written is read
// (the original read past the buffer when the text converted to more than 2048 bytes, and
// garbage when a character did not convert). A text that converts to more bytes than it has
// characters (UTF-8 outside ASCII) is cut at that many bytes, as defined. A character the
// locale cannot convert (anything outside ASCII in the "C" locale) ends the chunk there.
ChunkBuffer ConvertChunk(std::wstring_view chunk);

// mbstowcs into at most 1024 wide characters, in the current C locale; a null text gives an
// empty one; a byte sequence that does not convert ends the text there.
std::wstring ConvertMessage(const char* text);

struct Connexion {
    double factor = 1.0;  // Factor_<i>: v<i>
    bool active = true;   // Enabled_<i> and the connected weight map is valid
    std::span<const double> values;
    std::span<const int32_t> indices;  // the connected map's cluster: the point of each value
};

struct Inputs {
    std::wstring_view expression = kDefaultExpression;
    std::wstring_view helpers;
    double a = 0.5, b = 2.0;
    int32_t seed = 0;
    int postProcess = ChangeRange;
    double postMin = 0.0, postMax = 1.0;
    size_t pointCount = 0;
    std::span<const double> positions;  // 3 per point, local; read only when needed
    std::array<double, 16> transform{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::span<const int32_t> clusterIndices;
    std::span<const double> weights;
    std::span<const Connexion> connexions;
};

// The guard's budgets, in Lua VM instructions, and the memory limit.
struct Options {
    uint32_t hookInterval = 1000;        // 0: no hook, no budget (for measurements)
    uint64_t chunkBudget = 2'000'000'000;   // the chunk run, about 5 s
    uint64_t trialBudget = 2'000'000'000;   // the trial call, about 5 s
    uint64_t pointBudget = 40'000'000;      // one point, about 0.1 s
    uint64_t loopBudget = 12'000'000'000;   // all points together, about 30 s
    size_t memoryLimit = size_t{1} << 30;   // bytes the state may hold; 0: no limit
};

enum class Status {
    Ok,             // output written
    SyntaxFailure,  // the chunk did not load
    RunFailure,     // the chunk run failed (or the libraries did not open)
    TrialFailure,   // the trial call failed
    NotANumber,     // the trial call returned something that is not a number
};

struct Message {
    int severity = kSeverityInfo;
    std::wstring text;
    bool operator==(const Message&) const = default;
};

struct Result {
    Status status = Status::Ok;
    std::vector<Message> messages;  // in order; all severity 8
    std::vector<double> output;     // one per cluster index when Ok; empty otherwise
    Needs needs;                    // what the detection found
    size_t pointsOutOfBudget = 0;   // points stopped by the guard (they got 0)
    int luaStatus = 0;              // status of the failing load or call (2 for a budget stop)
    bool outOfBudget = false;       // the chunk run or trial call was stopped by the guard
};

// Arrays kept by the caller between evaluations, so that an update touches no fresh memory.
struct Workspace {
    std::vector<double> pointWeights;
    std::vector<std::vector<double>> connexionWeights;
};

void Evaluate(const Inputs& inputs, const Options& options, Workspace& workspace, Result& result);
Result Evaluate(const Inputs& inputs, const Options& options = {});

}  // namespace orbelin::expression
