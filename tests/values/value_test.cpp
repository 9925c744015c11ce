// CValue and CValueArray: types, conversions, text, copies, comparisons.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

#include "xsi_value.h"

using XSI::CLongArray;
using XSI::CRef;
using XSI::CString;
using XSI::CValue;
using XSI::CValueArray;
using XSI::MATH::CVector3;

TEST(CValue, DataTypeValuesMatchTheHost) {
    EXPECT_EQ(CValue::siEmpty, 0);
    EXPECT_EQ(CValue::siInt4, 3);
    EXPECT_EQ(CValue::siDouble, 5);
    EXPECT_EQ(CValue::siString, 8);
    EXPECT_EQ(CValue::siBool, 11);
    EXPECT_EQ(CValue::siUInt8, 20);
    EXPECT_EQ(CValue::siWStr, 31);
    EXPECT_EQ(CValue::siRef, 666);
    EXPECT_EQ(CValue::siVector3, 670);
    EXPECT_EQ(CValue::siStringArray, 810);
}

TEST(CValue, ConstructorsSetTheType) {
    EXPECT_EQ(CValue().m_t, CValue::siEmpty);
    EXPECT_EQ(CValue(short(1)).m_t, CValue::siInt2);
    EXPECT_EQ(CValue(static_cast<unsigned short>(1)).m_t, CValue::siUInt2);
    EXPECT_EQ(CValue(1).m_t, CValue::siInt4);
    EXPECT_EQ(CValue(1u).m_t, CValue::siUInt4);
    EXPECT_EQ(CValue(LLONG(1)).m_t, CValue::siInt8);
    EXPECT_EQ(CValue(ULLONG(1)).m_t, CValue::siUInt8);
    EXPECT_EQ(CValue(static_cast<signed char>(1)).m_t, CValue::siInt1);
    EXPECT_EQ(CValue(static_cast<unsigned char>(1)).m_t, CValue::siUInt1);
    EXPECT_EQ(CValue(1.0f).m_t, CValue::siFloat);
    EXPECT_EQ(CValue(1.0).m_t, CValue::siDouble);
    EXPECT_EQ(CValue(true).m_t, CValue::siBool);
    EXPECT_EQ(CValue(L"w").m_t, CValue::siString);
    EXPECT_EQ(CValue("n").m_t, CValue::siString);
    EXPECT_EQ(CValue(CString(L"s")).m_t, CValue::siString);
    EXPECT_EQ(CValue(CRef()).m_t, CValue::siRef);
    EXPECT_EQ(CValue(XSI::CRefArray()).m_t, CValue::siRefArray);
    EXPECT_EQ(CValue(CValueArray()).m_t, CValue::siArray);
    EXPECT_EQ(CValue(CLongArray()).m_t, CValue::siLongArray);
    EXPECT_EQ(CValue(XSI::CFloatArray()).m_t, CValue::siFloatArray);
    EXPECT_EQ(CValue(XSI::CStringArray()).m_t, CValue::siStringArray);
    EXPECT_EQ(CValue(CVector3(1, 2, 3)).m_t, CValue::siVector3);
    int x = 0;
    EXPECT_EQ(CValue(static_cast<CValue::siPtrType>(&x)).m_t, CValue::siPtr);
    EXPECT_EQ(CValue(&x).m_t, CValue::siPtr);  // any object pointer is a pointer, not a bool
    EXPECT_TRUE(CValue().IsEmpty());
    EXPECT_FALSE(CValue(0).IsEmpty());
}

TEST(CValue, NumericConversions) {
    CValue three(3);
    EXPECT_EQ(static_cast<double>(three), 3.0);
    EXPECT_EQ(static_cast<bool>(three), true);
    EXPECT_EQ(static_cast<float>(three), 3.0f);
    EXPECT_EQ(static_cast<ULLONG>(three), 3u);
    EXPECT_FALSE(static_cast<bool>(CValue(0.0)));
    EXPECT_EQ(static_cast<LONG>(CValue(true)), 1);
    EXPECT_EQ(static_cast<double>(CValue(false)), 0.0);
    EXPECT_EQ(static_cast<short>(CValue(LLONG(-7))), -7);
    double d = CValue(1.25f);
    EXPECT_EQ(d, 1.25);
    LONG fromEmpty = CValue();
    EXPECT_EQ(fromEmpty, 0);
}

