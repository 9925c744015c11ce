// The Mix Map's commands: apply, add and remove connexions.
#include "maps/mix/binding/mix_tool.h"
#include "shell/guard.h"
#include "xsi_customproperty.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::mix;

namespace {

// Connection set: the weight map (its cluster and primitive are read through it); the
// property (port groups 0 and 1). The connexions come later, in group 2.
void Install(const CRef& weightMap, CustomProperty& property) {
    ApplyOperator(ThisTool().op, SIObject(weightMap).GetFullName() + L";" + property.GetFullName());
}

}  // namespace

SICALLBACK Orbelin_zrMixMapApplyCmd_Execute(CRef&) {
    return CallbackGuard(L"Orbelin_zrMixMapApplyCmd_Execute",
                         [&] { return ApplyToolCommand(ThisTool(), L"Apply MixMapOp", Install); });
}

SICALLBACK Orbelin_zrMixMapAddConnexionCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrMixMapAddConnexionCmd_Execute",
                         [&] { return AddConnexionCommand(in_ctxt, ThisTool(), BuildLayout); });
}

SICALLBACK Orbelin_zrMixMapRemoveConnexionCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrMixMapRemoveConnexionCmd_Execute",
                         [&] { return RemoveConnexionCommand(in_ctxt, ThisTool(), BuildLayout); });
}
