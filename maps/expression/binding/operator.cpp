// The Expression Map's operator: reads the formula, its settings, the points and the connected
// weight maps into plain data, runs the engine and writes its result (or logs why not).
#include <span>
#include <type_traits>
#include <vector>

#include "expression/expression.h"
#include "maps/expression/binding/expression_tool.h"
#include "shell/live_operator.h"
#include "shell/log.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_geometry.h"
#include "xsi_operator.h"
#include "xsi_outputport.h"
#include "xsi_point.h"
#include "xsi_port.h"
#include "xsi_primitive.h"
#include "xsi_transformation.h"

using namespace XSI;

namespace orbelin::expression {

namespace {

static_assert(sizeof(LONG) == sizeof(int32_t) && std::is_signed_v<LONG>, "cluster indices are read in place");

// What the operator keeps between updates: the engine's arrays and the connexions' values, so
// that an update after the first allocates nothing the size of a map.
struct ExpressionRecord {
    int32_t lastMode = -1;  // -1: created, or last seen disabled
    Workspace workspace;
    Result result;
    std::vector<Connexion> connexions;
    std::vector<CDoubleArray> weights;  // per connexion
    std::vector<CLongArray> points;     // per connexion: its cluster's element -> point
    CDoubleArray out;
};

// The property is on group 1; the weight map read as input on group 0 with its cluster.
constexpr ExecutionLayout kLayout{.enable = kEnable, .opMode = -1, .propertyPort = 0, .propertyGroup = 1};

template <class T>
std::span<const T> View(const T* data, LONG count) {
    return data && count > 0 ? std::span<const T>(data, static_cast<size_t>(count)) : std::span<const T>();
}

// Connexion i as the engine takes it: its factor always, its values when it is enabled and
// what it names is still a weight map.
void ReadConnexion(const Operator& op, LONG i, const CParameterRefArray& params, ExpressionRecord& record) {
    const size_t k = static_cast<size_t>(i);
    Connexion& c = record.connexions[k];
    c.factor = ParameterValueOr<double>(params, FactorIndex(i), 1.0);
    c.active = false;
    c.values = {};
    c.indices = {};
    if (!ParameterValueOr<bool>(params, EnabledIndex(i), true)) return;
    const LONG group = ThisTool().connexionGroup;
    ClusterProperty map(op.GetPortAt(0, group, i).GetTarget());
    if (!map.IsValid()) return;
    c.active = true;
    record.weights[k] = map.GetElements().GetArray();
    record.points[k] = Cluster(op.GetPortAt(1, group, i).GetTarget()).GetElements().GetArray();
    c.values = View(record.weights[k].GetArray(), record.weights[k].GetCount());
    c.indices = View(reinterpret_cast<const int32_t*>(record.points[k].GetArray()), record.points[k].GetCount());
}

// The offsets as the host's transformation composes them: scaling, rotation (XYZ angles in
// degrees), translation.
std::array<double, 16> Offsets(const CParameterRefArray& params) {
    auto at = [&](LONG i) { return ParameterValueOr<double>(params, i, 0.0); };
    constexpr double kDegrees = 0.017453292519943295;
    MATH::CTransformation t;
    t.SetTranslationFromValues(at(kTranslationX), at(kTranslationY), at(kTranslationZ));
    t.SetRotationFromXYZAnglesValues(at(kRotationX) * kDegrees, at(kRotationY) * kDegrees, at(kRotationZ) * kDegrees);
    t.SetScalingFromValues(ParameterValueOr<double>(params, kScaleX, 1.0), ParameterValueOr<double>(params, kScaleY, 1.0), ParameterValueOr<double>(params, kScaleZ, 1.0));
    const MATH::CMatrix4 m = t.GetMatrix4();
    std::array<double, 16> out{};
    for (short r = 0; r < 4; ++r)
        for (short c = 0; c < 4; ++c) out[static_cast<size_t>(4 * r + c)] = m.GetValue(r, c);
    return out;
}

CStatus Update(ExpressionRecord& record, LiveInputs& live, OutputPort& output) {
    record.lastMode = 1;
    const CParameterRefArray& params = live.params;
    const Operator& op = live.op;
    const CDoubleArray weights = live.map.GetElements().GetArray();
    const std::wstring expression = ParameterValue(params, kExpression).GetAsText().GetWideString();
    const std::wstring helpers = ParameterValue(params, kHelpers).GetAsText().GetWideString();
    const CLongArray cluster = Cluster(op.GetPortAt(1, 0, 0).GetTarget()).GetElements().GetArray();
    Geometry geometry = Primitive(op.GetPortAt(0, 2, 0).GetTarget()).GetGeometry();
    CPointRefArray points = geometry.GetPoints();

    Inputs in;
    in.expression = expression;
    in.helpers = helpers;
    in.a = ParameterValueOr<double>(params, kVariableA, 0.5);
    in.b = ParameterValueOr<double>(params, kVariableB, 2.0);
    in.seed = static_cast<LONG>(ParameterValue(params, kRandomSeed));
    in.postProcess = static_cast<LONG>(ParameterValue(params, kPostProcessing));
    in.postMin = ParameterValueOr<double>(params, kPostProcMin, 0.0);
    in.postMax = ParameterValueOr<double>(params, kPostProcMax, 1.0);
    in.pointCount = static_cast<size_t>(std::max<LONG>(points.GetCount(), 0));
    MATH::CVector3Array positions;
    if (Detect(expression).positions) {
        positions = points.GetPositionArray();
        in.positions = View(positions.GetArray(), 3 * positions.GetCount());
        in.transform = Offsets(params);
    }
    in.clusterIndices = View(reinterpret_cast<const int32_t*>(cluster.GetArray()), cluster.GetCount());
    in.weights = View(weights.GetArray(), weights.GetCount());

    const LONG count = std::max<LONG>(op.GetNumInstancesInGroup(ThisTool().connexionGroup), 0);
    record.connexions.resize(static_cast<size_t>(count));
    record.weights.resize(static_cast<size_t>(count));
    record.points.resize(static_cast<size_t>(count));
    for (LONG i = 0; i < count; ++i) ReadConnexion(op, i, params, record);
    in.connexions = record.connexions;

    Evaluate(in, Options{}, record.workspace, record.result);
    const Result& r = record.result;
    for (const Message& m : r.messages) LogInfo(m.text.c_str());
    if (r.status != Status::Ok) return CStatus::Fail;
    if (r.pointsOutOfBudget > 0)
        LogWarning(L"Expression Map: " + CValue(static_cast<LONG>(r.pointsOutOfBudget)).GetAsText() +
                   L" point(s) ran out of the formula's budget and were set to 0.");
    // The output holds one value per element of the map.
    const LONG n = static_cast<LONG>(r.output.size());
    record.out.Resize(n);
    for (LONG k = 0; k < n; ++k) record.out[k] = r.output[static_cast<size_t>(k)];
    ClusterProperty(output.GetValue()).GetElements().PutArray(record.out);
    return CStatus::OK;
}

}  // namespace

}  // namespace orbelin::expression

ORBELIN_RECORD_OPERATOR(zrExpressionMapOp, orbelin::expression::ExpressionRecord, orbelin::expression::kLayout,
                        orbelin::expression::Update)
