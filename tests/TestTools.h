#pragma once
// Helpers shared by the tests: running an outside tool (tshark, scapy's Python) and a scratch
// directory removed with its contents.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace SondarTest {

// Runs a shell command; returns its standard output and sets status to its exit code (-1 when it
// did not exit normally).
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
inline const char* python() { return "/usr/bin/python3"; }
inline bool haveScapy() {
    return commandSucceeds(std::string(python()) + " -c 'import scapy.all'");
}
inline bool haveTshark() { return commandSucceeds("tshark --version"); }

// tshark reading a capture with the IPv4, UDP and TCP checksums validated; append the output
// options.
inline std::string tsharkChecked(const std::string& pcap) {
    return "tshark -n -r " + pcap +
           " -o ip.check_checksum:TRUE -o udp.check_checksum:TRUE -o tcp.check_checksum:TRUE";
}

// A directory of its own for one test, removed with everything in it.
class ScratchDir {
  public:
    ScratchDir() {
        path_ = (std::filesystem::temp_directory_path() / "sondar-test-XXXXXX").string();
        if (!::mkdtemp(path_.data())) path_.clear();
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!path_.empty()) std::filesystem::remove_all(path_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace SondarTest
