// CRef: a counted handle on a host object, optionally narrowed to one geometry component.
#include "core/object.h"

#include <string_view>

#include "xsi_string.h"

namespace XSI {

CRef::CRef() : m_obj(nullptr), m_componentIndex(-1), m_componentClass(0) {}

CRef::CRef(const CRef& other)
    : m_obj(other.m_obj), m_componentIndex(other.m_componentIndex), m_componentClass(other.m_componentClass) {
    if (m_obj) Host::AddRef(m_obj);
}

CRef::CRef(CRef&& other) noexcept
    : m_obj(other.m_obj), m_componentIndex(other.m_componentIndex), m_componentClass(other.m_componentClass) {
    other.m_obj = nullptr;
}

CRef::~CRef() {
    if (m_obj) Host::Release(m_obj);
}

CRef& CRef::operator=(const CRef& other) {
    if (other.m_obj) Host::AddRef(other.m_obj);
    if (m_obj) Host::Release(m_obj);
    m_obj = other.m_obj;
    m_componentIndex = other.m_componentIndex;
    m_componentClass = other.m_componentClass;
    return *this;
}

CRef& CRef::operator=(CRef&& other) noexcept {
    if (this != &other) {
        if (m_obj) Host::Release(m_obj);
        m_obj = other.m_obj;
        m_componentIndex = other.m_componentIndex;
        m_componentClass = other.m_componentClass;
        other.m_obj = nullptr;
    }
    return *this;
}

CRef CRef::FromHost(Host::Object* obj, LONG componentClass, LLONG componentIndex) {
    CRef r;
    r.m_obj = obj;
    if (obj) Host::AddRef(obj);
    r.m_componentClass = componentClass;
    r.m_componentIndex = componentClass ? componentIndex : -1;
    return r;
}

bool CRef::IsValid() const {
    if (!m_obj || !m_obj->alive) return false;
    if (m_componentClass == 0) return true;
    return m_obj->ComponentExists(m_componentClass, m_componentIndex);
}

siClassID CRef::GetClassID() const {
    if (!IsValid()) return siUnknownClassID;
    if (m_componentClass != 0) return static_cast<siClassID>(m_componentClass);
    return m_obj->ClassID();
}

bool CRef::IsA(siClassID id) const {
    if (!IsValid()) return false;
    return Host::ClassIsA(GetClassID(), id);
}

CString CRef::GetClassIDName() const { return CString(Host::ClassName(GetClassID())); }

CString CRef::GetAsText() const {
    if (!IsValid()) return CString();
    if (m_componentClass != 0) return CString(m_obj->ComponentText(m_componentClass, m_componentIndex).c_str());
    return CString(m_obj->FullName().c_str());
}

bool CRef::operator==(const CRef& other) const {
    bool a = IsValid(), b = other.IsValid();
    if (!a || !b) return a == b;
    return m_obj == other.m_obj && m_componentClass == other.m_componentClass &&
           m_componentIndex == other.m_componentIndex;
}

bool CRef::operator<(const CRef& other) const {
    return std::wstring_view(GetAsText().GetWideString()) < std::wstring_view(other.GetAsText().GetWideString());
}

bool CRef::operator>(const CRef& other) const { return other < *this; }

}  // namespace XSI
