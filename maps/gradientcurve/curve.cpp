#include "gradientcurve/curve.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orbelin::gradientcurve {

namespace {

constexpr int kMaxDegree = 3;
// The stationary-point polynomial: degree at most 3 x 3 - 1.
constexpr int kMaxRootDegree = 3 * kMaxDegree - 1;
using Poly = std::array<double, kMaxRootDegree + 1>;

double Binomial(int n, int k) {
    double r = 1.0;
    for (int i = 1; i <= k; ++i) r = r * (n - k + i) / i;
    return r;
}

// The homogeneous point at u on the span starting at knot `span` (de Boor).
Vec4 DeBoor(int degree, std::span<const double> knots, std::span<const Vec4> hom, size_t span, double u) {
    std::array<Vec4, kMaxDegree + 1> d{};
    for (int j = 0; j <= degree; ++j) d[static_cast<size_t>(j)] = hom[span - static_cast<size_t>(degree) + static_cast<size_t>(j)];
    for (int r = 1; r <= degree; ++r)
        for (int j = degree; j >= r; --j) {
            const size_t i = span - static_cast<size_t>(degree) + static_cast<size_t>(j);
            const double lo = knots[i], hi = knots[i + static_cast<size_t>(degree - r) + 1];
            const double a = hi > lo ? (u - lo) / (hi - lo) : 0.0;
            for (size_t c = 0; c < 4; ++c)
                d[static_cast<size_t>(j)][c] = (1.0 - a) * d[static_cast<size_t>(j - 1)][c] + a * d[static_cast<size_t>(j)][c];
        }
    return d[static_cast<size_t>(degree)];
}

double Horner(const Poly& p, int n, double t) {
    double v = p[static_cast<size_t>(n)];
    for (int k = n - 1; k >= 0; --k) v = v * t + p[static_cast<size_t>(k)];
    return v;
}

// Power basis to Bernstein basis on [0, 1]: b_k = sum over j <= k of C(k, j) / C(n, j) a_j.
struct BernsteinTable {
    std::array<std::array<std::array<double, kMaxRootDegree + 1>, kMaxRootDegree + 1>, kMaxRootDegree + 1> f{};
    BernsteinTable() {
        for (int n = 0; n <= kMaxRootDegree; ++n)
            for (int k = 0; k <= n; ++k)
                for (int j = 0; j <= k; ++j)
                    f[static_cast<size_t>(n)][static_cast<size_t>(k)][static_cast<size_t>(j)] = Binomial(k, j) / Binomial(n, j);
    }
};
const BernsteinTable kBernstein;

int SignChanges(const double* b, int n) {
    int changes = 0, last = 0;
    for (int k = 0; k <= n; ++k) {
        const int s = b[k] > 0 ? 1 : (b[k] < 0 ? -1 : 0);
        if (s == 0) continue;
        if (last != 0 && s != last) ++changes;
        last = s;
    }
    return changes;
}

// A root of p in [a, b] where p(a) and p(b) differ in sign (regula falsi, Illinois variant:
// it stays bracketed and converges faster than halving).
double Bracketed(const Poly& p, int n, double a, double b, double fa, double fb) {
    int side = 0;
    for (int it = 0; it < 100 && b - a > 1e-15; ++it) {
        double t = (a * fb - b * fa) / (fb - fa);
        if (!(t > a && t < b)) t = 0.5 * (a + b);
        const double ft = Horner(p, n, t);
        if (ft == 0.0) return t;
        if ((ft > 0) == (fb > 0)) {
            b = t;
            fb = ft;
            if (side == -1) fa *= 0.5;
            side = -1;
        } else {
            a = t;
            fa = ft;
            if (side == 1) fb *= 0.5;
            side = 1;
        }
    }
    return std::abs(fa) < std::abs(fb) ? a : b;
}

// Every root of p (degree n) in [t0, t1], whose Bernstein coefficients there are `bern`, into
// `roots` (at most n + 1 of them are kept; the polynomial has no more unless it is zero).
void Isolate(const Poly& p, int n, const double* bern, double t0, double t1, int depth, double* roots, int& count) {
    const int changes = SignChanges(bern, n);
    if (changes == 0) return;
    if (count >= n) return;  // no more roots than the degree, unless the polynomial is zero
    if (changes == 1 && bern[0] != 0.0 && bern[n] != 0.0) {
        roots[count++] = Bracketed(p, n, t0, t1, Horner(p, n, t0), Horner(p, n, t1));
        return;
    }
    if (depth > 48 || t1 - t0 < 1e-13) {
        roots[count++] = 0.5 * (t0 + t1);
        return;
    }
    // Split at the middle (de Casteljau).
    std::array<double, kMaxRootDegree + 1> left{}, right{}, work{};
    for (int k = 0; k <= n; ++k) work[static_cast<size_t>(k)] = bern[k];
    for (int r = 0; r <= n; ++r) {
        left[static_cast<size_t>(r)] = work[0];
        right[static_cast<size_t>(n - r)] = work[static_cast<size_t>(n - r)];
        for (int k = 0; k < n - r; ++k) work[static_cast<size_t>(k)] = 0.5 * (work[static_cast<size_t>(k)] + work[static_cast<size_t>(k + 1)]);
    }
    const double mid = 0.5 * (t0 + t1);
    Isolate(p, n, left.data(), t0, mid, depth + 1, roots, count);
    Isolate(p, n, right.data(), mid, t1, depth + 1, roots, count);
}

template <size_t N, size_t M>
void Multiply(const std::array<double, N>& a, int na, const std::array<double, M>& b, int nb, Poly& out) {
    out.fill(0.0);
    for (int i = 0; i <= na; ++i)
        for (int j = 0; j <= nb; ++j) out[static_cast<size_t>(i + j)] += a[static_cast<size_t>(i)] * b[static_cast<size_t>(j)];
}

}  // namespace

