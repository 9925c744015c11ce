// The Tension Map's operator: the shared execution model around one evaluation of every
// vertex's tension against the reference spreads kept in the blob.
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "maps/tension/binding/tension_tool.h"
#include "shell/host/mesh_neighbours.h"
#include "shell/log.h"
#include "tension/tension.h"
#include "xsi_cluster.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_userdatablob.h"

using namespace XSI;

namespace orbelin::tension {

namespace {

// What the operator keeps between updates: the neighbourhoods, built from the polygons once
// and kept while the topology stays the same (a deformation keeps it), and every buffer an
// update fills, so that an update of a large mesh touches no fresh memory.
struct OperatorState {
    FrameWeightCache cache;
    MeshTopology topology, read;
    PackedNeighbours corners;
    bool built = false;
    MATH::CVector3Array points;
    std::vector<double> reference, tensions;
    CDoubleArray out;
};

UserDataBlob BlobOf(const LiveInputs& in) { return UserDataBlob(in.op.GetPortAt(0, 3, 0).GetTarget()); }

// BlobFullPath follows the blob when it is renamed or moved.
void FollowBlob(OperatorState&, LiveInputs& in) {
    UserDataBlob blob = BlobOf(in);
    if (!blob.IsValid()) return;
    const CString name = blob.GetFullName();
    if (ParameterValue(in.params, kBlobFullPath).GetAsText() != name)
        in.property.PutParameterValue(L"BlobFullPath", CValue(name));
}

const PackedNeighbours& Neighbourhoods(OperatorState& state) {
    if (!state.built || !(state.read == state.topology)) {
        std::swap(state.topology, state.read);
        CornerNeighbours(state.topology, state.corners);
        state.built = true;
    }
    return state.corners;
}

CDoubleArray& EvaluateNow(OperatorState& state, LiveInputs& in) {
    const CLongArray cluster = Cluster(in.op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetArray();
    const size_t count = static_cast<size_t>(cluster.GetCount());
    state.out.Resize(cluster.GetCount());
    std::fill(state.out.GetData(), state.out.GetData() + count, 0.0);

    Geometry geometry = Primitive(in.op.GetPortAt(0, 1, 0).GetTarget()).GetGeometry();
    if (!ReadTopology(geometry, state.read, state.points)) {
        LogWarning(L"Tension Map: the geometry is not a polygon mesh; the weights are set to 0.");
        return state.out;
    }
    const size_t n = static_cast<size_t>(state.points.GetCount());
    UserDataBlob blob = BlobOf(in);
    if (!blob.IsValid()) {
        LogError(L"Tension Map: the UserDataBlob of the reference pose is gone; the weights are set to 0.");
        return state.out;
    }
    const unsigned char* bytes = nullptr;
    unsigned int size = 0;
    blob.GetValue(bytes, size);
    if (size != n * sizeof(double) || (n > 0 && !bytes)) {
        LogError(L"UserDataBlob has not the expected Size, please refresh it by clicking on the Reset Reference Pose button");
        return state.out;
    }
    // Copied: the host's bytes need not be aligned for doubles.
    state.reference.resize(n);
    if (n > 0) std::memcpy(state.reference.data(), bytes, n * sizeof(double));
    state.tensions.resize(n);

    const PackedNeighbours& corners = Neighbourhoods(state);
    Options o;
    o.factor = ParameterValue(in.params, kFactor);
    o.postProcess = static_cast<LONG>(ParameterValue(in.params, kPostProcess));
    o.min = ParameterValue(in.params, kMin);
    o.max = ParameterValue(in.params, kMax);
    const tension::Neighbourhoods view{n, corners.offsets, corners.indices};
    const RangeSeen seen =
        Tensions(view, std::span<const double>(state.points.GetArray(), 3 * n), state.reference, o, state.tensions);
    ClusterWeights(state.tensions, std::span<const int32_t>(cluster.GetArray(), count), o, seen,
                   std::span<double>(state.out.GetData(), count));
    return state.out;
}

}  // namespace

}  // namespace orbelin::tension

ORBELIN_FRAME_CACHE_OPERATOR_PREPARED(zrTensionMapOp, orbelin::tension::OperatorState, orbelin::tension::kExecution,
                                      orbelin::tension::FollowBlob, orbelin::tension::EvaluateNow)
