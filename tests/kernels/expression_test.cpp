// The expression engine: the host's random sequence, the chunk's text and its limits,
// the defined edge cases by hand, the offsets against the stand-in's CTransformation bit for
// bit, and the runaway guard in the chunk, the trial call and the per-point loop.
#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <cmath>
#include <cstring>
#include <functional>
#include <ostream>
#include <random>
#include <string>

#include "common/host_rand.h"
#include "expression/expression.h"
#include "xsi_transformation.h"
#include "xsi_vector3.h"

namespace orbelin::expression {
void PrintTo(const Message& m, std::ostream* os) {
    *os << m.severity << " \"" << std::string(m.text.begin(), m.text.end()) << "\"";
}
}  // namespace orbelin::expression

using namespace orbelin;
using namespace orbelin::expression;

namespace {

// One map on `weights.size()` points, element k on point k unless indices are given.
struct Case {
    std::wstring expression = L"w";
    std::wstring helpers{kDefaultHelpers};
    std::vector<double> weights;
    std::vector<int32_t> indices;
    std::vector<double> positions;
    std::vector<Connexion> connexions;
    size_t points = 0;
    Inputs in;

    Case(std::wstring e, std::vector<double> w, int post = None) : expression(std::move(e)), weights(std::move(w)) {
        in.postProcess = post;
    }
    Result Run(const Options& options = {}) {
        if (indices.empty())
            for (size_t k = 0; k < weights.size(); ++k) indices.push_back(static_cast<int32_t>(k));
        in.expression = expression;
        in.helpers = helpers;
        in.weights = weights;
        in.clusterIndices = indices;
        in.pointCount = points ? points : weights.size();
        in.positions = positions;
        in.connexions = connexions;
        return Evaluate(in, options);
    }
};

std::vector<Message> Lines(std::initializer_list<const wchar_t*> texts) {
    std::vector<Message> out;
    for (const wchar_t* t : texts) out.push_back({8, t});
    return out;
}

std::string Narrow(const std::wstring& w) { return std::string(w.begin(), w.end()); }

std::vector<int> Draws(uint32_t seed, int n) {
    HostSrand(seed);
    std::vector<int> out;
    for (int i = 0; i < n; ++i) out.push_back(HostRand());
    return out;
}

// Small budgets so that the runaway tests are quick (also under the sanitizers).
Options Small() {
    Options o;
    o.hookInterval = 100;
    o.chunkBudget = 200'000;
    o.trialBudget = 200'000;
    o.pointBudget = 20'000;
    o.loopBudget = 1'000'000;
    return o;
}

}  // namespace

// ---- The host's random generator -----------------------------------------------------------------

TEST(HostRand, KnownSequences) {
    EXPECT_EQ(Draws(1, 5), (std::vector<int>{41, 18467, 6334, 26500, 19169}));
    // Computed from the recurrence state = state * 214013 + 2531011 (mod 2^32), (state >> 16) & 0x7fff.
    EXPECT_EQ(Draws(0, 6), (std::vector<int>{38, 7719, 21238, 2437, 8855, 11797}));
    EXPECT_EQ(Draws(42, 6), (std::vector<int>{175, 400, 17869, 30056, 16083, 12879}));
    // A negative Random_Seed is its 32-bit pattern, as srand takes it.
    EXPECT_EQ(Draws(static_cast<uint32_t>(int32_t{-5}), 3), (std::vector<int>{22, 19513, 30221}));
}

TEST(HostRand, ReseedingRestartsAndStaysInRange) {
    HostSrand(42);
    for (int i = 0; i < 100000; ++i) {
        const int v = HostRand();
        ASSERT_GE(v, 0);
        ASSERT_LE(v, kHostRandMax);
    }
    EXPECT_EQ(Draws(42, 3), (std::vector<int>{175, 400, 17869}));
}

// ---- The chunk -----------------------------------------------------------------------------------

TEST(ExpressionChunk, TextForZeroOneAndThreeConnexions) {
    EXPECT_EQ(AssembleChunk(L"H", L"E", 0), L"H\nfunction f (w, a, b, r, x, y, z)\n\treturn (E)\nend\n");
    EXPECT_EQ(AssembleChunk(L"H", L"E", 1), L"H\nfunction f (w, a, b, r, x, y, z, v0, w0)\n\treturn (E)\nend\n");
    EXPECT_EQ(AssembleChunk(L"", L"w", 3),
              L"\nfunction f (w, a, b, r, x, y, z, v0, w0, v1, w1, v2, w2)\n\treturn (w)\nend\n");
    const std::wstring many = AssembleChunk(L"", L"w", 12);
    EXPECT_NE(many.find(L", v10, w10, v11, w11)\n"), std::wstring::npos);
}

