// Host strings: CString and CStringArray.
//
// A CString holds wide characters. Narrow text (const char*) is UTF-8 in and out; the
// pointer from GetAsciiString() stays valid while the string lives and is not changed.
// Positions and lengths count wide characters. Searches that find nothing return UINT_MAX.
#pragma once

#include <climits>
#include <string>
#include <vector>

#include "sicppsdk.h"
#include "xsi_status.h"

namespace XSI {

class CStringArray;

class CString {
public:
    CString() {}  // not "= default": TrimLeft's default argument needs it inside the class
    CString(const CString& other) : m_str(other.m_str) {}
    CString(CString&& other) noexcept : m_str(std::move(other.m_str)) { other.Changed(); }
    CString(const wchar_t* s);
    CString(const wchar_t* s, ULONG count);
    CString(const char* s);
    CString(const char* s, ULONG count);
    // The value's text (CValue::GetAsText). Explicit so that `CString s = value;` uses
    // CValue's conversion operator instead of being ambiguous with it.
    explicit CString(const CValue& value);
    virtual ~CString() = default;

    const wchar_t* GetWideString() const { return m_str.c_str(); }
    const char* GetAsciiString() const;
    CStatus PutAsciiString(const char* s);

    ULONG Length() const { return static_cast<ULONG>(m_str.size()); }
    bool IsEmpty() const { return m_str.empty(); }
    void Clear() { m_str.clear(); Changed(); }

    CString& operator=(const CString& other);
    CString& operator=(CString&& other) noexcept;
    CString& operator=(const wchar_t* s);
    CString& operator=(const char* s);

    bool operator==(const CString& s) const { return m_str == s.m_str; }
    bool operator==(const wchar_t* s) const;
    bool operator==(const char* s) const;
    bool operator!=(const CString& s) const { return !(*this == s); }
    bool operator!=(const wchar_t* s) const { return !(*this == s); }
    bool operator!=(const char* s) const { return !(*this == s); }
    bool IsEqualNoCase(const CString& s) const;
    bool IsEqualNoCase(const wchar_t* s) const;
    bool IsEqualNoCase(const char* s) const;

    // Parts between delimiters, empty parts kept ("a,,b" gives "a", "", "b"); an empty
    // string gives an empty array, an empty delimiter the whole string.
    CStringArray Split(const CString& delimiter) const;

    CString& operator+=(const CString& s) { m_str += s.m_str; Changed(); return *this; }
    CString& operator+=(const wchar_t* s);
    CString& operator+=(const char* s);
    CString& operator+=(wchar_t c) { m_str += c; Changed(); return *this; }
    CString& operator+=(char c) { m_str += static_cast<wchar_t>(static_cast<unsigned char>(c)); Changed(); return *this; }
    CString operator+(const CString& s) const { return CString(*this) += s; }
    CString operator+(const wchar_t* s) const { return CString(*this) += s; }
    CString operator+(const char* s) const { return CString(*this) += s; }
    CString operator+(wchar_t c) const { return CString(*this) += c; }
    CString operator+(char c) const { return CString(*this) += c; }

    // Character i; L'\0' past the end.
    wchar_t operator[](ULONG i) const { return i < m_str.size() ? m_str[i] : L'\0'; }
    // Character i as a narrow char: '?' when it is not ASCII, '\0' past the end.
    char GetAt(ULONG i) const;

    // Ordinal (code point) order.
    bool operator<(const CString& s) const { return m_str < s.m_str; }
    bool operator>(const CString& s) const { return m_str > s.m_str; }

    // First occurrence at or after offset; UINT_MAX when absent or when s is empty.
    ULONG FindString(const CString& s, ULONG offset = 0) const;
    // Last occurrence starting at or before offset; UINT_MAX when absent or when s is empty.
    ULONG ReverseFindString(const CString& s, ULONG offset = UINT_MAX) const;
    // Up to count characters from offset (clamped to the string).
    CString GetSubString(ULONG offset = 0, ULONG count = UINT_MAX) const;

    void Lower();
    void Upper();
    // Removes leading (trailing) characters that appear in `chars`; whitespace when empty.
    void TrimLeft(const CString& chars = CString());
    void TrimRight(const CString& chars = CString());

private:
    void Changed() { m_utf8Valid = false; }

    std::wstring m_str;
    mutable std::string m_utf8;  // GetAsciiString cache
    mutable bool m_utf8Valid = false;
};

CString operator+(const wchar_t* a, const CString& b);
CString operator+(wchar_t a, const CString& b);
CString operator+(const char* a, const CString& b);
CString operator+(char a, const CString& b);

class CStringArray {
public:
    CStringArray() = default;
    explicit CStringArray(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

    LONG GetCount() const { return static_cast<LONG>(m_items.size()); }
    CStatus Add(const CString& s) { m_items.push_back(s); return CStatus::OK; }
    CStatus Clear() { m_items.clear(); return CStatus::OK; }
    CStatus Resize(LONG n);
    const CString& operator[](LONG i) const { return m_items[static_cast<size_t>(i)]; }
    CString& operator[](LONG i) { return m_items[static_cast<size_t>(i)]; }
    bool operator==(const CStringArray& o) const { return m_items == o.m_items; }
    bool operator!=(const CStringArray& o) const { return !(*this == o); }

private:
    std::vector<CString> m_items;
};

}  // namespace XSI
