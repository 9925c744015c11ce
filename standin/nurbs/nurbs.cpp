#include "nurbs/nurbs.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>

namespace standin::nurbs {

namespace detail {
// Helpers have internal linkage: in a position-independent build they would otherwise stay
// calls that another library could interpose, never inlined into the query loops.
namespace {

using H4 = std::array<double, 4>;    // homogeneous point (x*w, y*w, z*w, w)
using Poly = std::array<double, 4>;  // coefficients of t^0 .. t^3
constexpr double kInf = std::numeric_limits<double>::infinity();

Vec3 Sub(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
double Dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double Dist2(const Vec3& a, const Vec3& b) { return Dot(Sub(a, b), Sub(a, b)); }
double Axis(const Vec3& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }
Vec3 Cross(const Vec3& a, const Vec3& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
// The angle between two directions; 0 when either vanishes.
double Angle(const Vec3& a, const Vec3& b) {
    const Vec3 c = Cross(a, b);
    return std::atan2(std::sqrt(Dot(c, c)), Dot(a, b));
}
Vec3 Unit(const Vec3& v) {
    const double inv = 1.0 / std::sqrt(Dot(v, v));
    return {v.x * inv, v.y * inv, v.z * inv};
}

// ---- Knots and basis functions

// Open directions are clamped (the ends repeat degree + 1 times); closed ones are uniform
// and start at -degree, so that both kinds of domain start at 0 with unit spans.
std::vector<double> MakeKnots(size_t stored, size_t p, bool closed) {
    std::vector<double> knots;
    if (closed) {
        for (size_t i = 0; i < stored + p + 1; ++i) knots.push_back(static_cast<double>(i) - static_cast<double>(p));
    } else {
        const size_t inner = stored - p - 1;
        for (size_t i = 0; i <= p; ++i) knots.push_back(0.0);
        for (size_t i = 1; i <= inner; ++i) knots.push_back(static_cast<double>(i));
        for (size_t i = 0; i <= p; ++i) knots.push_back(static_cast<double>(inner + 1));
    }
    return knots;
}

// The span k (knots[k] <= u < knots[k + 1], p <= k < count) holding u; the domain's end
// belongs to the last span.
size_t FindSpan(const std::vector<double>& knots, size_t p, size_t count, double u) {
    const size_t last = count - 1;
    if (u >= knots[last + 1]) return last;
    if (u <= knots[p]) return p;
    auto it = std::upper_bound(knots.begin() + static_cast<std::ptrdiff_t>(p),
                               knots.begin() + static_cast<std::ptrdiff_t>(last + 1), u);
    return static_cast<size_t>(it - knots.begin()) - 1;
}

// The p + 1 basis functions that are not zero on span k, at u (the triangular Cox-de Boor scheme).
void BasisValues(const std::vector<double>& knots, size_t k, size_t p, double u, double* n) {
    double left[4], right[4];
    n[0] = 1.0;
    for (size_t j = 1; j <= p; ++j) {
        left[j] = u - knots[k + 1 - j];
        right[j] = knots[k + j] - u;
        double saved = 0.0;
        for (size_t r = 0; r < j; ++r) {
            const double temp = n[r] / (right[r + 1] + left[j - r]);
            n[r] = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        n[j] = saved;
    }
}

// The same p + 1 basis functions as polynomials of the span's local parameter t in [0, 1]
// (u = knots[k] + t * (knots[k + 1] - knots[k])), by running the recursion on polynomials.
std::array<Poly, 4> BasisPolynomials(const std::vector<double>& knots, size_t k, size_t p) {
    std::array<Poly, 4> b{};
    b[0] = {1.0, 0.0, 0.0, 0.0};
    const double a = knots[k], h = knots[k + 1] - knots[k];
    for (size_t q = 1; q <= p; ++q) {
        std::array<Poly, 4> next{};
        for (size_t j = 0; j <= q; ++j) {
            const size_t i = k - q + j;  // next[j] is N(i, q); b[j] is N(i + 1, q - 1), b[j - 1] is N(i, q - 1)
            auto add = [&](const Poly& lower, double c0, double c1) {
                for (size_t e = 0; e < q; ++e) {
                    next[j][e] += c0 * lower[e];
                    next[j][e + 1] += c1 * lower[e];
                }
            };
            if (j >= 1 && knots[i + q] > knots[i]) {
                const double d = knots[i + q] - knots[i];
                add(b[j - 1], (a - knots[i]) / d, h / d);
            }
            if (j < q && knots[i + q + 1] > knots[i + 1]) {
                const double d = knots[i + q + 1] - knots[i + 1];
                add(b[j], (knots[i + q + 1] - a) / d, -h / d);
            }
        }
        b = next;
    }
    return b;
}

double Binomial(int n, int k) {
    static const double table[9][9] = {{1},
                                       {1, 1},
                                       {1, 2, 1},
                                       {1, 3, 3, 1},
                                       {1, 4, 6, 4, 1},
                                       {1, 5, 10, 10, 5, 1},
                                       {1, 6, 15, 20, 15, 6, 1},
                                       {1, 7, 21, 35, 35, 21, 7, 1},
                                       {1, 8, 28, 56, 70, 56, 28, 8, 1}};
    return table[n][k];
}

// Bernstein coefficients on [0, 1] of a polynomial of degree n <= 8 given by its powers.
void ToBernstein(const double* power, int n, double* bernstein) {
    for (int i = 0; i <= n; ++i) {
        double sum = 0.0;
        for (int j = 0; j <= i; ++j) sum += Binomial(i, j) / Binomial(n, j) * power[j];
        bernstein[i] = sum;
    }
}

// ---- Boxes and a tree of them

struct Box {
    Vec3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
    void Grow(const Vec3& p) {
        lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
        hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
    }
    void Grow(const Box& b) {
        Grow(b.lo);
        Grow(b.hi);
    }
    Vec3 Centre() const { return {(lo.x + hi.x) / 2, (lo.y + hi.y) / 2, (lo.z + hi.z) / 2}; }
    double Distance2(const Vec3& p) const {
        const double dx = std::max({lo.x - p.x, 0.0, p.x - hi.x});
        const double dy = std::max({lo.y - p.y, 0.0, p.y - hi.y});
        const double dz = std::max({lo.z - p.z, 0.0, p.z - hi.z});
        return dx * dx + dy * dy + dz * dz;
    }
};

// A bounding-volume hierarchy over items given by their boxes: median splits along the widest
// axis of the box centres, one item per leaf.
class BoxTree {
public:
    void Build(const std::vector<Box>& boxes) {
        m_nodes.clear();
        if (boxes.empty()) return;
        std::vector<uint32_t> order(boxes.size());
        std::iota(order.begin(), order.end(), 0u);
        m_nodes.reserve(2 * boxes.size());
        m_nodes.emplace_back();
        Split(boxes, order, 0, 0, order.size());
    }

    // Calls visit(item) for the items whose box is nearer to p than `best` (squared), nearest
    // box first; `visit` may lower `best`, which prunes the rest of the walk.
    template <class Visit>
    void Search(const Vec3& p, const double& best, Visit&& visit) const {
        if (m_nodes.empty()) return;
        struct Entry {
            uint32_t node;
            double d2;
        };
        Entry stack[kMaxDepth + 2];
        int top = 0;
        stack[top++] = {0, m_nodes[0].box.Distance2(p)};
        while (top > 0) {
            const Entry e = stack[--top];
            if (!(e.d2 < best)) continue;
            const Node& n = m_nodes[e.node];
            if (n.item >= 0) {
                visit(static_cast<size_t>(n.item));
                continue;
            }
            const double dl = m_nodes[n.child].box.Distance2(p), dr = m_nodes[n.child + 1].box.Distance2(p);
            if (dl <= dr) {
                stack[top++] = {n.child + 1, dr};
                stack[top++] = {n.child, dl};
            } else {
                stack[top++] = {n.child, dl};
                stack[top++] = {n.child + 1, dr};
            }
        }
    }

private:
    static constexpr int kMaxDepth = 62;  // median splits: far beyond any item count
    struct Node {
        Box box;
        int32_t item = -1;   // leaf: the item; otherwise -1
        uint32_t child = 0;  // inner node: children at child and child + 1
    };
    std::vector<Node> m_nodes;

    void Split(const std::vector<Box>& boxes, std::vector<uint32_t>& order, size_t node, size_t begin, size_t end) {
        Box all, centres;
        for (size_t i = begin; i < end; ++i) {
            all.Grow(boxes[order[i]]);
            centres.Grow(boxes[order[i]].Centre());
        }
        m_nodes[node].box = all;
        if (end - begin == 1) {
            m_nodes[node].item = static_cast<int32_t>(order[begin]);
            return;
        }
        const Vec3 extent = Sub(centres.hi, centres.lo);
        const int axis = extent.x >= extent.y && extent.x >= extent.z ? 0 : extent.y >= extent.z ? 1 : 2;
        const size_t mid = (begin + end) / 2;
        std::nth_element(order.begin() + static_cast<std::ptrdiff_t>(begin), order.begin() + static_cast<std::ptrdiff_t>(mid),
                         order.begin() + static_cast<std::ptrdiff_t>(end), [&](uint32_t a, uint32_t b) {
                             return Axis(boxes[a].Centre(), axis) < Axis(boxes[b].Centre(), axis);
                         });
        const size_t child = m_nodes.size();
        m_nodes.emplace_back();
        m_nodes.emplace_back();
        m_nodes[node].child = static_cast<uint32_t>(child);
        Split(boxes, order, child, begin, mid);
        Split(boxes, order, child + 1, mid, end);
    }
};

// ---- Curves

struct CurveSpan {
    double u0, u1;
    std::array<Poly, 4> h;  // x*w, y*w, z*w and w as polynomials of the local t in [0, 1]
};

}  // namespace

struct CurveIndex {
    int degree = 1;
    std::vector<CurveSpan> spans;
    BoxTree tree;
};

namespace {

double Horner(const Poly& c, double t) { return ((c[3] * t + c[2]) * t + c[1]) * t + c[0]; }

Vec3 SpanPoint(const CurveSpan& s, double t) {
    const double w = Horner(s.h[3], t);
    return {Horner(s.h[0], t) / w, Horner(s.h[1], t) / w, Horner(s.h[2], t) / w};
}

// The root of g (degree n, powers) in (lo, hi) where it rises through zero, known from its
// Bernstein form to be the only one there (g may also vanish at lo or hi: a double root at
// a span's end where the curve stops, as with repeated control points): Newton's method kept
// inside a shrinking bracket.
double RisingRoot(const double* g, int n, double lo, double hi) {
    auto eval = [&](double t, double& slope) {
        double v = g[n];
        slope = 0.0;
        for (int i = n - 1; i >= 0; --i) {
            slope = slope * t + v;
            v = v * t + g[i];
        }
        return v;
    };
    double slope = 0.0, t = 0.5 * (lo + hi);
    for (int iter = 0; iter < 100; ++iter) {
        const double v = eval(t, slope);
        if (v == 0.0) return t;
        (v < 0.0 ? lo : hi) = t;
        double next = slope > 0.0 ? t - v / slope : 0.5 * (lo + hi);
        if (!(next > lo && next < hi)) next = 0.5 * (lo + hi);
        if (std::abs(next - t) <= 1e-15 || hi - lo <= 1e-15) return next;
        t = next;
    }
    return t;
}

// Calls found(t) for each t in [0, 1] where g (degree n <= 8, powers) goes from negative to
// positive. Roots are isolated by halving the Bernstein form until its coefficients change
// sign once (Descartes' rule: exactly one root there); pieces that stay too close to zero to
// tell, or that keep several sign changes after many halvings, give their midpoint instead.
template <class Found>
void RisingRoots(const double* g, int n, Found&& found) {
    struct Piece {
        double lo, hi;
        int depth;
        double b[9];
    };
    Piece stack[48];
    int top = 0;
    Piece& first = stack[top++];
    first.lo = 0.0;
    first.hi = 1.0;
    first.depth = 0;
    ToBernstein(g, n, first.b);
    double largest = 0.0;
    for (int i = 0; i <= n; ++i) largest = std::max(largest, std::abs(first.b[i]));
    const double tolerance = 1e-13 * largest;
    int budget = 64;
    while (top > 0) {
        const Piece q = stack[--top];
        int changes = 0, firstSign = 0, lastSign = 0;
        for (int i = 0; i <= n; ++i) {
            if (std::abs(q.b[i]) <= tolerance) continue;
            const int sign = q.b[i] > 0.0 ? 1 : -1;
            if (firstSign == 0) firstSign = sign;
            else if (sign != lastSign) ++changes;
            lastSign = sign;
        }
        const double mid = 0.5 * (q.lo + q.hi);
        if (firstSign == 0) {
            found(mid);  // flat: the distance hardly changes here
            continue;
        }
        if (changes == 0) continue;
        if (changes == 1) {
            if (firstSign < 0) found(RisingRoot(g, n, q.lo, q.hi));
            continue;
        }
        if (q.depth >= 40 || --budget <= 0 || top + 2 > 48) {
            found(mid);
            continue;
        }
        // de Casteljau at the middle: the left half's coefficients are the triangle's left
        // edge, the right half's its right edge.
        Piece left{q.lo, mid, q.depth + 1, {}}, right{mid, q.hi, q.depth + 1, {}};
        double work[9];
        std::copy(q.b, q.b + n + 1, work);
        for (int r = 0; r <= n; ++r) {
            left.b[r] = work[0];
            right.b[n - r] = work[n - r];
            for (int i = 0; i < n - r; ++i) work[i] = 0.5 * (work[i] + work[i + 1]);
        }
        stack[top++] = right;
        stack[top++] = left;
    }
}

// The nearest point of one span to p, when nearer than `best` (squared): updates best and t.
// The distance's derivative has the sign of g = D . (D' w - D w'), D = (x, y, z)*w - p*w, a
// polynomial of degree 3p - 1; its rising roots and the span's ends are the candidates.
bool SpanClosest(const CurveSpan& s, int degree, const Vec3& p, double& best, double& bestT) {
    const Poly& w = s.h[3];
    const double pc[3] = {p.x, p.y, p.z};
    Poly d[3];
    for (int c = 0; c < 3; ++c)
        for (size_t j = 0; j < 4; ++j) d[c][j] = s.h[static_cast<size_t>(c)][j] - pc[c] * w[j];
    bool improved = false;
    auto consider = [&](double t) {
        const double dx = Horner(d[0], t), dy = Horner(d[1], t), dz = Horner(d[2], t), wt = Horner(w, t);
        const double d2 = (dx * dx + dy * dy + dz * dz) / (wt * wt);
        if (d2 < best) {
            best = d2;
            bestT = t;
            improved = true;
        }
    };
    consider(0.0);
    consider(1.0);
    double g[9] = {};
    const double dw[3] = {w[1], 2 * w[2], 3 * w[3]};
    for (int c = 0; c < 3; ++c) {
        const Poly& dc = d[c];
        const double ddc[3] = {dc[1], 2 * dc[2], 3 * dc[3]};
        double e[6] = {};  // D' w - D w'
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j) e[i + j] += ddc[i] * w[static_cast<size_t>(j)] - dw[i] * dc[static_cast<size_t>(j)];
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 6; ++j) g[i + j] += dc[static_cast<size_t>(i)] * e[j];
    }
    RisingRoots(g, 3 * degree - 1, consider);
    return improved;
}

Box ProjectedBezierBox(const std::array<Poly, 4>& h, int degree) {
    double b[4][4];
    for (size_t c = 0; c < 4; ++c) ToBernstein(h[c].data(), degree, b[c]);
    Box box;
    for (int i = 0; i <= degree; ++i) box.Grow(Vec3{b[0][i] / b[3][i], b[1][i] / b[3][i], b[2][i] / b[3][i]});
    return box;
}

// ---- Surfaces

// Sample intervals along each side of a patch: at least kMinSteps, and more where the patch
// turns, so that no interval turns by more than kTurnPerStep (radians), or where its speed
// is uneven.
constexpr int kMinSteps = 6, kMaxSteps = 32;
constexpr double kTurnPerStep = 3.14159265358979 / 24;
constexpr int kMaxSamples = (kMaxSteps + 1) * (kMaxSteps + 1);

// A box in a frame of its own (unit axes), for a tighter bound than the tree's axis-aligned
// boxes on surfaces that are curved or turned.
struct OrientedBox {
    Vec3 axis[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double lo[3] = {kInf, kInf, kInf}, hi[3] = {-kInf, -kInf, -kInf};
    void Grow(const Vec3& p) {
        for (int i = 0; i < 3; ++i) {
            const double x = Dot(axis[i], p);
            lo[i] = std::min(lo[i], x);
            hi[i] = std::max(hi[i], x);
        }
    }
    double Distance2(const Vec3& p) const {
        double sum = 0.0;
        for (int i = 0; i < 3; ++i) {
            const double x = Dot(axis[i], p), d = std::max({lo[i] - x, 0.0, x - hi[i]});
            sum += d * d;
        }
        return sum;
    }
};

struct SurfacePatch {
    double u0, u1, v0, v1;
    OrientedBox frame;   // the Bezier net in the frame of the patch's middle (tangent, tangent, normal)
    Vec3 middle;         // of the patch's box
    double reach;        // no point of a cell of the sample grid is farther than this from its nearest corner (in s, t)
    double bend;         // nor farther than this from the bilinear interpolation of its corners
    int stepsS, stepsT;  // sample intervals along s and t
    size_t firstSample;  // (stepsS + 1) * (stepsT + 1) samples, t-major: sample (i, j) at (i / stepsS, j / stepsT)
    std::array<std::array<Poly, 4>, 4> h;  // h[c][i][j]: coefficient of s^i t^j of x*w, y*w, z*w, w
};

}  // namespace

struct SurfaceIndex {
    std::vector<SurfacePatch> patches;
    std::vector<Vec3> samples;
    BoxTree tree;
};

namespace {

// A point of a patch with its first and second derivatives in the local (s, t).
struct Jet {
    Vec3 p, s, t, ss, st, tt;
};

Vec3 Scaled(const Vec3& v, double k) { return {v.x * k, v.y * k, v.z * k}; }

Jet PatchJet(const SurfacePatch& q, double s, double t) {
    const double s0[4] = {1, s, s * s, s * s * s}, s1[4] = {0, 1, 2 * s, 3 * s * s}, s2[4] = {0, 0, 2, 6 * s};
    const double t1[4] = {0, 1, 2 * t, 3 * t * t}, t2[4] = {0, 0, 2, 6 * t};
    double a[4][6];  // per component: value, d/ds, d/dt, d2/ds2, d2/dsdt, d2/dt2
    for (size_t c = 0; c < 4; ++c) {
        double v = 0, ds = 0, dt = 0, dss = 0, dst = 0, dtt = 0;
        for (size_t i = 0; i < 4; ++i) {
            const Poly& row = q.h[c][i];
            const double r0 = row[0] + t * (row[1] + t * (row[2] + t * row[3]));
            const double r1 = row[1] * t1[1] + row[2] * t1[2] + row[3] * t1[3];
            const double r2 = row[2] * t2[2] + row[3] * t2[3];
            v += s0[i] * r0;
            ds += s1[i] * r0;
            dss += s2[i] * r0;
            dt += s0[i] * r1;
            dst += s1[i] * r1;
            dtt += s0[i] * r2;
        }
        a[c][0] = v;
        a[c][1] = ds;
        a[c][2] = dt;
        a[c][3] = dss;
        a[c][4] = dst;
        a[c][5] = dtt;
    }
    auto vec = [&](int k) { return Vec3{a[0][k], a[1][k], a[2][k]}; };
    const double w = a[3][0], ws = a[3][1], wt = a[3][2], wss = a[3][3], wst = a[3][4], wtt = a[3][5];
    const double inv = 1.0 / w;
    Jet j;
    j.p = Scaled(vec(0), inv);
    j.s = Scaled(vec(1) - j.p * ws, inv);
    j.t = Scaled(vec(2) - j.p * wt, inv);
    j.ss = Scaled(vec(3) - j.s * (2 * ws) - j.p * wss, inv);
    j.st = Scaled(vec(4) - j.s * wt - j.t * ws - j.p * wst, inv);
    j.tt = Scaled(vec(5) - j.t * (2 * wt) - j.p * wtt, inv);
    return j;
}

struct PatchMinimum {
    double s, t, d2;
};

// Newton's method on |S(s, t) - p|^2 from (s, t), kept inside [0, 1]^2: a coordinate whose
// bound holds the gradient back is fixed, an indefinite or singular Hessian is shifted to a
// positive one, and a step is only taken when it lowers the distance (else it is halved), so
// the result is never farther than the start. Where the gradient vanishes but
// the surface curves away (a saddle, or the ring of nearest points around a pole seen from
// the axis), a step along the direction of negative curvature leaves it.
PatchMinimum DescendPatch(const SurfacePatch& q, const Vec3& p, double s, double t, double radius) {
    Jet j = PatchJet(q, s, t);
    Vec3 r = Sub(j.p, p);
    double f = Dot(r, r);
    auto tryMove = [&](double ns, double nt) {
        const Jet k = PatchJet(q, ns, nt);
        const Vec3 rk = Sub(k.p, p);
        const double fk = Dot(rk, rk);
        if (!(fk < f)) return false;
        s = ns;
        t = nt;
        j = k;
        r = rk;
        f = fk;
        return true;
    };
    for (int iter = 0; iter < 40; ++iter) {
        const double gs = Dot(r, j.s), gt = Dot(r, j.t);
        const double hss = Dot(j.s, j.s) + Dot(r, j.ss), hst = Dot(j.s, j.t) + Dot(r, j.st), htt = Dot(j.t, j.t) + Dot(r, j.tt);
        const double scale = std::abs(hss) + std::abs(htt) + Dot(j.s, j.s) + Dot(j.t, j.t) + 1e-300;
        auto lowestOf = [](double a, double b, double c) { return 0.5 * (a + c) - std::sqrt(0.25 * (a - c) * (a - c) + b * b); };
        const bool fixS = (s <= 0.0 && gs > 0.0) || (s >= 1.0 && gs < 0.0);
        const bool fixT = (t <= 0.0 && gt > 0.0) || (t >= 1.0 && gt < 0.0);
        // The Newton step in the free coordinates, the Hessian shifted so that its lowest
        // eigenvalue becomes at least its own size: a negative curvature still bounds the step.
        const double g0 = fixS ? 0.0 : gs, g1 = fixT ? 0.0 : gt;
        const double a = fixS ? 1.0 : hss, c = fixT ? 1.0 : htt, b = fixS || fixT ? 0.0 : hst;
        const double lowest = lowestOf(a, b, c);
        const double shift = lowest < 1e-9 * scale ? std::max(std::abs(lowest), 1e-9 * scale) - lowest : 0.0;
        const double A = a + shift, C = c + shift, det = A * C - b * b;
        double ds = fixS ? 0.0 : -(C * g0 - b * g1) / det;
        double dt = fixT ? 0.0 : -(A * g1 - b * g0) / det;
        // No longer than the trust radius, which doubles while full steps succeed and shrinks
        // to the steps that do: a wild step would jump into another valley.
        const double full = std::max(std::abs(ds), std::abs(dt));
        const bool clipped = full > radius;
        if (clipped) {
            ds *= radius / full;
            dt *= radius / full;
        }
        bool moved = false;
        double step = 0.0;
        // Halved until the distance drops; a step this short that does not lower it is lost in
        // rounding: the minimum is reached.
        const double before = f;
        for (double len = 1.0; (g0 != 0.0 || g1 != 0.0) && len > 1e-12; len *= 0.5) {
            const double ns = std::clamp(s + len * ds, 0.0, 1.0), nt = std::clamp(t + len * dt, 0.0, 1.0);
            step = std::max(std::abs(ns - s), std::abs(nt - t));
            if (!(step > 1e-15)) break;
            if (tryMove(ns, nt)) {
                moved = true;
                radius = len == 1.0 ? (clipped ? 2.0 * radius : radius) : std::max(step, 1e-9);
                break;
            }
            if (step < 1e-9) break;
        }
        // A drop in the last digits only: rounding, not progress.
        if (moved && before - f <= 1e-14 * before) break;
        const double curvature = lowestOf(hss, hst, htt);
        if (curvature < -1e-12 * scale && (!moved || step < 1e-9)) {
            // A saddle, or a maximum along an edge: both ways along the eigenvector of the
            // lowest eigenvalue (from whichever row of H - lowest is better conditioned), kept
            // inside the square, over the lengths at which the quadratic model promises a drop
            // larger than rounding.
            double e0 = hst, e1 = curvature - hss;
            if (e0 * e0 + e1 * e1 < (curvature - htt) * (curvature - htt) + hst * hst) {
                e0 = curvature - htt;
                e1 = hst;
            }
            double norm = std::sqrt(e0 * e0 + e1 * e1);
            if (!(norm > 0.0)) {
                e0 = 1.0;
                e1 = 0.0;
                norm = 1.0;
            }
            for (double sign : {1.0, -1.0}) {
                double d0 = sign * e0 / norm, d1 = sign * e1 / norm;
                if ((s <= 0.0 && d0 < 0.0) || (s >= 1.0 && d0 > 0.0)) d0 = 0.0;
                if ((t <= 0.0 && d1 < 0.0) || (t >= 1.0 && d1 > 0.0)) d1 = 0.0;
                const double slope = gs * d0 + gt * d1, bend = hss * d0 * d0 + 2.0 * hst * d0 * d1 + htt * d1 * d1;
                for (double len = radius; !moved && len > 1e-12 && len * slope + 0.5 * len * len * bend < -1e-15 * f; len *= 0.5)
                    moved = tryMove(std::clamp(s + len * d0, 0.0, 1.0), std::clamp(t + len * d1, 0.0, 1.0));
                if (moved) break;
            }
            if (moved) continue;
        }
        if (!moved || step < 1e-12) break;
    }
    return {s, t, f};
}

struct SurfaceBest {
    size_t patch = 0;
    double s = 0.0, t = 0.0, d2 = kInf;
};

// The nearest point of one patch, where it can beat `best`. The samples bound it from above.
// Every cell of the sample grid lies within `reach` of each of its corners, and within `bend`
// of the hull of its corners (the bilinear interpolation of the corners stays in that hull and
// the cell departs from it by less than `bend`): cells those bounds cannot rule out are
// descended from their middle, nearest bound first, unless a descent already ended beside them.
void PatchClosest(const SurfaceIndex& index, size_t k, const Vec3& p, SurfaceBest& best) {
    const SurfacePatch& q = index.patches[k];
    if (!(q.frame.Distance2(p) < best.d2)) return;
    const Vec3* samples = index.samples.data() + q.firstSample;
    const int side = q.stepsS + 1, count = side * (q.stepsT + 1);
    // Distances to the samples, and their heights along the direction from the patch's middle
    // to p: the highest corner of a cell bounds the distance to the cell's hull from below.
    Vec3 toP = Sub(p, q.middle);
    const double length = std::sqrt(Dot(toP, toP));
    toP = length > 0.0 ? Scaled(toP, 1.0 / length) : Vec3{1, 0, 0};
    double d[kMaxSamples], height[kMaxSamples];
    for (int i = 0; i < count; ++i) {
        d[i] = Dist2(samples[i], p);
        height[i] = Dot(toP, samples[i]);
    }
    int nearest = 0;
    double low = kInf;
    for (int i = 0; i < count; ++i)
        if (d[i] < low) {
            low = d[i];
            nearest = i;
        }
    const double stepS = 1.0 / q.stepsS, stepT = 1.0 / q.stepsT;
    if (low < best.d2) best = {k, (nearest % side) * stepS, (nearest / side) * stepT, low};
    const double bestDistance = std::sqrt(best.d2);
    if (std::sqrt(low) - q.reach >= bestDistance) return;
    const double nearCorners = (bestDistance + q.reach) * (bestDistance + q.reach), top = Dot(toP, p) - q.bend;

    struct Cell {
        double bound2;
        int corner;  // lower-left sample
    };
    Cell cells[kMaxSteps * kMaxSteps];
    int found = 0;
    for (int j = 0; j < q.stepsT; ++j)
        for (int i = 0; i < q.stepsS; ++i) {
            const int c = j * side + i;
            if (std::min(std::min(d[c], d[c + 1]), std::min(d[c + side], d[c + side + 1])) >= nearCorners) continue;
            const double along = std::max(0.0, top - std::max(std::max(height[c], height[c + 1]), std::max(height[c + side], height[c + side + 1])));
            if (along * along >= best.d2) continue;
            const Vec3 &a = samples[c], &b = samples[c + 1], &e = samples[c + side], &f = samples[c + side + 1];
            Box box;
            for (const Vec3* corner : {&a, &b, &e, &f}) box.Grow(*corner);
            box.lo = box.lo - Vec3{q.bend, q.bend, q.bend};
            box.hi = box.hi + Vec3{q.bend, q.bend, q.bend};
            double bound2 = std::max(box.Distance2(p), along * along);
            if (bound2 >= best.d2) continue;
            // The same along the direction from the cell's own middle, tighter when p is near.
            const Vec3 toCell = Sub(p, Scaled(a + b + e + f, 0.25));
            const double distance = std::sqrt(Dot(toCell, toCell));
            if (distance > 0.0) {
                const double highest = std::max(std::max(Dot(toCell, a), Dot(toCell, b)), std::max(Dot(toCell, e), Dot(toCell, f)));
                const double own = std::max(0.0, (Dot(toCell, p) - highest) / distance - q.bend);
                bound2 = std::max(bound2, own * own);
            }
            if (bound2 < best.d2) cells[found++] = {bound2, c};
        }
    std::sort(cells, cells + found, [](const Cell& a, const Cell& b) { return a.bound2 < b.bound2; });
    double ends[8][2];
    int endCount = 0;
    for (int n = 0; n < found && cells[n].bound2 < best.d2; ++n) {
        const double s = (cells[n].corner % side + 0.5) * stepS, t = (cells[n].corner / side + 0.5) * stepT;
        bool covered = false;
        for (int e = 0; e < endCount && !covered; ++e)
            covered = std::abs(ends[e][0] - s) < 2.0 * stepS && std::abs(ends[e][1] - t) < 2.0 * stepT;
        if (covered) continue;
        const PatchMinimum m = DescendPatch(q, p, s, t, std::max(stepS, stepT));
        if (endCount < 8) {
            ends[endCount][0] = m.s;
            ends[endCount][1] = m.t;
            ++endCount;
        }
        if (m.d2 < best.d2) best = {k, m.s, m.t, m.d2};
    }
}

}  // namespace
}  // namespace detail

using namespace detail;

// ---- Curve

Curve::Curve(std::vector<Vec3> points, int degree, bool closed, std::vector<double> weights)
    : m_degree(degree), m_closed(closed), m_userPoints(std::move(points)) {
    const size_t n = m_userPoints.size();
    if (degree < 1 || degree > 3) throw std::invalid_argument("a curve's degree must be 1, 2 or 3");
    if (!weights.empty() && weights.size() != n)
        throw std::invalid_argument("a curve needs one weight per control point");
    if (n < static_cast<size_t>(degree) + 1)
        throw std::invalid_argument("a curve of degree " + std::to_string(degree) + " needs at least " +
                                    std::to_string(degree + 1) + " control points");
    for (size_t i = 0; i < n; ++i) {
        const double w = weights.empty() ? 1.0 : weights[i];
        if (!(w > 0.0)) throw std::invalid_argument("curve weights must be positive");
        const Vec3& p = m_userPoints[i];
        m_points.push_back({p.x * w, p.y * w, p.z * w, w});
    }
    const size_t p = static_cast<size_t>(degree);
    if (closed)
        for (size_t i = 0; i < p; ++i) m_points.push_back(m_points[i]);
    m_knots = MakeKnots(m_points.size(), p, closed);
}

std::array<double, 4> Curve::Homogeneous(double u) const {
    u = std::clamp(u, UMin(), UMax());
    const size_t p = static_cast<size_t>(m_degree);
    const size_t k = FindSpan(m_knots, p, m_points.size(), u);
    std::array<std::array<double, 4>, 4> d{};
    for (size_t j = 0; j <= p; ++j) d[j] = m_points[k - p + j];
    // de Boor's recursion on the p + 1 control points of the span.
    for (size_t r = 1; r <= p; ++r)
        for (size_t j = p; j >= r; --j) {
            size_t i = k - p + j;
            double denom = m_knots[i + p + 1 - r] - m_knots[i];
            double a = denom == 0.0 ? 0.0 : (u - m_knots[i]) / denom;
            for (size_t c = 0; c < 4; ++c) d[j][c] = (1.0 - a) * d[j - 1][c] + a * d[j][c];
        }
    return d[p];
}

Vec3 Curve::Evaluate(double u) const {
    auto h = Homogeneous(u);
    return {h[0] / h[3], h[1] / h[3], h[2] / h[3]};
}

Vec3 Curve::Derivative(double u) const {
    const double h = 1e-6 * (UMax() - UMin());
    double a = std::max(UMin(), u - h), b = std::min(UMax(), u + h);
    Vec3 pa = Evaluate(a), pb = Evaluate(b);
    double inv = 1.0 / (b - a);
    return {(pb.x - pa.x) * inv, (pb.y - pa.y) * inv, (pb.z - pa.z) * inv};
}

double Curve::Length() const {
    static const double x[5] = {0.0, -0.5384693101056831, 0.5384693101056831, -0.9061798459386640, 0.9061798459386640};
    static const double w[5] = {0.5688888888888889, 0.4786286704993665, 0.4786286704993665, 0.2369268850561891,
                                0.2369268850561891};
    double total = 0.0;
    const int pieces = 8;  // per knot span, so that high curvature is followed
    double a = UMin(), b = UMax();
    int spans = std::max(1, static_cast<int>(std::lround(b - a)));
    int n = spans * pieces;
    for (int s = 0; s < n; ++s) {
        double lo = a + (b - a) * s / n, hi = a + (b - a) * (s + 1) / n;
        double mid = (lo + hi) / 2, half = (hi - lo) / 2;
        for (int i = 0; i < 5; ++i) {
            Vec3 d = Derivative(mid + half * x[i]);
            total += w[i] * half * std::sqrt(Dot(d, d));
        }
    }
    return total;
}

const CurveIndex& Curve::Index() const {
    if (m_index) return *m_index;
    auto index = std::make_shared<CurveIndex>();
    index->degree = m_degree;
    const size_t p = static_cast<size_t>(m_degree);
    std::vector<Box> boxes;
    for (size_t k = p; k < m_points.size(); ++k) {
        if (!(m_knots[k] < m_knots[k + 1])) continue;
        const std::array<Poly, 4> basis = BasisPolynomials(m_knots, k, p);
        CurveSpan span{m_knots[k], m_knots[k + 1], {}};
        for (size_t j = 0; j <= p; ++j)
            for (size_t c = 0; c < 4; ++c)
                for (size_t e = 0; e <= p; ++e) span.h[c][e] += basis[j][e] * m_points[k - p + j][c];
        index->spans.push_back(span);
        boxes.push_back(ProjectedBezierBox(span.h, m_degree));
    }
    index->tree.Build(boxes);
    m_index = std::move(index);
    return *m_index;
}

CurvePoint Curve::Closest(const Vec3& p) const {
    const CurveIndex& index = Index();
    double best = kInf, bestT = 0.0;
    size_t bestSpan = 0;
    index.tree.Search(p, best, [&](size_t i) {
        if (SpanClosest(index.spans[i], m_degree, p, best, bestT)) bestSpan = i;
    });
    const CurveSpan& span = index.spans[bestSpan];
    const Vec3 position = SpanPoint(span, bestT);
    const double u = std::clamp(span.u0 + bestT * (span.u1 - span.u0), UMin(), UMax());
    return {u, position, Dist2(position, p)};
}

// ---- Surface

Surface::Surface(std::vector<Vec3> points, int countU, int countV, int degreeU, int degreeV, bool closedU,
                 bool closedV, std::vector<double> weights)
    : m_degreeU(degreeU), m_degreeV(degreeV), m_closedU(closedU), m_closedV(closedV) {
    if (countU < 2 || countV < 2 || points.size() != static_cast<size_t>(countU) * static_cast<size_t>(countV))
        throw std::invalid_argument("a surface needs countU x countV control points");
    if (degreeU < 1 || degreeU > 3 || degreeV < 1 || degreeV > 3)
        throw std::invalid_argument("a surface's degrees must be 1, 2 or 3");
    if (countU < degreeU + 1 || countV < degreeV + 1)
        throw std::invalid_argument("a surface of degree " + std::to_string(degreeU) + " x " + std::to_string(degreeV) +
                                    " needs at least " + std::to_string(degreeU + 1) + " x " +
                                    std::to_string(degreeV + 1) + " control points");
    if (!weights.empty() && weights.size() != points.size())
        throw std::invalid_argument("a surface needs one weight per control point");
    const size_t cu = static_cast<size_t>(countU), cv = static_cast<size_t>(countV);
    const size_t pu = static_cast<size_t>(degreeU), pv = static_cast<size_t>(degreeV);
    m_rowLength = cu + (closedU ? pu : 0);
    const size_t rows = cv + (closedV ? pv : 0);
    m_points.reserve(m_rowLength * rows);
    for (size_t r = 0; r < rows; ++r)
        for (size_t i = 0; i < m_rowLength; ++i) {
            const size_t src = (r % cv) * cu + i % cu;
            const double w = weights.empty() ? 1.0 : weights[src];
            if (!(w > 0.0)) throw std::invalid_argument("surface weights must be positive");
            const Vec3& p = points[src];
            m_points.push_back({p.x * w, p.y * w, p.z * w, w});
        }
    m_knotsU = MakeKnots(m_rowLength, pu, closedU);
    m_knotsV = MakeKnots(rows, pv, closedV);
    m_userPoints = std::move(points);
}

Vec3 Surface::Evaluate(double u, double v) const {
    u = std::clamp(u, UMin(), UMax());
    v = std::clamp(v, VMin(), VMax());
    const size_t pu = static_cast<size_t>(m_degreeU), pv = static_cast<size_t>(m_degreeV);
    const size_t ku = FindSpan(m_knotsU, pu, m_rowLength, u);
    const size_t kv = FindSpan(m_knotsV, pv, m_points.size() / m_rowLength, v);
    double nu[4], nv[4];
    BasisValues(m_knotsU, ku, pu, u, nu);
    BasisValues(m_knotsV, kv, pv, v, nv);
    H4 sum{};
    for (size_t j = 0; j <= pv; ++j)
        for (size_t i = 0; i <= pu; ++i) {
            const H4& cp = m_points[(kv - pv + j) * m_rowLength + ku - pu + i];
            const double b = nv[j] * nu[i];
            for (size_t c = 0; c < 4; ++c) sum[c] += b * cp[c];
        }
    return {sum[0] / sum[3], sum[1] / sum[3], sum[2] / sum[3]};
}

const SurfaceIndex& Surface::Index() const {
    if (m_index) return *m_index;
    auto index = std::make_shared<SurfaceIndex>();
    const size_t pu = static_cast<size_t>(m_degreeU), pv = static_cast<size_t>(m_degreeV);
    const size_t rows = m_points.size() / m_rowLength;
    std::vector<Box> boxes;
    for (size_t kv = pv; kv < rows; ++kv) {
        if (!(m_knotsV[kv] < m_knotsV[kv + 1])) continue;
        const std::array<Poly, 4> bv = BasisPolynomials(m_knotsV, kv, pv);
        for (size_t ku = pu; ku < m_rowLength; ++ku) {
            if (!(m_knotsU[ku] < m_knotsU[ku + 1])) continue;
            const std::array<Poly, 4> bu = BasisPolynomials(m_knotsU, ku, pu);
            SurfacePatch q{m_knotsU[ku], m_knotsU[ku + 1], m_knotsV[kv], m_knotsV[kv + 1], {}, {}, 0.0, 0.0, kMinSteps, kMinSteps, index->samples.size(), {}};
            for (size_t jv = 0; jv <= pv; ++jv)
                for (size_t iu = 0; iu <= pu; ++iu) {
                    const H4& cp = m_points[(kv - pv + jv) * m_rowLength + ku - pu + iu];
                    for (size_t a = 0; a <= pu; ++a)
                        for (size_t b = 0; b <= pv; ++b) {
                            const double basis = bu[iu][a] * bv[jv][b];
                            for (size_t c = 0; c < 4; ++c) q.h[c][a][b] += basis * cp[c];
                        }
                }
            // The Bezier net, row by row in s then column by column in t, projected.
            double net[4][4][4] = {};
            for (size_t c = 0; c < 4; ++c) {
                double half[4][4] = {};
                for (size_t a = 0; a <= pu; ++a) ToBernstein(q.h[c][a].data(), m_degreeV, half[a]);
                for (size_t b = 0; b <= pv; ++b) {
                    double column[4] = {}, out[4] = {};
                    for (size_t a = 0; a <= pu; ++a) column[a] = half[a][b];
                    ToBernstein(column, m_degreeU, out);
                    for (size_t a = 0; a <= pu; ++a) net[c][a][b] = out[a];
                }
            }
            const Jet middle = PatchJet(q, 0.5, 0.5);
            const Vec3 normal = Cross(middle.s, middle.t);
            if (Dot(middle.s, middle.s) > 0.0 && Dot(normal, normal) > 0.0) {
                q.frame.axis[0] = Unit(middle.s);
                q.frame.axis[2] = Unit(normal);
                q.frame.axis[1] = Cross(q.frame.axis[2], q.frame.axis[0]);
            }
            Box box;
            for (size_t a = 0; a <= pu; ++a)
                for (size_t b = 0; b <= pv; ++b) {
                    const Vec3 point{net[0][a][b] / net[3][a][b], net[1][a][b] / net[3][a][b], net[2][a][b] / net[3][a][b]};
                    box.Grow(point);
                    q.frame.Grow(point);
                }
            boxes.push_back(box);
            q.middle = box.Centre();
            const double size = std::sqrt(Dot(Sub(box.hi, box.lo), Sub(box.hi, box.lo)));
            const double tiny = 1e-12 * size;
            // How much the patch turns along each direction, how fast it moves and how much it
            // bends, from a dense grid of derivatives.
            constexpr int dense = 16;
            double fastS = 0.0, fastT = 0.0, turnS = 0.0, sumS = 0.0, sumT = 0.0, bendS = 0.0, bendT = 0.0;
            std::array<Vec3, dense + 1> above{};          // d/dt along the previous row
            std::array<double, dense + 1> columnTurn{};  // turning along t so far, per column
            for (int j = 0; j <= dense; ++j) {
                double rowTurn = 0.0;
                Vec3 left{};
                for (size_t i = 0; i <= dense; ++i) {
                    const Jet jet = PatchJet(q, static_cast<double>(i) / dense, static_cast<double>(j) / dense);
                    const double speedS = std::sqrt(Dot(jet.s, jet.s)), speedT = std::sqrt(Dot(jet.t, jet.t));
                    fastS = std::max(fastS, speedS);
                    fastT = std::max(fastT, speedT);
                    sumS += speedS;
                    sumT += speedT;
                    bendS = std::max(bendS, std::sqrt(Dot(jet.ss, jet.ss)));
                    bendT = std::max(bendT, std::sqrt(Dot(jet.tt, jet.tt)));
                    // (Derivatives that vanish, at a pole, have no direction.)
                    if (i > 0 && std::min(Dot(left, left), Dot(jet.s, jet.s)) > tiny * tiny) rowTurn += Angle(left, jet.s);
                    if (j > 0 && std::min(Dot(above[i], above[i]), Dot(jet.t, jet.t)) > tiny * tiny)
                        columnTurn[i] += Angle(above[i], jet.t);
                    left = jet.s;
                    above[i] = jet.t;
                }
                turnS = std::max(turnS, rowTurn);
            }
            const double turnT = *std::max_element(columnTurn.begin(), columnTurn.end());
            // Uneven speed (weights far apart) bunches the patch up at one end: as many more
            // samples as the fastest speed is above the mean.
            auto steps = [](double turn, double fast, double sum) {
                const double mean = sum / ((dense + 1) * (dense + 1));
                const double uneven = mean > 0.0 ? kMinSteps * fast / mean : kMinSteps;
                return static_cast<int>(std::clamp(std::ceil(std::max(turn / kTurnPerStep, uneven)), double(kMinSteps), double(kMaxSteps)));
            };
            q.stepsS = steps(turnS, fastS, sumS);
            q.stepsT = steps(turnT, fastT, sumT);
            for (int j = 0; j <= q.stepsT; ++j)
                for (int i = 0; i <= q.stepsS; ++i)
                    index->samples.push_back(PatchJet(q, static_cast<double>(i) / q.stepsS, static_cast<double>(j) / q.stepsT).p);
            // With room to spare: the speeds and bends are sampled, not bounded.
            q.reach = 0.75 * (fastS / q.stepsS + fastT / q.stepsT);
            q.bend = 1.5 * (bendS / (8.0 * q.stepsS * q.stepsS) + bendT / (8.0 * q.stepsT * q.stepsT));
            index->patches.push_back(q);
        }
    }
    index->tree.Build(boxes);
    m_index = std::move(index);
    return *m_index;
}

SurfacePoint Surface::Closest(const Vec3& p) const {
    const SurfaceIndex& index = Index();
    SurfaceBest best;
    index.tree.Search(p, best.d2, [&](size_t k) { PatchClosest(index, k, p, best); });
    const SurfacePatch& q = index.patches[best.patch];
    const Vec3 position = PatchJet(q, best.s, best.t).p;
    const double u = std::clamp(q.u0 + best.s * (q.u1 - q.u0), UMin(), UMax());
    const double v = std::clamp(q.v0 + best.t * (q.v1 - q.v0), VMin(), VMax());
    return {u, v, position, Dist2(position, p)};
}

// ---- Shapes

namespace {
// The object model indexes control points with 32-bit LONGs; a shape asked for more (a count
// computed from a user's number may be anything, NaN included) is refused before it is built.
constexpr double kMaxControlPoints = 2147483647.0;

void RequireControlPoints(double count, const std::string& shape) {
    if (!(count <= kMaxControlPoints))
        throw std::invalid_argument(shape + " needs more control points than a curve or surface can hold");
}

// A count along one direction as it weighs in the total: one row at least, so that an empty
// direction does not hide the other's size.
double Rows(double count) { return std::max(count, 1.0); }

std::string Spans(int u, int v) { return std::to_string(u) + " x " + std::to_string(v) + " spans"; }
}  // namespace

Curve Circle(double radius, int segments) {
    if (segments < 4) throw std::invalid_argument("a circle needs at least 4 segments");
    // Control points on a slightly larger circle so that the cubic passes through radius.
    const double pi = std::acos(-1.0);
    const double scale = 3.0 / (2.0 + std::cos(2.0 * pi / segments));
    std::vector<Vec3> pts;
    for (int i = 0; i < segments; ++i) {
        double a = 2.0 * pi * i / segments;
        pts.push_back({radius * scale * std::cos(a), 0.0, radius * scale * std::sin(a)});
    }
    return Curve(std::move(pts), 3, true);
}

Curve Spiral(double radius, double height, double turns, int pointsPerTurn) {
    const double pi = std::acos(-1.0);
    const double count = std::max(4.0, std::ceil(turns * pointsPerTurn) + 1.0);
    RequireControlPoints(count, "a spiral of " + std::to_string(turns) + " turns");
    const int n = static_cast<int>(count);
    std::vector<Vec3> pts;
    for (int i = 0; i < n; ++i) {
        double t = static_cast<double>(i) / (n - 1);
        double a = 2.0 * pi * turns * t;
        pts.push_back({radius * std::cos(a), height * t, radius * std::sin(a)});
    }
    return Curve(std::move(pts), 3, false);
}

Surface GridSurface(double sizeX, double sizeZ, int spansU, int spansV) {
    RequireControlPoints(Rows(spansU + 3.0) * Rows(spansV + 3.0), "a grid surface of " + Spans(spansU, spansV));
    int cu = spansU + 3, cv = spansV + 3;
    std::vector<Vec3> pts;
    for (int j = 0; j < cv; ++j)
        for (int i = 0; i < cu; ++i)
            pts.push_back({-sizeX / 2 + sizeX * i / (cu - 1), 0.0, -sizeZ / 2 + sizeZ * j / (cv - 1)});
    return Surface(std::move(pts), cu, cv, 3, 3, false, false);
}

Surface SphereSurface(double radius, int spansU, int spansV) {
    const double pi = std::acos(-1.0);
    RequireControlPoints(Rows(spansU) * Rows(spansV + 3.0), "a sphere surface of " + Spans(spansU, spansV));
    int cv = spansV + 3;
    std::vector<Vec3> pts;
    for (int j = 0; j < cv; ++j) {
        double lat = -pi / 2 + pi * j / (cv - 1);
        for (int i = 0; i < spansU; ++i) {
            double lon = 2.0 * pi * i / spansU;
            pts.push_back({radius * std::cos(lat) * std::cos(lon), radius * std::sin(lat), radius * std::cos(lat) * std::sin(lon)});
        }
    }
    return Surface(std::move(pts), spansU, cv, 3, 3, true, false);
}

}  // namespace standin::nurbs
