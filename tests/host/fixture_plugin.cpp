// A small plug-in that exercises what the host offers plug-ins: command arguments with
// handlers, return values, properties with Define / DefineLayout / PPGEvent, and callbacks
// the host must find missing. Built as its own library and loaded like any plug-in.
#include "xsi_application.h"
#include "xsi_command.h"
#include "xsi_context.h"
#include "xsi_customproperty.h"
#include "xsi_pluginregistrar.h"
#include "xsi_ppgeventcontext.h"
#include "xsi_ppglayout.h"

using namespace XSI;

namespace {
void Log(const CString& text) { Application().LogMessage(L"fixture: " + text); }

void BuildLayout(PPGLayout layout, LONG mode) {
    layout.Clear();
    layout.AddGroup(L"Main");
    layout.AddItem(L"Amount", L"Amount");
    CValueArray items;
    items.Add(CValue(L" A "));
    items.Add(CValue(LONG(0)));
    items.Add(CValue(L" B "));
    items.Add(CValue(LONG(1)));
    layout.AddEnumControl(L"Mode", items, L"Mode");
    if (mode == 1) layout.AddItem(L"Extra", L"Extra");
    layout.AddButton(L"Go", L"Go");
    layout.AddButton(L"Close", L"Close");
    layout.EndGroup();
}
}  // namespace

XSIPLUGINCALLBACK CStatus XSILoadPlugin(PluginRegistrar& reg) {
    reg.PutName(L"Fixture");
    reg.PutVersion(2, 5);
    reg.RegisterMenu(siMenuTbGetPropertyPSetID, L"FixtureMenu", true, false);
    reg.RegisterProperty(L"FixtureProp");
    reg.RegisterCommand(L"FixtureEchoCmd", L"FixtureEchoCmd");
    reg.RegisterCommand(L"FixtureNoExecuteCmd", L"FixtureNoExecuteCmd");
    return CStatus::OK;
}

XSIPLUGINCALLBACK CStatus XSIUnloadPlugin(const PluginRegistrar&) { return CStatus::OK; }

SICALLBACK FixtureEchoCmd_Init(CRef& in_ctxt) {
    Command cmd(Context(in_ctxt).GetSource());
    cmd.PutDescription(L"Echo");
    cmd.EnableReturnValue(true);
    ArgumentArray args = cmd.GetArguments();
    args.Add(L"Count", CValue(LONG(3)));
    args.AddWithHandler(L"Objects", L"Collection");
    args.AddObjectArgument(L"Target");
    return CStatus::OK;
}

SICALLBACK FixtureEchoCmd_Execute(CRef& in_ctxt) {
    Context ctxt(in_ctxt);
    CValueArray args = ctxt.GetAttribute(L"Arguments");
    CValueArray objects = args[1];
    CValueArray ret;
    ret.Add(args[0]);
    ret.Add(CValue(objects.GetCount()));
    ret.Add(args[2].IsEmpty() ? CValue(L"none") : CValue(CRef(args[2]).GetAsText()));
    ctxt.PutAttribute(L"ReturnValue", CValue(ret));
    return CStatus::OK;
}

SICALLBACK FixtureNoExecuteCmd_Init(CRef&) { return CStatus::OK; }

SICALLBACK FixtureProp_Define(CRef& in_ctxt) {
    CustomProperty prop(Context(in_ctxt).GetSource());
    Parameter p;
    prop.AddParameter(L"Amount", CValue::siDouble, siPersistable | siAnimatable, L"Amount", L"", CValue(0.5), CValue(0.0),
                      CValue(10.0), CValue(0.0), CValue(1.0), p);
    prop.AddParameter(L"Mode", CValue::siInt4, siPersistable, L"Mode", L"", CValue(LONG(0)), CValue(LONG(0)),
                      CValue(LONG(1)), CValue(LONG(0)), CValue(LONG(1)), p);
    prop.AddParameter(L"Extra", CValue::siBool, siPersistable, L"Extra", L"", CValue(false), p);
    prop.AddFCurveParameter(L"Curve");
    return CStatus::OK;
}

SICALLBACK FixtureProp_DefineLayout(CRef& in_ctxt) {
    BuildLayout(PPGLayout(Context(in_ctxt).GetSource()), 0);
    return CStatus::OK;
}

SICALLBACK FixtureProp_PPGEvent(const CRef& in_ctxt) {
    PPGEventContext ctxt(in_ctxt);
    PPGEventContext::PPGEvent id = ctxt.GetEventID();
    SIObject source(ctxt.GetSource());
    Log(CString(CValue(LONG(id))) + L" " + source.GetName());
    if (id == PPGEventContext::siParameterChange && source.GetName() == CString(L"Mode")) {
        CustomProperty prop(source.GetParent());
        BuildLayout(prop.GetPPGLayout(), prop.GetParameterValue(L"Mode"));
        ctxt.PutAttribute(L"Refresh", CValue(true));
    } else if (id == PPGEventContext::siButtonClicked) {
        CString button = ctxt.GetAttribute(L"Button");
        Log(L"button " + button);
        CustomProperty prop(source.GetRef());
        if (button == CString(L"Go"))
            prop.PutParameterValue(L"Amount", CValue(static_cast<double>(prop.GetParameterValue(L"Amount")) + 1.0));
        if (button == CString(L"Close")) ctxt.PutAttribute(L"Close", CValue(true));
    }
    return CStatus::OK;
}

// ---- An operator: the value below, plus the property's Amount, plus each connected map.

#include "xsi_clusterproperty.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_updatecontext.h"

namespace {
int g_updates = 0;
}

XSIPLUGINCALLBACK CStatus FixtureOp_Init(UpdateContext& ctx, LONG) {
    ctx.PutUserData(CValue(static_cast<CValue::siPtrType>(new int(0))));
    Log(L"init");
    return CStatus::OK;
}

XSIPLUGINCALLBACK CStatus FixtureOp_Update(UpdateContext& ctx, OutputPort& out) {
    int* calls = static_cast<int*>(static_cast<CValue::siPtrType>(ctx.GetUserData()));
    ++*calls;
    ++g_updates;
    Operator op = ctx.GetOperator();
    if (out.GetName() != CString(L"OutWeightMap")) return CStatus::OK;
    ClusterProperty below(InputPort(op.GetPortAt(0, 0, 0)).GetValue());
    CustomProperty prop(InputPort(op.GetPortAt(0, 1, 0)).GetValue());
    CDoubleArray w = below.GetElements().GetArray();
    double amount = prop.GetParameterValue(L"Amount");
    for (LONG i = 0; i < w.GetCount(); ++i) w[i] += amount;
    for (LONG k = 0; k < op.GetNumInstancesInGroup(2); ++k) {
        CDoubleArray other = ClusterProperty(InputPort(op.GetPortAt(0, 2, k)).GetValue()).GetElements().GetArray();
        for (LONG i = 0; i < w.GetCount() && i < other.GetCount(); ++i) w[i] += other[i];
    }
    ClusterProperty(out.GetValue()).GetElements().PutArray(w);
    Log(L"update " + CString(CValue(LONG(g_updates))) + L" frame " + CString(CValue(ctx.GetCurrentFrame())));
    return CStatus::OK;
}

XSIPLUGINCALLBACK CStatus FixtureOp_Term(UpdateContext& ctx, LONG) {
    delete static_cast<int*>(static_cast<CValue::siPtrType>(ctx.GetUserData()));
    Log(L"term");
    return CStatus::OK;
}
