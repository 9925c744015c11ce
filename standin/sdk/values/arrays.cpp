// CLongArray, CDoubleArray, CFloatArray, CBoolArray: one implementation over their vectors.
#include <string>

#include "core/text.h"
#include "xsi_boolarray.h"
#include "xsi_doublearray.h"
#include "xsi_floatarray.h"
#include "xsi_longarray.h"

namespace XSI {

namespace {
template <class V>
CStatus ResizeItems(V& v, LONG n, bool reset) {
    if (n < 0) return CStatus::InvalidArgument;
    if (reset) v.assign(static_cast<size_t>(n), typename V::value_type{});
    else v.resize(static_cast<size_t>(n));
    return CStatus::OK;
}

// p may point into v itself.
template <class V, class T>
CStatus AttachItems(V& v, const T* p, LONG n) {
    if (n < 0 || (n > 0 && !p)) return CStatus::InvalidArgument;
    V copy;
    copy.reserve(static_cast<size_t>(n));
    for (LONG i = 0; i < n; ++i) copy.push_back({p[i]});
    v.swap(copy);
    return CStatus::OK;
}

// o may be v itself: no reallocation happens after the reserve.
template <class V>
CStatus AppendItems(V& v, const V& o) {
    const size_t n = o.size();
    v.reserve(v.size() + n);
    for (size_t i = 0; i < n; ++i) v.push_back(o[i]);
    return CStatus::OK;
}

template <class V, class Op>
void Combine(V& v, const V& o, Op op) {
    const size_t n = v.size() < o.size() ? v.size() : o.size();
    for (size_t i = 0; i < n; ++i) v[i] = op(v[i], o[i]);
}

template <class V, class Format>
CString JoinItems(const V& v, Format format) {
    std::wstring text;
    for (size_t i = 0; i < v.size(); ++i) {
        if (i) text += L',';
        text += format(v[i]);
    }
    return CString(text.c_str(), static_cast<ULONG>(text.size()));
}

const auto kPlus = [](auto a, auto b) { return a + b; };
const auto kMinus = [](auto a, auto b) { return a - b; };
}  // namespace

#define XSI_DEFINE_ARRAY(Array, T)                                                               \
    CStatus Array::Resize(LONG n) { return ResizeItems(m_items, n, false); }                    \
    CStatus Array::Resize(LONG n, bool reset) { return ResizeItems(m_items, n, reset); }        \
    CStatus Array::Attach(const T* p, LONG n) { return AttachItems(m_items, p, n); }            \
    CStatus Array::Append(const Array& other) { return AppendItems(m_items, other.m_items); }

#define XSI_DEFINE_NUMERIC_ARRAY(Array, T)                                                       \
    XSI_DEFINE_ARRAY(Array, T)                                                                   \
    Array& Array::operator+=(const Array& o) { Combine(m_items, o.m_items, kPlus); return *this; } \
    Array& Array::operator-=(const Array& o) { Combine(m_items, o.m_items, kMinus); return *this; }

XSI_DEFINE_NUMERIC_ARRAY(CLongArray, LONG)
XSI_DEFINE_NUMERIC_ARRAY(CDoubleArray, double)
XSI_DEFINE_NUMERIC_ARRAY(CFloatArray, float)
XSI_DEFINE_ARRAY(CBoolArray, bool)

CString CLongArray::GetAsText() const { return JoinItems(m_items, [](LONG x) { return std::to_wstring(x); }); }
CString CDoubleArray::GetAsText() const { return JoinItems(m_items, [](double x) { return Host::ShortestText(x); }); }
CString CFloatArray::GetAsText() const { return JoinItems(m_items, [](float x) { return Host::ShortestText(x); }); }
CString CBoolArray::GetAsText() const {
    return JoinItems(m_items, [](const Item& x) { return std::wstring(x.value ? L"True" : L"False"); });
}

}  // namespace XSI
