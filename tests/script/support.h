// A stand-in session with a project folder of its own per process (ctest runs the tests side
// by side) and its log kept quiet, for tests that run scene scripts; and running commands as
// a shell does, for tests of the orbelin command and the scripts around it.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
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

// The whole of a file; empty when there is none.
inline std::string Slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// `text` quoted for the shell.
inline std::string ShellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// Runs `command` in the shell, its output and errors into the file `log` and into `output`;
// its exit status, -1 when it did not exit.
inline int RunCommand(const std::string& command, const std::filesystem::path& log, std::string& output) {
    const int status = std::system(("( " + command + " ) > " + ShellQuoted(log.string()) + " 2>&1 < /dev/null").c_str());
    output = Slurp(log);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace scripttest
