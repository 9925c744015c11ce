// The Proximity Map's operator: the shared execution model around one evaluation whose
// inputs are read through the operator's ports.
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "proximity/evaluate.h"
#include "maps/proximity/binding/proximity_tool.h"
#include "shell/frame_cache.h"
#include "shell/guard.h"
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

// What the operator keeps between updates: the shared frame record, and each connexion's
// point index with the points it was built from, reused while they do not move.
struct OperatorState {
    FrameWeightCache record;
    std::vector<std::shared_ptr<const PointIndex>> indices;
};

OperatorState* State(UpdateContext& ctxt) {
    return static_cast<OperatorState*>(static_cast<CValue::siPtrType>(ctxt.GetUserData()));
}

Point ToPoint(const MATH::CVector3& v) { return {v.GetX(), v.GetY(), v.GetZ()}; }

double Distance(const MATH::CVector3& a, const MATH::CVector3& b) {
    MATH::CVector3 d;
    d.Sub(a, b);
    return d.GetLength();
}

std::vector<Point> WorldPoints(const Geometry& geometry, const MATH::CTransformation& t) {
    MATH::CVector3Array pts = geometry.GetPoints().GetPositionArray();
    std::vector<Point> world;
    world.reserve(static_cast<size_t>(pts.GetCount()));
    for (LONG i = 0; i < pts.GetCount(); ++i) world.push_back(ToPoint(MATH::MapObjectPositionToWorldSpace(t, pts[i])));
    return world;
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

// What connexion k offers: its points, or one distance per element (curves, surfaces and
// any other object's origin). `settled`: past this distance the exact one does not matter.
Connexion ReadConnexion(Operator& op, LONG k, const std::vector<MATH::CVector3>& elements, double settled,
                        std::shared_ptr<const PointIndex>& cached) {
    Connexion c;
    Geometry geometry = Primitive(op.GetPortAt(0, 3, k).GetTarget()).GetGeometry();
    MATH::CTransformation t = KinematicState(op.GetPortAt(1, 3, k).GetTarget()).GetTransform();
    siClassID cls = geometry.GetRef().GetClassID();
    if (cls == siPolygonMeshID) {
        c.pointSet = true;
        std::vector<Point> world = WorldPoints(geometry, t);
        if (!cached || cached->Points() != world) cached = std::make_shared<PointIndex>(world);
        c.points = cached;
        return c;
    }
    c.distances.reserve(elements.size());
    if (cls == siNurbsCurveListID || cls == siNurbsSurfaceMeshID) {
        NurbsCurveList curves(geometry.GetRef());
        NurbsSurfaceMesh surfaces(geometry.GetRef());
        // Curves and surfaces lie within the hull of their control points: an element whose
        // distance to the points' box is past the settled distance needs no closest point.
        const Box hull(WorldPoints(geometry, t));
        for (const MATH::CVector3& p : elements) {
            if (!hull.empty) {
                double gap = hull.Gap(ToPoint(p));
                if (gap > settled) {
                    c.distances.push_back(gap);
                    continue;
                }
            }
            MATH::CVector3 local = MATH::MapWorldPositionToObjectSpace(t, p), closest;
            LONG index = 0;
            double d2 = 0, u = 0, v = 0;
            if (cls == siNurbsCurveListID) curves.GetClosestCurvePosition(local, index, d2, u, closest);
            else surfaces.GetClosestSurfacePosition(local, index, d2, u, v, closest);
            c.distances.push_back(Distance(MATH::MapObjectPositionToWorldSpace(t, closest), p));
        }
        return c;
    }
    MATH::CVector3 origin = t.GetTranslation();
    for (const MATH::CVector3& p : elements) c.distances.push_back(Distance(origin, p));
    return c;
}

CDoubleArray EvaluateNow(UpdateContext& ctxt, OperatorState& state, CustomProperty& property,
                         const CParameterRefArray& params, const CDoubleArray& base) {
    Operator op = ctxt.GetOperator();
    property.PutParameterValue(L"OperatorFullPath", CValue(op.GetFullName()));
    CLongArray elementPoints = Cluster(op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetArray();
    Geometry geometry = Primitive(op.GetPortAt(0, 1, 0).GetTarget()).GetGeometry();
    MATH::CTransformation t = KinematicState(op.GetPortAt(1, 1, 0).GetTarget()).GetTransform();
    MATH::CVector3Array pts = geometry.GetPoints().GetPositionArray();
    std::vector<MATH::CVector3> world;
    std::vector<Point> elements;
    world.reserve(static_cast<size_t>(elementPoints.GetCount()));
    for (LONG i = 0; i < elementPoints.GetCount(); ++i) {
        LONG pt = elementPoints[i];
        world.push_back(pt >= 0 && pt < pts.GetCount() ? MATH::MapObjectPositionToWorldSpace(t, pts[pt]) : MATH::CVector3());
        elements.push_back(ToPoint(world.back()));
    }
    Options o;
    o.nearRange = ParameterValue(params, kNear);
    o.farRange = ParameterValue(params, kFar);
    o.additive = ParameterValue(params, kAddMode);
    o.postProcess = ParameterValue(params, kPostProcess);
    o.lower = ParameterValue(params, kMin);
    o.upper = ParameterValue(params, kMax);
    if (o.nearRange + 0.0001 >= o.farRange)
        Application().LogMessage(L"Far Range internally set to " + CValue(o.nearRange + 0.0001).GetAsText() + L"!", siWarningMsg);
    FCurve curve(property.GetParameter(L"Falloff").GetValue());
    Falloff falloff;
    falloff.eval = [&](double x) { return static_cast<double>(curve.Eval(x)); };
    LONG keys = curve.GetNumKeys();
    falloff.hasKeys = keys > 0;
    falloff.lastKeyTime = keys > 0 ? curve.GetKeyTime(keys - 1).GetTime() : 0.0;
    falloff.extrapolation = curve.GetExtrapolation();
    const double settled = SettledDistance(falloff, o);
    std::vector<Connexion> connexions;
    const LONG count = op.GetNumInstancesInGroup(3);
    state.indices.resize(static_cast<size_t>(std::max<LONG>(count, 0)));
    for (LONG k = 0; k < count; ++k) {
        CValue enabled = ParameterValue(params, EnabledIndex(k)), factor = ParameterValue(params, FactorIndex(k));
        Connexion c;
        bool on = enabled.IsEmpty() || static_cast<bool>(enabled);
        double f = factor.IsEmpty() ? 1.0 : static_cast<double>(factor);
        if (on && f != 0.0) c = ReadConnexion(op, k, world, settled, state.indices[static_cast<size_t>(k)]);
        c.enabled = on;
        c.factor = f;
        connexions.push_back(std::move(c));
    }
    std::vector<double> baseWeights(base.GetArray(), base.GetArray() + base.GetCount());
    baseWeights.resize(elements.size(), 0.0);
    Result r = Evaluate(elements, baseWeights, connexions, falloff, o);
    CDoubleArray out(static_cast<LONG>(r.weights.size()));
    std::copy(r.weights.begin(), r.weights.end(), out.GetData());
    return out;
}

}  // namespace

}  // namespace orbelin::proximity

