// What the live tools' property pages share: enumeration items, the play range read for frame
// defaults, the per-connexion parameter pair made when a page shows a connexion beyond those
// made in advance, and the page events of the tools with connexions, whose differences are
// given as data.
#pragma once

#include <initializer_list>
#include <span>
#include <utility>

#include "shell/guard.h"
#include "shell/installation.h"
#include "shell/parameters.h"
#include "xsi_context.h"
#include "xsi_customproperty.h"
#include "xsi_ppglayout.h"
#include "xsi_ref.h"
#include "xsi_value.h"

namespace orbelin {

// Label, value, label, value ... as the host's enumeration controls take them.
XSI::CValueArray EnumItems(std::initializer_list<std::pair<const wchar_t*, LONG>> items);

// "PlayControl.In" or "PlayControl.Out" through the host's GetValue; 0 when it gives nothing.
LONG PlayControlValue(const wchar_t* which);

// Adds the rows' parameters in order; the rows at `startFrame` and `endFrame` take the play
// range as it is now for their defaults.
void DefineParameters(XSI::CustomProperty& property, std::span<const ParamRow> rows, LONG startFrame, LONG endFrame);

// Clears a tool's page and starts it again: the help page (a file name under the plug-in's help
// address), the first tab, and the "Execution State" group with Enable.
void BeginToolPage(XSI::PPGLayout& layout, const wchar_t* helpFile, const wchar_t* tab);

// The "Mode" group of a tool whose modes are Hold, live and live with a cache: OpMode without
// label, its items named by the tool ("what" for " Read From " + what, and the caching one
// after it), and when caching the Clean Cache button and the frame range.
void AddModeGroup(XSI::PPGLayout& layout, const XSI::CustomProperty& property, const wchar_t* what);

// Adds "Enabled_" + k and "Factor_" + k, described by the two rows, when the property lacks them.
void EnsureConnexionPair(XSI::CustomProperty& property, LONG k, const ParamRow& enabledRow, const ParamRow& factorRow);

// The group of connexion k on a page: a row of "Enabled_" + k and its "Remove_" + k button, then
// the items "WeightMap_" + k and "Factor_" + k, under `label`.
void AddConnexionGroup(XSI::PPGLayout& layout, const XSI::CString& label, LONG k);

// The "Connexions" tab's start: the tab, then a row of "Add Connexion" (`Connect`) and
// "Remove All Connexion" (`RemoveAll`).
void AddConnexionsTab(XSI::PPGLayout& layout);

// One group per connexion of the property's operator (in `group`), labelled with what is
// connected there, each connexion's pair added first when the property lacks it. When the
// operator is gone, logs the error `missingOperator` and adds nothing.
void AddConnexionGroups(XSI::PPGLayout& layout, XSI::CustomProperty& property, LONG group, const ParamRow& enabledRow,
                        const ParamRow& factorRow, const wchar_t* missingOperator);

// How a tool's "Remove_" buttons name their connexion.
enum class RemoveButtonRule {
    NumberAfterPrefix,  // "Remove_" then the decimal number of the connexion
    FourDigitsAfterUnderscoreAt6,  // any button with "_" at position 6; up to four digits after it
    // Any button with "_" at position 6; the (up to four) characters after it read as a number
    // the way atol reads them, so no digits is 0: "Linear_X" names connexion 0. Such a button
    // whose name does not start with "Remove_" removes its connexion only when there is one.
    LeadingNumberAfterUnderscoreAt6,
};

// The connexion a "Remove_" button names by the rule; false when the button names none.
bool RemoveButtonIndex(const XSI::CString& button, RemoveButtonRule rule, LONG& k);

struct ConnexionPage {
    const wchar_t* addCommand;     // run with the property for "Connect"
    const wchar_t* removeCommand;  // run with the property (and k) for "Remove_" k and "RemoveAll"
    std::initializer_list<const wchar_t*> rebuildOn;  // parameters whose change rebuilds the page
    RemoveButtonRule removeRule;
    PageBuilder build;
    // The tool's connexion port group (to know whether a connexion exists).
    LONG connexionGroup = -1;
    // Called for every button after the shared handling, for the tool's own buttons.
    void (*otherButton)(XSI::CustomProperty& property, const XSI::CString& button) = nullptr;
};

// The page events of a tool without connexions: the page built when it opens and when one of
// the `rebuildOn` parameters changes (by default OpMode: the page shows the cache's range only
// when caching); a button pressed goes to `button(property, name)` when the tool has one, and
// does nothing otherwise.
using ButtonHandler = void (*)(XSI::CustomProperty& property, const XSI::CString& button);
XSI::CStatus ModePageEvent(const XSI::CRef& context, PageBuilder build, ButtonHandler button = nullptr,
                           std::initializer_list<const wchar_t*> rebuildOn = {L"OpMode"});

// The three property callbacks of a tool without connexions, which the host finds by name:
// `prop`_Define adds the rows' parameters (the frame rows taking the play range),
// `prop`_DefineLayout leaves the page to be built when it opens (it depends on the mode), and
// `prop`_PPGEvent is ModePageEvent with the tool's page builder and button handler (or nullptr).
#define ORBELIN_MODE_PAGE_PROPERTY(prop, rows, startFrame, endFrame, build, button)                              \
    SICALLBACK prop##_Define(XSI::CRef& in_ctxt) {                                                              \
        return orbelin::CallbackGuard(L## #prop "_Define", [&] {                                                \
            XSI::CustomProperty property(XSI::Context(in_ctxt).GetSource());                                    \
            orbelin::DefineParameters(property, rows, startFrame, endFrame);                                    \
            return XSI::CStatus(XSI::CStatus::OK);                                                              \
        });                                                                                                     \
    }                                                                                                           \
    SICALLBACK prop##_DefineLayout(XSI::CRef&) { return XSI::CStatus::OK; }                                     \
    SICALLBACK prop##_PPGEvent(const XSI::CRef& in_ctxt) {                                                      \
        return orbelin::CallbackGuard(L## #prop "_PPGEvent",                                                    \
                                      [&] { return orbelin::ModePageEvent(in_ctxt, build, button); });          \
    }

// The page events of a tool with connexions: the page built when it opens and when a listed
// parameter changes; "Connect", "Remove_" k, "RemoveAll" run the tool's commands;
// "CleanCache" moves the cache counter on (it wraps, so every press changes it).
XSI::CStatus ConnexionPageEvent(const XSI::CRef& context, const ConnexionPage& page);

}  // namespace orbelin