TEST(ExpressionChunk, DefaultHelpersText) {
    EXPECT_EQ(kDefaultHelpers,
              L"-----------------------------------------------------------\r\n"
              L"-- This Function returns b if a is true, c if a is false --\r\n"
              L"-----------------------------------------------------------\r\n"
              L"function cond (a,b,c)\r\n    if a then return b\r\n    else return c\r\n    end\r\nend\r\n\r\n");
    EXPECT_EQ(kDefaultExpression, L"w");
}

TEST(ExpressionChunk, NaiveDetection) {
    EXPECT_FALSE(Detect(L"w*a + b").positions);
    EXPECT_FALSE(Detect(L"w*a + b").random);
    EXPECT_TRUE(Detect(L"math.abs(x)").positions);
    EXPECT_TRUE(Detect(L"math.max(w, 1)").positions);  // the x of max
    EXPECT_TRUE(Detect(L"math.sqrt(w)").random);        // the r of sqrt
    EXPECT_TRUE(Detect(L"z").positions);
    EXPECT_FALSE(Detect(L"X + Y + Z + R").positions);   // lower case only
    EXPECT_FALSE(Detect(L"X + Y + Z + R").random);
}

TEST(ExpressionChunk, ConversionStopsAt2048Bytes) {
    const std::wstring small = AssembleChunk(L"", L"w", 0);
    const ChunkBuffer a = ConvertChunk(small);
    EXPECT_EQ(a.converted, small.size());
    EXPECT_EQ(a.length, small.size());
    EXPECT_EQ(std::string(a.bytes.data(), a.length), Narrow(small));

    const std::wstring big(3000, L'-');
    const ChunkBuffer b = ConvertChunk(big);
    EXPECT_EQ(b.converted, kChunkBytes);
    EXPECT_EQ(b.length, kChunkBytes);  // the wide length (3000) capped at what was converted
    EXPECT_EQ(std::string(b.bytes.data(), b.length), std::string(2048, '-'));
}

TEST(ExpressionChunk, UnconvertibleCharacterEndsTheChunk) {
    // In the "C" locale (the tests' own) a character past ASCII does not convert.
    const ChunkBuffer c = ConvertChunk(L"return 1 -- \u00e9t\u00e9 and more");
    EXPECT_EQ(c.converted, std::strlen("return 1 -- "));
    EXPECT_EQ(c.length, c.converted);
}

// In a UTF-8 locale a character past ASCII converts to more bytes than one, and the defined
// length (the number of wide characters) leaves as many bytes off the end of the chunk.
TEST(ExpressionChunk, Utf8LocaleKeepsTheWideLength) {
    const std::string previous = std::setlocale(LC_CTYPE, nullptr);
    if (!std::setlocale(LC_CTYPE, "C.UTF-8") && !std::setlocale(LC_CTYPE, "C.utf8")) GTEST_SKIP() << "no UTF-8 locale";
    const std::wstring one = AssembleChunk(L"-- \u00e9", L"w", 0);
    const ChunkBuffer a = ConvertChunk(one);
    EXPECT_EQ(a.converted, one.size() + 1);
    EXPECT_EQ(a.length, one.size());  // "end\n" loses its "\n": still a valid chunk
    Case c(L"w * 2", {0.5});
    c.helpers = L"-- \u00e9";
    EXPECT_EQ(c.Run().output, (std::vector<double>{1.0}));
    c.helpers = L"-- \u00e9\u00e9\u00e9";  // "end\n" loses "nd\n"
    const Result r = c.Run();
    EXPECT_EQ(r.status, Status::SyntaxFailure);
    std::setlocale(LC_CTYPE, previous.c_str());
}

TEST(ExpressionChunk, MessagesConvertToAtMost1024Characters) {
    EXPECT_EQ(ConvertMessage("abc"), L"abc");
    EXPECT_EQ(ConvertMessage(nullptr), L"");
    const std::string long_(5000, 'm');
    EXPECT_EQ(ConvertMessage(long_.c_str()), std::wstring(1024, L'm'));
    EXPECT_EQ(ConvertMessage("ok \xff no"), L"ok ");  // not a character in the "C" locale
}

// A chunk of exactly 2048 bytes loads whole; at 2049 only its last "\n" is cut (still valid);
// at 2050 "end" loses its "d\n" and the chunk no longer parses.
TEST(ExpressionChunk, The2048ByteLimitInAnEvaluation) {
    const std::wstring wrapper = AssembleChunk(L"", L"w*2", 0);
    auto helpersFor = [&](size_t total) { return L"--" + std::wstring(total - wrapper.size() - 2, L'x'); };
    for (size_t total : {2048u, 2049u}) {
        Case c(L"w*2", {0.25, 1.0});
        c.helpers = helpersFor(total);
        ASSERT_EQ(AssembleChunk(c.helpers, c.expression, 0).size(), total);
        const Result r = c.Run();
        EXPECT_EQ(r.status, Status::Ok) << total;
        EXPECT_EQ(r.output, (std::vector<double>{0.5, 2.0}));
    }
    Case c(L"w*2", {0.25, 1.0});
    c.helpers = helpersFor(2050);
    const Result r = c.Run();
    EXPECT_EQ(r.status, Status::SyntaxFailure);
    ASSERT_EQ(r.messages.size(), 2u);
    EXPECT_EQ(r.messages[0].text, L"Expression : w*2");
    EXPECT_EQ(r.messages[1].text, L"Invalid Syntax of expression : [string \"Expression\"]:4: 'end' expected (to close "
                                  L"'function' at line 2) near 'en'");
}

