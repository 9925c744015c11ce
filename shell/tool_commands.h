// The exported commands of a live tool, made from its row of the tool table. The host finds a
// command's Execute callback by its name, so each tool needs symbols of its own; their bodies
// are the shared ones of installation.h.
//
//   ORBELIN_APPLY_COMMAND(SmoothMap, nullptr)         Orbelin_zrSmoothMapApplyCmd
//   ORBELIN_CONNEXION_COMMANDS(MixMap, BuildLayout)   Orbelin_zrMixMapAdd/RemoveConnexionCmd
#pragma once

#include "shell/guard.h"
#include "shell/installation.h"
#include "sicppsdk.h"

namespace orbelin {
template <int Index>
constexpr const LiveTool& ToolRow() {
    static_assert(Index >= 0, "the tool is not in the tool table");
    return kLiveTools[Index];
}
}  // namespace orbelin

#define ORBELIN_TOOL_ROW(WORD) orbelin::ToolRow<orbelin::ToolIndex(L"" #WORD)>()

// INSTALL: an orbelin::Installer, or nullptr for the connection set of a tool that reads the
// weight map, its object and its property.
#define ORBELIN_APPLY_COMMAND(WORD, INSTALL)                                                        \
    SICALLBACK Orbelin_zr##WORD##ApplyCmd_Execute(XSI::CRef&) {                                    \
        return orbelin::CallbackGuard(L"Orbelin_zr" #WORD "ApplyCmd_Execute", [&] {                \
            return orbelin::ApplyToolCommand(ORBELIN_TOOL_ROW(WORD), INSTALL);                     \
        });                                                                                        \
    }

// PAGE: the orbelin::PageBuilder that rebuilds the property's page after a change.
#define ORBELIN_CONNEXION_COMMANDS(WORD, PAGE)                                                      \
    static_assert(ORBELIN_TOOL_ROW(WORD).blockSize > 0, #WORD " has no connexions");               \
    SICALLBACK Orbelin_zr##WORD##AddConnexionCmd_Execute(XSI::CRef& in_ctxt) {                     \
        return orbelin::CallbackGuard(L"Orbelin_zr" #WORD "AddConnexionCmd_Execute", [&] {         \
            return orbelin::AddConnexionCommand(in_ctxt, ORBELIN_TOOL_ROW(WORD), PAGE);            \
        });                                                                                        \
    }                                                                                              \
    SICALLBACK Orbelin_zr##WORD##RemoveConnexionCmd_Execute(XSI::CRef& in_ctxt) {                  \
        return orbelin::CallbackGuard(L"Orbelin_zr" #WORD "RemoveConnexionCmd_Execute", [&] {      \
            return orbelin::RemoveConnexionCommand(in_ctxt, ORBELIN_TOOL_ROW(WORD), PAGE);         \
        });                                                                                        \
    }
