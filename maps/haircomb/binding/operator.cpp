// The Gradient Hair Comb's operator: reads the hair's strands as they come (the value below
// it), the gradient map and the emitter mesh, and writes the combed strands to the hair's
// points.
#include <span>
#include <vector>

#include "haircomb/comb.h"
#include "maps/haircomb/binding/haircomb_tool.h"
#include "shell/host/arrays.h"
#include "shell/host/mesh_neighbours.h"
#include "shell/live_operator.h"
#include "shell/log.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_fcurve.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"

using namespace XSI;

namespace orbelin::haircomb {

namespace {

// Kept between updates: the emitter's neighbour lists, built once per topology (a deformation
// keeps them), the strands' roots, found again only when the topology, the strand count or the
// polygon cluster changes, and the buffers an update fills.
struct OperatorState {
    MeshTopology topology, read;
    PackedNeighbours neighbours;
    bool built = false;
    std::vector<int32_t> roots;
    bool rootsFound = false, rootsFromCluster = false;
    CLongArray rootsCluster;
    MATH::CVector3Array emitterPoints, normals, strands;
    std::vector<double> gradient;
};

// The neighbour lists of the topology just read; the roots are found again after a change.
const PackedNeighbours& Neighbours(OperatorState& state) {
    if (!state.built || !(state.read == state.topology)) {
        std::swap(state.topology, state.read);
        EdgeNeighbours(state.topology, state.neighbours);
        state.built = true;
        state.rootsFound = false;
    }
    return state.neighbours;
}

std::span<const int32_t> Span(const CLongArray& a) {
    return {a.GetArray(), static_cast<size_t>(a.GetCount())};
}

CStatus Update(OperatorState& state, UpdateContext& ctxt, OutputPort& output) {
    Operator op = ctxt.GetOperator();
    CustomProperty property(op.GetPortAt(0, kPropertyGroup, 0).GetTarget());
    const CParameterRefArray params = property.GetParameters();
    if (!static_cast<bool>(ParameterValueOr(params, kEnable, false))) return CStatus::OK;
    Options options;
    options.high = ParameterValueOr(params, kCombHigh, 1.0);
    options.width = ParameterValueOr(params, kCombWidth, 1.0);
    options.profile = Profile(ReadCurve(FCurve(property.GetParameter(L"Shape").GetValue())));

    ClusterProperty map(op.GetPortAt(0, kMapGroup, 0).GetTarget());
    const CDoubleArray weights = map.IsValid() ? map.GetElements().GetArray() : CDoubleArray();
    Geometry emitter = Primitive(op.GetPortAt(0, kEmitterGroup, 0).GetTarget()).GetGeometry();
    if (!ReadTopology(emitter, state.read, state.emitterPoints)) {
        LogError(L"Gradient Hair Comb: the emitter is not a polygon mesh; the hair is left as it is.");
        return CStatus::OK;
    }
    const size_t vCount = static_cast<size_t>(state.emitterPoints.GetCount());
    state.normals = emitter.GetPoints().GetNormalArray();
    Geometry hair = Primitive(output.GetTarget()).GetGeometry();
    CPointRefArray hairPoints = hair.GetPoints();
    state.strands = hairPoints.GetPositionArray();
    const size_t strandCount = static_cast<size_t>(state.strands.GetCount()) / kStrandPoints;

    Cluster polygons(op.GetPortAt(0, kEmitterClusterGroup, 0).GetTarget());
    if (strandCount != vCount && !polygons.IsValid()) LogError(L"Sorry, unable to retrieve the Hair Polygon Cluster!");
    const CLongArray clusterPolygons = polygons.IsValid() ? polygons.GetElements().GetArray() : CLongArray();
    const PackedNeighbours& n = Neighbours(state);
    if (!state.rootsFound || state.roots.size() != strandCount || state.rootsFromCluster != polygons.IsValid() ||
        !(state.rootsCluster == clusterPolygons)) {
        state.roots = StrandRoots(strandCount, vCount, Span(state.topology.polygons), polygons.IsValid(), Span(clusterPolygons));
        state.rootsFound = true;
        state.rootsFromCluster = polygons.IsValid();
        state.rootsCluster = clusterPolygons;
    }

    // One weight per vertex is read as it is; any other count goes through the map's cluster.
    const size_t wCount = static_cast<size_t>(weights.GetCount());
    std::span<const double> gradient(weights.GetArray(), wCount);
    if (wCount != vCount) {
        Cluster mapCluster(op.GetPortAt(1, kMapGroup, 0).GetTarget());
        CLongArray elements;
        if (mapCluster.IsValid()) elements = mapCluster.GetElements().GetArray();
        else LogError(L"Sorry, unable to retrieve the Gradient Weightmap Cluster!");
        state.gradient.resize(vCount);
        GradientPerVertex(vCount, gradient, Span(elements), state.gradient);
        gradient = state.gradient;
    }

    const Emitter view{vCount, {state.emitterPoints.GetArray(), 3 * vCount}, {state.normals.GetArray(), 3 * vCount},
                       n.offsets, n.indices};
    // Combed in place: the array's vectors are three packed doubles, as its GetArray shows them.
    Comb(view, state.roots, gradient, options,
         {reinterpret_cast<double*>(state.strands.GetData()), 3 * static_cast<size_t>(state.strands.GetCount())});
    hairPoints.PutPositionArray(state.strands);
    return CStatus::OK;
}

}  // namespace

}  // namespace orbelin::haircomb

XSIPLUGINCALLBACK XSI::CStatus zrGradientMapHairCombOp_Init(XSI::UpdateContext& ctxt, LONG) {
    return orbelin::InitOperator<orbelin::haircomb::OperatorState>(ctxt, L"zrGradientMapHairCombOp_Init");
}

XSIPLUGINCALLBACK XSI::CStatus zrGradientMapHairCombOp_Update(XSI::UpdateContext& ctxt, XSI::OutputPort& output) {
    return orbelin::CallbackGuard(L"zrGradientMapHairCombOp_Update", [&] {
        auto* state = orbelin::OperatorRecord<orbelin::haircomb::OperatorState>(ctxt);
        return state ? orbelin::haircomb::Update(*state, ctxt, output) : XSI::CStatus(XSI::CStatus::OK);
    });
}

XSIPLUGINCALLBACK XSI::CStatus zrGradientMapHairCombOp_Term(XSI::UpdateContext& ctxt, LONG) {
    return orbelin::TermOperator<orbelin::haircomb::OperatorState>(ctxt, L"zrGradientMapHairCombOp_Term");
}