// ---- The defined edge cases ----------------------------------------------------------------------

TEST(ExpressionEdgeCases, WUnchangedAndOneMinusW) {
    Case same(L"w", {0.25, -3.5, 1e300, 0.0});
    Result r = same.Run();
    EXPECT_EQ(r.status, Status::Ok);
    EXPECT_TRUE(r.messages.empty());
    EXPECT_EQ(r.output, same.weights);

    Case invert(L"1 - w", {0.25, 1.0});
    r = invert.Run();
    EXPECT_EQ(r.output, (std::vector<double>{0.75, 0.0}));
}

TEST(ExpressionEdgeCases, ChangeRange) {
    Case c(L"w", {2, 4, 6}, ChangeRange);
    EXPECT_EQ(c.Run().output, (std::vector<double>{0.0, 0.5, 1.0}));
    Case equal(L"w", {3, 3, 3}, ChangeRange);
    EXPECT_EQ(equal.Run().output, (std::vector<double>{3, 3, 3}));
    // The default post-processing is Change Range.
    EXPECT_EQ(Inputs{}.postProcess, ChangeRange);
}

TEST(ExpressionEdgeCases, ChangeRangeSentinels) {
    Case above(L"w", {20000, 30000}, ChangeRange);
    above.in.postMin = 0.0;
    above.in.postMax = 1.0;
    // The minimum stays at its start, 10000: (1 - 0) / 20000 * (v - 10000) + 0.
    EXPECT_EQ(above.Run().output, (std::vector<double>{1.0 / 20000.0 * 10000.0, 1.0}));
    Case below(L"w", {-20000, -30000}, ChangeRange);
    // The maximum stays at -10000: scale 1 / 20000; d = v + 30000.
    EXPECT_EQ(below.Run().output, (std::vector<double>{1.0 / 20000.0 * 10000.0, 0.0}));
}

TEST(ExpressionEdgeCases, ChangeRangeNegativeBranch) {
    // An element whose index names no point outputs 0, below the minimum 2: the term is
    // (-0) - 2, not 0 - 2 negated.
    Case c(L"w", {2, 4, 0}, ChangeRange);
    c.indices = {0, 1, 7};
    c.points = 2;
    EXPECT_EQ(c.Run().output, (std::vector<double>{0.0, 1.0, 0.5 * (-0.0 - 2.0)}));
}

TEST(ExpressionEdgeCases, Clamp) {
    Case c(L"w", {0.1, 0.5, 0.9}, Clamp);
    c.in.postMin = 0.2;
    c.in.postMax = 0.8;
    EXPECT_EQ(c.Run().output, (std::vector<double>{0.2, 0.5, 0.8}));
    Case swapped(L"w", {0.1, 0.5, 0.9}, Clamp);
    swapped.in.postMin = 0.8;
    swapped.in.postMax = 0.2;
    EXPECT_EQ(swapped.Run().output, (std::vector<double>{0.8, 0.8, 0.8}));
}

TEST(ExpressionEdgeCases, SyntaxError) {
    Case c(L"w +", {0.5});
    const Result r = c.Run();
    EXPECT_EQ(r.status, Status::SyntaxFailure);
    EXPECT_EQ(r.luaStatus, 3);
    EXPECT_TRUE(r.output.empty());
    // The default helpers are nine lines (CR LF counts once), the "\n" a tenth: "\treturn (" is 12.
    EXPECT_EQ(r.messages, Lines({L"Expression : w +",
                                 L"Invalid Syntax of expression : [string \"Expression\"]:12: unexpected symbol near ')'"}));
}

TEST(ExpressionEdgeCases, NonNumberAndNumericString) {
    Case text(L"\"abc\"", {0.5});
    Result r = text.Run();
    EXPECT_EQ(r.status, Status::NotANumber);
    EXPECT_EQ(r.messages, Lines({L"Expression must return a number!"}));
    EXPECT_TRUE(r.output.empty());

    Case digits(L"\"42\"", {0.5, 0.25});
    r = digits.Run();
    EXPECT_EQ(r.status, Status::Ok);
    EXPECT_EQ(r.output, (std::vector<double>{42, 42}));

    Case nothing(L"nil", {0.5});
    EXPECT_EQ(nothing.Run().status, Status::NotANumber);
}

