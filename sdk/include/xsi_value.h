// Loosely typed values: CValue and CValueArray.
//
// A CValue holds one of the types below; m_t names which. Reading a value as another type
// converts it:
//   numbers and bool   convert among each other (true is 1; a floating value read as an
//                      integer rounds to nearest, ties to even, and saturates); a string
//                      reads as the number it spells ("2.5", " 3 ") or "true"/"false";
//                      anything else reads as 0
//   CString            GetAsText()
//   arrays             element by element from any array type; an empty value gives an
//                      empty array, a single value a one-element array
//   CRef, CVector3     from a value of that type (a CVector3 also from 3 numbers), else empty
// The array conversion operators return a reference into the value: when it holds another
// type it is converted in place first (the payload is mutable for this reason). Write
// `CValueArray a = v;` (or bind a reference): `CValueArray a(v)` is ambiguous with the size
// constructor, as it is with the host's own headers.
#pragma once

#include <variant>
#include <vector>

#include "sicppsdk.h"
#include "xsi_floatarray.h"
#include "xsi_longarray.h"
#include "xsi_ref.h"
#include "xsi_status.h"
#include "xsi_string.h"
#include "xsi_vector3.h"

namespace XSI {

class CValue;

class CValueArray {
public:
    CValueArray() = default;
    explicit CValueArray(LONG size);
    CValueArray(const CValueArray& other) = default;
    CValueArray(CValueArray&& other) noexcept = default;
    ~CValueArray() = default;
    CValueArray& operator=(const CValueArray& other) = default;
    CValueArray& operator=(CValueArray&& other) noexcept = default;

    LONG GetCount() const;
    CStatus Add(const CValue& value);
    CStatus Clear();
    CStatus Resize(LONG n);
    const CValue& operator[](LONG i) const;
    CValue& operator[](LONG i);
    bool operator==(const CValueArray& o) const;
    bool operator!=(const CValueArray& o) const { return !(*this == o); }
    // "(a,b,c)"
    CString GetAsText() const;

private:
    std::vector<CValue> m_items;
};

class CValue {
public:
    enum DataType {
        siEmpty = 0,
        siInt2 = 2,
        siInt4 = 3,
        siFloat = 4,
        siDouble = 5,
        siString = 8,
        siIDispatch = 9,
        siInt8 = 10,
        siBool = 11,
        siIUnknown = 13,
        siInt1 = 16,
        siUInt1 = 17,
        siUInt2 = 18,
        siUInt4 = 19,
        siUInt8 = 20,
        siWStr = 31,
        siRef = 666,
        siArray = 667,
        siPtr = 668,
        siRefArray = 669,
        siVector3 = 670,
        siLongArray = 671,
        siFloatArray = 672,
        siVector2f = 800,
        siVector3f = 801,
        siVector4f = 802,
        siQuaternionf = 803,
        siRotationf = 804,
        siMatrix3f = 805,
        siMatrix4f = 806,
        siColor4f = 807,
        siShape = 808,
        siBlob = 809,
        siStringArray = 810
    };
    typedef void* siPtrType;

    // The current type. Read it; change the value through the constructors, assignment,
    // ChangeType or Clear (writing m_t directly is not supported).
    mutable DataType m_t = siEmpty;

    CValue() = default;
    CValue(const CValue& other) = default;
    CValue(CValue&& other) noexcept;  // leaves other empty
    ~CValue() = default;
    // Both cope with `other` living inside this value (an element of its array).
    CValue& operator=(const CValue& other);
    CValue& operator=(CValue&& other) noexcept;

    CValue(short v) { Put(v); }
    CValue(unsigned short v) { Put(v); }
    CValue(LONG v) { Put(v); }
    CValue(ULONG v) { Put(v); }
    CValue(LLONG v) { Put(v); }
    CValue(ULLONG v) { Put(v); }
    CValue(signed char v) { Put(v); }
    CValue(unsigned char v) { Put(v); }
    CValue(float v) { Put(v); }
    CValue(double v) { Put(v); }
    CValue(bool v) { Put(v); }
    CValue(const CString& v) { Put(v); }
    CValue(const wchar_t* v) { Put(CString(v)); }
    CValue(const char* v) { Put(CString(v)); }
    CValue(const CRef& v) { Put(v); }
    CValue(const CRefArray& v) { Put(v); }
    CValue(const CValueArray& v) { Put(v); }
    CValue(const CLongArray& v) { Put(v); }
    CValue(const CFloatArray& v) { Put(v); }
    CValue(const CStringArray& v) { Put(v); }
    CValue(const MATH::CVector3& v) { Put(v); }
    CValue(siPtrType v) { Put(v); }

