// The Cache Map's property: Define (with the warp curve's identity over the play range), the
// page that follows the mode and the timing mode, and its events.
#include "maps/cache/binding/cache_tool.h"
#include "shell/guard.h"
#include "shell/page.h"
#include "xsi_context.h"
#include "xsi_fcurve.h"
#include "xsi_parameter.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace orbelin::cache {

namespace {

// The warp starts as the identity over the play range, extended linearly beyond it: warping
// without editing the curve reads the frame itself.
void IdentityWarp(CustomProperty& property, LONG start, LONG end) {
    FCurve curve(Parameter(property.GetParameters()[kTimingWarp]).GetValue());
    curve.RemoveKeys();
    curve.BeginEdit();
    curve.AddKey(CTime(static_cast<double>(start)), CValue(static_cast<double>(start)));
    curve.AddKey(CTime(static_cast<double>(end)), CValue(static_cast<double>(end)));
    curve.EndEdit();
    curve.PutInterpolation(siLinearInterpolation);
    curve.PutExtrapolation(siLinearExtrapolation);
}

LONG IntValue(const CustomProperty& property, const wchar_t* name) {
    CValue v = property.GetParameterValue(name);
    return v.IsEmpty() ? 0 : static_cast<LONG>(v);
}

}  // namespace

void BuildLayout(CustomProperty& property) {
    PPGLayout layout = property.GetPPGLayout();
    layout.PutAttribute(siUIHelpFile, CValue(L"https://orbelin.example/help/cachemap.html"));
    layout.Clear();

    layout.AddGroup(L"Execution State");
    layout.AddItem(L"Enable", L"Enable");
    layout.EndGroup();
    layout.AddGroup(L"Mode");
    PPGItem mode = layout.AddEnumControl(L"OpMode",
                                         EnumItems({{L" Hold ", kHold},
                                                    {L" Cache To RAM ", kCacheToRam},
                                                    {L" Read From File - Cache To RAM ", kReadFileCacheToRam},
                                                    {L" Read From File ", kReadFile},
                                                    {L" Write To File ", kWriteFile}}),
                                         L"Mode");
    mode.PutAttribute(siUINoLabel, CValue(true));
    layout.AddItem(L"StartFrame", L"Start Frame");
    layout.AddItem(L"EndFrame", L"End Frame");
    layout.EndGroup();

    const LONG opMode = IntValue(property, L"OpMode");
    const LONG timing = IntValue(property, L"TimingMode");
    const LONG start = IntValue(property, L"StartFrame");
    const LONG end = IntValue(property, L"EndFrame");
    // Offset and timing apply when writing too, but they are offered only where they matter
    // to someone replaying a cache.
    if (opMode != kReadFileCacheToRam && opMode != kReadFile) return;
    layout.AddGroup(L"Time");
    layout.AddItem(L"Offset", L"Offset");
    layout.AddGroup(L"Processing");
    PPGItem timingItem = layout.AddEnumControl(
        L"TimingMode", EnumItems({{L" None ", 0}, {L" Scaling ", 1}, {L" Warping ", 2}}), L"Mode");
    timingItem.PutAttribute(siUINoLabel, CValue(true));
    if (timing == 1) layout.AddItem(L"TimingScale", L"Scale");
    if (timing == 2) {
        layout.AddGroup(L"Warp");
        PPGItem curve = layout.AddFCurve(L"TimingWarp", 150);
        // In doubles: a range at the ends of LONG must not wrap.
        curve.PutAttribute(L"ViewMinX", CValue(static_cast<double>(start) - 10));
        curve.PutAttribute(L"ViewMaxX", CValue(static_cast<double>(end) + 10));
        curve.PutAttribute(L"ViewMinY", CValue(static_cast<double>(start) - 20));
        curve.PutAttribute(L"ViewMaxY", CValue(static_cast<double>(end) + 20));
        layout.EndGroup();
    }
    layout.EndGroup();
    layout.EndGroup();
}

}  // namespace orbelin::cache

using namespace orbelin;
using namespace orbelin::cache;

SICALLBACK Orbelin_zrCacheMapProp_Define(CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrCacheMapProp_Define", [&] {
        CustomProperty property(Context(in_ctxt).GetSource());
        DefineParameters(property, kRows, kStartFrame, kEndFrame);
        IdentityWarp(property, PlayControlValue(L"PlayControl.In"), PlayControlValue(L"PlayControl.Out"));
        return CStatus(CStatus::OK);
    });
}

SICALLBACK Orbelin_zrCacheMapProp_DefineLayout(CRef& in_ctxt) {
    (void)in_ctxt;  // the page is built when it opens: it depends on the modes
    return CStatus::OK;
}

SICALLBACK Orbelin_zrCacheMapProp_PPGEvent(const CRef& in_ctxt) {
    return CallbackGuard(L"Orbelin_zrCacheMapProp_PPGEvent",
                         [&] { return ModePageEvent(in_ctxt, BuildLayout, nullptr, {L"OpMode", L"TimingMode"}); });
}
