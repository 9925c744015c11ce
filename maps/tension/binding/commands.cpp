// The Tension Map's commands: apply (the property, the reference blob made from the pose the
// mesh has now, the operator), and the reset of a blob's reference pose.
#include <climits>
#include <vector>

#include "maps/tension/binding/tension_tool.h"
#include "shell/guard.h"
#include "shell/tool_commands.h"
#include "shell/host/mesh_neighbours.h"
#include "shell/log.h"
#include "tension/tension.h"
#include "xsi_context.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_userdatablob.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::tension;

namespace orbelin::tension {

namespace {

// The blob's object, its mesh read and every vertex's spread written into the blob; false
// when the object holds no polygon mesh.
bool ResetBlob(UserDataBlob& blob, const X3DObject& object) {
    MeshTopology topology;
    MATH::CVector3Array points;
    if (!ReadTopology(object.GetActivePrimitive().GetGeometry(), topology, points)) {
        LogWarning(L"Object " + object.GetFullName() + L" is not a valid PolygonMesh");
        return false;
    }
    LogInfo(L"Setting TensionMap Reference Pose : UserDataBlob " + blob.GetFullName());
    const size_t n = static_cast<size_t>(points.GetCount());
    if (n > UINT_MAX / sizeof(double)) {
        LogError(L"Object " + object.GetFullName() + L" has too many points for a reference pose (" +
                 CValue(points.GetCount()).GetAsText() + L"); the blob is left as it was");
        return false;
    }
    // Straight from the polygons: neighbourhoods built for one evaluation would cost more
    // fresh memory than the evaluation itself.
    std::vector<double> spreads(n);
    SpreadsOfPolygons(n, std::span<const int32_t>(topology.polygons.GetArray(), static_cast<size_t>(topology.polygons.GetCount())),
                      std::span<const double>(points.GetArray(), 3 * n), spreads);
    blob.PutValue(reinterpret_cast<const unsigned char*>(spreads.data()), static_cast<unsigned int>(n * sizeof(double)));
    return true;
}

}  // namespace

void InstallOperator(const CRef& weightMap, CustomProperty& property) {
    SIObject map(weightMap);
    SIObject cluster(map.GetParent());
    SIObject primitive(cluster.GetParent());
    X3DObject object(primitive.GetParent());
    Property blob = object.AddProperty(L"UserDataBlob", false, kBlobName);
    property.PutParameterValue(L"BlobFullPath", CValue(blob.GetFullName()));
    RunResetPose(blob.GetFullName());
    ApplyOperator(ThisTool().op, map.GetFullName() + L";" + object.GetFullName() + L";" + property.GetFullName() +
                                     L";" + blob.GetFullName());
}

}  // namespace orbelin::tension

ORBELIN_APPLY_COMMAND(TensionMap, orbelin::tension::InstallOperator)

// Every element of the list that is a user data blob on a 3D object gets the pose its mesh has
// now; anything else is passed over. Succeeds whatever it met.
SICALLBACK Orbelin_zrTensionMapResetPoseCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrTensionMapResetPoseCmd_Execute", [&] {
        LogBanner(L"Reset TensionMap Pose");
        CValue args = Context(in_ctxt).GetAttribute(L"Arguments");
        CValueArray blobs;
        if (args.m_t == CValue::siArray) {
            const CValueArray& all = args;
            if (all.GetCount() > 0 && all[0].m_t == CValue::siArray) blobs = static_cast<const CValueArray&>(all[0]);
        }
        for (LONG i = 0; i < blobs.GetCount(); ++i) {
            CRef ref = blobs[i].m_t == CValue::siRef ? CRef(blobs[i]) : CRef();
            if (!ref.IsA(siUserDataBlobID)) continue;
            UserDataBlob blob(ref);
            X3DObject object(blob.GetParent());
            if (!object.IsValid()) continue;
            ResetBlob(blob, object);
        }
        LogDone();
        return CStatus(CStatus::OK);
    });
}
