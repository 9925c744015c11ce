#include "shell/parameters.h"

namespace orbelin {

XSI::Parameter AddParameter(XSI::CustomProperty& property, const ParamRow& row) { return AddParameter(property, row, row.def); }

XSI::Parameter AddParameter(XSI::CustomProperty& property, const ParamRow& row, double def) {
    XSI::Parameter p;
    auto typed = [&](double v) -> XSI::CValue {
        switch (row.type) {
            case ParamType::Bool: return XSI::CValue(v != 0.0);
            case ParamType::Int: return XSI::CValue(static_cast<LONG>(v));
            default: return XSI::CValue(v);
        }
    };
    XSI::CValue::DataType type = row.type == ParamType::Bool     ? XSI::CValue::siBool
                                 : row.type == ParamType::Int    ? XSI::CValue::siInt4
                                 : row.type == ParamType::Double ? XSI::CValue::siDouble
                                                                 : XSI::CValue::siString;
    switch (row.type) {
        case ParamType::FCurve: return property.AddFCurveParameter(row.script);
        case ParamType::String:
            property.AddParameter(row.script, type, row.caps, row.label, L"", XSI::CValue(row.text ? row.text : L""), p);
            return p;
        default:
            if (row.ranged)
                property.AddParameter(row.script, type, row.caps, row.label, L"", typed(def), typed(row.min), typed(row.max),
                                      typed(row.softMin), typed(row.softMax), p);
            else
                property.AddParameter(row.script, type, row.caps, row.label, L"", typed(def), p);
            return p;
    }
}

XSI::CValue ParameterValue(const XSI::CParameterRefArray& params, LONG index) {
    if (index < 0 || index >= params.GetCount()) return XSI::CValue();
    return XSI::Parameter(params[index]).GetValue();
}

}  // namespace orbelin