TEST(ExpressionEdgeCases, FailingAtSomePointsGivesZeroSilently) {
    Case c(L"cond(w > 0.5, w, nil) + 0", {0.25, 0.75, 0.5, 1.0});
    const Result r = c.Run();
    EXPECT_EQ(r.status, Status::Ok);
    EXPECT_TRUE(r.messages.empty());
    EXPECT_EQ(r.output, (std::vector<double>{0.0, 0.75, 0.0, 1.0}));
    EXPECT_EQ(r.pointsOutOfBudget, 0u);
}

TEST(ExpressionEdgeCases, FailingPointReadsANumericMessage) {
    Case c(L"g(w)", {0.25, 0.75});
    c.helpers = L"function g(w) if w < 0.5 then error('7', 0) end return w end";
    EXPECT_EQ(c.Run().output, (std::vector<double>{7.0, 0.75}));
}

TEST(ExpressionEdgeCases, ChunkAndTrialRunTimeFailures) {
    Case chunk(L"w", {0.5});
    chunk.helpers = L"error('broken helpers')";
    Result r = chunk.Run();
    EXPECT_EQ(r.status, Status::RunFailure);
    EXPECT_EQ(r.luaStatus, 2);
    EXPECT_EQ(r.messages, Lines({L"Error in executing expression : ", L"Script Runtime Error",
                                 L"Lua Error Message : [string \"Expression\"]:1: broken helpers"}));

    Case trial(L"nope(w)", {0.5});
    r = trial.Run();
    EXPECT_EQ(r.status, Status::TrialFailure);
    EXPECT_EQ(r.messages, Lines({L"Error in executing expression : ", L"Script Runtime Error",
                                 L"Lua Error Message : [string \"Expression\"]:12: attempt to call global 'nope' (a nil value)"}));
    EXPECT_TRUE(r.output.empty());

    // A table as the error value has no text; a number reads as Lua prints it.
    Case table(L"w", {0.5});
    table.helpers = L"error({})";
    EXPECT_EQ(table.Run().messages.back().text, L"Lua Error Message : ");
    Case number(L"w", {0.5});
    number.helpers = L"error(0.1, 0)";
    EXPECT_EQ(number.Run().messages.back().text, L"Lua Error Message : 0.1");
}

TEST(ExpressionEdgeCases, MemoryError) {
    Case c(L"w", {0.5});
    c.helpers = L"local t = {} while true do t[#t + 1] = {} end";
    Options o;
    o.memoryLimit = size_t{8} << 20;
    const Result r = c.Run(o);
    EXPECT_EQ(r.status, Status::RunFailure);
    EXPECT_EQ(r.messages, Lines({L"Error in executing expression : ", L"Script Memory Error",
                                 L"Lua Error Message : not enough memory"}));
}

TEST(ExpressionEdgeCases, TinyMemoryLimitsFailCleanly) {
    // From a state that cannot be made, through libraries that cannot open, to a chunk that
    // cannot load or run: always a failure with its lines, never a crash or Lua's panic.
    for (size_t limit : {size_t{1}, size_t{500}, size_t{2000}, size_t{4000}, size_t{8000}, size_t{12000},
                         size_t{16000}, size_t{24000}, size_t{32000}, size_t{48000}, size_t{64000}}) {
        Case c(L"w", {0.5});
        Options o;
        o.memoryLimit = limit;
        const Result r = c.Run(o);
        if (r.status == Status::Ok) {
            EXPECT_EQ(r.output, (std::vector<double>{0.5})) << limit;
            continue;
        }
        ASSERT_FALSE(r.messages.empty()) << limit;
        EXPECT_TRUE(r.output.empty());
        if (r.status == Status::RunFailure) {
            EXPECT_EQ(r.messages[0].text, L"Error in executing expression : ") << limit;
            EXPECT_EQ(r.messages[1].text, L"Script Memory Error") << limit;
        }
    }
}

TEST(ExpressionEdgeCases, TwoConnexionsElevenParameters) {
    Case c(L"w + a + b + r + x + y + z + v0 + w0 + v1 + w1", {1, 2, 3}, None);
    c.helpers = L"";
    const std::vector<double> m0 = {10, 20}, m1 = {100, 200, 300};
    const std::vector<int32_t> i0 = {2, 0}, i1 = {0, 1, 2};
    c.connexions = {{0.5, true, m0, i0}, {0.25, true, m1, i1}};
    c.positions = {0, 0, 0, 0, 0, 0, 0, 0, 0};
    c.in.a = 1000;
    c.in.b = 10000;
    c.in.seed = 1;
    const Result r = c.Run();
    ASSERT_EQ(r.status, Status::Ok);
    // Connexion 0 covers points 2 (10) and 0 (20); point 1 reads 0.
    const double r0 = 41 / 32767.0, r1 = 18467 / 32767.0, r2 = 6334 / 32767.0;
    EXPECT_DOUBLE_EQ(r.output[0], 1 + 1000 + 10000 + r0 + 0.5 + 20 + 0.25 + 100);
    EXPECT_DOUBLE_EQ(r.output[1], 2 + 1000 + 10000 + r1 + 0.5 + 0 + 0.25 + 200);
    EXPECT_DOUBLE_EQ(r.output[2], 3 + 1000 + 10000 + r2 + 0.5 + 10 + 0.25 + 300);
    // Eleven parameters: a twelfth would be nil.
    Case twelve(L"select('#', w, a, b, r, x, y, z, v0, w0, v1, w1)", {1});
    twelve.connexions = c.connexions;
    EXPECT_EQ(twelve.Run().output, (std::vector<double>{11}));
}