TEST(CValue, FloatingToIntegerRoundsToNearestEvenAndSaturates) {
    EXPECT_EQ(static_cast<LONG>(CValue(2.7)), 3);
    EXPECT_EQ(static_cast<LONG>(CValue(2.5)), 2);
    EXPECT_EQ(static_cast<LONG>(CValue(3.5)), 4);
    EXPECT_EQ(static_cast<LONG>(CValue(-2.5)), -2);
    EXPECT_EQ(static_cast<LONG>(CValue(1e20)), INT32_MAX);
    EXPECT_EQ(static_cast<LONG>(CValue(-1e20)), INT32_MIN);
    EXPECT_EQ(static_cast<ULONG>(CValue(-3.0)), 0u);
    EXPECT_EQ(static_cast<unsigned char>(CValue(300.0)), 255);
    EXPECT_EQ(static_cast<LONG>(CValue(std::nan(""))), 0);
    EXPECT_EQ(static_cast<LLONG>(CValue(9.3e18)), INT64_MAX);
}

TEST(CValue, StringsReadAsNumbers) {
    EXPECT_EQ(static_cast<double>(CValue(L"2.5")), 2.5);
    EXPECT_EQ(static_cast<double>(CValue(" -1e3 ")), -1000.0);
    EXPECT_EQ(static_cast<double>(CValue(L"+4")), 4.0);
    EXPECT_EQ(static_cast<LONG>(CValue(L"2.5")), 2);
    EXPECT_EQ(static_cast<LONG>(CValue(L"42")), 42);
    EXPECT_EQ(static_cast<LLONG>(CValue(L"9007199254740993")), 9007199254740993LL);  // not a double
    EXPECT_EQ(static_cast<ULLONG>(CValue(L"18446744073709551615")), UINT64_MAX);
    EXPECT_EQ(static_cast<LONG>(CValue(L"abc")), 0);
    EXPECT_EQ(static_cast<LONG>(CValue(L"3abc")), 0);
    EXPECT_EQ(static_cast<LONG>(CValue(L"")), 0);
    EXPECT_EQ(static_cast<LONG>(CValue(L"+-3")), 0);
    EXPECT_TRUE(static_cast<bool>(CValue(L"True")));
    EXPECT_TRUE(static_cast<bool>(CValue(L"true")));
    EXPECT_FALSE(static_cast<bool>(CValue(L"FALSE")));
    EXPECT_TRUE(static_cast<bool>(CValue(L"2")));
    EXPECT_FALSE(static_cast<bool>(CValue(L"0")));
    EXPECT_FALSE(static_cast<bool>(CValue(L"no")));
}

TEST(CValue, GetAsText) {
    EXPECT_EQ(CValue().GetAsText(), L"");
    EXPECT_EQ(CValue(-5).GetAsText(), L"-5");
    EXPECT_EQ(CValue(ULLONG(UINT64_MAX)).GetAsText(), L"18446744073709551615");
    EXPECT_EQ(CValue(static_cast<signed char>(-3)).GetAsText(), L"-3");
    EXPECT_EQ(CValue(static_cast<unsigned char>(200)).GetAsText(), L"200");
    EXPECT_EQ(CValue(10.0).GetAsText(), L"10");
    EXPECT_EQ(CValue(2.0001).GetAsText(), L"2.0001");
    EXPECT_EQ(CValue(0.1).GetAsText(), L"0.1");
    EXPECT_EQ(CValue(0.1f).GetAsText(), L"0.1");
    EXPECT_EQ(CValue(1e21).GetAsText(), L"1e+21");
    EXPECT_EQ(CValue(-0.25).GetAsText(), L"-0.25");
    EXPECT_EQ(CValue(true).GetAsText(), L"True");
    EXPECT_EQ(CValue(false).GetAsText(), L"False");
    EXPECT_EQ(CValue(L"text").GetAsText(), L"text");
    EXPECT_EQ(CValue(CRef()).GetAsText(), L"");
    EXPECT_EQ(CValue(CVector3(1, 2.5, -3)).GetAsText(), L"(1,2.5,-3)");
    EXPECT_EQ(CValue(static_cast<CValue::siPtrType>(nullptr)).GetAsText(), L"0x0");
    EXPECT_EQ(CValue(reinterpret_cast<CValue::siPtrType>(std::uintptr_t{0xBEEF})).GetAsText(), L"0xbeef");
    // The text reads back as the same double.
    const double x = 0.1 + 0.2;
    EXPECT_EQ(static_cast<double>(CValue(CValue(x).GetAsText())), x);
}

