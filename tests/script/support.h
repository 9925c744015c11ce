// A stand-in session with a project folder of its own per process (ctest runs the tests side
// by side) and its log kept quiet, for tests that run scene scripts.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "scene/host.h"
#include "script/lua_host.h"

namespace scripttest {

class Session : public ::testing::Test {
protected:
    explicit Session(const std::string& folder)
        : dir(std::filesystem::temp_directory_path() / (folder + "_" + std::to_string(::getpid()))), host(dir) {
        std::filesystem::create_directories(dir);
        host.GetLog().SetEcho(false);
    }
    ~Session() override { std::filesystem::remove_all(dir); }
    // Runs `code` as the script "scene.lua"; its errors go to `err`.
    int Run(const std::string& code) { return standin::RunScriptText(host, code, "scene.lua", err); }

    std::filesystem::path dir;
    standin::Host host;
    std::ostringstream err;
};

}  // namespace scripttest
