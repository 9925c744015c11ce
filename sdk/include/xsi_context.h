// Contexts handed to callbacks.
#pragma once

#include "xsi_base.h"
#include "xsi_value.h"

namespace XSI {

class Context : public CBase {
public:
    Context();
    Context(const CRef& ref);
    Context(const Context& other) = default;
    ~Context() override;
    Context& operator=(const Context& other);
    Context& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CRef GetSource() const;
    CValue GetAttribute(const CString& name);
    CStatus PutAttribute(const CString& name, const CValue& value);
    CValue GetUserData();
    CStatus PutUserData(const CValue& value);
};

}  // namespace XSI
