// Shared plumbing of the object model's implementation.
#pragma once

#include <string>

#include "core/object.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_string.h"
#include "xsi_value.h"

// The members every wrapper class T (with host class id ID) shares: construction from a
// reference keeps it only when it names an object of class ID or a class derived from it.
#define XSI_WRAPPER(T, ID)                                                         \
    T::T() {}                                                                      \
    T::T(const CRef& ref) { Assign(ref, ID); }                                     \
    T::~T() {}                                                                     \
    T& T::operator=(const T& other) { m_ref = other.m_ref; return *this; }         \
    T& T::operator=(const CRef& ref) { m_ref = CRef(); Assign(ref, ID); return *this; } \
    bool T::IsA(siClassID id) const { return m_ref.IsA(id); }                      \
    siClassID T::GetClassID() const { return m_ref.IsValid() ? m_ref.GetClassID() : ID; }

namespace standin {

inline std::wstring W(const XSI::CString& s) { return std::wstring(s.GetWideString()); }
inline XSI::CString S(const std::wstring& s) { return XSI::CString(s.c_str()); }

// The node behind a wrapper, or null when the wrapper is empty or its object was deleted.
template <class T>
T* NodeOf(const XSI::CRef& ref) { return XSI::Host::As<T>(ref); }

// Reports a host operation that this stand-in does not provide yet: logged as an error,
// the caller gets a failing status or an empty value, never made-up data.
XSI::CStatus NotAvailable(const char* operation);

}  // namespace standin
