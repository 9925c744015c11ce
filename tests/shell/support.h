// A fresh stand-in session per test: its log kept quiet (tests read it instead).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scene/host.h"
#include "xsi_string.h"

namespace shelltest {

class HostTest : public ::testing::Test {
protected:
    HostTest() { host.GetLog().SetEcho(false); }

    // Log lines written since `from`, as (severity, text).
    std::vector<std::pair<int, std::wstring>> LinesSince(std::size_t from) {
        std::vector<std::pair<int, std::wstring>> out;
        for (const auto& e : host.GetLog().LinesSince(from))
            out.emplace_back(e.severity, e.text);
        return out;
    }

    standin::Host host;
};

// A session with the plug-in loaded.
class PluginTest : public HostTest {
protected:
    void SetUp() override { ASSERT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK); }
};

inline std::wstring W(const XSI::CString& s) { return s.GetWideString(); }

}  // namespace shelltest
