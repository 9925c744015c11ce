// The commands' Init callbacks. The host finds each by its exported name, so every command
// needs a symbol of its own; the bodies all come from the command table.
#include "shell/guard.h"
#include "shell/registry.h"
#include "sicppsdk.h"
#include "xsi_command.h"
#include "xsi_context.h"

namespace {
XSI::CStatus InitCommand(XSI::CRef& in_ctxt, const orbelin::CommandDecl& decl) {
    return orbelin::CallbackGuard(decl.name, [&] {
        XSI::Context ctxt(in_ctxt);
        XSI::Command command(ctxt.GetSource());
        orbelin::DeclareCommand(command, decl);
        return XSI::CStatus(XSI::CStatus::OK);
    });
}
}  // namespace

#define ORBELIN_COMMAND_INIT(NAME)                                                                 \
    static_assert(orbelin::CommandIndex(L"" #NAME) >= 0, #NAME " is not in the command table");   \
    SICALLBACK NAME##_Init(XSI::CRef& in_ctxt) {                                                   \
        return InitCommand(in_ctxt, orbelin::kCommands[orbelin::CommandIndex(L"" #NAME)]);          \
    }

ORBELIN_COMMAND_INIT(Orbelin_zrExpressionMapApplyCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrExpressionMapAddConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrExpressionMapRemoveConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrProximityMapApplyCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrProximityMapAddConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrProximityMapRemoveConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrTensionMapApplyCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrTensionMapResetPoseCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrSmoothMapApplyCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrGradientCurveMapApplyCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrGradientCurveMapAddConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrGradientCurveMapRemoveConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrMixMapApplyCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrMixMapAddConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrMixMapRemoveConnexionCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrCacheMapApplyCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrClustersMapBuildCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrGradientMapBuildCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrUVFromGradientMapCmd)
ORBELIN_COMMAND_INIT(Orbelin_zrGradientMapHairCombApplyCmd)
