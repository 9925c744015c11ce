// The Smooth Map's operator: the shared execution model around one smoothing of the input
// weights over the mesh's neighbour lists.
#include <span>
#include <utility>

#include "maps/smooth/binding/smooth_tool.h"
#include "shell/host/mesh_neighbours.h"
#include "shell/log.h"
#include "smooth/smooth.h"
#include "xsi_cluster.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"

using namespace XSI;

namespace orbelin::smooth {

namespace {

// What the operator keeps between updates. The neighbour lists are built from the polygons
// once and kept while the mesh's topology stays the same (a deformation keeps them); each
// kind is built the first time it is asked for.
struct OperatorState {
    FrameWeightCache cache;
    MeshTopology topology, read;
    PackedNeighbours edges, faces;
    bool edgesBuilt = false, facesBuilt = false;
    Workspace workspace;
    CDoubleArray out;
};

const PackedNeighbours& NeighboursFor(OperatorState& state, bool faces) {
    if (!(state.read == state.topology)) {
        std::swap(state.topology, state.read);
        state.edgesBuilt = state.facesBuilt = false;
    }
    if (faces && !state.facesBuilt) {
        FaceNeighbours(state.topology, state.faces);
        state.facesBuilt = true;
    }
    if (!faces && !state.edgesBuilt) {
        EdgeNeighbours(state.topology, state.edges);
        state.edgesBuilt = true;
    }
    return faces ? state.faces : state.edges;
}

CDoubleArray& EvaluateNow(OperatorState& state, LiveInputs& in) {
    in.property.PutParameterValue(L"OperatorFullPath", CValue(in.op.GetFullName()));
    const CDoubleArray weights = in.map.GetElements().GetArray();
    const CLongArray cluster = Cluster(in.op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetArray();
    Geometry geometry = Primitive(in.op.GetPortAt(0, 1, 0).GetTarget()).GetGeometry();
    if (!ReadTopology(geometry, state.read)) LogWarning(L"Smooth Map: the geometry is not a polygon mesh; the weights are set to 0.");
    const PackedNeighbours& lists = NeighboursFor(state, static_cast<bool>(ParameterValue(in.params, kUseFaceNeighbors)));

    Options o;
    o.radius = static_cast<LONG>(ParameterValue(in.params, kRadius));
    o.repeat = static_cast<LONG>(ParameterValue(in.params, kRepeat));
    o.postProcess = static_cast<LONG>(ParameterValue(in.params, kPostProcess));
    o.min = ParameterValue(in.params, kMin);
    o.max = ParameterValue(in.params, kMax);
    const size_t count = static_cast<size_t>(cluster.GetCount());
    state.out.Resize(cluster.GetCount());
    const Neighbours neighbours{lists.VertexCount(), lists.offsets, lists.indices};
    const Stats stats = Smooth(neighbours, std::span<const int32_t>(cluster.GetArray(), count),
                               std::span<const double>(weights.GetArray(), static_cast<size_t>(weights.GetCount())), o,
                               std::span<double>(state.out.GetData(), count), state.workspace);
    if (stats.withoutNeighbours > 0)
        LogWarning(L"Smooth Map: " + CValue(static_cast<LONG>(stats.withoutNeighbours)).GetAsText() +
                   L" point(s) without neighbours; their weight was kept.");
    return state.out;
}

}  // namespace

}  // namespace orbelin::smooth

ORBELIN_FRAME_CACHE_OPERATOR(zrSmoothMapOp, orbelin::smooth::OperatorState, orbelin::smooth::kExecution,
                              orbelin::smooth::EvaluateNow)
