#pragma once
// Shared pieces of the table tests: a 200-byte self-checking record, unique segment names that
// are always removed, and a helper to run a function in a forked child.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>

#include "Rix/Types.h"
#include "Vault/CollectionControl.h"

namespace VaultTest {

struct Key {
    U32 stream = 0;
    U32 port = 0;
    bool operator==(const Key&) const = default;
    U32 hash() const { return stream * 2654435761u ^ port; }
};
struct KeyHash {
    std::size_t operator()(const Key& k) const { return k.hash(); }
};

// 200 bytes whose last word checks the others, so a reader can tell a torn copy.
struct Record {
    U64 key = 0;
    U64 version = 0;
    U64 fill[22] = {};
    U64 sum = 0;

    static Record make(U64 key, U64 version) {
        Record r;
        r.key = key;
        r.version = version;
        for (U64 j = 0; j < 22; ++j) r.fill[j] = version * 0x9E3779B97F4A7C15ull + j * key;
        r.sum = r.expectedSum();
        return r;
    }
    U64 expectedSum() const {
        U64 s = key * 31 + version;
        for (U64 f : fill) s = s * 1099511628211ull + f;
        return s;
    }
    bool intact() const { return sum == expectedSum(); }
    bool operator==(const Record&) const = default;
};
static_assert(sizeof(Record) == 200);

// A segment name unique to this process and call; the segment is removed on destruction.
class ScopedName {
  public:
    ScopedName() {
        static std::atomic<int> n{0};
        name_ = "vault-test-" + std::to_string(getpid()) + "-" + std::to_string(n++);
        Vault::CollectionControl::remove(name_);
    }
    ~ScopedName() { Vault::CollectionControl::remove(name_); }
    const std::string& operator*() const { return name_; }

  private:
    std::string name_;
};

// Runs `body` in a child process; the child's exit status is body's return value.
inline pid_t spawn(const std::function<int()>& body) {
    const pid_t pid = fork();
    if (pid == 0) _exit(body());
    return pid;
}
inline int waitExit(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace VaultTest
