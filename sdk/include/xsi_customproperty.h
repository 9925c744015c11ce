// Custom properties: parameter sets defined by plug-ins.
#pragma once

#include "xsi_property.h"
#include "xsi_parameter.h"

namespace XSI {

// A property whose parameters are added at run time.
class CustomProperty : public Property {
public:
    CustomProperty();
    CustomProperty(const CRef& ref);
    CustomProperty(const CustomProperty& other) = default;
    ~CustomProperty() override;
    CustomProperty& operator=(const CustomProperty& other);
    CustomProperty& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus AddParameter(const CString& scriptName, CValue::DataType type, INT capabilities, const CString& name,
                         const CString& description, const CValue& def, const CValue& min, const CValue& max,
                         const CValue& suggestedMin, const CValue& suggestedMax, Parameter& io_param);
    CStatus AddParameter(const CString& scriptName, CValue::DataType type, siParamClassification classification,
                         INT capabilities, const CString& name, const CString& description, const CValue& def,
                         const CValue& min, const CValue& max, const CValue& suggestedMin, const CValue& suggestedMax,
                         Parameter& io_param);
    CStatus AddParameter(const CString& scriptName, CValue::DataType type, INT capabilities, const CString& name,
                         const CString& description, const CValue& def, Parameter& io_param);
    Parameter AddFCurveParameter(const CString& scriptName);
    CStatus RemoveParameter(const Parameter& param);
    CStatus GetBinaryData(unsigned char*& out_buffer, UINT& out_size) const;
    CStatus PutBinaryData(const unsigned char* buffer, UINT size);
};

}  // namespace XSI