TEST(ExpressionEdgeCases, DisabledConnexionPassesItsFactorWithWeightZero) {
    const std::vector<double> m = {5, 6};
    const std::vector<int32_t> idx = {0, 1};
    Case c(L"v0 * 100 + w0", {0, 0});
    c.connexions = {{0.75, false, m, idx}};
    EXPECT_EQ(c.Run().output, (std::vector<double>{75, 75}));
    c.connexions = {{0.75, true, m, idx}};
    EXPECT_EQ(c.Run().output, (std::vector<double>{80, 81}));
}

TEST(ExpressionEdgeCases, TrialSeesWOneAndZeroConnexionWeights) {
    // The chunk records what the trial call saw; the per-point calls follow.
    Case c(L"seen(w, r, x, y, z, v0, w0)", {0.25});
    c.helpers = L"calls = 0 function seen(...) calls = calls + 1 if calls == 1 then trial = {...} end "
                L"return trial[1] * 1e6 + trial[2] + trial[3] + trial[4] + trial[5] + trial[6] * 10 + trial[7] end";
    const std::vector<double> m = {9};
    const std::vector<int32_t> idx = {0};
    c.connexions = {{0.5, true, m, idx}};
    c.positions = {1, 2, 3};
    EXPECT_EQ(c.Run().output, (std::vector<double>{1e6 + 5}));
}

TEST(ExpressionEdgeCases, SameSeedSameMapAndDrawsOfTheLetterR) {
    Case c(L"r", std::vector<double>(5, 0.0));
    c.in.seed = 42;
    const Result first = c.Run();
    std::vector<double> expected;
    for (int v : Draws(42, 5)) expected.push_back(v / 32767.0);
    EXPECT_EQ(first.output, expected);
    HostSrand(7);  // whatever happened between updates
    EXPECT_EQ(c.Run().output, expected);
    c.in.seed = 0;
    EXPECT_EQ(c.Run().output[0], 38 / 32767.0);

    // math.sqrt has an r: one draw per element, none used.
    Case s(L"math.sqrt(w)", {4, 9, 16});
    s.in.seed = 42;
    EXPECT_EQ(s.Run().output, (std::vector<double>{2, 3, 4}));
    EXPECT_EQ(HostRand(), 30056);  // the fourth value of seed 42
    // No r: no draw, but the generator is reseeded all the same.
    HostSrand(1);
    Case plain(L"w", {1, 2});
    plain.in.seed = 42;
    plain.Run();
    EXPECT_EQ(HostRand(), 175);
}

TEST(ExpressionEdgeCases, PointPresentTwiceIsEvaluatedTwice) {
    Case c(L"w + 1", {1, 2, 5});
    c.indices = {0, 0, 1};
    c.points = 2;
    // Point 0 holds 2 (the last element on it); its first evaluation gives 3, the second 4.
    EXPECT_EQ(c.Run().output, (std::vector<double>{4, 4, 6}));
    // Change Range saw 3, 4 and 6: min 3, max 6.
    Case cr(L"w + 1", {1, 2, 5}, ChangeRange);
    cr.indices = {0, 0, 1};
    cr.points = 2;
    EXPECT_EQ(cr.Run().output, (std::vector<double>{1.0 / 3.0, 1.0 / 3.0, 1.0}));
}

TEST(ExpressionEdgeCases, GlobalsDoNotCarryOverAndLibrariesAreOpen) {
    Case c(L"counter", {0});
    c.helpers = L"counter = (counter or 0) + 1";
    EXPECT_EQ(c.Run().output, (std::vector<double>{1}));
    EXPECT_EQ(c.Run().output, (std::vector<double>{1}));
    Case libs(L"(io and debug and package and string and table and math and coroutine) and 1 or 0", {0});
    EXPECT_EQ(libs.Run().output, (std::vector<double>{1}));
}

TEST(ExpressionEdgeCases, ScatterAndUncoveredPoints) {
    // Elements on points 3 and 1 of 4; a connexion covering point 1 only.
    Case c(L"w * 10 + w0", {0.5, 0.25});
    c.indices = {3, 1};
    c.points = 4;
    const std::vector<double> m = {7, 8, 9};
    const std::vector<int32_t> idx = {1, -1, 99};  // indices naming no point are skipped
    c.connexions = {{1.0, true, m, idx}};
    EXPECT_EQ(c.Run().output, (std::vector<double>{5, 9.5}));
}

