#include "render/render.h"

#include "io/file_out.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "core/numbers.h"

namespace standin::render {

using mesh::Vec3;

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kSubBits = 4;  // vertices snap to 1/16 of a sample: exact edge tests, no cracks
constexpr int kSub = 1 << kSubBits;
constexpr Rgb kGrey{208, 208, 208};
constexpr Rgb kCurve{55, 55, 60};
constexpr Rgb kNoValueLine{140, 140, 146};
constexpr Rgb kInk{35, 35, 42};
constexpr Rgb kBackgroundTop{248, 249, 251}, kBackgroundBottom{218, 222, 229};

uint32_t Pack(Rgb c) { return uint32_t{c.r} | uint32_t{c.g} << 8 | uint32_t{c.b} << 16; }

// Polynomial fit of the map, within about 1% of its published table everywhere.
std::array<double, 3> ViridisFit(double t) {
    static constexpr double c[7][3] = {
        {0.2777273272234177, 0.005407344544966578, 0.3340998053353061},
        {0.1050930431085774, 1.404613529898575, 1.384590162594685},
        {-0.3308618287255563, 0.214847559468213, 0.09509516302823659},
        {-4.634230498983486, -5.799100973351585, -19.33244095627987},
        {6.228269936347081, 14.17993336680509, 56.69055260068105},
        {4.776384997670288, -13.74514537774601, -65.35303263337234},
        {-5.435455855934631, 4.645852612178535, 26.3124352495832},
    };
    std::array<double, 3> out{};
    for (int k = 0; k < 3; ++k) {
        double v = c[6][k];
        for (int i = 5; i >= 0; --i) v = v * t + c[i][k];
        out[static_cast<size_t>(k)] = std::clamp(v, 0.0, 1.0);
    }
    return out;
}

const std::array<Rgb, 256>& ColourTable(ColourMap map) {
    static const auto make = [](ColourMap m) {
        std::array<Rgb, 256> t{};
        for (int i = 0; i < 256; ++i) t[static_cast<size_t>(i)] = MapColour(m, i / 255.0);
        return t;
    };
    static const std::array<Rgb, 256> perceptual = make(ColourMap::Perceptual), diverging = make(ColourMap::Diverging);
    return map == ColourMap::Diverging ? diverging : perceptual;
}

bool Finite(const Vec3& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

// The viewer: an orthonormal frame, the pinhole's focal length in samples and the half-extent
// of the view as tangents. Camera space: x right, y up, z forward (depth).
struct View {
    Vec3 eye, right, up, forward;
    double focal = 1.0, tanX = 1.0, tanY = 1.0, nearZ = 1e-6;
    double cx = 0.0, cy = 0.0;  // the principal point, in samples

    Vec3 ToCamera(const Vec3& p) const {
        Vec3 d = p - eye;
        return {d.Dot(right), d.Dot(up), d.Dot(forward)};
    }
};

void Aim(View& view, const Vec3& eye, const Vec3& target, Vec3 up) {
    view.eye = eye;
    view.forward = (target - eye).Normalized();
    Vec3 right = view.forward.Cross(up);
    if (right.Length() < 1e-9 * up.Length() || up.Length() == 0.0) {
        // Looking along `up`: any up across the view will do.
        up = std::abs(view.forward.y) < 0.9 ? Vec3{0, 1, 0} : Vec3{0, 0, -1};
        right = view.forward.Cross(up);
    }
    view.right = right.Normalized();
    view.up = view.right.Cross(view.forward);
}

template <class F>
void ForEachPoint(const Scene& scene, F&& f) {
    for (const Drawable& d : scene.drawables) {
        for (const Vec3& p : d.positions)
            if (Finite(p)) f(p);
        for (const auto& line : d.polylines)
            for (const Vec3& p : line)
                if (Finite(p)) f(p);
    }
}

struct Bounds {
    Vec3 lo, hi;
    bool empty = true;
    Vec3 Centre() const { return (lo + hi) * 0.5; }
    double Radius() const { return (hi - lo).Length() * 0.5; }
};

Bounds SceneBounds(const Scene& scene) {
    Bounds b;
    ForEachPoint(scene, [&](const Vec3& p) {
        if (b.empty) {
            b.lo = b.hi = p;
            b.empty = false;
            return;
        }
        b.lo = {std::min(b.lo.x, p.x), std::min(b.lo.y, p.y), std::min(b.lo.z, p.z)};
        b.hi = {std::max(b.hi.x, p.x), std::max(b.hi.y, p.y), std::max(b.hi.z, p.z)};
    });
    return b;
}

// Sets up the view for a viewport of sw x sh samples.
View MakeView(const Scene& scene, const RenderOptions& options, int sw, int sh) {
    View view;
    const Bounds bounds = SceneBounds(scene);
    const Vec3 centre = bounds.empty ? Vec3{} : bounds.Centre();
    double radius = bounds.empty ? 0.0 : bounds.Radius();
    if (!(radius > 0.0)) radius = 1.0;

    const double fov = options.camera ? options.camera->fovDegrees : 35.0;
    view.tanY = std::tan(fov * kPi / 360.0);
    view.tanX = view.tanY * sw / sh;
    view.focal = sh * 0.5 / view.tanY;
    view.cx = sw * 0.5;
    view.cy = sh * 0.5;

    if (options.camera) {
        Aim(view, options.camera->eye, options.camera->target, options.camera->up);
        view.nearZ = 1e-5 * ((view.eye - centre).Length() + radius);
        return view;
    }
    // Back off along the viewing direction until every point is inside the view, with a
    // margin: tighter than fitting the bounding sphere, which leaves a flat scene small.
    // Seen from above, the box's centre does not project to the middle of what is seen, so
    // the eye then slides sideways to centre the picture, and backs off again to fit.
    const Vec3 toEye = Vec3{1.0, 1.2, 1.6}.Normalized();
    Aim(view, centre, centre - toEye, {0, 1, 0});
    const double margin = 0.92;
    double shiftX = 0.0, shiftY = 0.0, distance = 0.0;
    for (int pass = 0; pass < 4; ++pass) {
        distance = 0.0;
        ForEachPoint(scene, [&](const Vec3& p) {
            Vec3 c = view.ToCamera(p);  // relative to the centre for now
            distance = std::max(distance, std::abs(c.x - shiftX) / (view.tanX * margin) - c.z);
            distance = std::max(distance, std::abs(c.y - shiftY) / (view.tanY * margin) - c.z);
            distance = std::max(distance, 0.05 * radius - c.z);
        });
        if (!(distance > 0.0) || !std::isfinite(distance)) {
            distance = radius / std::sin(fov * kPi / 360.0);
            shiftX = shiftY = 0.0;
            break;
        }
        if (pass == 3) break;
        double lo[2] = {1e300, 1e300}, hi[2] = {-1e300, -1e300};
        ForEachPoint(scene, [&](const Vec3& p) {
            Vec3 c = view.ToCamera(p);
            double x = (c.x - shiftX) / (c.z + distance), y = (c.y - shiftY) / (c.z + distance);
            lo[0] = std::min(lo[0], x), hi[0] = std::max(hi[0], x);
            lo[1] = std::min(lo[1], y), hi[1] = std::max(hi[1], y);
        });
        shiftX += (lo[0] + hi[0]) * 0.5 * distance;
        shiftY += (lo[1] + hi[1]) * 0.5 * distance;
    }
    view.eye = centre + toEye * distance + view.right * shiftX + view.up * shiftY;
    view.nearZ = 1e-5 * (distance + radius);
    return view;
}

// Clip flags against the near plane and a guard band twice the view's size on each side:
// inside it, snapped sample coordinates stay far from overflowing the edge arithmetic.
enum : uint8_t { kNear = 1, kLeft = 2, kRight = 4, kBottom = 8, kTop = 16, kInvalid = 32 };
constexpr double kGuard = 2.0;

uint8_t Outcode(const View& v, const Vec3& c) {
    // A scene at the edge of the doubles' range may overflow on its way into the camera.
    if (!Finite(c)) return kInvalid;
    uint8_t code = 0;
    if (c.z < v.nearZ) code |= kNear;
    double gx = kGuard * v.tanX * c.z, gy = kGuard * v.tanY * c.z;
    if (c.x < -gx) code |= kLeft;
    if (c.x > gx) code |= kRight;
    if (c.y < -gy) code |= kBottom;
    if (c.y > gy) code |= kTop;
    return code;
}

// Signed distance-like value of a camera-space point to clip plane `bit` (inside >= 0).
double PlaneValue(const View& v, const Vec3& c, uint8_t bit) {
    switch (bit) {
        case kNear: return c.z - v.nearZ;
        case kLeft: return c.x + kGuard * v.tanX * c.z;
        case kRight: return kGuard * v.tanX * c.z - c.x;
        case kBottom: return c.y + kGuard * v.tanY * c.z;
        default: return kGuard * v.tanY * c.z - c.y;
    }
}

// A vertex ready for the rasteriser: snapped sample position, 1/depth, and the value and its
// mask both multiplied by 1/depth so that screen-space interpolation is perspective-correct.
struct ScreenVertex {
    int64_t x = 0, y = 0;
    float iz = 0.0f, vz = 0.0f, mz = 0.0f;
};

// A vertex before projection. `t` is the value normalised to the colour bar (clamped a little
// beyond it so that infinities interpolate), `m` 1 where there is a value, 0 where not.
struct ClipVertex {
    Vec3 c;
    double t = 0.0, m = 0.0;
};

// A screen coordinate in samples. Within the guard band it is far inside these bounds; they
// keep the edge functions' products within 64 bits whatever a degenerate view gives.
int64_t Snap(double samples) {
    constexpr int64_t kBound = int64_t{1} << 30;
    return Saturated<int64_t>(std::round(samples), 0, -kBound, kBound);
}

ScreenVertex Project(const View& v, const ClipVertex& cv) {
    double iz = 1.0 / cv.c.z;
    double sx = v.cx + cv.c.x * iz * v.focal, sy = v.cy - cv.c.y * iz * v.focal;
    ScreenVertex s;
    s.x = Snap(sx * kSub);
    s.y = Snap(sy * kSub);
    s.iz = static_cast<float>(iz);
    s.vz = static_cast<float>(cv.t * cv.m * iz);
    s.mz = static_cast<float>(cv.m * iz);
    return s;
}

int64_t FloorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

struct Shade {
    bool values = false;
    float intensity = 1.0f;
};

// The supersampled frame: colours packed 0x00BBGGRR and 1/depth (0 = nothing drawn yet).
class Frame {
public:
    Frame(int w, int h, ColourMap map)
        : m_w(w), m_h(h), m_colour(static_cast<size_t>(w) * h), m_depth(static_cast<size_t>(w) * h, 0.0f) {
        const auto& lut = ColourTable(map);
        for (size_t i = 0; i < 256; ++i) m_lut[i] = {float(lut[i].r), float(lut[i].g), float(lut[i].b)};
    }
    int Width() const { return m_w; }
    int Height() const { return m_h; }
    uint32_t& Colour(int x, int y) { return m_colour[static_cast<size_t>(y) * m_w + x]; }

    void Triangle(ScreenVertex a, ScreenVertex b, ScreenVertex c, const Shade& shade);
    void Line(const ScreenVertex& a, const ScreenVertex& b, float width, Rgb colour);

private:
    int m_w, m_h;
    std::vector<uint32_t> m_colour;
    std::vector<float> m_depth;
    std::array<std::array<float, 3>, 256> m_lut{};
};

void Frame::Triangle(ScreenVertex a, ScreenVertex b, ScreenVertex c, const Shade& shade) {
    int64_t area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    if (area == 0) return;
    if (area < 0) {  // two-sided: either winding fills
        std::swap(b, c);
        area = -area;
    }
    int64_t minX = std::min({a.x, b.x, c.x}), maxX = std::max({a.x, b.x, c.x});
    int64_t minY = std::min({a.y, b.y, c.y}), maxY = std::max({a.y, b.y, c.y});
    // Samples whose centres (i + 1/2) lie within the box.
    int64_t x0 = std::max<int64_t>(0, FloorDiv(minX - kSub / 2 + kSub - 1, kSub));
    int64_t x1 = std::min<int64_t>(m_w - 1, FloorDiv(maxX - kSub / 2, kSub));
    int64_t y0 = std::max<int64_t>(0, FloorDiv(minY - kSub / 2 + kSub - 1, kSub));
    int64_t y1 = std::min<int64_t>(m_h - 1, FloorDiv(maxY - kSub / 2, kSub));
    if (x0 > x1 || y0 > y1) return;

    // Edge functions w0 (opposite a), w1 (opposite b), w2 (opposite c); positive inside.
    // A sample on an edge shared by two triangles belongs to exactly one of them.
    auto bias = [](const ScreenVertex& p, const ScreenVertex& q) {
        int64_t dy = q.y - p.y, dx = q.x - p.x;
        return (dy < 0 || (dy == 0 && dx > 0)) ? 0 : -1;
    };
    const int64_t b0 = bias(b, c), b1 = bias(c, a), b2 = bias(a, b);
    const int64_t px = x0 * kSub + kSub / 2, py = y0 * kSub + kSub / 2;
    auto edge = [&](const ScreenVertex& p, const ScreenVertex& q) { return (q.x - p.x) * (py - p.y) - (q.y - p.y) * (px - p.x); };
    int64_t row0 = edge(b, c), row1 = edge(c, a), row2 = edge(a, b);
    const int64_t dx0 = -(c.y - b.y) * kSub, dx1 = -(a.y - c.y) * kSub, dx2 = -(b.y - a.y) * kSub;
    const int64_t dy0 = (c.x - b.x) * kSub, dy1 = (a.x - c.x) * kSub, dy2 = (b.x - a.x) * kSub;

    const float inv = 1.0f / static_cast<float>(area);
    const float izb = b.iz - a.iz, izc = c.iz - a.iz;
    const float vzb = b.vz - a.vz, vzc = c.vz - a.vz;
    const float mzb = b.mz - a.mz, mzc = c.mz - a.mz;
    const float k = shade.intensity;
    const uint32_t grey = Pack({static_cast<uint8_t>(kGrey.r * k + 0.5f), static_cast<uint8_t>(kGrey.g * k + 0.5f),
                                static_cast<uint8_t>(kGrey.b * k + 0.5f)});

    for (int64_t y = y0; y <= y1; ++y, row0 += dy0, row1 += dy1, row2 += dy2) {
        int64_t w0 = row0, w1 = row1, w2 = row2;
        const size_t rowIndex = static_cast<size_t>(y) * m_w;
        for (int64_t x = x0; x <= x1; ++x, w0 += dx0, w1 += dx1, w2 += dx2) {
            if (((w0 + b0) | (w1 + b1) | (w2 + b2)) < 0) continue;
            const float l1 = static_cast<float>(w1) * inv, l2 = static_cast<float>(w2) * inv;
            const float iz = a.iz + l1 * izb + l2 * izc;
            const size_t i = rowIndex + static_cast<size_t>(x);
            if (!(iz > m_depth[i])) continue;
            m_depth[i] = iz;
            uint32_t colour = grey;
            if (shade.values) {
                const float mz = a.mz + l1 * mzb + l2 * mzc;
                // Where more than half the weight comes from corners with a value: colour.
                if (mz >= 0.5f * iz) {
                    const float t = (a.vz + l1 * vzb + l2 * vzc) / mz;
                    const int index = static_cast<int>(std::clamp(t, 0.0f, 1.0f) * 255.0f + 0.5f);
                    const auto& rgb = m_lut[static_cast<size_t>(index)];
                    colour = static_cast<uint32_t>(rgb[0] * k + 0.5f) | static_cast<uint32_t>(rgb[1] * k + 0.5f) << 8 |
                             static_cast<uint32_t>(rgb[2] * k + 0.5f) << 16;
                }
            }
            m_colour[i] = colour;
        }
    }
}

void Frame::Line(const ScreenVertex& a, const ScreenVertex& b, float width, Rgb colour) {
    const double ax = double(a.x) / kSub, ay = double(a.y) / kSub, bx = double(b.x) / kSub, by = double(b.y) / kSub;
    const double r = width * 0.5, r2 = r * r;
    const int reach = static_cast<int>(std::ceil(r));
    // Only the part of the segment that can touch the frame is stepped along: the step count
    // stays within the frame's size however long the segment is.
    double t0 = 0.0, t1 = 1.0;
    auto keep = [&](double from, double delta, double lo, double hi) {
        if (delta == 0.0) return from >= lo && from <= hi;
        double enter = (lo - from) / delta, leave = (hi - from) / delta;
        if (enter > leave) std::swap(enter, leave);
        t0 = std::max(t0, enter);
        t1 = std::min(t1, leave);
        return t0 <= t1;
    };
    const double margin = reach + 1.0;
    if (!keep(ax, bx - ax, -margin, m_w + margin) || !keep(ay, by - ay, -margin, m_h + margin)) return;
    const double length = std::max(std::abs(bx - ax), std::abs(by - ay)) * (t1 - t0);
    const int steps = std::max(1, static_cast<int>(std::ceil(length * 2.0)));
    const uint32_t packed = Pack(colour);
    for (int s = 0; s <= steps; ++s) {
        const double t = t0 + (t1 - t0) * s / steps;
        const double x = ax + (bx - ax) * t, y = ay + (by - ay) * t;
        // 1/depth is linear on screen; pulled a little nearer so that a curve lying on a
        // surface is not lost in it.
        const float iz = static_cast<float>((a.iz + (b.iz - a.iz) * t) * 1.004);
        const int cx = static_cast<int>(std::floor(x)), cy = static_cast<int>(std::floor(y));
        for (int py = cy - reach; py <= cy + reach; ++py) {
            if (py < 0 || py >= m_h) continue;
            for (int px = cx - reach; px <= cx + reach; ++px) {
                if (px < 0 || px >= m_w) continue;
                const double ddx = px + 0.5 - x, ddy = py + 0.5 - y;
                if (ddx * ddx + ddy * ddy > r2) continue;
                const size_t i = static_cast<size_t>(py) * m_w + px;
                if (!(iz >= m_depth[i])) continue;
                m_depth[i] = iz;
                m_colour[i] = packed;
            }
        }
    }
}

// Clips a convex polygon (in camera space, attributes alongside) against the planes in
// `planes`, Sutherland-Hodgman style.
void ClipPolygon(const View& v, std::vector<ClipVertex>& poly, std::vector<ClipVertex>& scratch, uint8_t planes) {
    for (uint8_t bit = kNear; bit <= kTop && !poly.empty(); bit = static_cast<uint8_t>(bit << 1)) {
        if (!(planes & bit)) continue;
        scratch.clear();
        for (size_t i = 0; i < poly.size(); ++i) {
            const ClipVertex& p = poly[i];
            const ClipVertex& q = poly[(i + 1) % poly.size()];
            double dp = PlaneValue(v, p.c, bit), dq = PlaneValue(v, q.c, bit);
            if (dp >= 0) scratch.push_back(p);
            if ((dp >= 0) != (dq >= 0)) {
                double s = dp / (dp - dq);
                scratch.push_back({p.c + (q.c - p.c) * s, p.t + (q.t - p.t) * s, p.m + (q.m - p.m) * s});
            }
        }
        poly.swap(scratch);
    }
}

// Clips a segment against the planes in `planes`; false when nothing is left.
bool ClipSegment(const View& v, ClipVertex& a, ClipVertex& b, uint8_t planes) {
    double t0 = 0.0, t1 = 1.0;
    for (uint8_t bit = kNear; bit <= kTop; bit = static_cast<uint8_t>(bit << 1)) {
        if (!(planes & bit)) continue;
        double da = PlaneValue(v, a.c, bit), db = PlaneValue(v, b.c, bit);
        if (da < 0 && db < 0) return false;
        if (da < 0) t0 = std::max(t0, da / (da - db));
        if (db < 0) t1 = std::min(t1, da / (da - db));
    }
    if (t0 > t1) return false;
    Vec3 ca = a.c, cb = b.c;
    a.c = ca + (cb - ca) * t0;
    b.c = ca + (cb - ca) * t1;
    return true;
}

void Validate(const Drawable& d, size_t index) {
    auto fail = [&](const std::string& what) {
        throw std::invalid_argument("render: drawable " + std::to_string(index) + ": " + what);
    };
    const size_t n = d.positions.size();
    if (n > static_cast<size_t>(std::numeric_limits<int32_t>::max())) fail("too many positions");
    if (!d.values.empty() && d.values.size() != n)
        fail(std::to_string(d.values.size()) + " values for " + std::to_string(n) + " positions");
    if (!d.polylineValues.empty() && d.polylineValues.size() != d.polylines.size())
        fail(std::to_string(d.polylineValues.size()) + " values for " + std::to_string(d.polylines.size()) + " line strips");
    if (d.polyOffsets.empty()) {
        if (!d.polyVertices.empty()) fail("polygon corners without offsets");
        return;
    }
    if (d.polyOffsets.front() != 0) fail("polygon offsets do not start at 0");
    if (static_cast<size_t>(d.polyOffsets.back()) != d.polyVertices.size()) fail("polygon offsets do not end at the corner count");
    for (size_t p = 0; p + 1 < d.polyOffsets.size(); ++p)
        if (d.polyOffsets[p + 1] < d.polyOffsets[p]) fail("polygon offsets decrease at polygon " + std::to_string(p));
    for (int32_t v : d.polyVertices)
        if (v < 0 || static_cast<size_t>(v) >= n) fail("corner index " + std::to_string(v) + " out of range");
}

ValueRange ChooseRange(const Scene& scene, const RenderOptions& options) {
    ValueRange range;
    if (options.valueRange) {
        range = *options.valueRange;
    } else {
        double lo = std::numeric_limits<double>::infinity(), hi = -lo;
        for (const Drawable& d : scene.drawables) {
            for (double v : d.values)
                if (std::isfinite(v)) lo = std::min(lo, v), hi = std::max(hi, v);
            for (double v : d.polylineValues)
                if (std::isfinite(v)) lo = std::min(lo, v), hi = std::max(hi, v);
        }
        if (lo > hi) return {0.0, 1.0};
        range = {lo, hi};
    }
    if (range.min == range.max) {
        double half = std::max(std::abs(range.min) * 0.5, 0.5);
        range = {range.min - half, range.max + half};
    }
    return range;
}

std::string FormatValue(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", v);
    std::string s = text;
    return s == "-0" ? "0" : s;
}

Rgb Mix(Rgb a, Rgb b, double t) {
    auto m = [t](uint8_t x, uint8_t y) { return static_cast<uint8_t>(std::lround(x + (y - x) * t)); };
    return {m(a.r, b.r), m(a.g, b.g), m(a.b, b.b)};
}

Rgb Background(int y, int height) { return Mix(kBackgroundTop, kBackgroundBottom, height > 1 ? double(y) / (height - 1) : 0.0); }

// Where the parts of the picture go, in pixels.
struct Layout {
    int scale = 1, margin = 4;
    int viewX = 0, viewY = 0, viewW = 0, viewH = 0;
    bool legend = false;
    int barX = 0, barY = 0, barW = 0, barH = 0;
    std::string labels[3];  // top, middle, bottom of the bar
};

Layout MakeLayout(const RenderOptions& options, bool hasValues, const ValueRange& range) {
    Layout l;
    const int w = options.width, h = options.height;
    l.scale = std::clamp(std::min(w, h) / 300, 1, 4);
    l.margin = 5 * l.scale;
    l.viewW = w;
    l.viewH = h;
    if (!options.title.empty() && h > 4 * TextHeight(l.scale)) {
        l.viewY = TextHeight(l.scale) + 2 * l.margin;
        l.viewH = h - l.viewY;
    }
    if (hasValues) {
        l.labels[0] = FormatValue(range.max);
        l.labels[1] = FormatValue(range.min + (range.max - range.min) * 0.5);
        l.labels[2] = FormatValue(range.min);
        int labelW = 0;
        for (const auto& s : l.labels) labelW = std::max(labelW, TextWidth(s, l.scale));
        l.barW = 8 * l.scale;
        const int tick = 3 * l.scale;
        l.barX = w - l.margin - labelW - 2 * tick - l.barW;
        // A picture too small for a legend goes without one rather than without a view.
        if (l.barX - l.margin >= w / 2 && l.viewH >= 6 * TextHeight(l.scale)) {
            l.legend = true;
            l.viewW = l.barX - l.margin;
            l.barH = std::max(l.viewH * 11 / 20, 2 * TextHeight(l.scale));
            l.barY = l.viewY + (l.viewH - l.barH) / 2;
        }
    }
    return l;
}

void DrawLegend(Image& image, const Layout& l, ColourMap map) {
    const Rgb border{90, 92, 98};
    for (int y = 0; y < l.barH; ++y) {
        const Rgb c = MapColour(map, l.barH > 1 ? 1.0 - double(y) / (l.barH - 1) : 0.5);
        for (int x = 0; x < l.barW; ++x) image.Set(l.barX + x, l.barY + y, c);
    }
    for (int x = -1; x <= l.barW; ++x) image.Set(l.barX + x, l.barY - 1, border), image.Set(l.barX + x, l.barY + l.barH, border);
    for (int y = -1; y <= l.barH; ++y) image.Set(l.barX - 1, l.barY + y, border), image.Set(l.barX + l.barW, l.barY + y, border);
    const int tick = 3 * l.scale;
    const int rows[3] = {l.barY, l.barY + l.barH / 2, l.barY + l.barH - 1};
    for (int i = 0; i < 3; ++i) {
        for (int x = 0; x < tick; ++x)
            for (int t = 0; t < std::max(1, l.scale / 2); ++t) image.Set(l.barX + l.barW + 1 + x, rows[i] + t, border);
        // Capital height is 7 rows: centre those on the tick.
        DrawText(image, l.barX + l.barW + 2 * tick, rows[i] - 7 * l.scale / 2, l.labels[i], kInk, l.scale);
    }
}

}  // namespace

Image::Image(int w, int h, Rgb fill) : width(std::max(w, 0)), height(std::max(h, 0)) {
    rgb.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    for (size_t i = 0; i < rgb.size(); i += 3) rgb[i] = fill.r, rgb[i + 1] = fill.g, rgb[i + 2] = fill.b;
}

Rgb Viridis(double t) {
    if (std::isnan(t)) t = 0.0;
    auto c = ViridisFit(std::clamp(t, 0.0, 1.0));
    return {static_cast<uint8_t>(std::lround(c[0] * 255)), static_cast<uint8_t>(std::lround(c[1] * 255)),
            static_cast<uint8_t>(std::lround(c[2] * 255))};
}

Rgb Diverging(double t) {
    if (std::isnan(t)) t = 0.5;
    t = std::clamp(t, 0.0, 1.0);
    // Blue (40, 80, 200) to white, then white to red (200, 40, 40): linear on each side.
    const Rgb ends[2] = {{40, 80, 200}, {200, 40, 40}};
    const Rgb& end = t < 0.5 ? ends[0] : ends[1];
    const double a = t < 0.5 ? 1.0 - 2.0 * t : 2.0 * t - 1.0;  // 0 at white, 1 at the end
    auto mix = [a](uint8_t e) { return static_cast<uint8_t>(std::lround(255.0 + (e - 255.0) * a)); };
    return {mix(end.r), mix(end.g), mix(end.b)};
}

Rgb MapColour(ColourMap map, double t) { return map == ColourMap::Diverging ? Diverging(t) : Viridis(t); }

Drawable MeshDrawable(const mesh::PolyMesh& mesh, std::vector<double> values) {
    Drawable d;
    d.positions.assign(mesh.Positions().begin(), mesh.Positions().end());
    if (mesh.PolygonCount() > 0) {
        d.polyOffsets.reserve(static_cast<size_t>(mesh.PolygonCount()) + 1);
        d.polyVertices.reserve(static_cast<size_t>(mesh.SampleCount()));
        d.polyOffsets.push_back(0);
        for (int32_t p = 0; p < mesh.PolygonCount(); ++p) {
            auto corners = mesh.PolygonVertices(p);
            d.polyVertices.insert(d.polyVertices.end(), corners.begin(), corners.end());
            d.polyOffsets.push_back(static_cast<int32_t>(d.polyVertices.size()));
        }
    }
    d.values = std::move(values);
    return d;
}

Image Render(const Scene& scene, const RenderOptions& options) {
    if (options.width < 1 || options.height < 1 || options.width > 16384 || options.height > 16384)
        throw std::invalid_argument("render: picture size " + std::to_string(options.width) + " x " + std::to_string(options.height) +
                                    " is not within 1 .. 16384");
    if (options.supersample < 1 || options.supersample > 4)
        throw std::invalid_argument("render: supersample " + std::to_string(options.supersample) + " is not within 1 .. 4");
    if (options.camera) {
        const Camera& cam = *options.camera;
        if (!Finite(cam.eye) || !Finite(cam.target) || !Finite(cam.up) || cam.eye == cam.target)
            throw std::invalid_argument("render: the camera needs a finite eye apart from its target");
        if (!(cam.fovDegrees > 0.0 && cam.fovDegrees < 180.0))
            throw std::invalid_argument("render: field of view " + std::to_string(cam.fovDegrees) + " is not within (0, 180) degrees");
    }
    if (options.valueRange) {
        const ValueRange& r = *options.valueRange;
        if (!std::isfinite(r.min) || !std::isfinite(r.max) || r.max < r.min)
            throw std::invalid_argument("render: value range [" + std::to_string(r.min) + ", " + std::to_string(r.max) + "] is not usable");
    }
    bool hasValues = false;
    for (size_t i = 0; i < scene.drawables.size(); ++i) {
        Validate(scene.drawables[i], i);
        hasValues = hasValues || !scene.drawables[i].values.empty() || !scene.drawables[i].polylineValues.empty();
    }

    const ValueRange range = ChooseRange(scene, options);
    const Layout layout = MakeLayout(options, hasValues, range);
    // Beyond 64 M samples the frame would outweigh any use of the picture: fewer samples.
    int ss = options.supersample;
    while (ss > 1 && int64_t{layout.viewW} * layout.viewH * ss * ss > (int64_t{1} << 26)) --ss;
    const int sw = layout.viewW * ss, sh = layout.viewH * ss;
    const View view = MakeView(scene, options, sw, sh);

    Frame frame(sw, sh, options.colourMap);
    for (int y = 0; y < sh; ++y) {
        const uint32_t bg = Pack(Background(layout.viewY + y / ss, options.height));
        for (int x = 0; x < sw; ++x) frame.Colour(x, y) = bg;
    }

    // A key light above the viewer's left shoulder; the ambient term keeps the unlit side's
    // shape and colour readable.
    const Vec3 light = (view.right * -0.45 + view.up * 0.8 + view.forward * -1.0).Normalized();
    const double ambient = 0.38, diffuse = 1.0 - ambient;
    const double invRange = 1.0 / (range.max - range.min);

    std::vector<ClipVertex> verts;
    std::vector<uint8_t> codes;
    std::vector<ScreenVertex> screen;
    std::vector<ClipVertex> poly, scratch;
    for (const Drawable& d : scene.drawables) {
        const size_t n = d.positions.size();
        verts.resize(n);
        codes.resize(n);
        screen.resize(n);
        for (size_t i = 0; i < n; ++i) {
            const Vec3& p = d.positions[i];
            ClipVertex& cv = verts[i];
            if (!Finite(p)) {
                codes[i] = kInvalid;
                continue;
            }
            cv.c = view.ToCamera(p);
            cv.m = 0.0;
            cv.t = 0.0;
            if (!d.values.empty() && !std::isnan(d.values[i])) {
                cv.m = 1.0;
                cv.t = std::clamp((d.values[i] - range.min) * invRange, -1.0, 2.0);
            }
            codes[i] = Outcode(view, cv.c);
            if (codes[i] == 0) screen[i] = Project(view, cv);
        }

        Shade shade;
        shade.values = !d.values.empty();
        const int32_t polygons = d.polyOffsets.empty() ? 0 : static_cast<int32_t>(d.polyOffsets.size() - 1);
        for (int32_t p = 0; p < polygons; ++p) {
            const int32_t begin = d.polyOffsets[static_cast<size_t>(p)], end = d.polyOffsets[static_cast<size_t>(p) + 1];
            const auto i0 = static_cast<size_t>(d.polyVertices[static_cast<size_t>(begin)]);
            for (int32_t k = begin + 1; k + 1 < end; ++k) {
                const auto i1 = static_cast<size_t>(d.polyVertices[static_cast<size_t>(k)]);
                const auto i2 = static_cast<size_t>(d.polyVertices[static_cast<size_t>(k) + 1]);
                const uint8_t c0 = codes[i0], c1 = codes[i1], c2 = codes[i2];
                if ((c0 | c1 | c2) & kInvalid) continue;
                if (c0 & c1 & c2) continue;  // all beyond one plane
                const Vec3 normal = (d.positions[i1] - d.positions[i0]).Cross(d.positions[i2] - d.positions[i0]).Normalized();
                shade.intensity = static_cast<float>(ambient + diffuse * std::abs(normal.Dot(light)));
                if ((c0 | c1 | c2) == 0) {
                    frame.Triangle(screen[i0], screen[i1], screen[i2], shade);
                    continue;
                }
                poly.assign({verts[i0], verts[i1], verts[i2]});
                ClipPolygon(view, poly, scratch, static_cast<uint8_t>(c0 | c1 | c2));
                if (poly.size() < 3) continue;
                const ScreenVertex first = Project(view, poly[0]);
                ScreenVertex prev = Project(view, poly[1]);
                for (size_t j = 2; j < poly.size(); ++j) {
                    const ScreenVertex next = Project(view, poly[j]);
                    frame.Triangle(first, prev, next, shade);
                    prev = next;
                }
            }
        }

        const float lineWidth = 1.6f * static_cast<float>(ss) * static_cast<float>(layout.scale + 1) / 3.0f;
        for (size_t l = 0; l < d.polylines.size(); ++l) {
            const auto& line = d.polylines[l];
            Rgb colour = kCurve;
            if (!d.polylineValues.empty()) {
                const double v = d.polylineValues[l];
                const double t = std::clamp((v - range.min) * invRange, 0.0, 1.0);
                // Darker than the surface in the same colour, so that a strand stands out from
                // the mesh it grows on.
                const Rgb c = options.colourMap == ColourMap::Diverging ? Diverging(t) : Viridis(t);
                colour = std::isnan(v) ? kNoValueLine
                                       : Rgb{static_cast<uint8_t>(c.r * 3 / 5), static_cast<uint8_t>(c.g * 3 / 5),
                                             static_cast<uint8_t>(c.b * 3 / 5)};
            }
            for (size_t j = 0; j + 1 < line.size(); ++j) {
                if (!Finite(line[j]) || !Finite(line[j + 1])) continue;
                ClipVertex a{view.ToCamera(line[j])}, b{view.ToCamera(line[j + 1])};
                const uint8_t ca = Outcode(view, a.c), cb = Outcode(view, b.c);
                if ((ca & cb) || ((ca | cb) & kInvalid)) continue;
                if ((ca | cb) && !ClipSegment(view, a, b, static_cast<uint8_t>(ca | cb))) continue;
                frame.Line(Project(view, a), Project(view, b), lineWidth, colour);
            }
        }
    }

    Image image(options.width, options.height);
    for (int y = 0; y < options.height; ++y) {
        const Rgb bg = Background(y, options.height);
        for (int x = 0; x < options.width; ++x) image.Set(x, y, bg);
    }
    const int area = ss * ss;
    for (int y = 0; y < layout.viewH; ++y)
        for (int x = 0; x < layout.viewW; ++x) {
            int r = 0, g = 0, b = 0;
            for (int sy = 0; sy < ss; ++sy)
                for (int sx = 0; sx < ss; ++sx) {
                    const uint32_t c = frame.Colour(x * ss + sx, y * ss + sy);
                    r += c & 0xFF, g += c >> 8 & 0xFF, b += c >> 16 & 0xFF;
                }
            image.Set(layout.viewX + x, layout.viewY + y,
                      {static_cast<uint8_t>((r + area / 2) / area), static_cast<uint8_t>((g + area / 2) / area),
                       static_cast<uint8_t>((b + area / 2) / area)});
        }

    if (layout.legend) DrawLegend(image, layout, options.colourMap);
    if (layout.viewY > 0) DrawText(image, layout.margin, layout.margin, options.title, kInk, layout.scale);
    return image;
}

void WritePng(const Image& image, const std::string& path) {
    if (image.width < 1 || image.height < 1 || image.rgb.size() != static_cast<size_t>(image.width) * image.height * 3)
        throw std::runtime_error("cannot write " + path + ": the image is empty or its pixels do not match its size");
    // Encoded in memory and written by io: libpng removes the file it fails to write, which
    // would lose the picture that was there, or a device named as the target.
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.width);
    png.height = static_cast<png_uint_32>(image.height);
    png.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = 0;
    std::vector<uint8_t> encoded;
    bool ok = png_image_write_to_memory(&png, nullptr, &size, 0, image.rgb.data(), 0, nullptr);
    if (ok) {
        encoded.resize(size);
        ok = png_image_write_to_memory(&png, encoded.data(), &size, 0, image.rgb.data(), 0, nullptr);
    }
    if (!ok) {
        std::string why = png.message[0] ? png.message : "libpng failed";
        png_image_free(&png);
        throw std::runtime_error("cannot write " + path + ": " + why);
    }
    io::WriteFileWhole(path, std::string_view(reinterpret_cast<const char*>(encoded.data()), size));
}

}  // namespace standin::render