using namespace orbelin;
using namespace orbelin::proximity;

XSIPLUGINCALLBACK CStatus zrProximityMapOp_Init(UpdateContext& ctxt, LONG) {
    return CallbackGuard(L"zrProximityMapOp_Init", [&] {
        ctxt.PutUserData(CValue(static_cast<CValue::siPtrType>(new OperatorState())));
        return CStatus(CStatus::OK);
    });
}

XSIPLUGINCALLBACK CStatus zrProximityMapOp_Update(UpdateContext& ctxt, OutputPort& output) {
    return CallbackGuard(L"zrProximityMapOp_Update", [&] {
        if (output.GetName() != CString(L"OutWeightMap")) return CStatus(CStatus::OK);
        OperatorState* state = State(ctxt);
        if (!state) return CStatus(CStatus::OK);
        FrameWeightCache* record = &state->record;
        Operator op = ctxt.GetOperator();
        CustomProperty property(op.GetPortAt(0, 2, 0).GetTarget());
        CParameterRefArray params = property.GetParameters();
        ExecutionParams p;
        p.enable = ParameterValue(params, kEnable);
        p.opMode = ParameterValue(params, kOpMode);
        p.startFrame = ParameterValue(params, kStartFrame);
        p.endFrame = ParameterValue(params, kEndFrame);
        p.cleanCacheIdx = ParameterValue(params, kCleanCacheIdx);
        p.processingMode = ParameterValue(params, kProcessingMode);
        ClusterProperty map(op.GetPortAt(0, 0, 0).GetTarget());
        ClusterProperty out(output.GetValue());
        UpdateStep step = BeginUpdate(
            *record, p, ctxt.GetCurrentFrame(), [&] { return map.GetElements().GetArray(); },
            [&] { return Cluster(op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetCount(); });
        switch (step) {
            case UpdateStep::WriteNothing: break;
            case UpdateStep::WriteHeld: out.GetElements().PutArray(record->heldWeights); break;
            case UpdateStep::WriteCached: out.GetElements().PutArray(record->Get(record->currentFrame)); break;
            case UpdateStep::Evaluate: {
                CDoubleArray weights = EvaluateNow(ctxt, *state, property, params, map.GetElements().GetArray());
                FinishUpdate(*record, p, weights);
                out.GetElements().PutArray(weights);
                break;
            }
        }
        return CStatus(CStatus::OK);
    });
}

XSIPLUGINCALLBACK CStatus zrProximityMapOp_Term(UpdateContext& ctxt, LONG) {
    return CallbackGuard(L"zrProximityMapOp_Term", [&] {
        delete State(ctxt);
        ctxt.PutUserData(CValue());
        return CStatus(CStatus::OK);
    });
}