namespace {
double SegmentSquaredDistance(const Vec3& p, const Vec3& a, const Vec3& b) {
    const double ux = b[0] - a[0], uy = b[1] - a[1], uz = b[2] - a[2];
    const double wx = p[0] - a[0], wy = p[1] - a[1], wz = p[2] - a[2];
    const double uu = ux * ux + uy * uy + uz * uz;
    double t = uu > 0.0 ? (wx * ux + wy * uy + wz * uz) / uu : 0.0;
    t = std::clamp(t, 0.0, 1.0);
    const double dx = wx - t * ux, dy = wy - t * uy, dz = wz - t * uz;
    return dx * dx + dy * dy + dz * dz;
}
}  // namespace

double Curve::Span::Bound(const Vec3& p, double beat) const {
    const double gap = box.SquaredGap(p);
    if (radius < 0.0 || gap > beat) return gap;
    // Shrunk a hair further: the segment distance has its own rounding.
    const double d = std::sqrt(SegmentSquaredDistance(p, chord0, chord1)) * (1.0 - 1e-12) - radius;
    return d > 0.0 ? std::max(gap, d * d) : gap;
}

double Box::SquaredGap(const Vec3& p) const {
    if (!bounded) return 0.0;
    double g2 = 0.0;
    for (size_t a = 0; a < 3; ++a) {
        const double g = std::max({lo[a] - p[a], p[a] - hi[a], 0.0});
        g2 += g * g;
    }
    return g2;
}

