// The Gradient Map's build command: a gradient weight map of the ring distance from a root
// cluster, and on request a curvature map and the singular and local-maximum vertex clusters.
// The maps are static results: no operator stays behind.
//
// DistanceMode (after the other arguments) chooses what the gradient map holds: 0 the ring
// count, 1 the shortest distance along the edges, 2 a geodesic distance across the faces
// (gradient/metric.h), the metric ones divided by the largest distance reached. The ring walk
// runs in every mode: the curvature map, the singular and local-maximum clusters (those
// compare ring levels) and the return value (the ring count's divisor) stay the ring walk's.
// Vertices no root reaches read 0, as in the ring count.
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "gradient/metric.h"
#include "gradient/propagate.h"
#include "maps/gradient/binding/dialog.h"
#include "shell/guard.h"
#include "shell/host/mesh_neighbours.h"
#include "shell/log.h"
#include "shell/pick.h"
#include "shell/targets.h"
#include "sicppsdk.h"
#include "xsi_application.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_context.h"
#include "xsi_decl.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_progressbar.h"
#include "xsi_selection.h"
#include "xsi_uitoolkit.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"

using namespace XSI;
using namespace orbelin;

namespace {

enum Arg : LONG { kTarget, kRootCluster, kCurvature, kSingular, kMaxima, kAskForParams, kDistanceMode };

constexpr gradient::DialogParameter kParameters[] = {
    {L"CreateCurvatureMap", CValue::siBool},
    {L"CreateSingVerticesCluster", CValue::siBool},
    {L"CreateLocalMaxCluster", CValue::siBool},
};
constexpr gradient::DialogItem kItems[] = {
    {L"WeightMap Creation", L"CreateCurvatureMap", L"Create Curvature Map"},
    {L"Clusters Creation", L"CreateSingVerticesCluster", L"Create Singular Vertices Cluster"},
    {L"Clusters Creation", L"CreateLocalMaxCluster", L"Create Local Maxima Cluster"},
};
constexpr gradient::Dialog kDialog{L"Gradient Map Parameters", L"Gradient Map parameters", kParameters, kItems};

bool Flag(const CValueArray& args, LONG i) { return gradient::ArgumentFlag(args, i, false); }

// The target alone in the selection, then turned into a weight map called `name`.
ClusterProperty WeightMapOn(const CRef& target, const CString& name) {
    Selection selection = Application().GetSelection();
    selection.Clear();
    selection.Add(target);
    CRefArray maps = ResolveTargets(name);
    for (LONG i = 0; i < maps.GetCount(); ++i)
        if (maps[i].IsA(siClusterPropertyID)) return ClusterProperty(maps[i]);
    return ClusterProperty();
}

std::vector<int32_t> Indices(const Cluster& cluster) {
    CLongArray a = cluster.GetElements().GetArray();
    return {a.GetArray(), a.GetArray() + a.GetCount()};
}

CLongArray ToLongArray(const std::vector<int32_t>& v) {
    CLongArray out(static_cast<LONG>(v.size()));
    for (size_t i = 0; i < v.size(); ++i) out[static_cast<LONG>(i)] = v[i];
    return out;
}

void Write(ClusterProperty& map, const std::vector<double>& values) {
    CDoubleArray a(static_cast<LONG>(values.size()));
    for (size_t i = 0; i < values.size(); ++i) a[static_cast<LONG>(i)] = values[i];
    map.GetElements().PutArray(a);
}

CStatus Build(CRef& context) {
    LogBanner(L"Build GradientMap");
    Context ctxt(context);
    const CValueArray args = gradient::CommandArguments(context);
    const CRef target = args.GetCount() > kTarget ? gradient::FirstObject(args[kTarget]) : CRef();
    CRef root = args.GetCount() > kRootCluster && args[kRootCluster].m_t == CValue::siRef ? CRef(args[kRootCluster]) : CRef();
    bool wantCurvature = Flag(args, kCurvature), wantSingular = Flag(args, kSingular), wantMaxima = Flag(args, kMaxima);

    const double modeValue = gradient::ArgumentNumber(args, kDistanceMode, 0.0);
    if (!(modeValue == 0.0 || modeValue == 1.0 || modeValue == 2.0)) {
        LogError(L"DistanceMode must be 0 (ring count), 1 (edge paths) or 2 (geodesic), not " +
                 CString(CValue(modeValue)) + L"!");
        return CStatus::InvalidArgument;
    }
    const auto mode = static_cast<gradient::DistanceMode>(static_cast<int>(modeValue));

    if (Flag(args, kAskForParams)) {
        CValueArray values(3);
        values[0] = CValue(wantCurvature), values[1] = CValue(wantSingular), values[2] = CValue(wantMaxima);
        const bool cancelled = gradient::AskParameters(kDialog, values);
        wantCurvature = Flag(values, 0), wantSingular = Flag(values, 1), wantMaxima = Flag(values, 2);
        if (cancelled) {
            LogError(L"Command Canceled by user.");
            LogDone();
            return CStatus::OK;
        }
    }

    if (!target.IsA(siX3DObjectID) && !target.IsA(siClusterID) && !target.IsA(siClusterPropertyID)) {
        LogError(L"You must select at least one target Object, Cluster or WeighMap!");
        return CStatus::InvalidArgument;
    }
    if (!root.IsA(siClusterID)) {
        LONG button = 0, modifier = 0;
        PickElementEx(siClusterFilter, L"Pick Root Cluster", L"", root, button, modifier);
        if (button == 0 || !root.IsA(siClusterID)) {
            LogError(L"Command Canceled: You must pick at least one Root cluster!");
            LogDone();
            return CStatus::OK;
        }
    }

    ClusterProperty gradientMap = WeightMapOn(target, L"GradientWeightMap");
    Cluster targetCluster(gradientMap.GetParent());
    X3DObject object(Primitive(targetCluster.GetParent()).GetParent());
    PolygonMesh mesh(object.GetActivePrimitive().GetGeometry());
    if (!gradientMap.IsValid() || !mesh.IsValid()) {
        LogError(L"The target must be a polygon mesh or one of its point clusters or weight maps!");
        return CStatus::InvalidArgument;
    }
    ClusterProperty curvatureMap;
    if (wantCurvature) curvatureMap = WeightMapOn(targetCluster.GetRef(), L"CurvatureWeightMap");

    MeshTopology topology;
    MATH::CVector3Array points;
    ReadTopology(mesh, topology, points);
    PackedNeighbours neighbours;
    EdgeNeighbours(topology, neighbours);
    const LONG vertexCount = topology.vertexCount;
    std::vector<double> normals;
    if (wantCurvature) {
        MATH::CVector3Array n = mesh.GetVertices().GetNormalArray();
        normals.resize(3 * static_cast<size_t>(n.GetCount()));
        for (LONG i = 0; i < n.GetCount(); ++i) n[i].Get(normals[3 * i], normals[3 * i + 1], normals[3 * i + 2]);
    }
    const std::vector<int32_t> roots = Indices(Cluster(root)), targets = Indices(targetCluster);
    for (int32_t r : roots)
        if (r < 0 || r >= vertexCount) {
            LogError(L"The Root cluster " + SIObject(root).GetFullName() + L" names vertex " + CString(CValue(LONG{r})) +
                     L", which " + object.GetFullName() + L" does not have!");
            return CStatus::InvalidArgument;
        }

    gradient::Progress progress(vertexCount, L"Processing");
    ProgressBar& bar = progress.Bar();
    gradient::Propagation result = gradient::Propagate(
        {{neighbours.VertexCount(), neighbours.offsets, neighbours.indices}, normals, roots, targets, wantCurvature},
        [&](size_t processed) {
            if (bar.IsCancelPressed()) return false;
            bar.Increment(static_cast<LONG>(processed));
            return true;
        });
    if (result.cancelled) return CStatus::OK;
    if (mode != gradient::DistanceMode::Rings) {
        std::vector<double> xyz(3 * static_cast<size_t>(points.GetCount()));
        for (LONG i = 0; i < points.GetCount(); ++i) points[i].Get(xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]);
        std::vector<uint32_t> polygonOffsets{0}, corners;
        for (LONG i = 0; i < topology.polygons.GetCount();) {
            const LONG count = topology.polygons[i++];
            if (count < 0 || count > topology.polygons.GetCount() - i) break;
            for (LONG c = 0; c < count; ++c) corners.push_back(static_cast<uint32_t>(topology.polygons[i++]));
            polygonOffsets.push_back(static_cast<uint32_t>(corners.size()));
        }
        const gradient::MetricInput metric{
            {neighbours.VertexCount(), neighbours.offsets, neighbours.indices}, xyz, polygonOffsets, corners, roots, targets};
        std::vector<double> distances;
        try {
            distances = mode == gradient::DistanceMode::EdgePaths
                            ? gradient::EdgePathDistances(metric)
                            : gradient::GeodesicDistances(metric, [&] { return !bar.IsCancelPressed(); });
        } catch (const std::invalid_argument& e) {
            LogError(L"No distance measured on " + object.GetFullName() + L": " + CString(e.what()) + L"!");
            return CStatus::InvalidArgument;
        }
        if (distances.empty()) return CStatus::OK;  // cancelled
        result.gradient = gradient::NormaliseDistances(distances, targets);
    }

    Geometry geometry(mesh);
    Cluster made;
    if (wantSingular) {
        if (result.singular.empty()) result.singular.push_back(0);
        geometry.AddCluster(siVertexCluster, L"SingVertices", ToLongArray(result.singular), made);
    }
    if (wantMaxima) geometry.AddCluster(siVertexCluster, L"LocalMaximaVertices", ToLongArray(result.maxima), made);
    Write(gradientMap, result.gradient);
    if (wantCurvature && curvatureMap.IsValid()) Write(curvatureMap, result.curvature);
    ctxt.PutAttribute(L"ReturnValue", CValue(result.maxLevel));
    LogDone();
    return CStatus::OK;
}

}  // namespace

SICALLBACK Orbelin_zrGradientMapBuildCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrGradientMapBuildCmd_Execute", [&] { return Build(in_ctxt); });
}
