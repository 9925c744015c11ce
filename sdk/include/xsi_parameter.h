// Parameters of properties and other project items.
#pragma once

#include "xsi_siobject.h"
#include "xsi_value.h"
#include "xsi_decl.h"

namespace XSI {

class FCurve;
class Model;
class X3DObject;
class Parameter;

// Parameters of an item, in definition order.
class CParameterRefArray : public CRefArray {
public:
    CParameterRefArray(LONG size = 0) : CRefArray(size) {}
    using CRefArray::GetItem;
    // The parameter with this script name.
    CRef GetItem(const CString& scriptName) const override;
    CValue GetValue(const CString& scriptName, double time = DBL_MAX) const;
    CStatus PutValue(const CString& scriptName, const CValue& value, double time = DBL_MAX);
};

// One parameter: value, default, ranges, capabilities, animation.
class Parameter : public SIObject {
public:
    Parameter();
    Parameter(const CRef& ref);
    Parameter(const Parameter& other) = default;
    ~Parameter() override;
    Parameter& operator=(const Parameter& other);
    Parameter& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CValue GetValue(double time = DBL_MAX) const;
    CStatus PutValue(const CValue& value, double time = DBL_MAX);
    CValue GetDefault() const;
    CValue GetMin() const;
    CValue GetMax() const;
    CValue GetSuggestedMin() const;
    CValue GetSuggestedMax() const;
    CString GetScriptName() const;
    CString GetDescription() const;
    CValue::DataType GetValueType() const;
    LONG GetCapabilities() const;
    CStatus PutCapabilityFlag(siCapabilities flag, bool value);
    CStatus AddFCurve(siFCurveType type, FCurve& io_fcurve);
    CRef GetSource() const;
    bool IsAnimated() const;
    Parameter GetParameter(const CString& scriptName) const;
    CParameterRefArray GetParameters() const;
    CValue GetParameterValue(const CString& scriptName, double time = DBL_MAX) const;
    CStatus PutParameterValue(const CString& scriptName, const CValue& value, double time = DBL_MAX);
    Model GetModel() const;
    X3DObject GetParent3DObject() const;
};

}  // namespace XSI
