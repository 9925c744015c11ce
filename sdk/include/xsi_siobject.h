// Any named host object.
#pragma once

#include "xsi_base.h"
#include "xsi_value.h"

namespace XSI {

class Application;
// Named object with a parent and a type.
class SIObject : public CBase {
public:
    SIObject();
    SIObject(const CRef& ref);
    SIObject(const SIObject& other) = default;
    ~SIObject() override;
    SIObject& operator=(const SIObject& other);
    SIObject& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CString GetName() const;
    CStatus PutName(const CString& name);
    CString GetFullName() const;
    CString GetType() const;
    CRef GetParent() const;
    Application GetApplication() const;
    CString GetUniqueName() const;
    bool IsEqualTo(const CRef& ref) const;
    CRefArray GetNestedObjects() const;
    CString GetHelp() const;
};

}  // namespace XSI
