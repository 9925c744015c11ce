// The plug-in's load and unload entry points and its menu.
#include "shell/guard.h"
#include "shell/registry.h"
#include "sicppsdk.h"
#include "xsi_context.h"
#include "xsi_menu.h"
#include "xsi_pluginregistrar.h"

XSIPLUGINCALLBACK XSI::CStatus XSILoadPlugin(XSI::PluginRegistrar& in_reg) {
    return orbelin::CallbackGuard(L"XSILoadPlugin", [&] {
        orbelin::RegisterPlugin(in_reg);
        return XSI::CStatus(XSI::CStatus::OK);
    });
}

// Nothing to undo: operators already in scenes keep calling into the library, and the
// process-wide values go away with it.
XSIPLUGINCALLBACK XSI::CStatus XSIUnloadPlugin(const XSI::PluginRegistrar&) { return XSI::CStatus::OK; }

SICALLBACK Orbelin_Menu_Init(XSI::CRef& in_ctxt) {
    return orbelin::CallbackGuard(L"Orbelin_Menu_Init", [&] {
        XSI::Context ctxt(in_ctxt);
        XSI::Menu menu(ctxt.GetSource());
        orbelin::BuildMenu(menu);
        return XSI::CStatus(XSI::CStatus::OK);
    });
}
