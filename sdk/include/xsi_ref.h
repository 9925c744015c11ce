// References to host objects.
//
// A CRef is a handle: it names a host object (and, for geometry components, an
// element of it) without exposing how the host stores that object. References
// to deleted objects stay safe to hold and report IsValid() == false.
#pragma once

#include <vector>

#include "sicppsdk.h"
#include "xsi_decl.h"
#include "xsi_status.h"

namespace XSI {

namespace Host {
struct Object;  // host-side object, opaque to the plug-in
}

class CString;
class CStringArray;
class CValueArray;

class CRef {
public:
    CRef();
    CRef(const CRef& other);
    CRef(CRef&& other) noexcept;
    ~CRef();
    CRef& operator=(const CRef& other);
    CRef& operator=(CRef&& other) noexcept;

    siClassID GetClassID() const;
    bool IsA(siClassID id) const;
    CString GetClassIDName() const;
    bool IsValid() const;
    operator bool() const { return IsValid(); }
    CStatus Set(const CString& path);
    CString GetAsText() const;

    bool operator==(const CRef& other) const;
    bool operator!=(const CRef& other) const { return !(*this == other); }
    bool operator<(const CRef& other) const;
    bool operator>(const CRef& other) const;

    // Handle parts, for the host's own implementation of the object model.
    Host::Object* GetHostObject() const { return m_obj; }
    LONG GetComponentClass() const { return m_componentClass; }
    LLONG GetComponentIndex() const { return m_componentIndex; }
    static CRef FromHost(Host::Object* obj, LONG componentClass = 0, LLONG componentIndex = -1);

private:
    Host::Object* m_obj;
    LLONG m_componentIndex;
    LONG m_componentClass;
};

class CRefArray {
public:
    CRefArray(LONG size = 0);
    CRefArray(const CRefArray& other) = default;
    CRefArray(CRefArray&& other) noexcept = default;
    virtual ~CRefArray();
    CRefArray& operator=(const CRefArray& other) = default;
    CRefArray& operator=(CRefArray&& other) noexcept = default;
    CRefArray& operator+=(const CRefArray& other);

    const CRef& operator[](LONG i) const { Expand(); return m_items[static_cast<size_t>(i)]; }
    CRef& operator[](LONG i) { Expand(); return m_items[static_cast<size_t>(i)]; }
    virtual CRef GetItem(LONG i) const;
    virtual CRef GetItem(const CString& name) const;
    virtual void Add(const CRef& item);
    virtual LONG GetCount() const { return m_runCount ? m_runCount : static_cast<LONG>(m_items.size()); }
    bool IsA(siClassID id) const;
    siClassID GetClassID() const;
    CString GetClassIDName() const;
    virtual bool IsValid() const { return true; }
    operator bool() const { return IsValid(); }
    CStatus Filter(const CString& type, const CStringArray& families, const CString& name, CRefArray& io) const;
    CStatus Find(const CString& type, CRef& io) const;
    LONG Set(const CValueArray& values);
    LONG Set(const CString& list, const CString& sep);
    LONG Set(const CString& list);
    LONG Remove(const CRef& item);
    void Clear() { m_items.clear(); m_runOwner = CRef(); m_runCount = 0; }
    CString GetAsText() const;
    CStatus Resize(LONG n);
    void Reserve(LONG n) { Expand(); m_items.reserve(static_cast<size_t>(n)); }

    // Handle parts, for the host's own implementation: an array of components 0 to count - 1
    // of one class of one object (every point of a geometry, say), held as that one reference
    // until an element is asked for.
    static CRefArray Run(const CRef& owner, LONG componentClass, LONG count);
    // The run this array still is; false once its elements have been made.
    bool GetRun(CRef& owner, LONG& componentClass, LONG& count) const;

protected:
    void Expand() const {
        if (m_runCount) ExpandRun();
    }
    void ExpandRun() const;
    mutable std::vector<CRef> m_items;
    CRef m_runOwner;
    LONG m_runClass = 0;
    mutable LONG m_runCount = 0;
};

}  // namespace XSI
