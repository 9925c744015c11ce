// The Proximity Map's operator: the shared execution model around one evaluation whose
// inputs are read through the operator's ports.
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "proximity/evaluate.h"
#include "maps/proximity/binding/proximity_tool.h"
#include "shell/frame_cache.h"
#include "shell/host/arrays.h"
#include "shell/live_operator.h"
#include "xsi_application.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_fcurve.h"
#include "xsi_geometry.h"
#include "xsi_kinematics.h"
#include "xsi_math.h"
#include "xsi_nurbscurvelist.h"
#include "xsi_nurbssurfacemesh.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_primitive.h"
#include "xsi_updatecontext.h"

using namespace XSI;

namespace orbelin::proximity {

namespace {

// What the operator keeps between updates: the shared frame record, and the buffers of the
// evaluation, so that an update after the first allocates nothing the size of the map. Each
// connexion keeps its point grid while its points stay put.
struct OperatorState {
    FrameWeightCache cache;
    std::vector<Point> elements;
    std::vector<Connexion> connexions;
    std::vector<Point> points;  // a connexion's points, in world space
    Workspace workspace;
    CDoubleArray out;
};

double Distance(const Point& a, const MATH::CVector3& b) {
    double dx = a[0] - b.GetX(), dy = a[1] - b.GetY(), dz = a[2] - b.GetZ();
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// The box around a set of points; empty for no points.
struct Box {
    Point lo{}, hi{};
    bool empty = true;
    explicit Box(const std::vector<Point>& points) {
        if (points.empty()) return;
        empty = false;
        lo = hi = points.front();
        for (const Point& p : points)
            for (size_t a = 0; a < 3; ++a) {
                lo[a] = std::min(lo[a], p[a]);
                hi[a] = std::max(hi[a], p[a]);
            }
    }
    double Gap(const Point& p) const {
        double g2 = 0.0;
        for (size_t a = 0; a < 3; ++a) {
            double g = std::max({lo[a] - p[a], p[a] - hi[a], 0.0});
            g2 += g * g;
        }
        return std::sqrt(g2);
    }
};

// Reads what connexion k offers into `c`: its points, or one distance per element (curves,
// surfaces and any other object's origin). `settled`: past this distance the exact one does
// not matter.
void ReadConnexion(Operator& op, LONG k, OperatorState& state, double settled, Connexion& c) {
    Geometry geometry = Primitive(op.GetPortAt(0, 3, k).GetTarget()).GetGeometry();
    MATH::CTransformation t = KinematicState(op.GetPortAt(1, 3, k).GetTarget()).GetTransform();
    siClassID cls = geometry.GetRef().GetClassID();
    c.pointSet = cls == siPolygonMeshID;
    c.distances.clear();
    if (c.pointSet) {
        ReadWorldPositions(geometry, t, state.points);
        if (!c.points || c.points->Points() != state.points) c.points = std::make_shared<PointIndex>(state.points);
        return;
    }
    c.points.reset();
    const std::vector<Point>& elements = state.elements;
    c.distances.resize(elements.size());
    if (cls == siNurbsCurveListID || cls == siNurbsSurfaceMeshID) {
        NurbsCurveList curves(geometry.GetRef());
        NurbsSurfaceMesh surfaces(geometry.GetRef());
        // Curves and surfaces lie within the hull of their control points: an element whose
        // distance to the points' box is past the settled distance needs no closest point.
        ReadWorldPositions(geometry, t, state.points);
        const Box hull(state.points);
        for (size_t i = 0; i < elements.size(); ++i) {
            const Point& p = elements[i];
            if (!hull.empty) {
                double gap = hull.Gap(p);
                if (gap > settled) {
                    c.distances[i] = gap;
                    continue;
                }
            }
            MATH::CVector3 local = MATH::MapWorldPositionToObjectSpace(t, MATH::CVector3(p[0], p[1], p[2])), closest;
            LONG index = 0;
            double d2 = 0, u = 0, v = 0;
            if (cls == siNurbsCurveListID) curves.GetClosestCurvePosition(local, index, d2, u, closest);
            else surfaces.GetClosestSurfacePosition(local, index, d2, u, v, closest);
            c.distances[i] = Distance(p, MATH::MapObjectPositionToWorldSpace(t, closest));
        }
        return;
    }
    MATH::CVector3 origin = t.GetTranslation();
    for (size_t i = 0; i < elements.size(); ++i) c.distances[i] = Distance(elements[i], origin);
}

void EvaluateNow(UpdateContext& ctxt, OperatorState& state, CustomProperty& property, const CParameterRefArray& params,
                 const ClusterProperty& map) {
    Operator op = ctxt.GetOperator();
    property.PutParameterValue(L"OperatorFullPath", CValue(op.GetFullName()));
    CLongArray elementPoints = Cluster(op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetArray();
    Geometry geometry = Primitive(op.GetPortAt(0, 1, 0).GetTarget()).GetGeometry();
    MATH::CTransformation t = KinematicState(op.GetPortAt(1, 1, 0).GetTarget()).GetTransform();
    ReadWorldPositions(geometry, t, elementPoints, state.elements);
    Options o;
    o.nearRange = ParameterValue(params, kNear);
    o.farRange = ParameterValue(params, kFar);
    o.additive = ParameterValue(params, kAddMode);
    o.postProcess = ParameterValue(params, kPostProcess);
    o.lower = ParameterValue(params, kMin);
    o.upper = ParameterValue(params, kMax);
    if (o.nearRange + 0.0001 >= o.farRange)
        Application().LogMessage(L"Far Range internally set to " + CValue(o.nearRange + 0.0001).GetAsText() + L"!", siWarningMsg);
    // Read once, as plain data: the workers evaluate it without calling the host.
    const Falloff falloff = ReadCurve(FCurve(property.GetParameter(L"Falloff").GetValue()));
    const double settled = SettledDistance(falloff, o);
    const LONG count = std::max<LONG>(op.GetNumInstancesInGroup(3), 0);
    state.connexions.resize(static_cast<size_t>(count));
    for (LONG k = 0; k < count; ++k) {
        CValue enabled = ParameterValue(params, EnabledIndex(k)), factor = ParameterValue(params, FactorIndex(k));
        Connexion& c = state.connexions[static_cast<size_t>(k)];
        c.enabled = enabled.IsEmpty() || static_cast<bool>(enabled);
        c.factor = factor.IsEmpty() ? 1.0 : static_cast<double>(factor);
        if (c.enabled && c.factor != 0.0) ReadConnexion(op, k, state, settled, c);
    }
    // The map's own weights matter only when no connexion contributes.
    CDoubleArray base;
    if (FactorSum(state.connexions) == 0.0) base = map.GetElements().GetArray();
    std::span<const double> baseWeights(base.GetArray(), static_cast<size_t>(base.GetCount()));
    state.out.Resize(static_cast<LONG>(state.elements.size()));
    Evaluate(state.elements, baseWeights, state.connexions, falloff, o,
             std::span<double>(state.out.GetData(), state.elements.size()), state.workspace);
}

CDoubleArray& EvaluateLive(OperatorState& state, LiveInputs& in) {
    EvaluateNow(in.context, state, in.property, in.params, in.map);
    return state.out;
}

}  // namespace

}  // namespace orbelin::proximity

ORBELIN_FRAME_CACHE_OPERATOR(zrProximityMapOp, orbelin::proximity::OperatorState, orbelin::proximity::kExecution,
                              orbelin::proximity::EvaluateLive)