TEST(CValue, ArraysAsText) {
    CValueArray a;
    a.Add(1);
    a.Add(L"a");
    a.Add(2.5);
    EXPECT_EQ(CValue(a).GetAsText(), L"(1,a,2.5)");
    EXPECT_EQ(a.GetAsText(), L"(1,a,2.5)");
    CValueArray nested;
    nested.Add(a);
    nested.Add(true);
    EXPECT_EQ(CValue(nested).GetAsText(), L"((1,a,2.5),True)");
    EXPECT_EQ(CValue(CValueArray()).GetAsText(), L"()");
    CLongArray longs;
    longs.Add(1);
    longs.Add(-2);
    EXPECT_EQ(CValue(longs).GetAsText(), L"(1,-2)");
    XSI::CStringArray strings;
    strings.Add(L"x");
    strings.Add(L"y");
    EXPECT_EQ(CValue(strings).GetAsText(), L"(x,y)");
    XSI::CFloatArray floats;
    floats.Add(0.5f);
    EXPECT_EQ(CValue(floats).GetAsText(), L"(0.5)");
}

TEST(CValue, ToCStringUsesText) {
    CString s = CValue(12);
    EXPECT_EQ(s, L"12");
    const CValue c(1.5);
    CString t = c;  // from a const value: the conversion operator, not ambiguous
    EXPECT_EQ(t, L"1.5");
    EXPECT_EQ(static_cast<CString>(CValue(L"q")), L"q");
}

TEST(CValue, CopiesAreIndependent) {
    CValueArray items;
    items.Add(L"first");
    items.Add(CLongArray(3));
    CValue a(items);
    CValue b(a);
    CValue c;
    c = a;
    CValueArray& bItems = b;
    bItems[0] = L"changed";
    bItems.Add(7);
    EXPECT_EQ(a.GetAsText(), L"(first,(0,0,0))");
    EXPECT_EQ(b.GetAsText(), L"(changed,(0,0,0),7)");
    EXPECT_EQ(c, a);
    EXPECT_NE(b, a);
    c = c;  // self-assignment
    EXPECT_EQ(c, a);
}

TEST(CValue, AssignmentFromAnElementOfItself) {
    CValueArray items;
    items.Add(L"inner");
    items.Add(2);
    CValue v(items);
    CValueArray& held = v;
    v = held[0];  // copy of an element that the assignment destroys
    EXPECT_EQ(v.m_t, CValue::siString);
    EXPECT_EQ(v, L"inner");

    CValue w(items);
    CValueArray& held2 = w;
    w = std::move(held2[1]);
    EXPECT_EQ(w.m_t, CValue::siInt4);
    EXPECT_EQ(w, 2);
}

TEST(CValue, MovesLeaveTheSourceEmpty) {
    CValue a(L"payload");
    CValue b(std::move(a));
    EXPECT_TRUE(a.IsEmpty());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(b, L"payload");
    CValue c;
    c = std::move(b);
    EXPECT_TRUE(b.IsEmpty());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(c, L"payload");
    CValue d;
    d.Attach(c);
    EXPECT_TRUE(c.IsEmpty());
    EXPECT_EQ(d, L"payload");
    CValue e = d.Detach();
    EXPECT_TRUE(d.IsEmpty());
    EXPECT_EQ(e, L"payload");
}

