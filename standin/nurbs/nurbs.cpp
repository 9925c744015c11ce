#include "nurbs/nurbs.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace standin::nurbs {

namespace {

Vec3 Sub(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
double Dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double Dist2(const Vec3& a, const Vec3& b) { return Dot(Sub(a, b), Sub(a, b)); }

// Golden-section search of a function's minimum on [a, b].
template <class F>
double Minimise(F f, double a, double b, double tolerance) {
    const double g = (std::sqrt(5.0) - 1.0) / 2.0;
    double c = b - g * (b - a), d = a + g * (b - a);
    double fc = f(c), fd = f(d);
    while (b - a > tolerance) {
        if (fc < fd) {
            b = d;
            d = c;
            fd = fc;
            c = b - g * (b - a);
            fc = f(c);
        } else {
            a = c;
            c = d;
            fc = fd;
            d = a + g * (b - a);
            fd = f(d);
        }
    }
    return (a + b) / 2.0;
}

constexpr int kSamplesPerSpan = 16;

}  // namespace

Curve::Curve(std::vector<Vec3> points, int degree, bool closed, std::vector<double> weights)
    : m_degree(degree), m_closed(closed), m_userPoints(std::move(points)) {
    const size_t n = m_userPoints.size();
    if (degree < 1 || degree > 3) throw std::invalid_argument("a curve's degree must be 1, 2 or 3");
    if (!weights.empty() && weights.size() != n)
        throw std::invalid_argument("a curve needs one weight per control point");
    if (closed ? n < static_cast<size_t>(degree) + 1 : n < static_cast<size_t>(degree) + 1)
        throw std::invalid_argument("a curve of degree " + std::to_string(degree) + " needs at least " +
                                    std::to_string(degree + 1) + " control points");
    auto weight = [&](size_t i) { return weights.empty() ? 1.0 : weights[i]; };
    for (size_t i = 0; i < n; ++i) {
        double w = weight(i);
        if (!(w > 0.0)) throw std::invalid_argument("curve weights must be positive");
        const Vec3& p = m_userPoints[i];
        m_points.push_back({p.x * w, p.y * w, p.z * w, w});
    }
    const size_t p = static_cast<size_t>(degree);
    if (closed) {
        for (size_t i = 0; i < p; ++i) m_points.push_back(m_points[i]);
        const size_t count = m_points.size() + p + 1;
        for (size_t i = 0; i < count; ++i) m_knots.push_back(static_cast<double>(i) - static_cast<double>(p));
    } else {
        const size_t inner = n - p - 1;
        for (size_t i = 0; i <= p; ++i) m_knots.push_back(0.0);
        for (size_t i = 1; i <= inner; ++i) m_knots.push_back(static_cast<double>(i));
        for (size_t i = 0; i <= p; ++i) m_knots.push_back(static_cast<double>(inner + 1));
    }
}

size_t Curve::Span(double u) const {
    const size_t p = static_cast<size_t>(m_degree);
    const size_t last = m_points.size() - 1;
    if (u >= m_knots[last + 1]) return last;
    if (u <= m_knots[p]) return p;
    auto it = std::upper_bound(m_knots.begin() + static_cast<std::ptrdiff_t>(p),
                               m_knots.begin() + static_cast<std::ptrdiff_t>(last + 1), u);
    return static_cast<size_t>(it - m_knots.begin()) - 1;
}

std::array<double, 4> Curve::Homogeneous(double u) const {
    u = std::clamp(u, UMin(), UMax());
    const size_t p = static_cast<size_t>(m_degree);
    const size_t k = Span(u);
    std::array<std::array<double, 4>, 4> d{};
    for (size_t j = 0; j <= p; ++j) d[j] = m_points[k - p + j];
    // de Boor's recursion on the p + 1 control points of the span.
    for (size_t r = 1; r <= p; ++r)
        for (size_t j = p; j >= r; --j) {
            size_t i = k - p + j;
            double denom = m_knots[i + p + 1 - r] - m_knots[i];
            double a = denom == 0.0 ? 0.0 : (u - m_knots[i]) / denom;
            for (int c = 0; c < 4; ++c) d[j][static_cast<size_t>(c)] = (1.0 - a) * d[j - 1][static_cast<size_t>(c)] + a * d[j][static_cast<size_t>(c)];
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

void Curve::Sample() const {
    const double a = UMin(), b = UMax();
    int spans = std::max(1, static_cast<int>(std::lround(b - a)));
    int n = spans * kSamplesPerSpan;
    m_sampleStep = (b - a) / n;
    m_samples.resize(static_cast<size_t>(n) + 1);
    for (int i = 0; i <= n; ++i) m_samples[static_cast<size_t>(i)] = Evaluate(a + m_sampleStep * i);
    // The fastest the curve moves per unit of parameter, from dense derivatives, with room to
    // spare: it bounds how much closer than a sample the curve can come within one step.
    double fastest = 0.0;
    for (int i = 0; i <= 4 * n; ++i) {
        Vec3 d = Derivative(a + (b - a) * i / (4 * n));
        fastest = std::max(fastest, std::sqrt(Dot(d, d)));
    }
    m_maxSpeed = fastest * 1.5 + 1e-12;
}

CurvePoint Curve::Closest(const Vec3& p) const {
    if (m_samples.empty()) Sample();
    const double a = UMin(), b = UMax(), step = m_sampleStep;
    const size_t n = m_samples.size();
    thread_local std::vector<double> d;
    d.resize(n);
    size_t nearest = 0;
    for (size_t i = 0; i < n; ++i) {
        d[i] = Dist2(m_samples[i], p);
        if (d[i] < d[nearest]) nearest = i;
    }
    auto f = [&](double u) { return Dist2(Evaluate(u), p); };
    auto refine = [&](size_t i) {
        double u0 = a + step * static_cast<double>(i);
        return Minimise(f, std::max(a, u0 - step), std::min(b, u0 + step), 1e-11 * std::max(1.0, b - a));
    };
    double u = refine(nearest);
    CurvePoint best{u, Evaluate(u), f(u)};
    // Other valleys: samples lower than both neighbours (a closed curve wraps around), searched
    // only when the curve's speed lets them come closer than the best found so far.
    for (size_t i = 0; i < n; ++i) {
        if (i == nearest) continue;
        size_t prev = i > 0 ? i - 1 : (m_closed ? n - 2 : i), next = i + 1 < n ? i + 1 : (m_closed ? 1 : i);
        if (d[i] > d[prev] || d[i] > d[next]) continue;
        if (std::sqrt(d[i]) - m_maxSpeed * step >= std::sqrt(best.squaredDistance)) continue;
        double ui = refine(i);
        double di = f(ui);
        if (di < best.squaredDistance) best = {ui, Evaluate(ui), di};
    }
    return best;
}

Surface::Surface(std::vector<Vec3> points, int countU, int countV, int degreeU, int degreeV, bool closedU,
                 bool closedV)
    : m_countU(countU), m_countV(countV), m_degreeV(degreeV), m_closedV(closedV) {
    if (countU < 2 || countV < 2 || points.size() != static_cast<size_t>(countU) * static_cast<size_t>(countV))
        throw std::invalid_argument("a surface needs countU x countV control points");
    for (int r = 0; r < countV; ++r)
        m_rows.emplace_back(std::vector<Vec3>(points.begin() + static_cast<std::ptrdiff_t>(r) * countU,
                                              points.begin() + static_cast<std::ptrdiff_t>(r + 1) * countU),
                            degreeU, closedU);
    ColumnAt(UMin());  // validates the V direction now rather than at the first query
}

Curve Surface::ColumnAt(double u) const {
    std::vector<Vec3> column;
    column.reserve(m_rows.size());
    for (const Curve& row : m_rows) column.push_back(row.Evaluate(u));
    return Curve(std::move(column), m_degreeV, m_closedV);
}

double Surface::VMin() const { return ColumnAt(UMin()).UMin(); }
double Surface::VMax() const { return ColumnAt(UMin()).UMax(); }

Vec3 Surface::Evaluate(double u, double v) const { return ColumnAt(u).Evaluate(v); }

SurfacePoint Surface::Closest(const Vec3& p) const {
    const double u0 = UMin(), u1 = UMax(), v0 = VMin(), v1 = VMax();
    const int nu = std::max(1, static_cast<int>(std::lround(u1 - u0))) * 8;
    const int nv = std::max(1, static_cast<int>(std::lround(v1 - v0))) * 8;
    const double su = (u1 - u0) / nu, sv = (v1 - v0) / nv;
    auto f = [&](double u, double v) { return Dist2(Evaluate(std::clamp(u, u0, u1), std::clamp(v, v0, v1)), p); };
    std::vector<std::tuple<double, double, double>> samples;
    for (int i = 0; i <= nu; ++i) {
        double u = u0 + su * i;
        Curve column = ColumnAt(u);
        for (int j = 0; j <= nv; ++j) {
            double v = v0 + sv * j;
            samples.emplace_back(Dist2(column.Evaluate(v), p), u, v);
        }
    }
    size_t keep = std::min<size_t>(4, samples.size());
    std::partial_sort(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(keep), samples.end());
    SurfacePoint best;
    best.squaredDistance = std::numeric_limits<double>::infinity();
    for (size_t k = 0; k < keep; ++k) {
        auto [d, u, v] = samples[k];
        // Alternating line searches: each is exact along its direction, and the distance is
        // smooth, so the pair converges to the valley's floor.
        for (int iter = 0; iter < 60; ++iter) {
            double nuv = Minimise([&](double x) { return f(x, v); }, std::max(u0, u - su), std::min(u1, u + su), 1e-13);
            double nvv = Minimise([&](double y) { return f(nuv, y); }, std::max(v0, v - sv), std::min(v1, v + sv), 1e-13);
            double moved = std::abs(nuv - u) + std::abs(nvv - v);
            u = nuv;
            v = nvv;
            if (moved < 1e-13) break;
        }
        d = f(u, v);
        if (d < best.squaredDistance) best = {u, v, Evaluate(u, v), d};
    }
    return best;
}

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
    int n = std::max(4, static_cast<int>(std::ceil(turns * pointsPerTurn)) + 1);
    std::vector<Vec3> pts;
    for (int i = 0; i < n; ++i) {
        double t = static_cast<double>(i) / (n - 1);
        double a = 2.0 * pi * turns * t;
        pts.push_back({radius * std::cos(a), height * t, radius * std::sin(a)});
    }
    return Curve(std::move(pts), 3, false);
}

Surface GridSurface(double sizeX, double sizeZ, int spansU, int spansV) {
    int cu = spansU + 3, cv = spansV + 3;
    std::vector<Vec3> pts;
    for (int j = 0; j < cv; ++j)
        for (int i = 0; i < cu; ++i)
            pts.push_back({-sizeX / 2 + sizeX * i / (cu - 1), 0.0, -sizeZ / 2 + sizeZ * j / (cv - 1)});
    return Surface(std::move(pts), cu, cv, 3, 3, false, false);
}

Surface SphereSurface(double radius, int spansU, int spansV) {
    const double pi = std::acos(-1.0);
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
