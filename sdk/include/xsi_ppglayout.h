// Property page layouts.
#pragma once

#include "xsi_base.h"
#include "xsi_value.h"

namespace XSI {

// One item of a page: a tab, group, row, parameter control or button.
class PPGItem : public CBase {
public:
    PPGItem();
    PPGItem(const CRef& ref);
    PPGItem(const PPGItem& other) = default;
    ~PPGItem() override;
    PPGItem& operator=(const PPGItem& other);
    PPGItem& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus PutAttribute(const CString& name, const CValue& value);
    CValue GetAttribute(const CString& name) const;
    CStatus PutUIItems(const CValueArray& labelValuePairs);
    CValueArray GetUIItems() const;
    CString GetName() const;
    CString GetLabel() const;
    CStatus PutLabel(const CString& label);
    CString GetType() const;
    CStatus PutWidthPercentage(LONG percentage);
    CStatus PutLabelPercentage(LONG percentage);
};

// The page of a property, kept by the host as data.
class PPGLayout : public CBase {
public:
    PPGLayout();
    PPGLayout(const CRef& ref);
    PPGLayout(const PPGLayout& other) = default;
    ~PPGLayout() override;
    PPGLayout& operator=(const PPGLayout& other);
    PPGLayout& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus Clear();
    CStatus Delete();
    PPGItem AddTab(const CString& label);
    PPGItem AddGroup(const CString& label = CString(), bool showFrame = true, LONG widthPercentage = 0);
    PPGItem EndGroup();
    CStatus AddRow();
    CStatus EndRow();
    PPGItem AddItem(const CString& paramName, const CString& label = CString(), const CString& controlType = CString());
    PPGItem AddButton(const CString& scriptName, const CString& label = CString());
    PPGItem AddEnumControl(const CString& paramName, const CValueArray& items, const CString& label = CString(),
                           const CString& controlType = CString(L"Combo"));
    PPGItem AddString(const CString& paramName, const CString& label = CString(), bool multiline = false,
                      LONG height = 120);
    PPGItem AddFCurve(const CString& scriptName, LONG height = 300);
    PPGItem AddStaticText(const CString& text, LONG width = 0, LONG height = 0);
    PPGItem AddSpacer(LONG width = 0, LONG height = 0);
    CStatus PutAttribute(const CString& name, const CValue& value);
    CValue GetAttribute(const CString& name) const;
    CStatus PutLogic(const CString& logic);
    PPGItem GetItem(const CString& name) const;
    PPGItem GetItem(LONG index) const;
    LONG GetCount() const;
};

}  // namespace XSI