Curve::Curve(int degree, std::span<const double> knots, std::span<const Vec4> points) {
    const size_t n = points.size();
    if (degree < 1 || degree > kMaxDegree || n < static_cast<size_t>(degree) + 1 || knots.size() != n + static_cast<size_t>(degree) + 1)
        return;
    for (size_t i = 1; i < knots.size(); ++i)
        if (!(knots[i] >= knots[i - 1])) return;  // also refuses NaN
    std::vector<Vec4> hom(n);
    for (size_t i = 0; i < n; ++i) {
        const Vec4& q = points[i];
        hom[i] = {q[0] * q[3], q[1] * q[3], q[2] * q[3], q[3]};
    }
    const size_t d = static_cast<size_t>(degree);
    m_uMin = knots[d];
    m_uMax = knots[n];
    if (!(m_uMax > m_uMin) || !std::isfinite(m_uMin) || !std::isfinite(m_uMax)) return;
    for (size_t i = d; i < n; ++i) {
        const double u0 = knots[i], u1 = knots[i + 1];
        if (!(u1 > u0)) continue;
        Span s;
        s.u0 = u0;
        s.u1 = u1;
        s.degree = degree;
        // Sample the span at degree + 1 parameters and interpolate: Newton's divided
        // differences, then the power basis in t.
        std::array<Vec4, kMaxDegree + 1> c{};
        std::array<double, kMaxDegree + 1> nodes{};
        for (size_t j = 0; j <= d; ++j) {
            nodes[j] = static_cast<double>(j) / static_cast<double>(d);
            const double u = j == d ? u1 : u0 + nodes[j] * (u1 - u0);
            c[j] = DeBoor(degree, knots, hom, i, std::min(u, std::nextafter(u1, u0)));
        }
        // The end of the span belongs to the next one; its value is the limit from inside.
        c[d] = DeBoor(degree, knots, hom, i, u1);
        for (size_t level = 1; level <= d; ++level)
            for (size_t j = d; j >= level; --j)
                for (size_t k = 0; k < 4; ++k) c[j][k] = (c[j][k] - c[j - 1][k]) / (nodes[j] - nodes[j - level]);
        std::array<Vec4, kMaxDegree + 1> power{};
        power[0] = c[d];
        for (size_t j = d; j-- > 0;) {
            // power = power * (t - nodes[j]) + c[j]
            for (size_t k = d - j; k > 0; --k)
                for (size_t a = 0; a < 4; ++a) power[k][a] = power[k - 1][a] - nodes[j] * power[k][a];
            for (size_t a = 0; a < 4; ++a) power[0][a] = c[j][a] - nodes[j] * power[0][a];
        }
        for (size_t k = 0; k <= d; ++k) s.a[k] = power[k];
        // The Bezier points and their box.
        bool positive = true;
        std::array<Vec3, kMaxDegree + 1> bez{};
        Box box;
        box.lo = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                  std::numeric_limits<double>::infinity()};
        box.hi = {-box.lo[0], -box.lo[1], -box.lo[2]};
        for (size_t k = 0; k <= d; ++k) {
            Vec4 b{0, 0, 0, 0};
            for (size_t j = 0; j <= k; ++j) {
                const double f = Binomial(static_cast<int>(k), static_cast<int>(j)) / Binomial(degree, static_cast<int>(j));
                for (size_t a = 0; a < 4; ++a) b[a] += f * s.a[j][a];
            }
            if (!(b[3] > 0.0)) {
                positive = false;
                break;
            }
            for (size_t a = 0; a < 3; ++a) {
                bez[k][a] = b[a] / b[3];
                box.lo[a] = std::min(box.lo[a], bez[k][a]);
                box.hi[a] = std::max(box.hi[a], bez[k][a]);
            }
        }
        box.bounded = positive && std::isfinite(box.lo[0] + box.lo[1] + box.lo[2] + box.hi[0] + box.hi[1] + box.hi[2]);
        if (box.bounded) {
            // Widened a little, so that a point the span's arithmetic gives is never outside.
            for (size_t a = 0; a < 3; ++a) {
                const double margin = 1e-9 * (std::abs(box.lo[a]) + std::abs(box.hi[a]) + (box.hi[a] - box.lo[a])) + 1e-12;
                box.lo[a] -= margin;
                box.hi[a] += margin;
            }
        }
        s.box = box;
        if (box.bounded) {
            s.chord0 = bez[0];
            s.chord1 = bez[d];
            double r = 0.0, scale = 0.0;
            for (size_t k = 0; k <= d; ++k) {
                r = std::max(r, std::sqrt(SegmentSquaredDistance(bez[k], s.chord0, s.chord1)));
                for (size_t a = 0; a < 3; ++a) scale = std::max(scale, std::abs(bez[k][a]));
            }
            // Widened like the box, for the rounding of the span's own arithmetic.
            s.radius = std::isfinite(r) ? r + 1e-9 * (scale + r) + 1e-12 : -1.0;
        }
        m_spans.push_back(s);
    }
    if (m_spans.empty()) return;
    m_box = m_spans.front().box;
    for (const Span& s : m_spans) {
        if (!s.box.bounded) {
            m_box.bounded = false;
            break;
        }
        for (size_t a = 0; a < 3; ++a) {
            m_box.lo[a] = std::min(m_box.lo[a], s.box.lo[a]);
            m_box.hi[a] = std::max(m_box.hi[a], s.box.hi[a]);
        }
    }
}

