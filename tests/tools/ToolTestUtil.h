#pragma once
// Helpers of the command-line tests: a scratch directory, and running the built `sondar`
// program (or any shell command) with its exit status and both outputs captured.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace ToolTest {

inline std::string sondarBinary() {
    return std::string(SONDAR_BINARY_DIR) + "/tools/sondar/sondar";
}

// A directory of its own for one test, removed with everything in it.
class ScratchDir {
  public:
    ScratchDir() {
        path_ = (std::filesystem::temp_directory_path() / "sondar-tool-XXXXXX").string();
        if (!::mkdtemp(path_.data())) path_.clear();
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!path_.empty()) std::filesystem::remove_all(path_, ec);
    }
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

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
    return runShell(sondarBinary() + " " + args, dir);
}

inline bool haveProgram(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace ToolTest
