#include "shell/host/arrays.h"

#include "common/parallel.h"
#include "xsi_matrix4.h"
#include "xsi_point.h"

namespace orbelin {

FunctionCurve ReadCurve(const XSI::FCurve& curve) {
    std::vector<CurveKey> keys;
    const LONG n = curve.GetNumKeys();
    keys.reserve(static_cast<size_t>(std::max<LONG>(n, 0)));
    for (LONG i = 0; i < n; ++i) {
        XSI::FCurveKey key = curve.GetKeyAtIndex(i);
        CurveKey k;
        k.time = key.GetTime().GetTime();
        k.value = key.GetValue();
        k.interpolation = key.GetInterpolation();
        k.leftX = key.GetLeftTanX();
        k.leftY = key.GetLeftTanY();
        k.rightX = key.GetRightTanX();
        k.rightY = key.GetRightTanY();
        keys.push_back(k);
    }
    return FunctionCurve(std::move(keys), curve.GetInterpolation(), curve.GetExtrapolation());
}

namespace {

// The transformation's matrix applied as the host applies it (row vector times matrix), on
// plain numbers: the element loops run on the workers.
struct ToWorld {
    double m[4][3];
    explicit ToWorld(const XSI::MATH::CTransformation& t) {
        XSI::MATH::CMatrix4 matrix = t.GetMatrix4();
        for (short r = 0; r < 4; ++r)
            for (short c = 0; c < 3; ++c) m[r][c] = matrix.GetValue(r, c);
    }
    Vec3 operator()(const XSI::MATH::CVector3& v) const {
        const double x = v.GetX(), y = v.GetY(), z = v.GetZ();
        return {x * m[0][0] + y * m[1][0] + z * m[2][0] + m[3][0], x * m[0][1] + y * m[1][1] + z * m[2][1] + m[3][1],
                x * m[0][2] + y * m[1][2] + z * m[2][2] + m[3][2]};
    }
};

}  // namespace

void ReadWorldPositions(const XSI::Geometry& geometry, const XSI::MATH::CTransformation& toWorld, std::vector<Vec3>& out) {
    const XSI::MATH::CVector3Array pts = geometry.GetPoints().GetPositionArray();
    const ToWorld world(toWorld);
    out.resize(static_cast<size_t>(pts.GetCount()));
    ForChunks(out.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) out[i] = world(pts[static_cast<LONG>(i)]);
    });
}

void ReadWorldPositions(const XSI::Geometry& geometry, const XSI::MATH::CTransformation& toWorld,
                        const XSI::CLongArray& indices, std::vector<Vec3>& out) {
    const XSI::MATH::CVector3Array pts = geometry.GetPoints().GetPositionArray();
    const ToWorld world(toWorld);
    const LONG count = pts.GetCount();
    out.resize(static_cast<size_t>(indices.GetCount()));
    ForChunks(out.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            const LONG pt = indices[static_cast<LONG>(i)];
            out[i] = pt >= 0 && pt < count ? world(pts[pt]) : Vec3{0.0, 0.0, 0.0};
        }
    });
}

}  // namespace orbelin