bool Curve::ClosestOnSpan(const Span& s, const Vec3& p, double& bestD2, double& bestT) {
    const int d = s.degree;
    // A(t) = X - p W (and so on): the difference to p, times W.
    std::array<std::array<double, kMaxDegree + 1>, 3> A{};
    std::array<double, kMaxDegree + 1> W{};
    bool constantW = true;
    for (int k = 0; k <= d; ++k) {
        const Vec4& c = s.a[static_cast<size_t>(k)];
        W[static_cast<size_t>(k)] = c[3];
        if (k > 0 && c[3] != 0.0) constantW = false;
        for (size_t a = 0; a < 3; ++a) A[a][static_cast<size_t>(k)] = c[a] - p[a] * c[3];
    }
    // Stationary points of |A|^2 / W^2: roots of (A . A') W - (A . A) W'.
    Poly g{};
    int n = 0;
    std::array<double, kMaxDegree + 1> dA{}, dW{};
    Poly term{};
    if (constantW) {
        n = 2 * d - 1;
        for (size_t a = 0; a < 3; ++a) {
            for (int k = 1; k <= d; ++k) dA[static_cast<size_t>(k - 1)] = k * A[a][static_cast<size_t>(k)];
            Multiply(A[a], d, dA, d - 1, term);
            for (int k = 0; k <= n; ++k) g[static_cast<size_t>(k)] += term[static_cast<size_t>(k)];
        }
    } else {
        n = 3 * d - 1;
        for (int k = 1; k <= d; ++k) dW[static_cast<size_t>(k - 1)] = k * W[static_cast<size_t>(k)];
        Poly AdA{}, AA{};
        for (size_t a = 0; a < 3; ++a) {
            for (int k = 1; k <= d; ++k) dA[static_cast<size_t>(k - 1)] = k * A[a][static_cast<size_t>(k)];
            Multiply(A[a], d, dA, d - 1, term);
            for (int k = 0; k <= 2 * d - 1; ++k) AdA[static_cast<size_t>(k)] += term[static_cast<size_t>(k)];
            Multiply(A[a], d, A[a], d, term);
            for (int k = 0; k <= 2 * d; ++k) AA[static_cast<size_t>(k)] += term[static_cast<size_t>(k)];
        }
        std::array<double, kMaxRootDegree + 1> left{}, right{};
        for (int k = 0; k <= 2 * d - 1; ++k) left[static_cast<size_t>(k)] = AdA[static_cast<size_t>(k)];
        for (int k = 0; k <= 2 * d; ++k) right[static_cast<size_t>(k)] = AA[static_cast<size_t>(k)];
        Multiply(left, 2 * d - 1, W, d, g);
        Multiply(right, 2 * d, dW, d - 1, term);
        for (int k = 0; k <= n; ++k) g[static_cast<size_t>(k)] -= term[static_cast<size_t>(k)];
    }
    // Bernstein form on [0, 1].
    std::array<double, kMaxRootDegree + 1> bern{};
    const auto& table = kBernstein.f[static_cast<size_t>(n)];
    for (int k = 0; k <= n; ++k) {
        double b = 0.0;
        for (int j = 0; j <= k; ++j) b += table[static_cast<size_t>(k)][static_cast<size_t>(j)] * g[static_cast<size_t>(j)];
        bern[static_cast<size_t>(k)] = b;
    }
    std::array<double, kMaxRootDegree + 3> candidates{};
    int roots = 0;
    Isolate(g, n, bern.data(), 0.0, 1.0, 0, candidates.data() + 1, roots);
    // The ends first and last, the roots between them in increasing order.
    candidates[0] = 0.0;
    int count = roots + 1;
    candidates[static_cast<size_t>(count++)] = 1.0;
    bool found = false;
    for (int c = 0; c < count; ++c) {
        const double t = candidates[static_cast<size_t>(c)];
        double x[4] = {0, 0, 0, 0};
        for (size_t a = 0; a < 4; ++a) {
            double v = s.a[static_cast<size_t>(d)][a];
            for (int k = d - 1; k >= 0; --k) v = v * t + s.a[static_cast<size_t>(k)][a];
            x[a] = v;
        }
        const double dx = x[0] / x[3] - p[0], dy = x[1] / x[3] - p[1], dz = x[2] / x[3] - p[2];
        const double d2 = dx * dx + dy * dy + dz * dz;
        if (d2 < bestD2) {
            bestD2 = d2;
            bestT = t;
            found = true;
        }
    }
    return found;
}

