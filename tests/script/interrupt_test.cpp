// Ctrl-C stops a script that never ends: `orbelin run` is started on an endless loop, sent
// SIGINT once the loop runs, and must end by itself with 130 and say why.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// Reads what the child writes to `fd` until `until` appears or the pipe closes or time is up.
void ReadUntil(int fd, std::string& out, const std::string& until, Clock::time_point deadline) {
    char buffer[4096];
    while ((until.empty() || out.find(until) == std::string::npos) && Clock::now() < deadline) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 100) <= 0) continue;
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0) return;
        out.append(buffer, static_cast<size_t>(n));
    }
}

struct Outcome {
    bool exited = false;
    int code = -1;
    std::string stderrText;
};

// Runs `orbelin run` on `code`, interrupts it once it wrote "looping", waits a bounded time.
Outcome InterruptScript(const fs::path& dir, const std::string& code) {
    fs::path script = dir / "endless.lua";
    std::ofstream(script) << code;
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    std::string command = ORBELIN_COMMAND_PATH, project = dir.string(), file = script.string();
    char* argv[] = {command.data(), const_cast<char*>("run"), file.data(), const_cast<char*>("--project"), project.data(), nullptr};
    pid_t pid = -1;
    int spawned = ::posix_spawn(&pid, command.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    Outcome outcome;
    if (spawned != 0) {
        ::close(pipeFds[0]);
        return outcome;
    }
    ReadUntil(pipeFds[0], outcome.stderrText, "looping", Clock::now() + std::chrono::seconds(60));
    ::kill(pid, SIGINT);
    ReadUntil(pipeFds[0], outcome.stderrText, "", Clock::now() + std::chrono::seconds(20));
    ::close(pipeFds[0]);
    int status = 0;
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (::waitpid(pid, &status, WNOHANG) == 0) {
        if (Clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            outcome.stderrText += "\n(still running; killed)";
            return outcome;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    outcome.exited = WIFEXITED(status);
    outcome.code = outcome.exited ? WEXITSTATUS(status) : -WTERMSIG(status);
    return outcome;
}

TEST(Interrupt, CtrlCStopsAnEndlessScript) {
    fs::path dir = fs::temp_directory_path() / ("orbelin_interrupt_test_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    const std::string scripts[] = {
        "io.stderr:write('looping\\n')\nwhile true do end\n",
        // A pcall in the script does not swallow the stop.
        "io.stderr:write('looping\\n')\nwhile true do pcall(function() while true do end end) end\n",
    };
    for (const std::string& code : scripts) {
        Outcome o = InterruptScript(dir, code);
        EXPECT_TRUE(o.exited) << code << o.stderrText;
        EXPECT_EQ(o.code, 130) << code << o.stderrText;
        // Named at the script's line (the first, when the signal beats the loop).
        EXPECT_TRUE(o.stderrText.find("endless.lua:1: interrupted!") != std::string::npos ||
                    o.stderrText.find("endless.lua:2: interrupted!") != std::string::npos)
            << o.stderrText;
        EXPECT_NE(o.stderrText.find("script stopped by Ctrl-C"), std::string::npos) << o.stderrText;
    }
    fs::remove_all(dir);
}

}  // namespace
