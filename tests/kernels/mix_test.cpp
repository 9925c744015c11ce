// The mix kernel: hand-computed cases for each mode and post-process, and the fast evaluation
// checked bit for bit against a literal stepping over P-sized arrays on random layouts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "mix/mix.h"

using namespace orbelin::mix;

namespace {

struct Map {
    std::vector<double> weights;
    std::vector<int32_t> points;
    double factor = 1.0;
    bool enabled = true, valid = true;
};

std::vector<Connexion> View(const std::vector<Map>& maps) {
    std::vector<Connexion> out;
    for (const Map& m : maps) out.push_back({m.enabled, m.factor, m.valid, m.weights, m.points});
    return out;
}

std::vector<double> Mix(size_t P, const std::vector<int32_t>& elements, const std::vector<Map>& maps, Options o,
                        size_t M = 0) {
    return Evaluate(P, elements, View(maps), o, M ? M : elements.size());
}

Options With(int mode, int post = None, double lo = 0.0, double hi = 1.0) { return {mode, post, lo, hi}; }

// The evaluation taken word for word: a zeroed array per connexion, every element stepped.
std::vector<double> Literal(size_t P, const std::vector<int32_t>& idx, const std::vector<Connexion>& cons, Options o,
                            size_t M) {
    std::vector<double> result(M, 0.0), acc(P, 0.0);
    double maxSeen = -10000.0, minSeen = 10000.0;
    auto inRange = [&](int32_t p) { return p >= 0 && static_cast<size_t>(p) < P; };
    const size_t K = cons.size();
    if (K >= 1) {
        std::vector<std::vector<double>> W(K);
        std::vector<bool> enabled(K);
        std::vector<double> factor(K);
        double sum = 0.0;
        for (size_t k = 0; k < K; ++k) {
            W[k].assign(P, 0.0);
            bool en = cons[k].enabled;
            double f = cons[k].factor;
            if (en) {
                if (cons[k].valid) {
                    for (size_t j = 0; j < std::min(cons[k].weights.size(), cons[k].points.size()); ++j)
                        if (inRange(cons[k].points[j])) W[k][static_cast<size_t>(cons[k].points[j])] = cons[k].weights[j];
                } else {
                    en = false;
                }
            } else {
                f = 0.0;
            }
            enabled[k] = en;
            factor[k] = f;
            sum = sum + f;
        }
        if (sum != 0.0) {
            for (size_t k = 0; k < K; ++k) {
                const double f = enabled[k] ? factor[k] : 0.0;
                if (f == 0.0) continue;
                for (int32_t p : idx) {
                    if (!inRange(p)) continue;
                    const size_t q = static_cast<size_t>(p);
                    double x;
                    if (o.mode == 3) {
                        x = f * W[k][q] > acc[q] ? f * W[k][q] : acc[q];
                    } else {
                        const double g = o.mode == 1 ? f / sum : f;
                        x = g * W[k][q] + acc[q];
                    }
                    if (o.postProcess == 1) {
                        double m = x > o.rangeMin ? x : o.rangeMin;
                        if (!(o.rangeMax > m)) x = o.rangeMax;
                        else if (!(x > o.rangeMin)) x = o.rangeMin;
                    } else if (o.postProcess == 2) {
                        if (x > maxSeen) maxSeen = x;
                        if (x < minSeen) minSeen = x;
                    }
                    acc[q] = x;
                }
            }
        }
        for (size_t j = 0; j < std::min(idx.size(), M); ++j)
            if (inRange(idx[j])) result[j] = acc[static_cast<size_t>(idx[j])];
    }
    if (o.postProcess == 2 && maxSeen != minSeen) {
        const double scale = (o.rangeMax - o.rangeMin) / (maxSeen - minSeen);
        for (double& v : result) {
            const double d = v - minSeen;
            v = (d < 0 ? -v - minSeen : d) * scale + o.rangeMin;
        }
    }
    return result;
}

// Two connexions on four points; the second covers points 3 and 1 only.
const std::vector<int32_t> kFour{0, 1, 2, 3};
std::vector<Map> TwoMaps() { return {{{0.8, 0.4, 0.2, 0.0}, kFour, 1.0}, {{0.2, 0.6}, {3, 1}, 3.0}}; }

TEST(MixKernel, ModesHandComputed) {
    using V = std::vector<double>;
    V avg = Mix(4, kFour, TwoMaps(), With(Average));
    const V avgWant{0.25 * 0.8, 0.25 * 0.4 + 0.75 * 0.6, 0.25 * 0.2, 0.25 * 0.0 + 0.75 * 0.2};
    EXPECT_EQ(avg, avgWant);
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(Additive)), (V{0.8, 0.4 + 3 * 0.6, 0.2, 3 * 0.2}));
    // Mode values other than Average and Maximum add.
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(7)), Mix(4, kFour, TwoMaps(), With(Additive)));
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(0)), Mix(4, kFour, TwoMaps(), With(Additive)));
    // Maximum takes f x w against the running value, which starts at 0.
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(Maximum)), (V{0.8, 3 * 0.6, 0.2, 3 * 0.2}));
    std::vector<Map> negative{{{-0.5, 0.6}, {0, 1}, 2.0}};
    EXPECT_EQ(Mix(2, {0, 1}, negative, With(Maximum)), (V{0.0, 1.2}));
    EXPECT_FALSE(HoldCaptures(0) || HoldCaptures(1) || HoldCaptures(3));
    EXPECT_TRUE(HoldCaptures(-1));
}

