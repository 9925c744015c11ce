#include "ui/log.h"

#include <sstream>

#include <gtest/gtest.h>

#include "ui/utf8.h"

namespace {

using standin::Log;

TEST(Log, KeepsOrderAndPrintsPrefixes) {
    std::ostringstream out;
    Log log;
    log.SetStream(out);
    log.Add(L"[OrbelinPlugin] >> started");  // info by default
    log.Add(L"bad", 2);
    log.Add(L"careful", 4);
    log.Add(L"doomed", 1);
    log.Add(L"chatty", 16);
    log.Add(L"note", 32);
    log.Add(L"caf\u00e9", 8);
    EXPECT_EQ(out.str(),
              "# INFO : [OrbelinPlugin] >> started\n"
              "# ERROR : bad\n"
              "# WARNING : careful\n"
              "# FATAL : doomed\n"
              "# VERBOSE : chatty\n"
              "# note\n"
              "# INFO : caf\xC3\xA9\n");

    ASSERT_EQ(log.Count(), 7u);
    EXPECT_EQ(log.entries()[1].severity, 2);
    EXPECT_EQ(log.entries()[1].text, L"bad");
    const auto since = log.LinesSince(5);
    ASSERT_EQ(since.size(), 2u);
    EXPECT_EQ(since[0].text, L"note");
    EXPECT_TRUE(log.LinesSince(7).empty());
    EXPECT_TRUE(log.Contains(L">> start"));
    EXPECT_FALSE(log.Contains(L"missing"));
    EXPECT_EQ(log.CountWith(8), 2u);
    EXPECT_EQ(log.CountWith(2), 1u);
}

TEST(Log, EchoOffStillKeeps) {
    std::ostringstream out;
    Log log;
    log.SetStream(out);
    log.SetEcho(false);
    log.Add(L"quiet", 4);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(log.Count(), 1u);
    log.Clear();
    EXPECT_EQ(log.Count(), 0u);
}

TEST(Utf8, EncodesAllLengthsAndReplacesInvalid) {
    EXPECT_EQ(standin::ToUtf8(L"a\u00e9\u20ac\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(standin::ToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
}

}  // namespace
