// Commands.
#pragma once

#include "xsi_siobject.h"
#include "xsi_argument.h"

namespace XSI {

// A command: arguments, description, flags, return value.
class Command : public SIObject {
public:
    Command();
    Command(const CRef& ref);
    Command(const Command& other) = default;
    ~Command() override;
    Command& operator=(const Command& other);
    Command& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    ArgumentArray GetArguments();
    CStatus PutDescription(const CString& description);
    CString GetDescription() const;
    CStatus PutTooltip(const CString& tooltip);
    CString GetTooltip() const;
    CStatus EnableReturnValue(bool enable);
    bool IsReturnValueEnabled() const;
    CStatus SetFlag(LONG flag, bool value);
    bool GetFlag(LONG flag) const;
    CString GetScriptingName() const;
    CStatus Execute(CValue& out_return);
};

}  // namespace XSI