TEST(MixKernel, ClampAtEveryStep) {
    // Points 2 and 3 are lifted to 0.3 by the first step; point 3 then gets 0.6 on top.
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(Additive, Clamp, 0.3, 1.0)), (std::vector<double>{0.8, 1.0, 0.3, 3 * 0.2 + 0.3}));
    std::vector<Map> three{{{0.8}, {0}, 1.0}, {{0.8}, {0}, 1.0}, {{0.8}, {0}, -1.0}};
    std::vector<double> r = Mix(1, {0}, three, With(Additive, Clamp, 0.0, 1.0));
    EXPECT_NEAR(r[0], 0.2, 1e-15);
    // An inverted range: not (max > m) gives max at once.
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(Additive, Clamp, 1.0, 0.5)), (std::vector<double>(4, 0.5)));
}

TEST(MixKernel, ChangeRange) {
    using V = std::vector<double>;
    // The bounds come from every intermediate value: -0.5 after the first step on point 0.
    std::vector<Map> dip{{{-0.5, 0.25}, {0, 1}, 1.0}, {{1.0}, {0}, 1.0}};
    EXPECT_EQ(Mix(2, {0, 1}, dip, With(Additive, ChangeRange, 0.0, 1.0)), (V{1.0, 0.75}));
    // All values equal: no stretch.
    std::vector<Map> flat{{{0.5, 0.5}, {0, 1}, 1.0}};
    EXPECT_EQ(Mix(2, {0, 1}, flat, With(Additive, ChangeRange, 0.0, 1.0)), (V{0.5, 0.5}));
    // All below -10000: the maximum stays at its start.
    std::vector<Map> low{{{-20000.0, -30000.0}, {0, 1}, 1.0}};
    EXPECT_EQ(Mix(2, {0, 1}, low, With(Additive, ChangeRange, 0.0, 1.0)), (V{0.5, 0.0}));
    // All above 10000: the minimum stays at 10000, and the third output element (0, below it)
    // goes through -v - min: -0.5, where -d would give +0.5.
    std::vector<Map> high{{{20000.0, 30000.0}, {0, 1}, 1.0}};
    EXPECT_EQ(Mix(2, {0, 1}, high, With(Additive, ChangeRange, 0.0, 1.0), 3), (V{0.5, 1.0, -0.5}));
    // Nothing mixed: the sentinels differ and every zero lands in the middle of the range.
    EXPECT_EQ(Evaluate(3, kFour, {}, With(Average, ChangeRange, 0.0, 1.0), 4), V(4, 0.5));
    for (double v : Evaluate(3, kFour, {}, With(Average, ChangeRange, 1.0, -1.0), 4)) EXPECT_NEAR(v, 0.0, 1e-12);
    for (double v : Evaluate(3, kFour, {}, With(Average, ChangeRange, -4.0, -2.0), 2)) EXPECT_NEAR(v, -3.0, 1e-12);
}

TEST(MixKernel, FactorsAndConnexionStates) {
    using V = std::vector<double>;
    const V second{0.0, 0.6, 0.0, 0.2};
    std::vector<Map> maps = TwoMaps();
    maps[1].factor = 1.0;
    // A disabled connexion's factor is out of the sum.
    maps[0].enabled = false;
    maps[0].factor = 5.0;
    EXPECT_EQ(Mix(4, kFour, maps, With(Average)), second);
    // An invalid map's factor stays in the sum: the second map gets a quarter.
    maps[0].enabled = true;
    maps[0].valid = false;
    maps[0].factor = 3.0;
    EXPECT_EQ(Mix(4, kFour, maps, With(Average)), (V{0.0, 0.25 * 0.6, 0.0, 0.25 * 0.2}));
    // Nothing steps (the only valid factor is 0), so the clamp never lifts the zeros.
    maps[1].factor = 0.0;
    EXPECT_EQ(Mix(4, kFour, maps, With(Additive, Clamp, 0.3, 1.0)), V(4, 0.0));
    // Factors summing to 0: nothing mixed.
    std::vector<Map> opposite{{{0.5}, {0}, 1.0}, {{0.9}, {0}, -1.0}};
    EXPECT_EQ(Mix(1, {0}, opposite, With(Additive)), V{0.0});
    EXPECT_EQ(Evaluate(4, kFour, {}, With(Additive), 4), V(4, 0.0));
}

