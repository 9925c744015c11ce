// The bake example cut into chunks, run by hand and through bake_parallel.sh (on this machine,
// and through a stand-in for ssh as on other machines): the same files, byte for byte, as one
// run over the whole range.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "support.h"

namespace {

namespace fs = std::filesystem;
using scripttest::ShellQuoted;

// Every file under `folder`, by its path relative to it, with its bytes.
std::map<std::string, std::string> FilesUnder(const fs::path& folder) {
    std::map<std::string, std::string> files;
    if (!fs::is_directory(folder)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) files[entry.path().lexically_relative(folder).string()] = scripttest::Slurp(entry.path());
    return files;
}

// The same file names with the same bytes; a mismatch is named, not dumped.
void ExpectSameFiles(const std::map<std::string, std::string>& expected, const std::map<std::string, std::string>& actual,
                     const std::string& how) {
    for (const auto& [name, bytes] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end()) {
            ADD_FAILURE() << how << ": " << name << " missing";
            continue;
        }
        EXPECT_TRUE(found->second == bytes) << how << ": " << name << " differs";
    }
    for (const auto& [name, bytes] : actual)
        EXPECT_TRUE(expected.count(name)) << how << ": " << name << " written, not in one run over the range";
}

bool OnPath(const std::string& command) { return std::system(("command -v " + command + " > /dev/null 2>&1").c_str()) == 0; }

struct Bake : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("orbelin_bake_test_" + std::to_string(::getpid()));
    const std::string orbelin = ShellQuoted(ORBELIN_COMMAND_PATH), plugin = ShellQuoted(ORBELIN_PLUGIN_PATH);
    const fs::path examples = ORBELIN_EXAMPLES_DIR;
    std::string log;
    Bake() {
        fs::remove_all(dir);
        fs::create_directories(dir / "home");
    }
    ~Bake() override { fs::remove_all(dir); }
    // Runs `command` in `folder` (made first), with a home of the test's own for parallel's
    // files and a login shell that cannot run (as on machines where $SHELL is empty or names
    // a shell not installed: parallel must not depend on it); its exit status, its output in `log`.
    int RunIn(const fs::path& folder, const std::string& command) {
        fs::create_directories(folder);
        return scripttest::RunCommand("cd " + ShellQuoted(folder.string()) + " && HOME=" + ShellQuoted((dir / "home").string()) +
                                          " SHELL=/nonexistent/shell " + command,
                                      dir / "log", log);
    }
    // Bakes `frames` (all of the default range when empty) into `project`/out/bake.
    int BakeFrames(const fs::path& project, const std::string& frames) {
        return RunIn(project, orbelin + " run " + ShellQuoted((examples / "bake.lua").string()) + " --plugin " + plugin +
                                  (frames.empty() ? "" : " --frames " + frames));
    }
};

TEST_F(Bake, ChunksOfTheRangeWriteTheFilesOfOneRun) {
    ASSERT_EQ(BakeFrames(dir / "whole", ""), 0) << log;
    const auto whole = FilesUnder(dir / "whole" / "out" / "bake");
    EXPECT_EQ(whole.size(), 3u * 48u);
    for (const char* file : {"weights/frame0001.csv", "weights/frame0048.csv", "gltf/floor0001.glb", "gltf/floor0048.glb",
                             "Scene_Root/floor/WeightMapCls_ProximityWeightMap.00001.wmc",
                             "Scene_Root/floor/WeightMapCls_ProximityWeightMap.00048.wmc"})
        EXPECT_TRUE(whole.count(file)) << file;
    // The ball wets the floor under it: weights above 0 in every frame.
    for (const auto& [name, bytes] : whole)
        EXPECT_TRUE(!name.starts_with("weights/") || bytes.find(",0.") != std::string::npos) << name << " is dry";

    // Three chunks of unequal sizes, the last first: each frame written as in the whole run.
    for (const char* chunk : {"31-48", "1-7", "8-30"}) ASSERT_EQ(BakeFrames(dir / "chunks", chunk), 0) << chunk << "\n" << log;
    ExpectSameFiles(whole, FilesUnder(dir / "chunks" / "out" / "bake"), "chunks 1-7, 8-30, 31-48");

    // Frames below 1 and around 0, in one run and in two.
    ASSERT_EQ(BakeFrames(dir / "below", "-3-1"), 0) << log;
    const auto below = FilesUnder(dir / "below" / "out" / "bake");
    EXPECT_EQ(below.size(), 3u * 5u);
    EXPECT_TRUE(below.count("weights/frame-003.csv"));
    EXPECT_TRUE(below.count("Scene_Root/floor/WeightMapCls_ProximityWeightMap.000-3.wmc"));
    for (const char* chunk : {"-3--2", "-1-1"}) ASSERT_EQ(BakeFrames(dir / "below_chunks", chunk), 0) << chunk << "\n" << log;
    ExpectSameFiles(below, FilesUnder(dir / "below_chunks" / "out" / "bake"), "chunks -3--2, -1-1");

    // Frames the cache cannot name apart are refused, nothing written.
    EXPECT_EQ(BakeFrames(dir / "far", "1-20000"), 1);
    EXPECT_NE(log.find("cannot bake frames 1 to 20000"), std::string::npos) << log;
    EXPECT_FALSE(fs::exists(dir / "far" / "out"));
}

