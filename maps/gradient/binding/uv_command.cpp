// The UV command: a gradient weight map turned into texture coordinates in the
// "zrGradientUVs" UV property, made with a texture projection the first time and overwritten
// after that.
#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "gradient/uv_strips.h"
#include "maps/gradient/binding/dialog.h"
#include "shell/guard.h"
#include "shell/host/mesh_neighbours.h"
#include "shell/log.h"
#include "sicppsdk.h"
#include "xsi_application.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_context.h"
#include "xsi_decl.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_progressbar.h"
#include "xsi_uitoolkit.h"
#include "xsi_x3dobject.h"

using namespace XSI;
using namespace orbelin;

namespace {

enum Arg : LONG { kWeightMap, kRightShift, kNormalize, kAutoShift, kRootVertex, kAskForParams };

constexpr gradient::DialogParameter kParameters[] = {
    {L"uvRightShift", CValue::siDouble},
    {L"uvNormalize", CValue::siBool},
    {L"autoShift", CValue::siBool},
    {L"rootVerticeIdx", CValue::siUInt4},
};
constexpr gradient::DialogItem kItems[] = {
    {L"UV Creation", L"uvNormalize", L"Normalize UV"},
    {L"UV Creation", L"uvRightShift", L"U Right Shift"},
    {L"UV Creation", L"autoShift", L"Auto Shift U"},
    {L"UV Creation", L"rootVerticeIdx", L"Root Vertice IDX"},
};
constexpr gradient::Dialog kDialog{L"Gradient Map UV Parameters", L"Gradient Map UV Parameters", kParameters, kItems};

using gradient::ArgumentFlag;
using gradient::ArgumentNumber;
// The root vertex asked for: a whole number in the vertex range, else none (-1). The page's
// unsigned parameter shows "none" as its largest value.
int64_t Vertex(const CValueArray& a, LONG i) {
    const double v = ArgumentNumber(a, i, -1.0);
    return v >= 0.0 && v < 2147483648.0 ? static_cast<int64_t>(v) : -1;
}

void Say(const CString& text) { Application().LogMessage(text, siInfoMsg); }

CRef Named(const CRefArray& items, const CString& name) {
    for (LONG i = 0; i < items.GetCount(); ++i)
        if (SIObject(items[i]).GetName() == name) return items[i];
    return CRef();
}

// The "zrGradientUVs" property on the mesh's "Texture_Coordinates_AUTO" cluster, or nothing.
ClusterProperty FindUVs(const PolygonMesh& mesh) {
    Cluster cluster(Named(mesh.GetClusters(), L"Texture_Coordinates_AUTO"));
    if (!cluster.IsValid()) return ClusterProperty();
    return ClusterProperty(Named(cluster.GetProperties(), L"zrGradientUVs"));
}

CStatus Fail(const CString& message) {
    LogError(message);
    return CStatus::InvalidArgument;
}

CStatus BuildUVs(CRef& context) {
    LogBanner(L"Build UV from Gradient Map");
    Context ctxt(context);
    const CValueArray args = gradient::CommandArguments(context);
    const CRef item = args.GetCount() > kWeightMap ? gradient::FirstObject(args[kWeightMap]) : CRef();
    Say(L"Gradient Map" + item.GetAsText());
    if (!item.IsA(siClusterPropertyID)) return Fail(L"You must select a Gradient WeighMap!");

    CValueArray values(4);
    values[0] = CValue(ArgumentNumber(args, kRightShift, 0.0));
    values[1] = CValue(ArgumentFlag(args, kNormalize, true));
    values[2] = CValue(ArgumentFlag(args, kAutoShift, true));
    values[3] = args.GetCount() > kRootVertex ? args[kRootVertex] : CValue(LONG{-1});
    if (ArgumentFlag(args, kAskForParams, true) && gradient::AskParameters(kDialog, values)) {
        LogError(L"Command Canceled by user.");
        LogDone();
        return CStatus::OK;
    }
    gradient::UVOptions options;
    options.rightShift = ArgumentNumber(values, 0, 0.0);
    options.normalize = ArgumentFlag(values, 1, true);
    options.autoShift = ArgumentFlag(values, 2, true);
    options.rootVertex = Vertex(values, 3);
    if (!std::isfinite(options.rightShift)) return Fail(L"The U Right Shift must be a finite number!");

    gradient::Progress progress(4, L"Processing Root Vertices");
    ProgressBar& bar = progress.Bar();

    ClusterProperty map(item);
    Cluster mapCluster(map.GetParent());
    X3DObject object(Primitive(mapCluster.GetParent()).GetParent());
    PolygonMesh mesh(object.GetActivePrimitive().GetGeometry());
    if (!mesh.IsValid()) return Fail(L"The Gradient WeighMap must belong to a polygon mesh!");
    MeshTopology topology;
    ReadTopology(mesh, topology);
    const LONG vertexCount = topology.vertexCount;

    // The gradient by vertex: the map must give each vertex exactly one value.
    const CDoubleArray mapValues = map.GetElements().GetArray();
    const CLongArray mapElements = mapCluster.GetElements().GetArray();
    std::vector<double> g(static_cast<size_t>(vertexCount), 0.0);
    std::vector<uint8_t> covered(g.size(), 0);
    LONG coveredCount = 0;
    if (map.GetValueSize() == 1 && mapValues.GetCount() == mapElements.GetCount())
        for (LONG i = 0; i < mapElements.GetCount(); ++i) {
            const LONG v = mapElements[i];
            if (v < 0 || v >= vertexCount || covered[static_cast<size_t>(v)]) continue;
            covered[static_cast<size_t>(v)] = 1, ++coveredCount;
            g[static_cast<size_t>(v)] = mapValues[i];
        }
    if (coveredCount != vertexCount) return Fail(L"The Gradient WeighMap must cover every vertex of its mesh!");
    if (std::find(g.begin(), g.end(), 0.0) == g.end())
        return Fail(L"The Gradient WeighMap has no root vertex: no weight is 0!");

    ClusterProperty uvs = FindUVs(mesh);
    if (!uvs.IsValid()) {
        Say(L"Before CreateProjection!");
        CValueArray projection(5);
        projection[0] = CValue(object.GetFullName());
        projection[1] = CValue(LONG{7});
        projection[3] = CValue(L"zrGradient_Texture");
        projection[4] = CValue(L"zrGradientUVs");
        CValue made;
        Application().ExecuteCommand(L"CreateProjection", projection, made);
        Say(L"After CreateProjection!");
        uvs = FindUVs(mesh);
    }
    if (!uvs.IsValid()) return Fail(L"The UV property zrGradientUVs could not be made on " + object.GetFullName() + L"!");
    Say(L"Nb Vertices" + CString(CValue(vertexCount)));

    // Polygons as offsets and corners, samples numbered by corner.
    std::vector<uint32_t> offsets{0}, corners;
    for (LONG i = 0; i < topology.polygons.GetCount();) {
        const LONG count = topology.polygons[i++];
        for (LONG c = 0; c < count && i < topology.polygons.GetCount(); ++c) corners.push_back(static_cast<uint32_t>(topology.polygons[i++]));
        offsets.push_back(static_cast<uint32_t>(corners.size()));
    }
    const CLongArray uvElements = Cluster(uvs.GetParent()).GetElements().GetArray();
    CDoubleArray uvValues = uvs.GetElements().GetArray();
    const LONG samples = static_cast<LONG>(corners.size());
    bool complete = uvs.GetValueSize() == 3 && uvValues.GetCount() == 3 * uvElements.GetCount() &&
                    uvElements.GetCount() == samples;
    // The projection's cluster is normally every sample in order: then the UVs are worked on
    // where they lie. Otherwise they are put in sample order first and back after.
    bool inOrder = complete;
    for (LONG i = 0; complete && i < uvElements.GetCount(); ++i) {
        const LONG s = uvElements[i];
        if (s < 0 || s >= samples) complete = false;
        if (s != i) inOrder = false;
    }
    if (!complete) return Fail(L"The UV property zrGradientUVs must hold one UV per polygon node!");
    std::vector<double> reordered;
    if (!inOrder) {
        reordered.assign(3 * corners.size(), 0.0);
        for (LONG i = 0; i < uvElements.GetCount(); ++i)
            for (int k = 0; k < 3; ++k) reordered[3 * static_cast<size_t>(uvElements[i]) + k] = uvValues[3 * i + k];
    }
    const std::span<double> uvw = inOrder ? std::span<double>(uvValues.GetData(), 3 * corners.size()) : std::span<double>(reordered);

    PackedNeighbours neighbours;
    EdgeNeighbours(topology, neighbours);
    gradient::UVMesh uvMesh{{neighbours.VertexCount(), neighbours.offsets, neighbours.indices}, offsets, corners};
    gradient::UVResult result = gradient::UVFromGradient(uvMesh, g, uvw, options, [&](gradient::UVStage stage,
                                                                                       const gradient::UVResult& so) {
        switch (stage) {
        case gradient::UVStage::Reordering:
            LogInfo(L"Vertical Incrementation: " + CString(CValue(so.vIncrement)));
            bar.Increment();
            bar.PutCaption(L"Reordering Root Vertices UVs");
            break;
        case gradient::UVStage::Strips:
            for (size_t i = 0; i < so.chain.size(); ++i)
                LogInfo(L"Vertex " + CString(CValue(static_cast<LONG>(i))) + L" : " + CString(CValue(LONG{so.chain[i]})));
            if (so.chain.size() < so.rootCount)
                LogWarning(L"The root vertices do not form one chain: " + CString(CValue(static_cast<LONG>(so.rootCount - so.chain.size()))) +
                           L" of them start no strip.");
            bar.Increment();
            bar.PutCaption(L"Processing UVs");
            break;
        case gradient::UVStage::Filling:
            bar.Increment();
            bar.PutCaption(L"Post-Processing UVs");
            break;
        }
    });

    if (!inOrder)
        for (LONG i = 0; i < uvElements.GetCount(); ++i)
            for (int k = 0; k < 3; ++k) uvValues[3 * i + k] = uvw[3 * static_cast<size_t>(uvElements[i]) + k];
    uvs.GetElements().PutArray(uvValues);
    ctxt.PutAttribute(L"ReturnValue", CValue(result.value));
    LogDone();
    return CStatus::OK;
}

}  // namespace

SICALLBACK Orbelin_zrUVFromGradientMapCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrUVFromGradientMapCmd_Execute", [&] { return BuildUVs(in_ctxt); });
}
