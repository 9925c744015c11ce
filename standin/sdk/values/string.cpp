#include <algorithm>
#include <cwchar>
#include <string_view>

#include "core/text.h"
#include "xsi_string.h"
#include "xsi_value.h"

namespace XSI {

namespace {
std::wstring Widen(const char* s) { return s ? Host::FromUtf8(s) : std::wstring(); }

// Characters up to count or the first NUL, whichever comes first.
template <class Char>
std::basic_string_view<Char> Prefix(const Char* s, ULONG count) {
    if (!s) return {};
    return {s, static_cast<size_t>(std::find(s, s + count, Char(0)) - s)};
}

ULONG ToPos(size_t p) { return p == std::wstring::npos ? UINT_MAX : static_cast<ULONG>(p); }

bool EqualNoCase(std::wstring_view a, std::wstring_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](wchar_t x, wchar_t y) { return Host::ToLower(x) == Host::ToLower(y); });
}

const std::wstring kWhitespace = L" \t\r\n\v\f";
}  // namespace

CString::CString(const wchar_t* s) : m_str(s ? s : L"") {}
CString::CString(const wchar_t* s, ULONG count) : m_str(Prefix(s, count)) {}
CString::CString(const char* s) : m_str(Widen(s)) {}
CString::CString(const char* s, ULONG count) : m_str(Host::FromUtf8(Prefix(s, count))) {}
CString::CString(const CValue& value) : CString(value.GetAsText()) {}

const char* CString::GetAsciiString() const {
    if (!m_utf8Valid) {
        m_utf8 = Host::ToUtf8(m_str);
        m_utf8Valid = true;
    }
    return m_utf8.c_str();
}

CStatus CString::PutAsciiString(const char* s) {
    *this = s;
    return CStatus::OK;
}

CString& CString::operator=(const CString& other) {
    if (this != &other) {
        m_str = other.m_str;
        Changed();
    }
    return *this;
}

CString& CString::operator=(CString&& other) noexcept {
    if (this != &other) {
        m_str = std::move(other.m_str);
        Changed();
        other.Changed();
    }
    return *this;
}

CString& CString::operator=(const wchar_t* s) {
    m_str = s ? s : L"";  // s may point into m_str: assign copes with that
    Changed();
    return *this;
}

CString& CString::operator=(const char* s) {
    m_str = Widen(s);
    Changed();
    return *this;
}

bool CString::operator==(const wchar_t* s) const { return m_str == std::wstring_view(s ? s : L""); }
bool CString::operator==(const char* s) const { return m_str == Widen(s); }

bool CString::IsEqualNoCase(const CString& s) const { return EqualNoCase(m_str, s.m_str); }
bool CString::IsEqualNoCase(const wchar_t* s) const { return EqualNoCase(m_str, s ? s : L""); }
bool CString::IsEqualNoCase(const char* s) const { return EqualNoCase(m_str, Widen(s)); }

CStringArray CString::Split(const CString& delimiter) const {
    CStringArray parts;
    if (m_str.empty()) return parts;
    const std::wstring& d = delimiter.m_str;
    if (d.empty()) {
        parts.Add(*this);
        return parts;
    }
    size_t start = 0;
    for (;;) {
        const size_t hit = m_str.find(d, start);
        parts.Add(GetSubString(static_cast<ULONG>(start), ToPos(hit == std::wstring::npos ? hit : hit - start)));
        if (hit == std::wstring::npos) return parts;
        start = hit + d.size();
    }
}

CString& CString::operator+=(const wchar_t* s) {
    if (s) m_str += s;
    Changed();
    return *this;
}

CString& CString::operator+=(const char* s) {
    m_str += Widen(s);
    Changed();
    return *this;
}

char CString::GetAt(ULONG i) const {
    if (i >= m_str.size()) return '\0';
    const wchar_t c = m_str[i];
    return c >= 0 && c < 0x80 ? static_cast<char>(c) : '?';
}

ULONG CString::FindString(const CString& s, ULONG offset) const {
    if (s.m_str.empty()) return UINT_MAX;
    return ToPos(m_str.find(s.m_str, offset));
}

ULONG CString::ReverseFindString(const CString& s, ULONG offset) const {
    if (s.m_str.empty()) return UINT_MAX;
    return ToPos(m_str.rfind(s.m_str, offset == UINT_MAX ? std::wstring::npos : offset));
}

CString CString::GetSubString(ULONG offset, ULONG count) const {
    if (offset >= m_str.size()) return CString();
    CString out;
    out.m_str = m_str.substr(offset, count);
    return out;
}

void CString::Lower() {
    for (wchar_t& c : m_str) c = Host::ToLower(c);
    Changed();
}

void CString::Upper() {
    for (wchar_t& c : m_str) c = Host::ToUpper(c);
    Changed();
}

void CString::TrimLeft(const CString& chars) {
    m_str.erase(0, std::min(m_str.find_first_not_of(chars.IsEmpty() ? kWhitespace : chars.m_str), m_str.size()));
    Changed();
}

void CString::TrimRight(const CString& chars) {
    const size_t last = m_str.find_last_not_of(chars.IsEmpty() ? kWhitespace : chars.m_str);
    m_str.erase(last == std::wstring::npos ? 0 : last + 1);
    Changed();
}

CString operator+(const wchar_t* a, const CString& b) { return CString(a) += b; }
CString operator+(wchar_t a, const CString& b) { return CString(&a, 1) += b; }
CString operator+(const char* a, const CString& b) { return CString(a) += b; }
CString operator+(char a, const CString& b) { return (CString() += a) += b; }

CStatus CStringArray::Resize(LONG n) {
    if (n < 0) return CStatus::InvalidArgument;
    m_items.resize(static_cast<size_t>(n));
    return CStatus::OK;
}

}  // namespace XSI
