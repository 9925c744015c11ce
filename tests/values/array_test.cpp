// CLongArray, CDoubleArray, CFloatArray, CBoolArray and MATH::CVector3Array.
#include <gtest/gtest.h>

#include "xsi_boolarray.h"
#include "xsi_doublearray.h"
#include "xsi_floatarray.h"
#include "xsi_longarray.h"
#include "xsi_vector3.h"

using XSI::CBoolArray;
using XSI::CDoubleArray;
using XSI::CFloatArray;
using XSI::CLongArray;
using XSI::CStatus;

TEST(CLongArray, AddResizeAndIndex) {
    CLongArray a;
    EXPECT_EQ(a.GetCount(), 0);
    EXPECT_EQ(a.GetAsText(), L"");
    a.Add(5);
    a.Add(-6);
    EXPECT_EQ(a.GetCount(), 2);
    EXPECT_EQ(a[1], -6);
    a[1] = 7;
    EXPECT_EQ(a.GetAsText(), L"5,7");
    EXPECT_EQ(a.Resize(4), CStatus::OK);  // keeps, new elements 0
    EXPECT_EQ(a.GetAsText(), L"5,7,0,0");
    EXPECT_EQ(a.Resize(3, true), CStatus::OK);
    EXPECT_EQ(a.GetAsText(), L"0,0,0");
    EXPECT_EQ(a.Resize(-1), CStatus::InvalidArgument);
    EXPECT_EQ(a.Resize(-1, true), CStatus::InvalidArgument);
    EXPECT_EQ(a.GetCount(), 3);
    EXPECT_EQ(a.Clear(), CStatus::OK);
    EXPECT_EQ(a.GetCount(), 0);
    EXPECT_EQ(CLongArray(3).GetCount(), 3);
    EXPECT_EQ(CLongArray(-3).GetCount(), 0);
}

TEST(CLongArray, AttachAppendAndBulkData) {
    const LONG values[] = {1, 2, 3};
    CLongArray a;
    EXPECT_EQ(a.Attach(values, 3), CStatus::OK);
    EXPECT_EQ(a.GetAsText(), L"1,2,3");
    EXPECT_EQ(a.Attach(a.GetArray() + 1, 2), CStatus::OK);  // from its own elements
    EXPECT_EQ(a.GetAsText(), L"2,3");
    EXPECT_EQ(a.Attach(nullptr, 1), CStatus::InvalidArgument);
    EXPECT_EQ(a.Attach(values, -1), CStatus::InvalidArgument);
    EXPECT_EQ(a.Attach(nullptr, 0), CStatus::OK);
    EXPECT_EQ(a.GetCount(), 0);

    a.Attach(values, 3);
    a.Append(a);  // with itself
    EXPECT_EQ(a.GetAsText(), L"1,2,3,1,2,3");
    LONG* data = a.GetData();
    for (LONG i = 0; i < a.GetCount(); ++i) data[i] = i * 10;
    EXPECT_EQ(a[5], 50);
    EXPECT_EQ(a.GetArray(), data);
}

TEST(CLongArray, ElementWiseArithmeticAndEquality) {
    CLongArray a, b;
    for (LONG i = 0; i < 3; ++i) {
        a.Add(i);
        b.Add(10 * i);
    }
    a += b;
    EXPECT_EQ(a.GetAsText(), L"0,11,22");
    a -= b;
    EXPECT_EQ(a.GetAsText(), L"0,1,2");
    CLongArray shortOne;
    shortOne.Add(100);
    a += shortOne;  // over the common length
    EXPECT_EQ(a.GetAsText(), L"100,1,2");
    CLongArray copy(a);
    EXPECT_TRUE(copy == a);
    copy[2] = 9;
    EXPECT_TRUE(copy != a);
    CLongArray other;
    other = copy;
    EXPECT_TRUE(other == copy);
}

TEST(CDoubleArray, TextAndArithmetic) {
    CDoubleArray a;
    a.Add(0.5);
    a.Add(1.0);
    a.Add(2.25);
    EXPECT_EQ(a.GetAsText(), L"0.5,1,2.25");
    CDoubleArray b(3);
    b[0] = 0.25;
    a -= b;
    EXPECT_EQ(a[0], 0.25);
    double* data = a.GetData();
    data[2] = 1e-7;
    EXPECT_EQ(a.GetAsText(), L"0.25,1,1e-07");
    CDoubleArray c;
    c.Append(a);
    c.Append(b);
    EXPECT_EQ(c.GetCount(), 6);
    EXPECT_EQ(c.Resize(2, true), CStatus::OK);
    EXPECT_EQ(c.GetAsText(), L"0,0");
}

TEST(CFloatArray, Text) {
    CFloatArray a;
    a.Add(0.1f);
    a.Add(-3.0f);
    EXPECT_EQ(a.GetAsText(), L"0.1,-3");
    a += a;
    EXPECT_EQ(a[1], -6.0f);
}

TEST(CBoolArray, ReferencesAndPointers) {
    CBoolArray a(2);
    EXPECT_FALSE(a[0]);
    a[1] = true;
    bool& ref = a[0];
    ref = true;
    a.Add(false);
    EXPECT_EQ(a.GetAsText(), L"True,True,False");
    const bool* p = a.GetArray();
    EXPECT_TRUE(p[0]);
    EXPECT_FALSE(p[2]);
    a.GetData()[2] = true;
    EXPECT_TRUE(a[2]);
    const bool in[] = {false, true};
    a.Attach(in, 2);
    EXPECT_EQ(a.GetAsText(), L"False,True");
    a.Append(a);
    EXPECT_EQ(a.GetCount(), 4);
    EXPECT_EQ(a.Resize(5, true), CStatus::OK);
    EXPECT_EQ(a.GetAsText(), L"False,False,False,False,False");
    CBoolArray b = a;
    EXPECT_TRUE(a == b);
    b[0] = true;
    EXPECT_TRUE(a != b);
}

TEST(CVector3Array, PacksDoubles) {
    XSI::MATH::CVector3Array a(2);
    a[0].Set(1, 2, 3);
    a.Add(XSI::MATH::CVector3(7, 8, 9));
    ASSERT_EQ(a.GetCount(), 3);
    const double* p = a.GetArray();
    EXPECT_EQ(p[0], 1);
    EXPECT_EQ(p[2], 3);
    EXPECT_EQ(p[3], 0);
    EXPECT_EQ(p[8], 9);
    a.GetData()[1].PutY(5);
    EXPECT_EQ(p[4], 5);
    XSI::MATH::CVector3Array b = a;
    EXPECT_TRUE(a == b);
    b[2].PutZ(0);
    EXPECT_TRUE(a != b);
    EXPECT_EQ(a.Resize(-2), CStatus::InvalidArgument);
    EXPECT_EQ(a.Resize(1), CStatus::OK);
    EXPECT_EQ(a.GetCount(), 1);
    a.Clear();
    EXPECT_EQ(a.GetCount(), 0);
}
