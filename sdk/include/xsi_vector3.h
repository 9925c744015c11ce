// 3D vectors and arrays of them.
//
// The host uses row vectors: v·M, v·T. MulByTransformation maps a point (w = 1).
#pragma once

#include <cmath>
#include <vector>

#include "sicppsdk.h"
#include "xsi_status.h"

namespace XSI::MATH {

class CMatrix4;

class CVector3 {
public:
    CVector3() = default;
    CVector3(double x, double y, double z) : m_x(x), m_y(y), m_z(z) {}

    double GetX() const { return m_x; }
    double GetY() const { return m_y; }
    double GetZ() const { return m_z; }
    CVector3& PutX(double x) { m_x = x; return *this; }
    CVector3& PutY(double y) { m_y = y; return *this; }
    CVector3& PutZ(double z) { m_z = z; return *this; }
    CVector3& Set(double x, double y, double z) { m_x = x; m_y = y; m_z = z; return *this; }
    void Get(double& x, double& y, double& z) const { x = m_x; y = m_y; z = m_z; }
    CVector3& PutNull() { return Set(0.0, 0.0, 0.0); }

    // this = v·t (the point v mapped by t).
    CVector3& MulByTransformation(const CVector3& v, const CTransformation& t);
    CVector3& MulByTransformationInPlace(const CTransformation& t) { return MulByTransformation(*this, t); }
    // this = (v, 1)·m, without the projective divide.
    CVector3& MulByMatrix4(const CVector3& v, const CMatrix4& m);
    CVector3& MulByMatrix4InPlace(const CMatrix4& m) { return MulByMatrix4(*this, m); }

    // Fail (and no change) for a zero vector.
    CStatus NormalizeInPlace() { return Normalize(*this); }
    CStatus Normalize(const CVector3& v);
    double GetLength() const { return std::sqrt(GetLengthSquared()); }
    double GetLengthSquared() const { return m_x * m_x + m_y * m_y + m_z * m_z; }
    double Dot(const CVector3& v) const { return m_x * v.m_x + m_y * v.m_y + m_z * v.m_z; }
    CVector3& Cross(const CVector3& a, const CVector3& b);
    // Angle in radians, in [0, pi]; 0 when either vector is zero.
    double GetAngle(const CVector3& v) const;

    CVector3& Add(const CVector3& a, const CVector3& b) { return Set(a.m_x + b.m_x, a.m_y + b.m_y, a.m_z + b.m_z); }
    CVector3& AddInPlace(const CVector3& v) { return Add(*this, v); }
    CVector3& Sub(const CVector3& a, const CVector3& b) { return Set(a.m_x - b.m_x, a.m_y - b.m_y, a.m_z - b.m_z); }
    CVector3& SubInPlace(const CVector3& v) { return Sub(*this, v); }
    CVector3& Scale(double s, const CVector3& v) { return Set(s * v.m_x, s * v.m_y, s * v.m_z); }
    CVector3& ScaleInPlace(double s) { return Scale(s, *this); }
    // this = s·a + b
    CVector3& ScaleAdd(double s, const CVector3& a, const CVector3& b) {
        return Set(s * a.m_x + b.m_x, s * a.m_y + b.m_y, s * a.m_z + b.m_z);
    }
    CVector3& Negate(const CVector3& v) { return Set(-v.m_x, -v.m_y, -v.m_z); }
    CVector3& NegateInPlace() { return Negate(*this); }
    // this = a + t·(b − a)
    CVector3& LinearlyInterpolate(const CVector3& a, const CVector3& b, double t) {
        return Set(a.m_x + t * (b.m_x - a.m_x), a.m_y + t * (b.m_y - a.m_y), a.m_z + t * (b.m_z - a.m_z));
    }

    bool EpsilonEquals(const CVector3& v, double epsilon) const {
        return std::fabs(m_x - v.m_x) <= epsilon && std::fabs(m_y - v.m_y) <= epsilon && std::fabs(m_z - v.m_z) <= epsilon;
    }
    bool Equals(const CVector3& v) const { return m_x == v.m_x && m_y == v.m_y && m_z == v.m_z; }
    bool operator==(const CVector3& v) const { return Equals(v); }
    bool operator!=(const CVector3& v) const { return !Equals(v); }
    CVector3& operator+=(const CVector3& v) { return AddInPlace(v); }
    CVector3& operator-=(const CVector3& v) { return SubInPlace(v); }
    CVector3& operator*=(const CTransformation& t) { return MulByTransformationInPlace(t); }
    CVector3& operator*=(const CMatrix4& m) { return MulByMatrix4InPlace(m); }
    CVector3& operator*=(double s) { return ScaleInPlace(s); }
    // Component 0, 1 or 2.
    double operator[](const short& i) const { return i == 0 ? m_x : i == 1 ? m_y : m_z; }

private:
    double m_x = 0.0, m_y = 0.0, m_z = 0.0;
};

// Exactly three packed doubles, so that an array of vectors is an array of x, y, z.
static_assert(sizeof(CVector3) == 3 * sizeof(double));

class CVector3Array {
public:
    CVector3Array() = default;
    explicit CVector3Array(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

    LONG GetCount() const { return static_cast<LONG>(m_items.size()); }
    CStatus Add(const CVector3& v) { m_items.push_back(v); return CStatus::OK; }
    CStatus Clear() { m_items.clear(); return CStatus::OK; }
    // New elements are (0, 0, 0).
    CStatus Resize(LONG n);
    const CVector3& operator[](LONG i) const { return m_items[static_cast<size_t>(i)]; }
    CVector3& operator[](LONG i) { return m_items[static_cast<size_t>(i)]; }
    bool operator==(const CVector3Array& o) const { return m_items == o.m_items; }
    bool operator!=(const CVector3Array& o) const { return !(*this == o); }
    // x0, y0, z0, x1, ... (3 × GetCount() values).
    const double* GetArray() const { return reinterpret_cast<const double*>(m_items.data()); }
    // The vectors, for bulk writes (valid until the count changes).
    CVector3* GetData() { return m_items.data(); }

private:
    std::vector<CVector3> m_items;
};

}  // namespace XSI::MATH
