// CString, CStringArray and the UTF-8 helpers.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "core/text.h"
#include "xsi_string.h"
#include "xsi_value.h"

using XSI::CString;
using XSI::CStringArray;

namespace {
// "héllo wörld ✓ 𝄞": 2-, 3- and 4-byte UTF-8 sequences.
const char* kUtf8 = "h\xC3\xA9llo w\xC3\xB6rld \xE2\x9C\x93 \xF0\x9D\x84\x9E";
const wchar_t* kWide = L"h\u00E9llo w\u00F6rld \u2713 \U0001D11E";
}  // namespace

TEST(Utf8, RoundTripsNonAscii) {
    EXPECT_EQ(XSI::Host::FromUtf8(kUtf8), kWide);
    EXPECT_EQ(XSI::Host::ToUtf8(kWide), kUtf8);
    EXPECT_EQ(XSI::Host::FromUtf8(""), L"");
}

TEST(Utf8, MalformedInputBecomesReplacementCharacter) {
    EXPECT_EQ(XSI::Host::FromUtf8("a\xC3"), L"a\uFFFD");            // truncated at the end
    EXPECT_EQ(XSI::Host::FromUtf8("a\xC3z"), L"a\uFFFDz");          // broken, resumes at z
    EXPECT_EQ(XSI::Host::FromUtf8("\xC0\xAF"), L"\uFFFD");          // overlong '/'
    EXPECT_EQ(XSI::Host::FromUtf8("\xED\xA0\x80"), L"\uFFFD");      // encoded surrogate
    EXPECT_EQ(XSI::Host::FromUtf8("\xFF" "b"), L"\uFFFDb");         // invalid lead byte
    EXPECT_EQ(XSI::Host::ToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
    EXPECT_EQ(XSI::Host::ToUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
}

TEST(Utf8, ShortestText) {
    EXPECT_EQ(XSI::Host::ShortestText(10.0), L"10");
    EXPECT_EQ(XSI::Host::ShortestText(2.0001), L"2.0001");
    EXPECT_EQ(XSI::Host::ShortestText(0.1f), L"0.1");
    EXPECT_EQ(XSI::Host::ShortestText(-0.5), L"-0.5");
}

TEST(CString, ConstructsFromWideAndUtf8) {
    CString a(kUtf8), b(kWide);
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.Length(), std::wcslen(kWide));
    EXPECT_EQ(CString(L"\U0001D11E").Length(), 1u);  // one character, whatever its UTF-8 size
    EXPECT_STREQ(b.GetAsciiString(), kUtf8);
    EXPECT_STREQ(CString().GetWideString(), L"");
    EXPECT_STREQ(CString().GetAsciiString(), "");
    EXPECT_TRUE(CString(static_cast<const wchar_t*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(CString, CountedConstructorsStopAtCountOrNul) {
    EXPECT_EQ(CString(L"abcdef", 3), L"abc");
    EXPECT_EQ(CString("abcdef", 0), L"");
    EXPECT_EQ(CString("ab\0cd", 5), L"ab");
    EXPECT_EQ(CString("h\xC3\xA9llo", 3), L"h\u00E9");  // count is in bytes for UTF-8 input
}

TEST(CString, FromValueUsesItsText) {
    EXPECT_EQ(CString(XSI::CValue(5)), L"5");
    EXPECT_EQ(CString(2.5), L"2.5");
    EXPECT_EQ(CString(true), L"True");
}

TEST(CString, AsciiPointerIsCachedUntilChanged) {
    CString s(L"caf\u00E9");
    const char* p = s.GetAsciiString();
    EXPECT_STREQ(p, "caf\xC3\xA9");
    EXPECT_EQ(s.GetAsciiString(), p);
    s += L"!";
    EXPECT_STREQ(s.GetAsciiString(), "caf\xC3\xA9!");
    CString copy(s);
    EXPECT_STREQ(copy.GetAsciiString(), "caf\xC3\xA9!");
    EXPECT_EQ(s.PutAsciiString("\xE2\x82\xAC"), XSI::CStatus::OK);
    EXPECT_EQ(s, L"\u20AC");
    EXPECT_STREQ(s.GetAsciiString(), "\xE2\x82\xAC");
}

TEST(CString, AssignmentAndMoves) {
    CString s;
    s = L"wide";
    EXPECT_EQ(s, "wide");
    s = "n\xC3\xA4rrow";
    EXPECT_EQ(s, L"n\u00E4rrow");
    s = s;  // self-assignment
    EXPECT_EQ(s, L"n\u00E4rrow");
    s = s.GetWideString() + 1;  // from a pointer into itself
    EXPECT_EQ(s, L"\u00E4rrow");
    CString moved(std::move(s));
    EXPECT_EQ(moved, L"\u00E4rrow");
    CString target;
    target = std::move(moved);
    EXPECT_EQ(target, L"\u00E4rrow");
    target.Clear();
    EXPECT_TRUE(target.IsEmpty());
    EXPECT_STREQ(target.GetAsciiString(), "");
}

TEST(CString, Comparisons) {
    CString s(L"Abc");
    EXPECT_TRUE(s == L"Abc");
    EXPECT_TRUE(s == "Abc");
    EXPECT_TRUE(s != L"abc");
    EXPECT_TRUE(s != "abc");
    EXPECT_TRUE(s != CString(L"Ab"));
    EXPECT_TRUE(L"Abc" == s);
    EXPECT_TRUE(s.IsEqualNoCase(L"aBC"));
    EXPECT_TRUE(s.IsEqualNoCase("ABC"));
    EXPECT_FALSE(s.IsEqualNoCase(CString(L"ABCD")));
    EXPECT_TRUE(CString(L"\u00C9COLE").IsEqualNoCase(L"\u00E9cole"));
    EXPECT_TRUE(CString(L"a") < CString(L"b"));
    EXPECT_TRUE(CString(L"ab") > CString(L"a"));
    EXPECT_TRUE(CString(L"B") < CString(L"a"));  // ordinal, not by locale
    EXPECT_FALSE(CString(L"a") < CString(L"a"));
}

TEST(CString, Concatenation) {
    CString s(L"a");
    s += CString(L"b");
    s += L"c";
    s += "d";
    s += L'e';
    s += 'f';
    EXPECT_EQ(s, L"abcdef");
    EXPECT_EQ(s + CString(L"1") + L"2" + "3" + L'4' + '5', L"abcdef12345");
    EXPECT_EQ(L"x" + s, L"xabcdef");
    EXPECT_EQ(L'x' + s, L"xabcdef");
    EXPECT_EQ("\xC3\xA9" + s, L"\u00E9abcdef");
    EXPECT_EQ('y' + s, L"yabcdef");
    EXPECT_EQ(s, L"abcdef");  // operator+ leaves its operands alone
    CString withNul;
    withNul += L'\0';
    withNul += L'z';
    EXPECT_EQ(withNul.Length(), 2u);
    EXPECT_EQ(withNul[1], L'z');
}

TEST(CString, CharacterAccessAtBoundaries) {
    CString s(L"a\u00E9");
    EXPECT_EQ(s[0], L'a');
    EXPECT_EQ(s[1], L'\u00E9');
    EXPECT_EQ(s[2], L'\0');
    EXPECT_EQ(s[UINT_MAX], L'\0');
    EXPECT_EQ(s.GetAt(0), 'a');
    EXPECT_EQ(s.GetAt(1), '?');
    EXPECT_EQ(s.GetAt(2), '\0');
}

TEST(CString, FindString) {
    CString s(L"abcabc");
    EXPECT_EQ(s.FindString(L"abc"), 0u);
    EXPECT_EQ(s.FindString(L"abc", 1), 3u);
    EXPECT_EQ(s.FindString(L"c", 5), 5u);
    EXPECT_EQ(s.FindString(L"c", 6), UINT_MAX);
    EXPECT_EQ(s.FindString(L"c", UINT_MAX), UINT_MAX);
    EXPECT_EQ(s.FindString(L"x"), UINT_MAX);
    EXPECT_EQ(s.FindString(L"abcabcd"), UINT_MAX);
    EXPECT_EQ(s.FindString(CString()), UINT_MAX);
    EXPECT_EQ(CString().FindString(L"a"), UINT_MAX);
}

TEST(CString, ReverseFindString) {
    CString s(L"abcabc");
    EXPECT_EQ(s.ReverseFindString(L"abc"), 3u);
    EXPECT_EQ(s.ReverseFindString(L"abc", 3), 3u);
    EXPECT_EQ(s.ReverseFindString(L"abc", 2), 0u);
    EXPECT_EQ(s.ReverseFindString(L"c", 1), UINT_MAX);
    EXPECT_EQ(s.ReverseFindString(L"c", 100), 5u);
    EXPECT_EQ(s.ReverseFindString(L"x"), UINT_MAX);
    EXPECT_EQ(s.ReverseFindString(CString()), UINT_MAX);
}

TEST(CString, GetSubString) {
    CString s(L"sphere.polymsh");
    EXPECT_EQ(s.GetSubString(7), L"polymsh");
    EXPECT_EQ(s.GetSubString(0, 6), L"sphere");
    EXPECT_EQ(s.GetSubString(), s);
    EXPECT_EQ(s.GetSubString(13, 100), L"h");
    EXPECT_EQ(s.GetSubString(14), L"");
    EXPECT_EQ(s.GetSubString(UINT_MAX, UINT_MAX), L"");
    EXPECT_EQ(s.GetSubString(3, 0), L"");
}

TEST(CString, LowerUpper) {
    CString s(L"Mix\u00C9d \u0416");
    s.Lower();
    EXPECT_EQ(s, L"mix\u00E9d \u0436");
    s.Upper();
    EXPECT_EQ(s, L"MIX\u00C9D \u0416");
    EXPECT_STREQ(s.GetAsciiString(), "MIX\xC3\x89" "D \xD0\x96");
}

TEST(CString, Trim) {
    CString s(L" \t a b \r\n");
    s.TrimLeft();
    EXPECT_EQ(s, L"a b \r\n");
    s.TrimRight();
    EXPECT_EQ(s, L"a b");
    CString t(L"xxyHixy");
    t.TrimLeft(L"xy");
    EXPECT_EQ(t, L"Hixy");
    t.TrimRight(L"yx");
    EXPECT_EQ(t, L"Hi");
    CString blank(L"   ");
    blank.TrimRight();
    EXPECT_TRUE(blank.IsEmpty());
    CString blank2(L"   ");
    blank2.TrimLeft();
    EXPECT_TRUE(blank2.IsEmpty());
}

TEST(CString, Split) {
    CStringArray parts = CString(L"a,,b").Split(L",");
    ASSERT_EQ(parts.GetCount(), 3);
    EXPECT_EQ(parts[0], L"a");
    EXPECT_EQ(parts[1], L"");
    EXPECT_EQ(parts[2], L"b");
    parts = CString(L"a,").Split(L",");
    ASSERT_EQ(parts.GetCount(), 2);
    EXPECT_EQ(parts[1], L"");
    parts = CString(L"x::y::z").Split(L"::");
    ASSERT_EQ(parts.GetCount(), 3);
    EXPECT_EQ(parts[2], L"z");
    EXPECT_EQ(CString().Split(L",").GetCount(), 0);
    parts = CString(L"abc").Split(CString());
    ASSERT_EQ(parts.GetCount(), 1);
    EXPECT_EQ(parts[0], L"abc");
    EXPECT_EQ(CString(L"abc").Split(L";").GetCount(), 1);
}

TEST(CStringArray, Basics) {
    CStringArray a(2);
    EXPECT_EQ(a.GetCount(), 2);
    a[0] = L"x";
    a.Add(L"y");
    EXPECT_EQ(a.GetCount(), 3);
    EXPECT_EQ(a[2], L"y");
    CStringArray b = a;
    EXPECT_TRUE(a == b);
    b[1] = L"z";
    EXPECT_TRUE(a != b);
    EXPECT_EQ(a.Resize(-1), XSI::CStatus::InvalidArgument);
    EXPECT_EQ(a.Resize(1), XSI::CStatus::OK);
    EXPECT_EQ(a.GetCount(), 1);
    a.Clear();
    EXPECT_EQ(a.GetCount(), 0);
}