    operator short() const;
    operator unsigned short() const;
    operator LONG() const;
    operator ULONG() const;
    operator LLONG() const;
    operator ULLONG() const;
    operator signed char() const;
    operator unsigned char() const;
    operator float() const;
    operator double() const;
    operator bool() const;
    operator CString() const;
    operator CRef() const;
    operator MATH::CVector3() const;
    operator siPtrType() const;
    operator CRefArray&() const;
    operator CValueArray&() const;
    operator CLongArray&() const;
    operator CFloatArray&() const;
    operator CStringArray&() const;

    // Converts src (this value when null) to type t and stores the result here. Types
    // without a payload here (COM objects, float math types, blobs) leave the value unchanged.
    void ChangeType(DataType t, const CValue* src = NULL);
    void Clear();
    bool IsEmpty() const { return m_t == siEmpty; }
    // Takes the other's value, leaving it empty.
    void Attach(CValue& other);
    // Returns the value, leaving this empty.
    CValue Detach();

    // Integers in decimal; floats and doubles in the shortest text that reads back the same
    // value ("10", "2.0001"); bool "True"/"False"; a CRef its path; a pointer "0x..." in
    // hexadecimal; arrays and vectors "(a,b,c)"; empty "".
    CString GetAsText() const;

    // Numbers (and bool) compare by value across types; strings by code point; other types
    // equal only to the same type with an equal payload. The order puts empty first, then
    // numbers, then strings, then the other types (by type, then by text).
    bool operator==(const CValue& o) const;
    bool operator!=(const CValue& o) const { return !(*this == o); }
    bool operator<(const CValue& o) const;
    bool operator>(const CValue& o) const { return o < *this; }
    bool operator<=(const CValue& o) const { return *this < o || *this == o; }
    bool operator>=(const CValue& o) const { return o < *this || *this == o; }

    // Comparisons with each held type (without them `v == 3` would be ambiguous with the
    // built-in comparison after a conversion operator).
    bool operator==(short v) const { return *this == CValue(v); }
    bool operator==(unsigned short v) const { return *this == CValue(v); }
    bool operator==(LONG v) const { return *this == CValue(v); }
    bool operator==(ULONG v) const { return *this == CValue(v); }
    bool operator==(LLONG v) const { return *this == CValue(v); }
    bool operator==(ULLONG v) const { return *this == CValue(v); }
    bool operator==(signed char v) const { return *this == CValue(v); }
    bool operator==(unsigned char v) const { return *this == CValue(v); }
    bool operator==(float v) const { return *this == CValue(v); }
    bool operator==(double v) const { return *this == CValue(v); }
    bool operator==(bool v) const { return *this == CValue(v); }
    bool operator==(const CString& v) const { return *this == CValue(v); }
    bool operator==(const wchar_t* v) const { return *this == CValue(v); }
    bool operator==(const char* v) const { return *this == CValue(v); }
    bool operator==(const CRef& v) const { return *this == CValue(v); }
    bool operator==(const CRefArray& v) const { return *this == CValue(v); }
    bool operator==(const CValueArray& v) const { return *this == CValue(v); }
    bool operator==(const CLongArray& v) const { return *this == CValue(v); }
    bool operator==(const CFloatArray& v) const { return *this == CValue(v); }
    bool operator==(const CStringArray& v) const { return *this == CValue(v); }
    bool operator==(const MATH::CVector3& v) const { return *this == CValue(v); }
    bool operator==(siPtrType v) const { return *this == CValue(v); }
    template <class T>
    bool operator!=(const T& v) const { return !(*this == v); }

private:
    using Payload = std::variant<std::monostate, short, LONG, float, double, CString, LLONG, bool, signed char,
                                 unsigned char, unsigned short, ULONG, ULLONG, CRef, CValueArray, siPtrType, CRefArray,
                                 MATH::CVector3, CLongArray, CFloatArray, CStringArray>;
    static constexpr DataType kTypes[] = {siEmpty,  siInt2,  siInt4, siFloat,  siDouble,   siString,  siInt8,
                                          siBool,   siInt1,  siUInt1, siUInt2, siUInt4,   siUInt8,   siRef,
                                          siArray,  siPtr,   siRefArray, siVector3, siLongArray, siFloatArray, siStringArray};
    static_assert(std::variant_size_v<Payload> == sizeof(kTypes) / sizeof(kTypes[0]));
    template <class T>
    void Put(const T& v) {
        m_v.template emplace<T>(v);
        m_t = kTypes[m_v.index()];
    }
    template <class T>
    T As() const;
    template <class T>
    T& Hold() const;
    CValueArray Elements() const;

    mutable Payload m_v;
};

// CValueArray members that need CValue complete.
inline LONG CValueArray::GetCount() const { return static_cast<LONG>(m_items.size()); }
inline CStatus CValueArray::Add(const CValue& value) {
    m_items.push_back(value);
    return CStatus::OK;
}
inline const CValue& CValueArray::operator[](LONG i) const { return m_items[static_cast<size_t>(i)]; }
inline CValue& CValueArray::operator[](LONG i) { return m_items[static_cast<size_t>(i)]; }

}  // namespace XSI
