#pragma once
// Helpers of the command-line tests: running the built `sondar` program (or any shell command)
// with its exit status and both outputs captured.
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "TestTools.h"

namespace ToolTest {

using SondarTest::ScratchDir;

inline std::string slurp(const std::string& path) {
    std::stringstream s;
    s << std::ifstream(path, std::ios::binary).rdbuf();
    return s.str();
}

struct Outcome {
    bool exited = false;  // false: killed by a signal
    int status = -1;
    std::string out;
    std::string err;
};

// Runs a shell command line; stdin is empty.
inline Outcome runShell(const std::string& command, const ScratchDir& dir) {
    const std::string out = dir.file("stdout.txt"), err = dir.file("stderr.txt");
    const int raw = std::system((command + " </dev/null >" + out + " 2>" + err).c_str());
    // The shell reports a child killed by a signal as 128 + the signal.
    return {WIFEXITED(raw) && WEXITSTATUS(raw) < 128, WIFEXITED(raw) ? WEXITSTATUS(raw) : -1,
            slurp(out), slurp(err)};
}

inline Outcome runSondar(const std::string& args, const ScratchDir& dir) {
    return runShell(std::string(SONDAR_BINARY_DIR) + "/tools/sondar/sondar " + args, dir);
}

}  // namespace ToolTest
