// User interface services.
#pragma once

#include "xsi_base.h"
#include "xsi_progressbar.h"

namespace XSI {

class UIToolkit : public CBase {
public:
    UIToolkit();
    UIToolkit(const CRef& ref);
    UIToolkit(const UIToolkit& other) = default;
    ~UIToolkit() override;
    UIToolkit& operator=(const UIToolkit& other);
    UIToolkit& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    ProgressBar GetProgressBar() const;
    CStatus MsgBox(const CString& message, LONG flags, const CString& caption, LONG& out_result);
};

}  // namespace XSI