TEST(CValue, Assignment) {
    CValue v;
    v = 5;
    EXPECT_EQ(v.m_t, CValue::siInt4);
    v = 2.5;
    EXPECT_EQ(v.m_t, CValue::siDouble);
    v = L"s";
    EXPECT_EQ(v.m_t, CValue::siString);
    v = "n";
    EXPECT_EQ(v, L"n");
    v = CVector3(1, 2, 3);
    EXPECT_EQ(static_cast<CVector3>(v), CVector3(1, 2, 3));
    v.Clear();
    EXPECT_TRUE(v.IsEmpty());
}

TEST(CValue, ChangeType) {
    CValue v(3);
    v.ChangeType(CValue::siString);
    EXPECT_EQ(v.m_t, CValue::siString);
    EXPECT_EQ(v, L"3");
    v.ChangeType(CValue::siDouble);
    EXPECT_EQ(v.m_t, CValue::siDouble);
    EXPECT_EQ(v, 3.0);
    v.ChangeType(CValue::siBool);
    EXPECT_EQ(v.m_t, CValue::siBool);
    EXPECT_EQ(v, true);
    const CValue src(L"12");
    v.ChangeType(CValue::siInt4, &src);
    EXPECT_EQ(v.m_t, CValue::siInt4);
    EXPECT_EQ(static_cast<LONG>(v), 12);
    EXPECT_EQ(src.m_t, CValue::siString);
    v.ChangeType(CValue::siArray);
    EXPECT_EQ(v.GetAsText(), L"(12)");
    v.ChangeType(CValue::siLongArray);
    EXPECT_EQ(v.m_t, CValue::siLongArray);
    v.ChangeType(CValue::siStringArray);
    EXPECT_EQ(v.m_t, CValue::siStringArray);
    EXPECT_EQ(v.GetAsText(), L"(12)");
    v.ChangeType(CValue::siBlob);  // not held by this host: no change
    EXPECT_EQ(v.m_t, CValue::siStringArray);
    v.ChangeType(CValue::siEmpty);
    EXPECT_TRUE(v.IsEmpty());
    v.ChangeType(CValue::siInt8);
    EXPECT_EQ(v.m_t, CValue::siInt8);
    EXPECT_EQ(v, 0);
}

TEST(CValue, ArrayConversionsReferToThePayload) {
    CLongArray longs;
    longs.Add(1);
    CValue v(longs);
    CLongArray& held = v;
    held.Add(2);
    EXPECT_EQ(v.GetAsText(), L"(1,2)");

    // Another type converts in place.
    CValueArray list;
    list.Add(4);
    list.Add(L"5");
    list.Add(6.6);
    CValue w(list);
    CLongArray& asLongs = w;
    EXPECT_EQ(w.m_t, CValue::siLongArray);
    ASSERT_EQ(asLongs.GetCount(), 3);
    EXPECT_EQ(asLongs[1], 5);
    EXPECT_EQ(asLongs[2], 7);

    CValue empty;
    CValueArray& fresh = empty;
    EXPECT_EQ(fresh.GetCount(), 0);
    EXPECT_EQ(empty.m_t, CValue::siArray);

    CValue scalar(2.5);
    XSI::CFloatArray& one = scalar;
    ASSERT_EQ(one.GetCount(), 1);
    EXPECT_EQ(one[0], 2.5f);

    CValueArray copy = CValue(list);  // copy-initialisation from a temporary
    EXPECT_EQ(copy.GetCount(), 3);
}

