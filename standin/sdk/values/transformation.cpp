// CVector3, CRotation, CTransformation and the mapping functions (row-vector convention).
#include <algorithm>
#include <cmath>

#include "xsi_math.h"
#include "xsi_rotation.h"
#include "xsi_transformation.h"
#include "xsi_vector3.h"

namespace XSI::MATH {

namespace {
using Mat3 = double[3][3];

// Axes in application order for each CRotation::RotationOrder.
constexpr int kOrderAxes[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

void Mul3(const Mat3& a, const Mat3& b, Mat3& out) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) out[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
}

// Row-vector rotation about one axis: p·R turns p counter-clockwise looking down the axis.
void AxisRotation(int axis, double angle, Mat3& m) {
    const double c = std::cos(angle), s = std::sin(angle);
    const int u = (axis + 1) % 3, v = (axis + 2) % 3;
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k) m[r][k] = r == k ? 1.0 : 0.0;
    m[u][u] = c;
    m[u][v] = s;
    m[v][u] = -s;
    m[v][v] = c;
}

void RotationMatrix(const CVector3& angles, CRotation::RotationOrder order, Mat3& out) {
    const int* axes = kOrderAxes[order];
    Mat3 a, b, ab;
    AxisRotation(axes[0], angles[static_cast<short>(axes[0])], a);
    AxisRotation(axes[1], angles[static_cast<short>(axes[1])], b);
    Mul3(a, b, ab);
    AxisRotation(axes[2], angles[static_cast<short>(axes[2])], a);
    Mul3(ab, a, out);
}

// Euler angles of a pure rotation R = R_i(α)·R_j(β)·R_k(γ) for the order's axes (i, j, k).
// With M = Rᵀ (column-vector form), M = M_k(γ)·M_j(β)·M_i(α); the sign follows the
// parity of (i, j, k). At gimbal lock (cos β = 0) γ is taken as 0.
CVector3 EulerAngles(const Mat3& R, CRotation::RotationOrder order) {
    const int i = kOrderAxes[order][0], j = kOrderAxes[order][1], k = kOrderAxes[order][2];
    const double s = (j == (i + 1) % 3) ? 1.0 : -1.0;
    auto M = [&](int r, int c) { return R[c][r]; };
    const double cb = std::hypot(M(i, i), M(j, i));
    double a, b, g;
    b = std::atan2(-s * M(k, i), cb);
    if (cb > 1e-12) {
        a = std::atan2(s * M(k, j), M(k, k));
        g = std::atan2(s * M(j, i), M(i, i));
    } else {
        a = std::atan2(-s * M(j, k), M(j, j));
        g = 0.0;
    }
    double out[3];
    out[i] = a;
    out[j] = b;
    out[k] = g;
    return CVector3(out[0], out[1], out[2]);
}

CVector3 Row(const CMatrix4& m, short r) { return CVector3(m.GetValue(r, 0), m.GetValue(r, 1), m.GetValue(r, 2)); }

// A unit vector orthogonal to the unit vector u.
CVector3 AnyOrthogonal(const CVector3& u) {
    const double ax = std::fabs(u.GetX()), ay = std::fabs(u.GetY()), az = std::fabs(u.GetZ());
    const CVector3 e = ax <= ay && ax <= az ? CVector3(1, 0, 0) : ay <= az ? CVector3(0, 1, 0) : CVector3(0, 0, 1);
    CVector3 o;
    o.Cross(u, e).NormalizeInPlace();
    return o;
}
}  // namespace

// --- CVector3 ---

CVector3& CVector3::MulByTransformation(const CVector3& v, const CTransformation& t) {
    return MulByMatrix4(v, t.m_matrix);
}

CVector3& CVector3::MulByMatrix4(const CVector3& v, const CMatrix4& m) {
    const double x = v.m_x, y = v.m_y, z = v.m_z;
    return Set(x * m(0, 0) + y * m(1, 0) + z * m(2, 0) + m(3, 0), x * m(0, 1) + y * m(1, 1) + z * m(2, 1) + m(3, 1),
               x * m(0, 2) + y * m(1, 2) + z * m(2, 2) + m(3, 2));
}

CStatus CVector3::Normalize(const CVector3& v) {
    const double len = v.GetLength();
    if (!(len > 0.0) || !std::isfinite(len)) return CStatus::Fail;
    Scale(1.0 / len, v);
    return CStatus::OK;
}

CVector3& CVector3::Cross(const CVector3& a, const CVector3& b) {
    return Set(a.m_y * b.m_z - a.m_z * b.m_y, a.m_z * b.m_x - a.m_x * b.m_z, a.m_x * b.m_y - a.m_y * b.m_x);
}

double CVector3::GetAngle(const CVector3& v) const {
    const double d = std::sqrt(GetLengthSquared() * v.GetLengthSquared());
    if (!(d > 0.0)) return 0.0;
    return std::acos(std::clamp(Dot(v) / d, -1.0, 1.0));
}

// --- CVector3Array ---

CStatus CVector3Array::Resize(LONG n) {
    if (n < 0) return CStatus::InvalidArgument;
    m_items.resize(static_cast<size_t>(n));
    return CStatus::OK;
}

