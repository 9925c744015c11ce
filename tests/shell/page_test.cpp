// The page pieces the live tools share: which connexion a button names under each tool's rule.
#include <gtest/gtest.h>

#include "shell/page.h"

namespace {

using orbelin::RemoveButtonIndex;
using orbelin::RemoveButtonRule;

TEST(PageButtons, EachToolReadsItsRemoveButtonsByItsOwnRule) {
    struct Case {
        const wchar_t* button;
        LONG afterPrefix;   // -1: names no connexion
        LONG fourDigits;
    };
    const Case cases[] = {
        {L"Remove_0", 0, 0},        {L"Remove_29", 29, 29},    {L"Remove_12345", 12345, 1234},
        {L"Remove_", -1, -1},       {L"Remove_x", -1, -1},     {L"Remove_-1", -1, -1},
        {L"Delete_7", -1, 7},       {L"Remove7", -1, -1},      {L"Connect", -1, -1},
        {L"Remove_99999999999", -1, 9999},
    };
    for (const Case& c : cases) {
        LONG k = -1;
        bool named = RemoveButtonIndex(XSI::CString(c.button), RemoveButtonRule::NumberAfterPrefix, k);
        EXPECT_EQ(named ? k : -1, c.afterPrefix) << XSI::CString(c.button).GetAsciiString();
        k = -1;
        named = RemoveButtonIndex(XSI::CString(c.button), RemoveButtonRule::FourDigitsAfterUnderscoreAt6, k);
        EXPECT_EQ(named ? k : -1, c.fourDigits) << XSI::CString(c.button).GetAsciiString();
    }
}

}  // namespace
