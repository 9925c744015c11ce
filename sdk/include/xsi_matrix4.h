// 4×4 matrices of doubles.
//
// Row-vector convention: a point p maps to (p, 1)·M, so the translation is in row 3 and
// A·B applies A first, then B.
#pragma once

#include "sicppsdk.h"

namespace XSI::MATH {

class CMatrix4 {
public:
    // The identity.
    CMatrix4() { SetIdentity(); }
    CMatrix4(double m00, double m01, double m02, double m03,
             double m10, double m11, double m12, double m13,
             double m20, double m21, double m22, double m23,
             double m30, double m31, double m32, double m33);

    CMatrix4& Set(double m00, double m01, double m02, double m03,
                  double m10, double m11, double m12, double m13,
                  double m20, double m21, double m22, double m23,
                  double m30, double m31, double m32, double m33);
    void Get(double& m00, double& m01, double& m02, double& m03,
             double& m10, double& m11, double& m12, double& m13,
             double& m20, double& m21, double& m22, double& m23,
             double& m30, double& m31, double& m32, double& m33) const;
    double GetValue(short row, short col) const { return m_m[row][col]; }
    void SetValue(short row, short col, double value) { m_m[row][col] = value; }
    double operator()(short row, short col) const { return m_m[row][col]; }
    double& operator()(short row, short col) { return m_m[row][col]; }

    CMatrix4& SetIdentity();
    // this = a·b (a then b); either may be this matrix.
    CMatrix4& Mul(const CMatrix4& a, const CMatrix4& b);
    CMatrix4& MulInPlace(const CMatrix4& m) { return Mul(*this, m); }
    CMatrix4& operator*=(const CMatrix4& m) { return Mul(*this, m); }
    // False (and no change) when the matrix is singular.
    bool InvertInPlace() { return Invert(*this); }
    bool Invert(const CMatrix4& m);
    CMatrix4& TransposeInPlace() { return Transpose(*this); }
    CMatrix4& Transpose(const CMatrix4& m);
    double GetDeterminant() const;

    bool Equals(const CMatrix4& m) const;
    bool EpsilonEquals(const CMatrix4& m, double epsilon) const;
    bool operator==(const CMatrix4& m) const { return Equals(m); }
    bool operator!=(const CMatrix4& m) const { return !Equals(m); }

private:
    double m_m[4][4];
};

}  // namespace XSI::MATH
