#include "shell/installation.h"

#include <cmath>
#include <cwchar>
#include <limits>
#include <string>

#include "shell/log.h"
#include "shell/pick.h"
#include "shell/targets.h"
#include "xsi_application.h"
#include "xsi_comapihandler.h"
#include "xsi_context.h"
#include "xsi_operator.h"
#include "xsi_parameter.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

namespace orbelin {

using XSI::CRef;
using XSI::CStatus;
using XSI::CString;
using XSI::CValue;
using XSI::CValueArray;

const LiveTool& Tool(const wchar_t* word) {
    for (const LiveTool& t : kLiveTools)
        if (std::wcscmp(t.word, word) == 0) return t;
    return kLiveTools[0];
}

CRef ApplyOperator(const CString& preset, const CString& connectionSet) {
    CValueArray args(6);
    args[0] = CValue(preset);
    args[1] = CValue(connectionSet);
    args[2] = CValue(L"");         // connect type: the host's default
    args[3] = CValue(LONG(0));     // a persistent operation
    args[4] = CValue(CRef());      // output objects
    args[5] = CValue(L"");         // construction mode: the host's default
    CValue result;
    XSI::Application().ExecuteCommand(L"ApplyOp", args, result);
    if (result.m_t != CValue::siArray) return CRef();
    const CValueArray& made = result;
    return made.GetCount() > 0 ? CRef(made[0]) : CRef();
}

namespace {

CString ObjectConnectionSet(const CRef& weightMap, const XSI::CustomProperty& property) {
    XSI::SIObject map(weightMap);
    XSI::SIObject cluster(map.GetParent());
    XSI::SIObject primitive(cluster.GetParent());
    XSI::SIObject object(primitive.GetParent());
    return map.GetFullName() + L";" + object.GetFullName() + L";" + property.GetFullName();
}

}  // namespace

XSI::CustomProperty CreateToolProperty(const CRef& weightMap, const CString& toolWord) {
    XSI::SIObject map(weightMap);
    XSI::SceneItem cluster(map.GetParent());
    return XSI::CustomProperty(
        cluster.AddProperty(ToolPropertyType(toolWord), false, ToolPropertyName(map.GetName(), toolWord)).GetRef());
}

CRef FindOperator(const CString& path) {
    XSI::CComAPIHandler xsi;
    xsi.CreateInstance(L"XSI.Application");
    XSI::CComAPIHandler dictionary(xsi.GetProperty(L"Dictionary"));
    CValue found;
    dictionary.Call(L"GetObject", found, CValue(path));
    CRef op = found.m_t == CValue::siRef ? CRef(found) : CRef();
    return op.GetClassID() == XSI::siCustomOperatorID ? op : CRef();
}

CStatus ConnectToGroup(const CRef& op, LONG group, const CRef& object) {
    XSI::CComAPIHandler handler{CValue(op)};
    CValue ret;
    return handler.Call(L"ConnectToGroup", ret, CValue(group), CValue(object));
}

CStatus DisconnectGroup(const CRef& op, LONG group, LONG instance) {
    XSI::CComAPIHandler handler{CValue(op)};
    CValue ret;
    return handler.Call(L"DisconnectGroup", ret, CValue(group), CValue(instance));
}

CRef ConnexionTarget(const CRef& object) {
    if (object.IsA(XSI::siX3DObjectID)) return XSI::X3DObject(object).GetActivePrimitive().GetRef();
    if (object.IsA(XSI::siPrimitiveID) || object.IsA(XSI::siClusterPropertyID)) return object;
    return CRef();
}

CStatus AddConnexion(const CString& operatorPath, const CRef& object, LONG group) {
    CRef op = FindOperator(operatorPath);
    if (!op.IsValid()) {
        LogError(L"Operator " + operatorPath + L" not found!");
        return CStatus::Fail;
    }
    if (!ConnectToGroup(op, group, object).Succeeded()) {
        LogError(L"Connexion to " + object.GetAsText() + L" failed!");
        return CStatus::Fail;
    }
    LogInfo(L"Connexion to " + object.GetAsText() + L" added successfully!");
    return CStatus::OK;
}

CStatus PickAndAddConnexion(const LiveTool& tool, const CString& operatorPath) {
    CRef picked = PickOne(tool.pickWhat, tool.pickFilter);
    CRef target = ConnexionTarget(picked);
    if (!target.IsValid()) {
        LogError(L"Invalid Object: " + picked.GetAsText());
        return CStatus::Fail;
    }
    return AddConnexion(operatorPath, target, tool.connexionGroup);
}

namespace {

XSI::Parameter ParameterAt(const XSI::CustomProperty& property, LONG index) {
    XSI::CParameterRefArray params = property.GetParameters();
    return index >= 0 && index < params.GetCount() ? XSI::Parameter(params[index]) : XSI::Parameter();
}

void ResetBlock(XSI::CustomProperty& property, LONG start, LONG size) {
    for (LONG k = 0; k < size; ++k) {
        XSI::Parameter p = ParameterAt(property, start + k);
        if (p.IsValid()) p.PutValue(p.GetDefault());
    }
}

// The tool's property when the command's first argument is one.
XSI::CustomProperty PropertyArgument(const CValueArray& args, const LiveTool& tool) {
    if (args.GetCount() < 1 || args[0].m_t != CValue::siRef) return XSI::CustomProperty();
    XSI::CustomProperty prop{CRef(args[0])};
    return prop.IsValid() && prop.GetType() == ToolPropertyType(tool.word) ? prop : XSI::CustomProperty();
}

}  // namespace

CValueArray Arguments(const CRef& context) {
    XSI::Context ctxt(context);
    CValue args = ctxt.GetAttribute(L"Arguments");
    if (args.m_t != CValue::siArray) return CValueArray();
    const CValueArray& a = args;
    return a;
}

void InspectProperty(const XSI::CString& fullName) {
    CValueArray args(5);
    args[0] = CValue(fullName);
    args[1] = CValue(L"");
    args[2] = CValue(L"");
    args[3] = CValue(LONG(1));
    args[4] = CValue(true);
    CValue ignored;
    XSI::Application().ExecuteCommand(L"InspectObj", args, ignored);
}

bool ConnexionIndex(const CValue& value, LONG& index) {
    constexpr LLONG lo = std::numeric_limits<LONG>::min(), hi = std::numeric_limits<LONG>::max();
    LLONG v = 0;
    switch (value.m_t) {
        case CValue::siInt1:
        case CValue::siInt2:
        case CValue::siInt4:
        case CValue::siInt8:
        case CValue::siUInt1:
        case CValue::siUInt2:
        case CValue::siUInt4: v = static_cast<LLONG>(value); break;
        case CValue::siUInt8: {
            ULLONG u = value;
            if (u > static_cast<ULLONG>(hi)) return false;
            v = static_cast<LLONG>(u);
            break;
        }
        case CValue::siFloat:
        case CValue::siDouble: {
            double d = value;
            // Also refuses NaN; the range test comes first so that the cast below is defined.
            if (!(d >= static_cast<double>(lo) && d <= static_cast<double>(hi)) || d != std::trunc(d)) return false;
            v = static_cast<LLONG>(d);
            break;
        }
        case CValue::siString:
        case CValue::siWStr: {
            std::wstring text = value.GetAsText().GetWideString();
            size_t i = !text.empty() && text[0] == L'-' ? 1 : 0;
            if (i == text.size() || text.size() - i > 10) return false;
            for (; i < text.size(); ++i) {
                if (text[i] < L'0' || text[i] > L'9') return false;
                v = v * 10 + (text[i] - L'0');
            }
            if (text[0] == L'-') v = -v;
            break;
        }
        default: return false;
    }
    if (v < lo || v > hi) return false;
    index = static_cast<LONG>(v);
    return true;
}

CStatus RemoveConnexions(XSI::CustomProperty& property, LONG index, const LiveTool& tool, bool* operatorFound) {
    if (operatorFound) *operatorFound = false;
    CString path = property.GetParameterValue(L"OperatorFullPath").GetAsText();
    if (path.IsEmpty()) {
        LogError(L"Operator not found: " + path);
        return CStatus::InvalidArgument;
    }
    CRef op = FindOperator(path);
    if (!op.IsValid()) {
        // Every tool reports the Proximity operator here, and the command still succeeds.
        LogError(L"Operator zrProximityMapOp not found!!");
        return CStatus::OK;
    }
    if (operatorFound) *operatorFound = true;
    LONG count = XSI::Operator(op).GetNumInstancesInGroup(tool.connexionGroup);
    // Checked before anything moves: the block shift below trusts the index to name a connexion.
    if (index < -1 || index >= count) {
        CString given(CValue(index).GetAsText());
        if (count == 0) LogError(L"Invalid connexion index: " + given + L"! There is no connexion to remove.");
        else
            LogError(L"Invalid connexion index: " + given + L"! The connexions are numbered from 0 to " +
                     CValue(count - 1).GetAsText() + L"; -1 removes them all.");
        return CStatus::InvalidArgument;
    }
    if (index != -1) {
        LogInfo(L"Removing connexion " + CString(CValue(index)));
        if (DisconnectGroup(op, tool.connexionGroup, index).Succeeded())
            LogInfo(L"Connexion " + CString(CValue(index)) + L" removed successfully!");
        else
            LogError(L"Operator " + path + L" not found!");
        // The blocks are found from index 14 here, whichever tool asks: long-standing behaviour
        // that existing scenes depend on. For a tool whose pairs start later (the Expression
        // Map's at 19) those blocks overlap its own settings (offsets, helper text, operator
        // path): a shift never writes below the first connexion parameter, so none of them is
        // overwritten or reset; only connexion parameters move.
        const LONG base = 14;
        auto writable = [&](LONG at) { return at >= tool.firstConnexionParameter; };
        for (LONG i = index + 1; i < count; ++i)
            for (LONG k = 0; k < tool.blockSize; ++k) {
                const LONG at = base + (i - 1) * tool.blockSize + k;
                XSI::Parameter from = ParameterAt(property, base + i * tool.blockSize + k);
                XSI::Parameter to = ParameterAt(property, at);
                if (writable(at) && from.IsValid() && to.IsValid()) to.PutValue(from.GetValue());
            }
        if (count > 0)
            for (LONG k = 0; k < tool.blockSize; ++k) {
                const LONG at = base + (count - 1) * tool.blockSize + k;
                if (writable(at)) ResetBlock(property, at, 1);
            }
    } else {
        for (LONG i = count - 1; i >= 0; --i) {
            DisconnectGroup(op, tool.connexionGroup, i);
            ResetBlock(property, tool.firstConnexionParameter + i * tool.blockSize, tool.blockSize);
        }
    }
    return CStatus::OK;
}

CStatus ApplyToolCommand(const LiveTool& tool, Installer install) {
    LogBanner(tool.applyTitle);
    XSI::CRefArray maps = ResolveTargets(tool.defaultMapName);
    for (LONG i = 0; i < maps.GetCount(); ++i) {
        const CRef& map = maps[i];
        LogInfo(L"Apply to: [" + map.GetAsText() + L"]");
        XSI::CustomProperty property = CreateToolProperty(map, tool.word);
        property.PutParameterValue(L"OperatorFullPath", CValue(XSI::SIObject(map).GetFullName() + L"." + tool.op));
        if (install) install(map, property);
        else ApplyOperator(tool.op, ObjectConnectionSet(map, property));
        InspectProperty(property.GetFullName());
    }
    LogDone();
    return CStatus::OK;
}

CStatus AddConnexionCommand(CRef& context, const LiveTool& tool, PageBuilder rebuildPage) {
    CString word = tool.word;
    LogBanner(word + L": Add Connexion");
    CValueArray args = Arguments(context);
    XSI::CustomProperty property = PropertyArgument(args, tool);
    if (!property.IsValid()) {
        LogError(L"Please use the " + word + L" CustomProperty as the first argument of the command!");
        return CStatus::InvalidArgument;
    }
    CString path = property.GetParameterValue(L"OperatorFullPath").GetAsText();
    if (!FindOperator(path).IsValid()) {
        LogError(word + L" Operator not found in the " + word + L" CustomProperty!");
        return CStatus::InvalidArgument;
    }
    CValueArray objects;
    if (args.GetCount() > 1 && args[1].m_t == CValue::siArray) objects = static_cast<const CValueArray&>(args[1]);
    if (objects.GetCount() == 0) PickAndAddConnexion(tool, path);
    for (LONG i = 0; i < objects.GetCount(); ++i) {
        CRef object = objects[i].m_t == CValue::siRef ? CRef(objects[i]) : CRef();
        // Given objects are taken through their primitive (or, for tools that mix maps, as the
        // weight maps they are); anything else is asked for again.
        CRef target;
        if (tool.connectsGivenWeightMaps) {
            if (object.IsA(XSI::siClusterPropertyID)) target = object;
        } else if (object.IsA(XSI::siX3DObjectID)) {
            target = XSI::X3DObject(object).GetActivePrimitive().GetRef();
        } else if (object.IsA(XSI::siPrimitiveID)) {
            target = object;
        }
        if (!target.IsValid()) PickAndAddConnexion(tool, path);
        else AddConnexion(path, target, tool.connexionGroup);
    }
    rebuildPage(property);
    XSI::Context(context).PutAttribute(L"Refresh", CValue(true));
    LogDone();
    return CStatus::OK;
}

CStatus RemoveConnexionCommand(CRef& context, const LiveTool& tool, PageBuilder rebuildPage) {
    CString word = tool.word;
    LogBanner(word + L": Remove Connexions");
    CValueArray args = Arguments(context);
    XSI::CustomProperty property = PropertyArgument(args, tool);
    if (!property.IsValid()) {
        LogError(L"Please use the " + CString(tool.removeArgumentName) + L" CustomProperty as the first argument of the command!");
        return CStatus::InvalidArgument;
    }
    LONG index = -1;
    if (args.GetCount() > 1 && !args[1].IsEmpty() && !ConnexionIndex(args[1], index)) {
        LogError(L"Invalid connexion index: " + args[1].GetAsText() +
                 L"! Give the number of a connexion, or -1 to remove them all.");
        return CStatus::InvalidArgument;
    }
    bool operatorFound = false;
    CStatus st = RemoveConnexions(property, index, tool, &operatorFound);
    // Without an operator there is nothing to show: the page would only report it again.
    if (st.Succeeded() && operatorFound) {
        rebuildPage(property);
        XSI::Context(context).PutAttribute(L"Refresh", CValue(true));
        LogDone();
    }
    return st;
}

}  // namespace orbelin
