#pragma once
// Helpers of the packet library's tests: running an outside tool and a scratch directory.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace WirexTest {

// Runs a shell command; returns its standard output and sets status to its exit code.
inline std::string runCommand(const std::string& command, int* status = nullptr) {
    std::string out;
    FILE* f = ::popen(command.c_str(), "r");
    if (!f) {
        if (status) *status = -1;
        return out;
    }
    std::array<char, 4096> buf;
    std::size_t n;
    while ((n = std::fread(buf.data(), 1, buf.size(), f)) > 0) out.append(buf.data(), n);
    const int rc = ::pclose(f);
    if (status) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return out;
}

inline bool commandSucceeds(const std::string& command) {
    int status = 0;
    runCommand(command + " >/dev/null 2>&1", &status);
    return status == 0;
}
inline bool haveScapy() { return commandSucceeds("/usr/bin/python3 -c 'import scapy.all'"); }
inline bool haveTshark() { return commandSucceeds("tshark --version"); }

// A directory removed with its contents when the object goes.
class ScratchDir {
  public:
    ScratchDir() {
        std::string t = (std::filesystem::temp_directory_path() / "wirex-test-XXXXXX").string();
        if (::mkdtemp(t.data())) path_ = t;
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!path_.empty()) std::filesystem::remove_all(path_, ec);
    }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

}  // namespace WirexTest
