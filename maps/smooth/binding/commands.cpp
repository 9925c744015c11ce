// The Smooth Map's command: apply. The tool has no connexions.
#include "maps/smooth/binding/smooth_tool.h"
#include "shell/guard.h"

using namespace XSI;
using namespace orbelin;
using namespace orbelin::smooth;

SICALLBACK Orbelin_zrSmoothMapApplyCmd_Execute(CRef&) {
    return CallbackGuard(L"Orbelin_zrSmoothMapApplyCmd_Execute",
                         [&] { return ApplyToolCommand(ThisTool(), L"Apply SmoothMap"); });
}
