// The Mix Map's operator: its own record (no frame cache), Hold's capture rule, and the mix
// of the connected weight maps read through the operator's ports.
#include <algorithm>
#include <vector>

#include "maps/mix/binding/mix_tool.h"
#include "mix/mix.h"
#include "shell/live_operator.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_operator.h"
#include "xsi_outputport.h"
#include "xsi_port.h"
#include "xsi_primitive.h"
#include "xsi_updatecontext.h"

using namespace XSI;

namespace orbelin::mix {

namespace {

// What the operator keeps between updates. The arrays read from the connexions and the
// kernel's workspace stay, so an update after the first allocates nothing the size of a map.
struct MixRecord {
    int32_t lastMode = -1;     // -1: created, or last seen disabled
    CDoubleArray heldWeights;  // the last result written; what Hold shows
    int32_t outputCount = 0;   // the output's element count at the last live evaluation
    Workspace workspace;
    std::vector<Connexion> connexions;
    std::vector<CDoubleArray> weights;  // per connexion
    std::vector<CLongArray> points;     // per connexion: its cluster's element -> point
};

template <class T>
std::span<const T> View(const T* data, LONG count) {
    return data && count > 0 ? std::span<const T>(data, static_cast<size_t>(count)) : std::span<const T>();
}

// Connexion k as the kernel takes it. A map that is gone (its object deleted, or something
// other than a weight map connected) counts as invalid: it gives nothing, its factor still
// counts.
void ReadConnexion(const Operator& op, LONG k, const CParameterRefArray& params, MixRecord& record) {
    const size_t i = static_cast<size_t>(k);
    Connexion& c = record.connexions[i];
    c.enabled = ParameterValueOr<bool>(params, EnabledIndex(k), true);
    c.factor = ParameterValueOr<double>(params, FactorIndex(k), 1.0);
    c.valid = false;
    c.weights = {};
    c.points = {};
    if (!c.enabled) return;
    const LONG group = ThisTool().connexionGroup;
    ClusterProperty map(op.GetPortAt(0, group, k).GetTarget());
    if (!map.IsValid()) return;
    c.valid = true;
    record.weights[i] = map.GetElements().GetArray();
    record.points[i] = Cluster(op.GetPortAt(1, group, k).GetTarget()).GetElements().GetArray();
    c.weights = View(record.weights[i].GetArray(), record.weights[i].GetCount());
    c.points = View(record.points[i].GetArray(), record.points[i].GetCount());
}

// The property is on group 1, the weight map read as input on group 0 with its cluster.
constexpr ExecutionLayout kLayout{.enable = kEnable, .opMode = kOpMode, .propertyPort = 0, .propertyGroup = 1};

CStatus Update(MixRecord& record, LiveInputs& live, OutputPort& output) {
    const Operator& op = live.op;
    CustomProperty& property = live.property;
    const CParameterRefArray& params = live.params;
    Options options;
    options.mode = static_cast<LONG>(ParameterValue(params, kOpMode));
    options.postProcess = static_cast<LONG>(ParameterValue(params, kPostProcess));
    options.rangeMin = ParameterValueOr<double>(params, kRangeMin, 0.0);
    options.rangeMax = ParameterValueOr<double>(params, kRangeMax, 1.0);
    property.PutParameterValue(L"OperatorFullPath", CValue(op.GetFullName()));

    ClusterProperty& in = live.map;
    CClusterPropertyElementArray out = ClusterProperty(output.GetValue()).GetElements();
    if (options.mode == Hold) {
        if (HoldCaptures(record.lastMode)) {
            record.lastMode = Hold;
            record.heldWeights = in.GetElements().GetArray();
        }
        out.PutArray(record.heldWeights);
        return CStatus::OK;
    }
    record.lastMode = options.mode;
    const LONG nIn = in.GetElements().GetCount();
    CLongArray elementPoints = Cluster(op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetArray();
    const LONG pointCount = Primitive(op.GetPortAt(2, 0, 0).GetTarget()).GetGeometry().GetPoints().GetCount();
    record.outputCount = std::max<LONG>(out.GetCount(), 0);

    const LONG count = std::max<LONG>(op.GetNumInstancesInGroup(ThisTool().connexionGroup), 0);
    record.connexions.resize(static_cast<size_t>(count));
    record.weights.resize(static_cast<size_t>(count));
    record.points.resize(static_cast<size_t>(count));
    for (LONG k = 0; k < count; ++k) ReadConnexion(op, k, params, record);

    // The kernel reads one point per input weight: no more than both the map and its cluster give.
    const LONG elements = std::clamp<LONG>(nIn, 0, elementPoints.GetCount());
    CDoubleArray& result = record.heldWeights;
    result.Resize(record.outputCount);
    Evaluate(static_cast<size_t>(std::max<LONG>(pointCount, 0)), View(elementPoints.GetArray(), elements),
             record.connexions, options, std::span<double>(result.GetData(), static_cast<size_t>(record.outputCount)),
             record.workspace);
    out.PutArray(result);
    return CStatus::OK;
}

}  // namespace

}  // namespace orbelin::mix

using namespace orbelin;
using namespace orbelin::mix;

ORBELIN_RECORD_OPERATOR(zrMixMapOp, MixRecord, kLayout, orbelin::mix::Update)
