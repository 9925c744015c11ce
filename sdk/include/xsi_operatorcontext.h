// Context of self-installed operator updates.
#pragma once

#include "xsi_context.h"
#include "xsi_time.h"

namespace XSI {

class OperatorContext : public Context {
public:
    OperatorContext();
    OperatorContext(const CRef& ref);
    OperatorContext(const OperatorContext& other) = default;
    ~OperatorContext() override;
    OperatorContext& operator=(const OperatorContext& other);
    OperatorContext& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CRef GetOutputTarget() const;
    CRef GetOutputPort() const;
    CTime GetTime() const;
    CValue GetInputValue(LONG port, LONG group = 0, LONG instance = 0) const;
    CValue GetParameterValue(const CString& name) const;
};

}  // namespace XSI
