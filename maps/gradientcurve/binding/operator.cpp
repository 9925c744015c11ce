// The Gradient Curve Map's operator: the shared execution model around one evaluation. The
// mesh's points, both transforms and every connected curve are read here into plain data;
// the kernel then works on them over the cores.
#include <algorithm>
#include <span>
#include <vector>

#include "gradientcurve/evaluate.h"
#include "maps/gradientcurve/binding/gradientcurve_tool.h"
#include "shell/live_operator.h"
#include "xsi_application.h"
#include "xsi_boolarray.h"
#include "xsi_cluster.h"
#include "xsi_geometry.h"
#include "xsi_kinematics.h"
#include "xsi_math.h"
#include "xsi_nurbscurvelist.h"
#include "xsi_primitive.h"

using namespace XSI;

namespace orbelin::gradientcurve {

namespace {

// What the operator keeps between updates: the shared frame record and the evaluation's
// buffers, so that an update after the first allocates nothing the size of the map.
struct OperatorState {
    FrameWeightCache cache;
    std::vector<Vec3> vertices;
    std::vector<int> elements;
    std::vector<Connexion> connexions;
    Workspace workspace;
    CDoubleArray out;
};

Matrix ToMatrix(const MATH::CMatrix4& m) {
    Matrix out{};
    for (short r = 0; r < 4; ++r)
        for (short c = 0; c < 4; ++c) out[static_cast<size_t>(4 * r + c)] = m.GetValue(r, c);
    return out;
}

// The curves of a curve list, in its object's space; none for any other geometry.
void ReadCurves(const CRef& primitive, std::vector<Curve>& curves) {
    curves.clear();
    Geometry geometry = Primitive(primitive).GetGeometry();
    if (!geometry.IsValid() || geometry.GetRef().GetClassID() != siNurbsCurveListID) return;
    CDoubleArray points, knots;
    CLongArray pointCounts, knotCounts, degrees, parameterization;
    CBoolArray closed;
    if (NurbsCurveList(geometry.GetRef())
            .Get(siIGESNurbs, points, pointCounts, knots, knotCounts, closed, degrees, parameterization) != CStatus::OK)
        return;
    size_t p = 0, k = 0;
    const size_t pointValues = static_cast<size_t>(points.GetCount()), knotValues = static_cast<size_t>(knots.GetCount());
    std::vector<Vec4> controls;
    for (LONG c = 0; c < pointCounts.GetCount() && c < knotCounts.GetCount() && c < degrees.GetCount(); ++c) {
        const size_t np = static_cast<size_t>(std::max<LONG>(pointCounts[c], 0)), nk = static_cast<size_t>(std::max<LONG>(knotCounts[c], 0));
        if (np > (pointValues - p) / 4 || nk > knotValues - k) break;  // a description that runs past its arrays
        controls.resize(np);
        for (size_t i = 0; i < np; ++i, p += 4)
            controls[i] = {points[static_cast<LONG>(p)], points[static_cast<LONG>(p + 1)], points[static_cast<LONG>(p + 2)],
                           points[static_cast<LONG>(p + 3)]};
        curves.emplace_back(degrees[c], std::span<const double>(knots.GetArray() + k, nk), controls);
        k += nk;
    }
}

CDoubleArray& EvaluateLive(OperatorState& state, LiveInputs& in) {
    Operator& op = in.op;
    in.property.PutParameterValue(L"OperatorFullPath", CValue(op.GetFullName()));
    const CDoubleArray incoming = in.map.GetElements().GetArray();
    const CLongArray cluster = Cluster(op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetArray();
    const MATH::CVector3Array positions = Primitive(op.GetPortAt(0, 1, 0).GetTarget()).GetGeometry().GetPoints().GetPositionArray();
    const MATH::CMatrix4 meshToWorld = KinematicState(op.GetPortAt(1, 1, 0).GetTarget()).GetTransform().GetMatrix4();
    state.vertices.resize(static_cast<size_t>(std::max<LONG>(positions.GetCount(), 0)));
    for (size_t i = 0; i < state.vertices.size(); ++i) {
        const MATH::CVector3& v = positions[static_cast<LONG>(i)];
        state.vertices[i] = {v.GetX(), v.GetY(), v.GetZ()};
    }
    state.elements.assign(cluster.GetArray(), cluster.GetArray() + std::max<LONG>(cluster.GetCount(), 0));

    const LONG group = ThisTool().connexionGroup;
    const LONG count = std::max<LONG>(op.GetNumInstancesInGroup(group), 0);
    state.connexions.resize(static_cast<size_t>(count));
    Application app;
    for (LONG k = 0; k < count; ++k) {
        Connexion& c = state.connexions[static_cast<size_t>(k)];
        c.enabled = ParameterValueOr<bool>(in.params, EnabledIndex(k), true);
        c.factor = ParameterValueOr<double>(in.params, FactorIndex(k), 1.0);
        app.LogMessage(c.enabled ? L"Connexion Enabled" : L"Connexion Not Enabled", siInfoMsg);
        c.curves.clear();
        if (!c.enabled) continue;
        ReadCurves(op.GetPortAt(0, group, k).GetTarget(), c.curves);
        c.toWorld = ToMatrix(meshToWorld);
        // World to the curve object's space; a space that cannot be inverted leaves positions as they are.
        MATH::CMatrix4 toCurve;
        if (!toCurve.Invert(KinematicState(op.GetPortAt(1, group, k).GetTarget()).GetTransform().GetMatrix4()))
            toCurve.SetIdentity();
        c.toCurve = ToMatrix(toCurve);
    }

    Options o;
    o.postProcess = ParameterValueOr<LONG>(in.params, kPostProcess, 0);
    o.min = ParameterValueOr<double>(in.params, kMin, 0.0);
    o.max = ParameterValueOr<double>(in.params, kMax, 1.0);
    const LONG n = std::max<LONG>(incoming.GetCount(), 0);
    state.out.Resize(n);
    Evaluate(state.vertices, state.elements, std::span<const double>(incoming.GetArray(), static_cast<size_t>(n)),
             state.connexions, o, std::span<double>(state.out.GetData(), static_cast<size_t>(n)), state.workspace);
    return state.out;
}

}  // namespace

}  // namespace orbelin::gradientcurve

ORBELIN_FRAME_CACHE_OPERATOR(zrGradientCurveMapOp, orbelin::gradientcurve::OperatorState,
                              orbelin::gradientcurve::kExecution, orbelin::gradientcurve::EvaluateLive)
