// The scene selection.
#pragma once

#include "xsi_base.h"
#include "xsi_decl.h"

namespace XSI {

class Selection : public CBase {
public:
    Selection();
    Selection(const CRef& ref);
    Selection(const Selection& other) = default;
    ~Selection() override;
    Selection& operator=(const Selection& other);
    Selection& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CRef operator[](LONG index) const { return GetItem(index); }
    CRef GetItem(LONG index) const;
    CRef GetItem(const CString& name) const;
    CStatus Add(const CRef& object, siSelectMode mode = siSelectDefault);
    CStatus Remove(const CRef& object, siSelectMode mode = siSelectDefault);
    CStatus Clear();
    LONG GetCount() const;
    CRefArray GetArray() const;
    CStatus SetAsText(const CString& text);
    CString GetAsText() const;
};

}  // namespace XSI
