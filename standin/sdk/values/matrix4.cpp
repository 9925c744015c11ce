#include <cmath>
#include <utility>

#include "xsi_matrix4.h"

namespace XSI::MATH {

CMatrix4::CMatrix4(double m00, double m01, double m02, double m03, double m10, double m11, double m12, double m13,
                   double m20, double m21, double m22, double m23, double m30, double m31, double m32, double m33) {
    Set(m00, m01, m02, m03, m10, m11, m12, m13, m20, m21, m22, m23, m30, m31, m32, m33);
}

CMatrix4& CMatrix4::Set(double m00, double m01, double m02, double m03, double m10, double m11, double m12,
                        double m13, double m20, double m21, double m22, double m23, double m30, double m31,
                        double m32, double m33) {
    const double v[16] = {m00, m01, m02, m03, m10, m11, m12, m13, m20, m21, m22, m23, m30, m31, m32, m33};
    for (int i = 0; i < 16; ++i) m_m[i / 4][i % 4] = v[i];
    return *this;
}

void CMatrix4::Get(double& m00, double& m01, double& m02, double& m03, double& m10, double& m11, double& m12,
                   double& m13, double& m20, double& m21, double& m22, double& m23, double& m30, double& m31,
                   double& m32, double& m33) const {
    double* v[16] = {&m00, &m01, &m02, &m03, &m10, &m11, &m12, &m13, &m20, &m21, &m22, &m23, &m30, &m31, &m32, &m33};
    for (int i = 0; i < 16; ++i) *v[i] = m_m[i / 4][i % 4];
}

CMatrix4& CMatrix4::SetIdentity() {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m_m[r][c] = r == c ? 1.0 : 0.0;
    return *this;
}

CMatrix4& CMatrix4::Mul(const CMatrix4& a, const CMatrix4& b) {
    double out[4][4];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out[r][c] = a.m_m[r][0] * b.m_m[0][c] + a.m_m[r][1] * b.m_m[1][c] + a.m_m[r][2] * b.m_m[2][c] +
                        a.m_m[r][3] * b.m_m[3][c];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m_m[r][c] = out[r][c];
    return *this;
}

// Gauss-Jordan elimination with partial pivoting.
bool CMatrix4::Invert(const CMatrix4& m) {
    double a[4][4], inv[4][4];
    double scale = 0.0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            a[r][c] = m.m_m[r][c];
            inv[r][c] = r == c ? 1.0 : 0.0;
            scale = std::fmax(scale, std::fabs(a[r][c]));
        }
    const double tiny = scale * 1e-14;
    for (int col = 0; col < 4; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 4; ++r)
            if (std::fabs(a[r][col]) > std::fabs(a[pivot][col])) pivot = r;
        if (!(std::fabs(a[pivot][col]) > tiny)) return false;
        std::swap(a[col], a[pivot]);
        std::swap(inv[col], inv[pivot]);
        const double d = 1.0 / a[col][col];
        for (int c = 0; c < 4; ++c) {
            a[col][c] *= d;
            inv[col][c] *= d;
        }
        for (int r = 0; r < 4; ++r) {
            if (r == col || a[r][col] == 0.0) continue;
            const double f = a[r][col];
            for (int c = 0; c < 4; ++c) {
                a[r][c] -= f * a[col][c];
                inv[r][c] -= f * inv[col][c];
            }
        }
    }
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m_m[r][c] = inv[r][c];
    return true;
}

CMatrix4& CMatrix4::Transpose(const CMatrix4& m) {
    double out[4][4];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) out[r][c] = m.m_m[c][r];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m_m[r][c] = out[r][c];
    return *this;
}

double CMatrix4::GetDeterminant() const {
    const auto& m = m_m;
    // Laplace expansion by 2×2 minors of the top and bottom row pairs.
    const double s0 = m[0][0] * m[1][1] - m[1][0] * m[0][1], s1 = m[0][0] * m[1][2] - m[1][0] * m[0][2];
    const double s2 = m[0][0] * m[1][3] - m[1][0] * m[0][3], s3 = m[0][1] * m[1][2] - m[1][1] * m[0][2];
    const double s4 = m[0][1] * m[1][3] - m[1][1] * m[0][3], s5 = m[0][2] * m[1][3] - m[1][2] * m[0][3];
    const double c5 = m[2][2] * m[3][3] - m[3][2] * m[2][3], c4 = m[2][1] * m[3][3] - m[3][1] * m[2][3];
    const double c3 = m[2][1] * m[3][2] - m[3][1] * m[2][2], c2 = m[2][0] * m[3][3] - m[3][0] * m[2][3];
    const double c1 = m[2][0] * m[3][2] - m[3][0] * m[2][2], c0 = m[2][0] * m[3][1] - m[3][0] * m[2][1];
    return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
}

bool CMatrix4::Equals(const CMatrix4& m) const {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (m_m[r][c] != m.m_m[r][c]) return false;
    return true;
}

bool CMatrix4::EpsilonEquals(const CMatrix4& m, double epsilon) const {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (!(std::fabs(m_m[r][c] - m.m_m[r][c]) <= epsilon)) return false;
    return true;
}

}  // namespace XSI::MATH