TEST(CValue, VectorConversions) {
    CValueArray xyz;
    xyz.Add(1);
    xyz.Add(2.5);
    xyz.Add(L"3");
    EXPECT_EQ(static_cast<CVector3>(CValue(xyz)), CVector3(1, 2.5, 3));
    EXPECT_EQ(static_cast<CVector3>(CValue(5)), CVector3());
    CValue v(CVector3(1, 2, 3));
    CValueArray& parts = v;
    EXPECT_EQ(parts.GetCount(), 3);
    EXPECT_EQ(parts[2], 3.0);
}

TEST(CValue, PointerRoundTrip) {
    int data = 42;
    CValue v(static_cast<CValue::siPtrType>(&data));
    int* back = static_cast<int*>(static_cast<CValue::siPtrType>(v));
    EXPECT_EQ(back, &data);
    EXPECT_EQ(static_cast<CValue::siPtrType>(CValue(3)), nullptr);
    CValue copy = v;
    EXPECT_EQ(copy, static_cast<CValue::siPtrType>(&data));
}

TEST(CValue, Comparisons) {
    EXPECT_TRUE(CValue(3) == 3.0);
    EXPECT_TRUE(CValue(3) == CValue(3.0f));
    EXPECT_TRUE(CValue(3) == 3);
    EXPECT_TRUE(3 == CValue(3));
    EXPECT_TRUE(CValue(3) != 4);
    EXPECT_TRUE(CValue(1) == true);
    EXPECT_TRUE(CValue(ULLONG(UINT64_MAX)) != CValue(LLONG(-1)));
    EXPECT_TRUE(CValue(LLONG(9007199254740993LL)) != CValue(9007199254740992.0));
    EXPECT_TRUE(CValue(L"abc") == L"abc");
    EXPECT_TRUE(CValue(L"abc") == "abc");
    EXPECT_TRUE(CValue(L"abc") == CString(L"abc"));
    EXPECT_TRUE(CValue(L"abc") != L"ABC");
    EXPECT_TRUE(CValue(L"3") != CValue(3));  // text is not a number
    EXPECT_TRUE(CValue() == CValue());
    EXPECT_TRUE(CValue() != CValue(0));
    EXPECT_TRUE(CValue(std::nan("")) != CValue(std::nan("")));

    EXPECT_TRUE(CValue(1) < CValue(1.5));
    EXPECT_TRUE(CValue(2.0) > CValue(1));
    EXPECT_TRUE(CValue(2) <= CValue(2.0));
    EXPECT_TRUE(CValue(2) >= CValue(2.0));
    EXPECT_TRUE(CValue(L"a") < CValue(L"b"));
    EXPECT_TRUE(CValue() < CValue(-100));
    EXPECT_TRUE(CValue(1000) < CValue(L""));
    EXPECT_TRUE(CValue(L"zzz") < CValue(CRef()));
    EXPECT_FALSE(CValue(1) < CValue(1));

    CLongArray a;
    a.Add(1);
    EXPECT_TRUE(CValue(a) == a);
    CLongArray b = a;
    b.Add(2);
    EXPECT_TRUE(CValue(a) != b);
    EXPECT_TRUE(CValue(a) < CValue(b));  // same type: by text
}

TEST(CValueArray, Basics) {
    CValueArray a(2);
    EXPECT_EQ(a.GetCount(), 2);
    EXPECT_TRUE(a[0].IsEmpty());
    a[1] = 5;
    a.Add(L"x");
    EXPECT_EQ(a.GetCount(), 3);
    CValueArray b(a);
    EXPECT_TRUE(a == b);
    b[2] = L"y";
    EXPECT_TRUE(a != b);
    EXPECT_EQ(a.Resize(-1), XSI::CStatus::InvalidArgument);
    EXPECT_EQ(a.Resize(1), XSI::CStatus::OK);
    EXPECT_EQ(a.GetCount(), 1);
    a.Add(a[0]);  // an element of itself
    EXPECT_EQ(a.GetCount(), 2);
    CValueArray moved(std::move(b));
    EXPECT_EQ(moved.GetCount(), 3);
    a = moved;
    EXPECT_TRUE(a == moved);
    a.Clear();
    EXPECT_EQ(a.GetCount(), 0);
}
