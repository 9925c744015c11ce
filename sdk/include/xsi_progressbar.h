// Progress bars.
#pragma once

#include "xsi_base.h"

namespace XSI {

class ProgressBar : public CBase {
public:
    ProgressBar();
    ProgressBar(const CRef& ref);
    ProgressBar(const ProgressBar& other) = default;
    ~ProgressBar() override;
    ProgressBar& operator=(const ProgressBar& other);
    ProgressBar& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    LONG GetMaximum() const;
    CStatus PutMaximum(LONG maximum);
    LONG GetMinimum() const;
    CStatus PutMinimum(LONG minimum);
    LONG GetStep() const;
    CStatus PutStep(LONG step);
    LONG GetValue() const;
    CStatus PutValue(LONG value);
    CString GetCaption() const;
    CStatus PutCaption(const CString& caption);
    CString GetStatusText() const;
    CStatus PutStatusText(const CString& text);
    bool GetVisible() const;
    CStatus PutVisible(bool visible);
    bool IsCancelPressed() const;
    LONG Increment(LONG step = 1);
    CStatus PutCancelEnabled(bool enabled);
    bool IsCancelEnabled() const;
};

}  // namespace XSI