// ---- Offsets -------------------------------------------------------------------------------------

namespace {

// The binding's construction with the stand-in's CTransformation.
XSI::MATH::CTransformation Offsets(const double t[3], const double rDeg[3], const double s[3]) {
    XSI::MATH::CTransformation x;
    x.SetTranslationFromValues(t[0], t[1], t[2]);
    x.SetRotationFromXYZAnglesValues(rDeg[0] * 0.017453292519943295, rDeg[1] * 0.017453292519943295,
                                     rDeg[2] * 0.017453292519943295);
    x.SetScalingFromValues(s[0], s[1], s[2]);
    return x;
}

std::array<double, 16> Matrix(const XSI::MATH::CTransformation& t) {
    const XSI::MATH::CMatrix4 m = t.GetMatrix4();
    std::array<double, 16> out;
    for (short r = 0; r < 4; ++r)
        for (short c = 0; c < 4; ++c) out[static_cast<size_t>(4 * r + c)] = m.GetValue(r, c);
    return out;
}

// x, y and z as the formula sees them, for each point.
std::vector<std::array<double, 3>> Seen(const std::vector<double>& positions, const std::array<double, 16>& m) {
    std::vector<std::array<double, 3>> out(positions.size() / 3);
    for (int axis = 0; axis < 3; ++axis) {
        Case c(std::wstring(1, L"xyz"[axis]), std::vector<double>(positions.size() / 3, 0.0));
        c.positions = positions;
        c.in.transform = m;
        const Result r = c.Run();
        EXPECT_EQ(r.status, Status::Ok);
        for (size_t p = 0; p < out.size(); ++p) out[p][static_cast<size_t>(axis)] = r.output[p];
    }
    return out;
}

std::array<double, 3> SeenOne(double px, double py, double pz, const double t[3], const double r[3], const double s[3]) {
    return Seen({px, py, pz}, Matrix(Offsets(t, r, s)))[0];
}

void ExpectNear(const std::array<double, 3>& a, double x, double y, double z) {
    EXPECT_NEAR(a[0], x, 1e-12);
    EXPECT_NEAR(a[1], y, 1e-12);
    EXPECT_NEAR(a[2], z, 1e-12);
}

const double kNone[3] = {0, 0, 0}, kUnit[3] = {1, 1, 1};

}  // namespace

TEST(ExpressionOffsets, IdentityWithoutOffsets) {
    EXPECT_EQ(Seen({1.5, -2, 3e10}, Inputs{}.transform)[0], (std::array<double, 3>{1.5, -2, 3e10}));
}

TEST(ExpressionOffsets, EachPartByHand) {
    const double t[3] = {1, -2, 3};
    ExpectNear(SeenOne(1, 2, 3, t, kNone, kUnit), 2, 0, 6);
    const double rx[3] = {90, 0, 0}, ry[3] = {0, 90, 0}, rz[3] = {0, 0, 90};
    // Row vectors: about X, y goes to z; about Y, z goes to x; about Z, x goes to y.
    ExpectNear(SeenOne(0, 1, 0, kNone, rx, kUnit), 0, 0, 1);
    ExpectNear(SeenOne(0, 0, 1, kNone, ry, kUnit), 1, 0, 0);
    ExpectNear(SeenOne(1, 0, 0, kNone, rz, kUnit), 0, 1, 0);
    ExpectNear(SeenOne(1, 2, 3, kNone, rx, kUnit), 1, -3, 2);
    const double s[3] = {2, 3, -1};
    ExpectNear(SeenOne(1, 2, 3, kNone, kNone, s), 2, 6, -3);
}

TEST(ExpressionOffsets, AllTogetherScaleThenRotateThenTranslate) {
    const double t[3] = {10, 20, 30}, r[3] = {0, 0, 90}, s[3] = {2, 1, 1};
    // (1, 0, 0) scaled to (2, 0, 0), turned about Z to (0, 2, 0), moved to (10, 22, 30).
    ExpectNear(SeenOne(1, 0, 0, t, r, s), 10, 22, 30);
    // X then Y: (0, 1, 0) -> about X 90 -> (0, 0, 1) -> about Y 90 -> (1, 0, 0); scaled first by 3 in y.
    const double rxy[3] = {90, 90, 0}, sy[3] = {1, 3, 1};
    ExpectNear(SeenOne(0, 1, 0, t, rxy, sy), 13, 20, 30);
}

