// The Proximity Map's commands: apply, add and remove connexions.
#include "maps/proximity/binding/proximity_tool.h"
#include "shell/guard.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::proximity;

SICALLBACK Orbelin_zrProximityMapApplyCmd_Execute(CRef&) {
    return CallbackGuard(L"Orbelin_zrProximityMapApplyCmd_Execute",
                         [&] { return ApplyToolCommand(ThisTool(), L"Apply ProximityMap"); });
}

SICALLBACK Orbelin_zrProximityMapAddConnexionCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrProximityMapAddConnexionCmd_Execute",
                         [&] { return AddConnexionCommand(in_ctxt, ThisTool(), BuildLayout); });
}

SICALLBACK Orbelin_zrProximityMapRemoveConnexionCmd_Execute(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrProximityMapRemoveConnexionCmd_Execute",
                         [&] { return RemoveConnexionCommand(in_ctxt, ThisTool(), BuildLayout); });
}
