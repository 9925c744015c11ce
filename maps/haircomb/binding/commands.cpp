// The Gradient Hair Comb's apply command: given a hair and a gradient weight map, in either
// order, it puts the property on the hair, finds the cluster the hair grows from through the
// hair's generator, makes the comb's vertex cluster and applies the operator.
#include "maps/haircomb/binding/haircomb_tool.h"
#include "shell/guard.h"
#include "shell/installation.h"
#include "shell/log.h"
#include "xsi_cluster.h"
#include "xsi_comapihandler.h"
#include "xsi_context.h"
#include "xsi_geometry.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::haircomb;

namespace {

// The cluster feeding the hair's generator, or an invalid reference, with the log lines that
// tell what was found.
CRef GeneratorCluster(const Primitive& primitive) {
    CComAPIHandler prim(primitive.GetRef());
    CComAPIHandler history(prim.GetProperty(L"ConstructionHistory"));
    CValue found;
    history.Call(L"Find", found, CValue(kGenerator));
    CRef generator = found.m_t == CValue::siRef ? CRef(found) : CRef();
    if (!generator.IsValid() || generator.GetClassID() != siOperatorID) {
        LogWarning(generator.GetAsText() + L" - " + generator.GetClassIDName());
        LogWarning(L"No Hair Generator found on the hair: cannot find if there is a Input cluster, sorry!");
        return CRef();
    }
    Operator gen(generator);
    const LONG n = gen.GetNumInstancesInGroup(1);
    LogInfo(L"Nb Connected clusters: " + CValue(n).GetAsText());
    if (n < 1) {
        LogInfo(L"No Cluster found on the Hair Generator.");
        return CRef();
    }
    CRef cluster = gen.GetPortAt(0, 1, 0).GetTarget();
    LogInfo(L"Cluster found on the Hair Generator: " + cluster.GetAsText());
    return cluster;
}

CStatus Apply(const CRef& in_ctxt) {
    LogBanner(L"Apply GradientMapHairComb");
    CValueArray items;
    const CValueArray args = Arguments(in_ctxt);
    if (args.GetCount() > 0 && args[0].m_t == CValue::siArray) items = static_cast<const CValueArray&>(args[0]);
    CRef hair, map;
    for (LONG i = 0; i < items.GetCount(); ++i) {
        ProjectItem item(items[i].m_t == CValue::siRef ? CRef(items[i]) : CRef());
        const CString type = item.GetType();
        LogInfo(L"Object Argument " + CValue(i).GetAsText() + L" : " + type);
        if (type == CString(L"hair")) hair = item.GetRef();
        else if (type == CString(L"wtmap")) map = item.GetRef();
    }
    if (items.GetCount() == 0 || !hair.IsValid() || !map.IsValid()) {
        LogError(L"Please select a hair object and a weightmap (or use it at command argument)!");
        return CStatus::OK;
    }
    LogInfo(L"Apply to: [" + hair.GetAsText() + L"]");

    X3DObject object;
    Primitive primitive;
    if (hair.GetClassID() == siX3DObjectID) {
        object = hair;
        primitive = object.GetActivePrimitive();
    } else {
        primitive = hair;
        object = SIObject(hair).GetParent();
    }
    Property property = object.AddProperty(kPropertyType, false, kPropertyName);

    const CRef generatorCluster = GeneratorCluster(primitive);

    Cluster comb;
    primitive.GetGeometry().AddCluster(siVertexCluster, kCombCluster, CLongArray(), comb);

    SIObject weightMap(map);
    SIObject mapPrimitive(SIObject(weightMap.GetParent()).GetParent());
    ApplyOperator(kOperator, hair.GetAsText() + L";" + property.GetFullName() + L";" + weightMap.GetFullName() + L";" +
                                 mapPrimitive.GetFullName() + L";" + generatorCluster.GetAsText() + L";" + comb.GetRef().GetAsText());

    InspectProperty(property.GetFullName());
    LogDone();
    return CStatus::OK;
}

}  // namespace

SICALLBACK Orbelin_zrGradientMapHairCombApplyCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrGradientMapHairCombApplyCmd_Execute", [&] { return Apply(in_ctxt); });
}