TEST(ExpressionOffsets, BitForBitTheHostTransformation) {
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> pos(-100, 100), angle(-720, 720), scale(-3, 3);
    for (int trial = 0; trial < 20; ++trial) {
        const double t[3] = {pos(rng), pos(rng), pos(rng)}, r[3] = {angle(rng), angle(rng), angle(rng)},
                     s[3] = {scale(rng), scale(rng), scale(rng)};
        const XSI::MATH::CTransformation x = Offsets(t, r, s);
        std::vector<double> positions;
        for (int i = 0; i < 30; ++i) positions.push_back(pos(rng));
        const auto seen = Seen(positions, Matrix(x));
        for (size_t p = 0; p < seen.size(); ++p) {
            XSI::MATH::CVector3 v;
            v.MulByTransformation(XSI::MATH::CVector3(positions[3 * p], positions[3 * p + 1], positions[3 * p + 2]), x);
            EXPECT_EQ(seen[p][0], v.GetX());
            EXPECT_EQ(seen[p][1], v.GetY());
            EXPECT_EQ(seen[p][2], v.GetZ());
        }
    }
}

TEST(ExpressionOffsets, PositionsReadOnlyWhenNeeded) {
    Case c(L"w", {1, 2});
    c.positions = {};  // not needed, not read
    c.in.transform[12] = 5;
    EXPECT_EQ(c.Run().output, (std::vector<double>{1, 2}));
    Case t(L"x", {0, 0});
    t.positions = {1, 0, 0};  // fewer than the points: the rest read as the origin
    t.in.transform[12] = 5;
    EXPECT_EQ(t.Run().output, (std::vector<double>{6, 5}));
}

// ---- The runaway guard ---------------------------------------------------------------------------

namespace {
const wchar_t kSpinForSome[] = L"function g(w) if w < 0.5 then while true do end end return w end";

double Seconds(const std::function<void()>& f) {
    const auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}
}  // namespace

TEST(ExpressionGuard, ChunkThatNeverEnds) {
    Case c(L"w", {0.5});
    c.helpers = L"x = 1\nwhile true do end";
    const Result r = c.Run(Small());
    EXPECT_EQ(r.status, Status::RunFailure);
    EXPECT_TRUE(r.outOfBudget);
    EXPECT_EQ(r.luaStatus, 2);
    EXPECT_EQ(r.messages, Lines({L"Error in executing expression : ", L"Script Runtime Error",
                                 L"Lua Error Message : [string \"Expression\"]:2: the formula ran out of its budget of "
                                 L"200000 instructions"}));
}

TEST(ExpressionGuard, TrialThatNeverEnds) {
    Case c(L"g(w)", {0.75});
    c.helpers = L"function g(w) if w > 0.5 then while true do end end return w end";
    const Result r = c.Run(Small());
    EXPECT_EQ(r.status, Status::TrialFailure);
    EXPECT_TRUE(r.outOfBudget);
    EXPECT_EQ(r.messages, Lines({L"Error in executing expression : ", L"Script Runtime Error",
                                 L"Lua Error Message : [string \"Expression\"]:1: the formula ran out of its budget of "
                                 L"200000 instructions"}));
}

TEST(ExpressionGuard, PointsThatNeverEndGetZeroAndAreCounted) {
    Case c(L"g(w)", {0.25, 0.75, 0.1, 1.0});
    c.helpers = kSpinForSome;
    const Result r = c.Run(Small());
    EXPECT_EQ(r.status, Status::Ok);
    EXPECT_TRUE(r.messages.empty());
    EXPECT_EQ(r.output, (std::vector<double>{0.0, 0.75, 0.0, 1.0}));
    EXPECT_EQ(r.pointsOutOfBudget, 2u);
}

TEST(ExpressionGuard, LongButFinitePointsAreNotStopped) {
    // Two instructions an iteration: some 2,000 per point (20 hooks of 100), under the point
    // budget of 20,000; the loop's budget (1,000,000: 10,000 hooks) is spent after some 500
    // points, and then the rest stop at their first hook.
    Case c(L"g(w)", std::vector<double>(10, 0.25));
    c.helpers = L"function g(w) local s = 0 for i = 1, 1000 do s = s + 1 end return s end";
    Result r = c.Run(Small());
    EXPECT_EQ(r.output, std::vector<double>(10, 1000.0));
    EXPECT_EQ(r.pointsOutOfBudget, 0u);

    Case many(L"g(w)", std::vector<double>(1000, 0.25));
    many.helpers = c.helpers;
    r = many.Run(Small());
    EXPECT_GT(r.pointsOutOfBudget, 400u);
    EXPECT_LT(r.pointsOutOfBudget, 600u);
    EXPECT_EQ(r.output[0], 1000.0);
    EXPECT_EQ(r.output[999], 0.0);
}