// --- CRotation ---

CRotation& CRotation::SetFromMatrix4(const CMatrix4& m, RotationOrder order) {
    Mat3 r;
    for (short i = 0; i < 3; ++i)
        for (short k = 0; k < 3; ++k) r[i][k] = m(i, k);
    m_angles = EulerAngles(r, order);
    m_order = order;
    return *this;
}

CMatrix4 CRotation::GetMatrix4() const {
    Mat3 r;
    RotationMatrix(m_angles, m_order, r);
    CMatrix4 m;
    for (short i = 0; i < 3; ++i)
        for (short k = 0; k < 3; ++k) m(i, k) = r[i][k];
    return m;
}

// --- CTransformation ---

CTransformation& CTransformation::SetIdentity() {
    m_scl.Set(1.0, 1.0, 1.0);
    m_rot.SetIdentity();
    m_pos.PutNull();
    m_matrix.SetIdentity();
    return *this;
}

CTransformation& CTransformation::SetTranslationFromValues(double x, double y, double z) {
    m_pos.Set(x, y, z);
    Compose();
    return *this;
}

CTransformation& CTransformation::SetRotationFromXYZAnglesValues(double x, double y, double z) {
    return SetRotationFromXYZAnglesValues(x, y, z, m_rot.GetOrder());
}

CTransformation& CTransformation::SetRotationFromXYZAnglesValues(double x, double y, double z,
                                                                 CRotation::RotationOrder order) {
    m_rot.SetFromXYZAnglesValues(x, y, z, order);
    Compose();
    return *this;
}

void CTransformation::SetRotation(const CRotation& r) {
    m_rot = r;
    Compose();
}

CTransformation& CTransformation::SetScalingFromValues(double x, double y, double z) {
    m_scl.Set(x, y, z);
    Compose();
    return *this;
}

void CTransformation::SetMatrix4(const CMatrix4& m) {
    m_matrix = m;
    Decompose();
}

CTransformation& CTransformation::Mul(const CTransformation& a, const CTransformation& b) {
    m_matrix.Mul(a.m_matrix, b.m_matrix);
    Decompose();
    return *this;
}

CTransformation& CTransformation::Invert(const CTransformation& t) {
    CMatrix4 inv;
    if (inv.Invert(t.m_matrix)) SetMatrix4(inv);
    return *this;
}

void CTransformation::Compose() {
    Mat3 r;
    RotationMatrix(m_rot.GetXYZAngles(), m_rot.GetOrder(), r);
    m_matrix.SetIdentity();
    for (short i = 0; i < 3; ++i)
        for (short k = 0; k < 3; ++k) m_matrix(i, k) = m_scl[i] * r[i][k];
    for (short k = 0; k < 3; ++k) m_matrix(3, k) = m_pos[k];
}

// Upper 3×3 rows are sx·u0, sy·u1, sz·u2 for a pure S·R. Gram-Schmidt gives the nearest
// such split when there is shear; a mirror shows as a negative x scale.
void CTransformation::Decompose() {
    const CVector3 r0 = Row(m_matrix, 0), r1 = Row(m_matrix, 1), r2 = Row(m_matrix, 2);
    CVector3 c12;
    const double det = r0.Dot(c12.Cross(r1, r2));
    const double sx = (det < 0.0 ? -1.0 : 1.0) * r0.GetLength();
    CVector3 u0(1, 0, 0), u1, u2;
    if (sx != 0.0) u0.Scale(1.0 / sx, r0);
    u1.ScaleAdd(-r1.Dot(u0), u0, r1);
    if (u1.NormalizeInPlace() != CStatus::OK) u1 = AnyOrthogonal(u0);
    u2.Cross(u0, u1);
    m_scl.Set(sx, r1.Dot(u1), r2.Dot(u2));
    const Mat3 rot = {{u0.GetX(), u0.GetY(), u0.GetZ()}, {u1.GetX(), u1.GetY(), u1.GetZ()}, {u2.GetX(), u2.GetY(), u2.GetZ()}};
    m_rot.SetFromXYZAngles(EulerAngles(rot, m_rot.GetOrder()), m_rot.GetOrder());
    m_pos = Row(m_matrix, 3);
}

// --- Mapping ---

CVector3 MapObjectPositionToWorldSpace(const CTransformation& objectSpace, const CVector3& pos) {
    CVector3 out;
    return out.MulByTransformation(pos, objectSpace);
}

CVector3 MapWorldPositionToObjectSpace(const CTransformation& objectSpace, const CVector3& pos) {
    CMatrix4 inv;
    if (!inv.Invert(objectSpace.GetMatrix4())) return pos;  // singular space: no defined answer
    CVector3 out;
    return out.MulByMatrix4(pos, inv);
}

CVector3 MapObjectPositionToObjectSpace(const CTransformation& objectSpace, const CTransformation& targetSpace,
                                        const CVector3& pos) {
    return MapWorldPositionToObjectSpace(targetSpace, MapObjectPositionToWorldSpace(objectSpace, pos));
}

}  // namespace XSI::MATH
