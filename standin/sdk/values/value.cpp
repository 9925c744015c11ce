#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "core/text.h"
#include "xsi_value.h"

namespace XSI {

namespace {
template <class T, class... Ts>
constexpr bool kIsOneOf = (std::is_same_v<T, Ts> || ...);

template <class T>
constexpr bool kIsArray = kIsOneOf<T, CValueArray, CRefArray, CLongArray, CFloatArray, CStringArray>;

enum class Kind { Empty, Number, Text, Other };

Kind KindOf(CValue::DataType t) {
    switch (t) {
        case CValue::siEmpty: return Kind::Empty;
        case CValue::siString: return Kind::Text;
        case CValue::siInt1: case CValue::siInt2: case CValue::siInt4: case CValue::siInt8:
        case CValue::siUInt1: case CValue::siUInt2: case CValue::siUInt4: case CValue::siUInt8:
        case CValue::siFloat: case CValue::siDouble: case CValue::siBool: return Kind::Number;
        default: return Kind::Other;
    }
}

// Nearest integer, ties to even (as COM variant coercion rounds), saturated to T.
template <class T>
T RoundToInteger(long double d) {
    if (std::isnan(d)) return 0;
    const long double r = std::nearbyint(d);
    const long double upper = std::ldexp(1.0L, std::numeric_limits<T>::digits);
    const long double lower = std::is_signed_v<T> ? -upper : 0.0L;
    if (r >= upper) return std::numeric_limits<T>::max();
    if (r < lower) return std::numeric_limits<T>::min();
    return static_cast<T>(r);
}

template <class T, class S>
T NumberAs(S x) {
    if constexpr (std::is_same_v<T, bool>) return x != 0;
    else if constexpr (std::is_integral_v<T> && std::is_floating_point_v<S>) return RoundToInteger<T>(x);
    else return static_cast<T>(x);
}

// A number spelled by text: an integer, a decimal or scientific number, or true/false.
// Surrounding whitespace and a leading '+' are allowed. Exact for 64-bit integers.
bool ParseNumber(const CString& text, long double& out) {
    CString t(text);
    t.TrimLeft();
    t.TrimRight();
    std::string_view s = t.GetAsciiString();
    if (s.size() > 1 && s[0] == '+' && s[1] != '-') s.remove_prefix(1);
    const char* end = s.data() + s.size();
    long long i;
    unsigned long long u;
    double d;
    if (auto r = std::from_chars(s.data(), end, i); r.ec == std::errc() && r.ptr == end) out = i;
    else if (auto r = std::from_chars(s.data(), end, u); r.ec == std::errc() && r.ptr == end) out = u;
    else if (auto r = std::from_chars(s.data(), end, d); r.ec == std::errc() && r.ptr == end) out = d;
    else if (t.IsEqualNoCase(L"true")) out = 1;
    else if (t.IsEqualNoCase(L"false")) out = 0;
    else return false;
    return true;
}

template <class A>
void AddTo(A& array, const CValue& v) {
    if constexpr (std::is_same_v<A, CRefArray>) array.Add(static_cast<CRef>(v));
    else if constexpr (std::is_same_v<A, CLongArray>) array.Add(static_cast<LONG>(v));
    else if constexpr (std::is_same_v<A, CFloatArray>) array.Add(static_cast<float>(v));
    else if constexpr (std::is_same_v<A, CStringArray>) array.Add(v.GetAsText());
    else static_assert(std::is_same_v<A, CRefArray>, "not an element array");
}

std::wstring PointerText(const void* p) {
    char buf[2 + 2 * sizeof(void*) + 1] = "0x";
    const auto r = std::to_chars(buf + 2, buf + sizeof buf, reinterpret_cast<std::uintptr_t>(p), 16);
    return std::wstring(buf, r.ptr);
}

bool SameRefs(const CRefArray& a, const CRefArray& b) {
    if (a.GetCount() != b.GetCount()) return false;
    for (LONG i = 0; i < a.GetCount(); ++i)
        if (a[i] != b[i]) return false;
    return true;
}

// The numeric value of a number-kind payload.
template <class V>
long double NumberOf(const V& payload) {
    return std::visit(
        [](const auto& x) -> long double {
            if constexpr (std::is_arithmetic_v<std::decay_t<decltype(x)>>) return static_cast<long double>(x);
            else return 0.0L;
        },
        payload);
}
}  // namespace

// --- CValueArray ---

CValueArray::CValueArray(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

CStatus CValueArray::Clear() {
    m_items.clear();
    return CStatus::OK;
}

CStatus CValueArray::Resize(LONG n) {
    if (n < 0) return CStatus::InvalidArgument;
    m_items.resize(static_cast<size_t>(n));
    return CStatus::OK;
}

bool CValueArray::operator==(const CValueArray& o) const { return m_items == o.m_items; }

CString CValueArray::GetAsText() const {
    CString text(L"(");
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (i) text += L',';
        text += m_items[i].GetAsText();
    }
    return text += L')';
}

// --- CValue ---

CValue::CValue(CValue&& other) noexcept : m_t(other.m_t), m_v(std::move(other.m_v)) { other.Clear(); }

CValue& CValue::operator=(const CValue& other) {
    if (this != &other) {
        const DataType t = other.m_t;
        Payload copy(other.m_v);  // before m_v changes: other may be part of it
        m_v = std::move(copy);
        m_t = t;
    }
    return *this;
}

CValue& CValue::operator=(CValue&& other) noexcept {
    if (this != &other) {
        const DataType t = other.m_t;
        Payload taken(std::move(other.m_v));
        other.Clear();
        m_v = std::move(taken);
        m_t = t;
    }
    return *this;
}

template <class T>
T CValue::As() const {
    return std::visit(
        [this](const auto& x) -> T {
            using S = std::decay_t<decltype(x)>;
            if constexpr (std::is_same_v<S, T>) {
                return x;
            } else if constexpr (std::is_same_v<T, CString>) {
                return GetAsText();
            } else if constexpr (std::is_arithmetic_v<T>) {
                if constexpr (std::is_arithmetic_v<S>) return NumberAs<T>(x);
                else if constexpr (std::is_same_v<S, CString>) {
                    long double d;
                    return ParseNumber(x, d) ? NumberAs<T>(d) : T(0);
                } else return T(0);
            } else if constexpr (std::is_same_v<T, CRef>) {
                if constexpr (std::is_same_v<S, CRefArray>) return x.GetCount() > 0 ? x[0] : CRef();
                else return CRef();
            } else if constexpr (std::is_same_v<T, MATH::CVector3>) {
                const CValueArray e = Elements();
                if (e.GetCount() != 3) return MATH::CVector3();
                return MATH::CVector3(static_cast<double>(e[0]), static_cast<double>(e[1]), static_cast<double>(e[2]));
            } else if constexpr (std::is_same_v<T, siPtrType>) {
                return nullptr;
            } else {
                static_assert(kIsArray<T>);
                const CValueArray e = Elements();
                if constexpr (std::is_same_v<T, CValueArray>) {
                    return e;
                } else {
                    T out;
                    for (LONG i = 0; i < e.GetCount(); ++i) AddTo(out, e[i]);
                    return out;
                }
            }
        },
        m_v);
}

template <class T>
T& CValue::Hold() const {
    if (!std::holds_alternative<T>(m_v)) {
        T converted = As<T>();
        m_v.template emplace<T>(std::move(converted));
        m_t = kTypes[m_v.index()];
    }
    return std::get<T>(m_v);
}

// The value as a list: the elements of an array, x y z of a vector, nothing for an empty
// value, the value itself otherwise.
CValueArray CValue::Elements() const {
    return std::visit(
        [this](const auto& x) -> CValueArray {
            using S = std::decay_t<decltype(x)>;
            CValueArray e;
            if constexpr (std::is_same_v<S, std::monostate>) {
            } else if constexpr (std::is_same_v<S, CValueArray>) {
                e = x;
            } else if constexpr (kIsArray<S>) {
                for (LONG i = 0; i < x.GetCount(); ++i) e.Add(CValue(x[i]));
            } else if constexpr (std::is_same_v<S, MATH::CVector3>) {
                for (short i = 0; i < 3; ++i) e.Add(x[i]);
            } else {
                e.Add(*this);
            }
            return e;
        },
        m_v);
}

CValue::operator short() const { return As<short>(); }
CValue::operator unsigned short() const { return As<unsigned short>(); }
CValue::operator LONG() const { return As<LONG>(); }
CValue::operator ULONG() const { return As<ULONG>(); }
CValue::operator LLONG() const { return As<LLONG>(); }
CValue::operator ULLONG() const { return As<ULLONG>(); }
CValue::operator signed char() const { return As<signed char>(); }
CValue::operator unsigned char() const { return As<unsigned char>(); }
CValue::operator float() const { return As<float>(); }
CValue::operator double() const { return As<double>(); }
CValue::operator bool() const { return As<bool>(); }
CValue::operator CString() const { return GetAsText(); }
CValue::operator CRef() const { return As<CRef>(); }
CValue::operator MATH::CVector3() const { return As<MATH::CVector3>(); }
CValue::operator siPtrType() const { return As<siPtrType>(); }
CValue::operator CRefArray&() const { return Hold<CRefArray>(); }
CValue::operator CValueArray&() const { return Hold<CValueArray>(); }
CValue::operator CLongArray&() const { return Hold<CLongArray>(); }
CValue::operator CFloatArray&() const { return Hold<CFloatArray>(); }
CValue::operator CStringArray&() const { return Hold<CStringArray>(); }

void CValue::ChangeType(DataType t, const CValue* src) {
    const CValue& from = src ? *src : *this;
    switch (t) {
        case siEmpty: Clear(); break;
        case siInt1: Put(from.As<signed char>()); break;
        case siInt2: Put(from.As<short>()); break;
        case siInt4: Put(from.As<LONG>()); break;
        case siInt8: Put(from.As<LLONG>()); break;
        case siUInt1: Put(from.As<unsigned char>()); break;
        case siUInt2: Put(from.As<unsigned short>()); break;
        case siUInt4: Put(from.As<ULONG>()); break;
        case siUInt8: Put(from.As<ULLONG>()); break;
        case siFloat: Put(from.As<float>()); break;
        case siDouble: Put(from.As<double>()); break;
        case siBool: Put(from.As<bool>()); break;
        case siString: case siWStr: Put(from.GetAsText()); break;
        case siRef: Put(from.As<CRef>()); break;
        case siPtr: Put(from.As<siPtrType>()); break;
        case siVector3: Put(from.As<MATH::CVector3>()); break;
        case siArray: Put(from.As<CValueArray>()); break;
        case siRefArray: Put(from.As<CRefArray>()); break;
        case siLongArray: Put(from.As<CLongArray>()); break;
        case siFloatArray: Put(from.As<CFloatArray>()); break;
        case siStringArray: Put(from.As<CStringArray>()); break;
        default: break;
    }
}

void CValue::Clear() {
    m_v.emplace<std::monostate>();
    m_t = siEmpty;
}

void CValue::Attach(CValue& other) {
    if (this != &other) *this = std::move(other);
}

CValue CValue::Detach() { return CValue(std::move(*this)); }

CString CValue::GetAsText() const {
    return std::visit(
        [this](const auto& x) -> CString {
            using S = std::decay_t<decltype(x)>;
            if constexpr (std::is_same_v<S, std::monostate>) return CString();
            else if constexpr (std::is_same_v<S, bool>) return CString(x ? L"True" : L"False");
            else if constexpr (std::is_floating_point_v<S>) return CString(Host::ShortestText(x).c_str());
            else if constexpr (std::is_integral_v<S>) return CString(std::to_wstring(x).c_str());
            else if constexpr (std::is_same_v<S, CString>) return x;
            else if constexpr (std::is_same_v<S, CRef>) return x.GetAsText();
            else if constexpr (std::is_same_v<S, siPtrType>) return CString(PointerText(x).c_str());
            else return Elements().GetAsText();
        },
        m_v);
}

bool CValue::operator==(const CValue& o) const {
    const Kind k = KindOf(m_t);
    if (k != KindOf(o.m_t)) return false;
    switch (k) {
        case Kind::Empty: return true;
        case Kind::Number: return NumberOf(m_v) == NumberOf(o.m_v);
        default:
            if (m_t != o.m_t) return false;
            return std::visit(
                [&o](const auto& x) {
                    using S = std::decay_t<decltype(x)>;
                    const S& y = std::get<S>(o.m_v);
                    if constexpr (std::is_same_v<S, CRefArray>) return SameRefs(x, y);
                    else return x == y;
                },
                m_v);
    }
}

bool CValue::operator<(const CValue& o) const {
    const Kind k = KindOf(m_t), ko = KindOf(o.m_t);
    if (k != ko) return k < ko;
    switch (k) {
        case Kind::Empty: return false;
        case Kind::Number: return NumberOf(m_v) < NumberOf(o.m_v);
        case Kind::Text: return std::get<CString>(m_v) < std::get<CString>(o.m_v);
        default: return m_t != o.m_t ? m_t < o.m_t : GetAsText() < o.GetAsText();
    }
}

}  // namespace XSI