void Curve::Found(const Span& s, double d2, double t, ClosestPoint& out) const {
    out.squaredDistance = d2;
    out.u = s.u0 + t * (s.u1 - s.u0);
    out.normalized = (out.u - m_uMin) / (m_uMax - m_uMin);
}

// The answer is the first span, in order, whose nearest point is the nearest of all (each
// span's own answer does not depend on the distance to beat, only whether it is given).
bool Curve::Closest(const Vec3& p, double beat, ClosestPoint& out) const {
    double best = beat;
    bool found = false;
    for (const Span& s : m_spans) {
        // A span whose box is farther than the best point so far cannot hold a nearer one.
        if (s.Bound(p, best) > best) continue;
        double t = 0.0;
        if (ClosestOnSpan(s, p, best, t)) {
            found = true;
            Found(s, best, t, out);
        }
    }
    return found;
}

bool Curve::ClosestNearestFirst(const Vec3& p, double beat, ClosestPoint& out) const {
    constexpr size_t kMaxSorted = 64;
    // (A position that is not a number would make the box distances unorderable.)
    if (m_spans.size() > kMaxSorted || m_spans.size() < 3 || !std::isfinite(p[0] + p[1] + p[2])) return Closest(p, beat, out);
    std::array<std::pair<double, size_t>, kMaxSorted> order;
    double nearest = std::numeric_limits<double>::infinity();
    for (size_t i = 0; i < m_spans.size(); ++i) {
        order[i] = {m_spans[i].Bound(p, beat), i};
        nearest = std::min(nearest, order[i].first);
    }
    if (nearest > beat) return false;  // no span can beat it
    std::sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(m_spans.size()));
    // Nearest box first; among equal distances the earlier span, as the walk in order gives.
    double best = beat;
    size_t bestSpan = 0;
    bool found = false;
    for (size_t k = 0; k < m_spans.size(); ++k) {
        const auto [gap, i] = order[k];
        if (gap > best || (found && gap == best && i > bestSpan)) break;
        const bool earlier = found && i < bestSpan;
        double d2 = earlier ? std::nextafter(best, std::numeric_limits<double>::infinity()) : best, t = 0.0;
        if (!ClosestOnSpan(m_spans[i], p, d2, t)) continue;
        if (d2 < best || (earlier && d2 == best)) {
            best = d2;
            bestSpan = i;
            found = true;
            Found(m_spans[i], d2, t, out);
        }
    }
    return found;
}

Vec3 Curve::Evaluate(double u) const {
    if (m_spans.empty()) return {0, 0, 0};
    u = std::clamp(u, m_uMin, m_uMax);
    const Span* span = &m_spans.back();
    for (const Span& s : m_spans)
        if (u < s.u1) {
            span = &s;
            break;
        }
    const double t = (u - span->u0) / (span->u1 - span->u0);
    double x[4] = {0, 0, 0, 0};
    for (size_t a = 0; a < 4; ++a) {
        double v = span->a[static_cast<size_t>(span->degree)][a];
        for (int k = span->degree - 1; k >= 0; --k) v = v * t + span->a[static_cast<size_t>(k)][a];
        x[a] = v;
    }
    return {x[0] / x[3], x[1] / x[3], x[2] / x[3]};
}

}  // namespace orbelin::gradientcurve
