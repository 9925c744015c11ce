// A property's parameters declared once, as rows: Define walks the rows, operators read the
// values by the same indices.
#pragma once

#include "xsi_customproperty.h"

namespace orbelin {

enum class ParamType { Bool, Int, Double, String, FCurve };

struct ParamRow {
    const wchar_t* script;
    const wchar_t* label;
    ParamType type;
    LONG caps;
    double def;
    bool ranged;  // when false the type's own range applies
    double min, max, softMin, softMax;
    const wchar_t* text = nullptr;  // a string row's default (empty when null)
};

// Adds the parameter a row describes; `def` replaces the row's default when given.
XSI::Parameter AddParameter(XSI::CustomProperty& property, const ParamRow& row);
XSI::Parameter AddParameter(XSI::CustomProperty& property, const ParamRow& row, double def);

// The value of the parameter at `index` (definition order), empty when there is none.
XSI::CValue ParameterValue(const XSI::CParameterRefArray& params, LONG index);

// The value at `index` as a T, or `otherwise` when there is none.
template <class T>
T ParameterValueOr(const XSI::CParameterRefArray& params, LONG index, T otherwise) {
    XSI::CValue v = ParameterValue(params, index);
    return v.IsEmpty() ? otherwise : static_cast<T>(v);
}

}  // namespace orbelin