TEST(ExpressionGuard, LoopBudgetBoundsManyFailingPoints) {
    // 100,000 points that never end: after the loop's budget each stops at its first hook.
    Case c(L"g(w)", std::vector<double>(100000, 0.25));
    c.helpers = kSpinForSome;
    c.weights[500] = 0.75;
    c.weights[99999] = 0.5;
    Result r;
    const double s = Seconds([&] { r = c.Run(Small()); });
    EXPECT_EQ(r.status, Status::Ok);
    EXPECT_EQ(r.pointsOutOfBudget, 99998u);
    EXPECT_EQ(r.output[500], 0.75);   // short points still complete
    EXPECT_EQ(r.output[99999], 0.5);
    EXPECT_EQ(r.output[0], 0.0);
    EXPECT_LT(s, 20.0);
}

TEST(ExpressionGuard, ShortPointsCompleteAfterTheLoopBudget) {
    // 1,000 points that never end spend the loop's budget; the next 1,000 run some 25
    // instructions each, so the hook (every 100) comes in the middle of some of them: each still
    // completes, as none has run a whole interval of its own.
    std::vector<double> w(2000, 0.25);
    for (size_t k = 1000; k < 2000; ++k) w[k] = 0.5 + 0.0001 * static_cast<double>(k);
    Case c(L"g(w)", w);
    c.helpers = L"function g(w) if w < 0.5 then while true do end end local s = 0 for i = 1, 10 do s = s + w end "
                L"return s end";
    const Result r = c.Run(Small());
    EXPECT_EQ(r.pointsOutOfBudget, 1000u);
    for (size_t k = 1000; k < 2000; ++k) {
        double s = 0;
        for (int i = 0; i < 10; ++i) s += w[k];
        ASSERT_EQ(r.output[k], s) << k;
    }
}

TEST(ExpressionGuard, PcallXpcallAndCoroutinesCannotSwallowTheStop) {
    const wchar_t* helpers[] = {
        L"function g(w) if w < 0.5 then while true do pcall(function() while true do end end) end end return w end",
        L"function g(w) if w < 0.5 then xpcall(function() while true do end end, function() while true do end end) "
        L"while true do end end return w end",
        L"function g(w) if w < 0.5 then while true do coroutine.resume(coroutine.create(function() while true do end end)) "
        L"end end return w end",
        L"function g(w) if w < 0.5 then local ok = pcall(function() while true do end end) return 0.5 end return w end",
    };
    for (const wchar_t* h : helpers) {
        Case c(L"g(w)", {0.25, 0.75});
        c.helpers = h;
        const Result r = c.Run(Small());
        EXPECT_EQ(r.status, Status::Ok) << Narrow(h);
        EXPECT_EQ(r.output, (std::vector<double>{0.0, 0.75})) << Narrow(h);
        EXPECT_EQ(r.pointsOutOfBudget, 1u) << Narrow(h);

        Case chunk(L"w", {0.5});
        chunk.helpers = std::wstring(h) + L"\ng(0)";
        const Result rc = chunk.Run(Small());
        EXPECT_EQ(rc.status, Status::RunFailure) << Narrow(h);
        EXPECT_TRUE(rc.outOfBudget) << Narrow(h);
    }
}

TEST(ExpressionGuard, DefaultsAreGenerous) {
    const Options o;
    EXPECT_EQ(o.hookInterval, 1000u);
    EXPECT_GE(o.pointBudget, 10'000'000u);
    // A heavy but finite formula passes with the defaults.
    Case c(L"g(w)", {0.25, 0.5});
    c.helpers = L"function g(w) local s = 0 for i = 1, 100000 do s = s + w end return s end";
    const Result r = c.Run();
    EXPECT_EQ(r.output, (std::vector<double>{25000, 50000}));
    EXPECT_EQ(r.pointsOutOfBudget, 0u);
}

TEST(ExpressionGuard, NoHookWhenDisabled) {
    Options o;
    o.hookInterval = 0;
    Case c(L"g(w)", {0.25, 0.75});
    c.helpers = L"function g(w) local s = 0 for i = 1, 100000 do s = s + 1 end return s end";
    EXPECT_EQ(c.Run(o).output, (std::vector<double>{100000, 100000}));
}

TEST(ExpressionWorkspace, ReusedBetweenEvaluations) {
    Workspace ws;
    Result r;
    std::vector<double> w = {1, 2, 3};
    std::vector<int32_t> idx = {0, 1, 2};
    Inputs in;
    in.expression = L"w * 2";
    in.postProcess = None;
    in.pointCount = 3;
    in.weights = w;
    in.clusterIndices = idx;
    Evaluate(in, Options{}, ws, r);
    EXPECT_EQ(r.output, (std::vector<double>{2, 4, 6}));
    in.expression = L"w +";
    Evaluate(in, Options{}, ws, r);
    EXPECT_EQ(r.status, Status::SyntaxFailure);
    EXPECT_TRUE(r.output.empty());
    in.expression = L"w * 3";
    Evaluate(in, Options{}, ws, r);
    EXPECT_EQ(r.status, Status::Ok);
    EXPECT_TRUE(r.messages.empty());
    EXPECT_EQ(r.output, (std::vector<double>{3, 6, 9}));
}