TEST(MixKernel, OddLayouts) {
    using V = std::vector<double>;
    // Indices naming no point are skipped; the output elements with none read 0.
    std::vector<Map> stray{{{9.0, 0.5, 7.0}, {5, 1, -3}, 1.0}};
    EXPECT_EQ(Mix(2, {0, 7, -1, 1}, stray, With(Additive)), (V{0.0, 0.0, 0.0, 0.5}));
    // A point named twice by the output is stepped twice per connexion; a point named twice by
    // a connexion takes its last weight.
    std::vector<Map> twice{{{0.1, 0.7}, {0, 0}, 1.0}};
    EXPECT_EQ(Mix(1, {0, 0}, twice, With(Additive)), (V{1.4, 1.4}));
    // More output elements than input ones stay 0; fewer drop the rest.
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(Additive), 6)[5], 0.0);
    EXPECT_EQ(Mix(4, kFour, TwoMaps(), With(Additive), 2), (V{0.8, 0.4 + 3 * 0.6}));
    // Weights and indices of different lengths: only the common part is read.
    std::vector<Map> ragged{{{0.5, 0.25}, {0, 1, 2}, 1.0}, {{0.5, 0.25, 0.125}, {2}, 1.0}};
    EXPECT_EQ(Mix(3, {0, 1, 2}, ragged, With(Additive)), (V{0.5, 0.25, 0.5}));
}

uint64_t Bits(double v) {
    uint64_t b;
    std::memcpy(&b, &v, sizeof b);
    return b;
}

TEST(MixKernel, MatchesLiteralOnRandomLayouts) {
    std::mt19937 rng(7);
    auto uniform = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(rng); };
    auto below = [&](size_t n) { return static_cast<size_t>(std::uniform_int_distribution<size_t>(0, n - 1)(rng)); };
    Workspace ws;  // one for every round: what a round leaves must not leak into the next
    for (int round = 0; round < 48; ++round) {
        const size_t P = round % 4 == 3 ? 300 : 40000 + below(20000);
        const int layout = round % 6;
        std::vector<int32_t> all(P);
        for (size_t i = 0; i < P; ++i) all[i] = static_cast<int32_t>(i);
        auto shuffled = [&] {
            std::vector<int32_t> v = all;
            std::shuffle(v.begin(), v.end(), rng);
            return v;
        };
        std::vector<int32_t> out = layout == 1 ? shuffled() : all;
        if (layout == 2) out.resize(P / 2);
        if (layout == 3)
            for (int i = 0; i < 50; ++i) out[below(out.size())] = static_cast<int32_t>(below(P));  // repeats
        if (layout == 4)
            for (int i = 0; i < 50; ++i) out[below(out.size())] = i % 2 ? -1 : static_cast<int32_t>(P + below(9));
        std::vector<Map> maps(1 + below(4));
        for (Map& m : maps) {
            const int kind = static_cast<int>(below(4));
            m.points = kind == 0 ? out : kind == 1 ? shuffled() : kind == 2 ? all : shuffled();
            if (kind == 3) m.points.resize(below(P));
            if (below(5) == 0) m.points.push_back(static_cast<int32_t>(P + 3));
            m.weights.resize(m.points.size() - (below(4) == 0 ? std::min<size_t>(m.points.size(), 10) : 0));
            for (double& w : m.weights) w = uniform(-1.0, 2.0);
            if (!m.weights.empty() && below(3) == 0) m.weights[below(m.weights.size())] = std::nan("");
            m.factor = below(6) == 0 ? 0.0 : uniform(-1.0, 3.0);
            m.enabled = below(6) != 0;
            m.valid = below(8) != 0;
        }
        const Options o{static_cast<int>(1 + below(4)), static_cast<int>(below(3)), uniform(-1.0, 0.5),
                        uniform(0.5, 2.0)};
        const size_t M = out.size() + (layout == 5 ? 7 : 0) - (round % 5 == 0 ? 3 : 0);
        std::vector<Connexion> cons = View(maps);
        std::vector<double> fast(M, 123.0);
        Evaluate(P, out, cons, o, fast, ws);
        const std::vector<double> want = Literal(P, out, cons, o, M);
        size_t differ = 0;
        for (size_t j = 0; j < M; ++j) differ += Bits(fast[j]) != Bits(want[j]);
        EXPECT_EQ(differ, 0u) << "round " << round << " layout " << layout << " mode " << o.mode << " post "
                              << o.postProcess;
    }
}

}  // namespace
