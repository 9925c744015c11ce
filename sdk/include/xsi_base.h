// Common base of every object wrapper: holds the reference it wraps.
#pragma once

#include "xsi_ref.h"
#include "xsi_string.h"

namespace XSI {

class CBase {
public:
    CBase();
    virtual ~CBase();
    virtual siClassID GetClassID() const;
    virtual bool IsA(siClassID id) const;
    bool IsA(const CRef& ref) const;
    CString GetClassIDName() const;
    CStatus SetObject(const CRef& ref);
    bool IsValid() const;
    void ResetObject();
    operator CRef&() { return m_ref; }
    operator const CRef&() const { return m_ref; }
    const CRef& GetRef() const { return m_ref; }
    bool operator==(const CBase& other) const { return m_ref == other.m_ref; }
    bool operator!=(const CBase& other) const { return !(m_ref == other.m_ref); }

protected:
    // Keeps `ref` when it names an object of class `id` (or derived), else stays empty.
    void Assign(const CRef& ref, siClassID id);
    CRef m_ref;
};

}  // namespace XSI