TEST_F(Bake, BakeParallelSplitsTheRangeAndGivesTheFilesOfOneRun) {
    if (std::system("parallel --version 2> /dev/null | grep -q 'GNU parallel'") != 0)
        GTEST_SKIP() << "GNU parallel is not on the PATH (Debian package parallel): bake_parallel.sh not run";
    const std::string script = ShellQuoted((examples / "bake_parallel.sh").string()) + " --orbelin " + orbelin;

    // Refused before anything runs.
    for (const char* args : {"48-1 4", "1-48 0", "1-48", "x 2"}) {
        EXPECT_EQ(RunIn(dir / "refused", script + " " + args), 1) << args << "\n" << log;
        EXPECT_NE(log.find("bake_parallel: "), std::string::npos) << args << "\n" << log;
    }
    EXPECT_FALSE(fs::exists(dir / "refused" / "out"));
    // Chunks that fail are counted in the status and said.
    EXPECT_EQ(RunIn(dir / "refused", ShellQuoted((examples / "bake_parallel.sh").string()) + " --orbelin /nonexistent/orbelin 1-6 3"), 3) << log;
    EXPECT_NE(log.find("bake_parallel: 3 chunk(s) failed"), std::string::npos) << log;

    ASSERT_EQ(BakeFrames(dir / "whole", ""), 0) << log;
    const auto whole = FilesUnder(dir / "whole" / "out" / "bake");

    // Here, two at a time: five chunks, the first three a frame longer.
    ASSERT_EQ(RunIn(dir / "here", script + " 1-48 5 -j 2"), 0) << log;
    EXPECT_NE(log.find("1-10 11-20 21-30 31-39 40-48"), std::string::npos) << log;
    ExpectSameFiles(whole, FilesUnder(dir / "here" / "out" / "bake"), "bake_parallel.sh here");

    // As on two machines that share the folder: a stand-in for ssh that runs the command here.
    const fs::path ssh = dir / "ssh";
    std::ofstream(ssh) << "#!/bin/sh\n"
                          "while [ $# -gt 0 ]; do case \"$1\" in -l|-p|-o|-S|-i|-F|-c|-e|-b|-m|-E) shift 2;; -*) shift;; *) break;; esac; done\n"
                          "shift\n"
                          "[ \"${1:-}\" = \"--\" ] && shift\n"
                          "exec sh -c \"$*\"\n";
    fs::permissions(ssh, fs::perms::owner_all);
    const std::string machines = " --ssh " + ShellQuoted(ssh.string()) + " --sshlogin 1/first,1/second";
    ASSERT_EQ(RunIn(dir / "shared", script + " 1-48 4" + machines + " --workdir " + ShellQuoted((dir / "shared").string())), 0) << log;
    ExpectSameFiles(whole, FilesUnder(dir / "shared" / "out" / "bake"), "bake_parallel.sh on a shared folder");

    // As on machines that share nothing: the script sent, the results brought back (by rsync).
    if (!OnPath("rsync")) GTEST_SKIP() << "rsync is not on the PATH: bake_parallel.sh sending and bringing back files not run";
    fs::create_directories(dir / "sent" / "examples");
    fs::copy_file(examples / "bake.lua", dir / "sent" / "examples" / "bake.lua");
    ASSERT_EQ(RunIn(dir / "sent", ShellQuoted((examples / "bake_parallel.sh").string()) + " --script examples/bake.lua --orbelin " +
                                      orbelin + " 1-48 4" + machines +
                                      " --workdir ... --transferfile examples/bake.lua --return out/bake --cleanup"),
              0)
        << log;
    ExpectSameFiles(whole, FilesUnder(dir / "sent" / "out" / "bake"), "bake_parallel.sh sending the script");
}

}  // namespace
