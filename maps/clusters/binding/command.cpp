// The Clusters Map's command: a weight map full where the chosen clusters are, cropped by
// rings when asked. One shot, no operator.
#include <cstdlib>
#include <string>
#include <vector>

#include "clusters/clusters.h"
#include "shell/guard.h"
#include "shell/host/mesh_neighbours.h"
#include "shell/installation.h"
#include "shell/log.h"
#include "shell/pick.h"
#include "shell/targets.h"
#include "sicppsdk.h"
#include "xsi_application.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_context.h"
#include "xsi_edge.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_selection.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"

using namespace XSI;

namespace orbelin::clusters {

namespace {

CValueArray Arguments(CRef& context) {
    CValue args = Context(context).GetAttribute(L"Arguments");
    if (args.m_t != CValue::siArray) return CValueArray();
    const CValueArray& a = args;
    return a;
}

// The clusters among the given items, in order.
std::vector<Cluster> GivenClusters(const CValueArray& args) {
    std::vector<Cluster> out;
    if (args.GetCount() == 0) return out;
    CValueArray items;
    if (args[0].m_t == CValue::siArray) items = static_cast<const CValueArray&>(args[0]);
    else if (args[0].m_t == CValue::siRef) items.Add(args[0]);
    for (LONG i = 0; i < items.GetCount(); ++i) {
        CRef item = items[i].m_t == CValue::siRef ? CRef(items[i]) : CRef();
        if (item.IsA(siClusterID)) out.emplace_back(item);
    }
    return out;
}

Kind KindOf(const CString& type) {
    if (type == CString(L"pnt")) return Kind::Points;
    if (type == CString(L"edge")) return Kind::Edges;
    if (type == CString(L"poly")) return Kind::Polygons;
    return Kind::Other;
}

// Each edge element's two end vertices, as the mesh gives them.
std::vector<int32_t> EdgeEnds(const PolygonMesh& mesh, const CLongArray& edges) {
    std::vector<int32_t> ends;
    const CEdgeRefArray all = mesh.GetEdges();
    const LONG count = all.GetCount();
    for (LONG i = 0; i < edges.GetCount(); ++i) {
        if (edges[i] < 0 || edges[i] >= count) continue;
        const CVertexRefArray vertices = Edge(all.GetItem(edges[i])).GetNeighborVertices(1);
        for (LONG k = 0; k < vertices.GetCount(); ++k) ends.push_back(Vertex(vertices.GetItem(k)).GetIndex());
    }
    return ends;
}

CStatus Build(CRef& context) {
    LogBanner(L"Build ClustersMap");
    const CValueArray args = Arguments(context);
    LONG cropping = 1;
    if (args.GetCount() > 1 && !args[1].IsEmpty() && !ConnexionIndex(args[1], cropping)) {
        LogError(L"Invalid cropping: " + args[1].GetAsText() + L"! Give a whole number of rings.");
        return CStatus::InvalidArgument;
    }
    std::vector<Cluster> clusters = GivenClusters(args);
    if (clusters.empty()) {
        LogInfo(L"Please pick at least one cluster...");
        const CRefArray picked = PickTargets(siClusterFilter);
        for (LONG i = 0; i < picked.GetCount(); ++i) clusters.emplace_back(picked[i]);
    }
    if (clusters.empty()) {
        LogError(L"You must select or pick at least one cluster!");
        return CStatus::InvalidArgument;
    }
    CString name(L"WMFrom");
    for (const Cluster& c : clusters) name += c.GetName();

    X3DObject object(Primitive(clusters.front().GetParent()).GetParent());
    PolygonMesh mesh(object.GetActivePrimitive().GetGeometry());
    MeshTopology topology;
    if (!object.IsValid() || !ReadTopology(mesh, topology)) {
        LogError(L"The first cluster must be a cluster of a polygon mesh!");
        return CStatus::InvalidArgument;
    }
    Selection selection = Application().GetSelection();
    selection.Clear();
    selection.Add(object.GetRef());
    const CRefArray maps = ResolveTargets(name);
    if (maps.GetCount() == 0) {
        LogError(L"Could not create the weight map " + name + L"!");
        return CStatus::Fail;
    }
    ClusterProperty map(maps[0]);
    LogInfo(L"Build Clusters into: [" + map.GetFullName() + L"]");

    // Element arrays stay alive while the kernel reads them.
    std::vector<CLongArray> elements;
    std::vector<std::vector<int32_t>> edgeEnds;
    std::vector<ClusterElements> inputs;
    elements.reserve(clusters.size());
    edgeEnds.reserve(clusters.size());
    for (const Cluster& c : clusters) {
        ClusterElements in;
        in.kind = KindOf(c.GetType());
        elements.push_back(c.GetElements().GetArray());
        const CLongArray& indices = elements.back();
        if (in.kind == Kind::Edges) {
            edgeEnds.push_back(EdgeEnds(mesh, indices));
            in.indices = edgeEnds.back();
        } else if (indices.GetCount() > 0) {
            in.indices = std::span<const int32_t>(indices.GetArray(), static_cast<size_t>(indices.GetCount()));
        }
        inputs.push_back(in);
    }
    if (cropping != 0) LogInfo(L"Crop Clusters Area of " + CString(std::to_wstring(std::llabs(static_cast<long long>(cropping))).c_str()));
    const size_t n = static_cast<size_t>(std::max<LONG>(topology.vertexCount, 0));
    const std::vector<double> weights = ClustersMap(
        n, std::span<const int32_t>(topology.polygons.GetArray(), static_cast<size_t>(topology.polygons.GetCount())),
        inputs, cropping);

    CClusterPropertyElementArray values = map.GetElements();
    CDoubleArray out(values.GetCount());
    for (LONG i = 0; i < out.GetCount() && static_cast<size_t>(i) < weights.size(); ++i) out[i] = weights[static_cast<size_t>(i)];
    values.PutArray(out);
    LogDone();
    return CStatus::OK;
}

}  // namespace

}  // namespace orbelin::clusters

SICALLBACK Orbelin_zrClustersMapBuildCmd_Execute(XSI::CRef& in_ctxt) {
    return orbelin::CallbackGuard(L"Orbelin_zrClustersMapBuildCmd_Execute", [&] { return orbelin::clusters::Build(in_ctxt); });
}
