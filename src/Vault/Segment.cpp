#include "Vault/Segment.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "Rix/Format.h"
#include "Vault/VaultException.h"

namespace Vault {

namespace {
[[noreturn]] void fail(const std::string& name, const char* what, int err) {
    throw Exception(
        Rix::format("shared-memory segment %s: %s: %s", name.c_str(), what, std::strerror(err)));
}
}  // namespace

Segment::Segment(Segment&& o) noexcept
    : name_(std::move(o.name_)),
      base_(std::exchange(o.base_, nullptr)),
      bytes_(std::exchange(o.bytes_, 0)),
      fd_(std::exchange(o.fd_, -1)),
      created_(o.created_) {}

Segment& Segment::operator=(Segment&& o) noexcept {
    if (this != &o) {
        release();
        name_ = std::move(o.name_);
        base_ = std::exchange(o.base_, nullptr);
        bytes_ = std::exchange(o.bytes_, 0);
        fd_ = std::exchange(o.fd_, -1);
        created_ = o.created_;
    }
    return *this;
}

Segment::~Segment() { release(); }

void Segment::release() noexcept {
    if (base_) munmap(base_, bytes_);
    if (fd_ >= 0) close(fd_);
    base_ = nullptr;
    fd_ = -1;
}

Segment Segment::openWriter(const std::string& name, U64 bytes, mode_t mode) {
    Segment s;
    s.name_ = name;
    s.fd_ = shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (s.fd_ >= 0) {
        s.created_ = true;
        // The umask must not narrow or widen what the table was configured with.
        if (fchmod(s.fd_, mode) != 0) fail(name, "cannot set its mode", errno);
        if (ftruncate(s.fd_, static_cast<off_t>(bytes)) != 0) {
            const int err = errno;
            shm_unlink(name.c_str());
            fail(name, "cannot size it", err);
        }
    } else {
        if (errno != EEXIST) fail(name, "cannot create it", errno);
        s.fd_ = shm_open(name.c_str(), O_RDWR | O_CLOEXEC, 0);
        if (s.fd_ < 0) fail(name, "cannot open it", errno);
        struct stat st {};
        if (fstat(s.fd_, &st) != 0) fail(name, "cannot inspect it", errno);
        if (st.st_uid != geteuid()) {
            throw Exception(Rix::format(
                "shared-memory segment %s belongs to uid %u, not to this writer's uid %u",
                name.c_str(), static_cast<unsigned>(st.st_uid), static_cast<unsigned>(geteuid())));
        }
        if ((st.st_mode & 07777) != mode) {
            throw Exception(Rix::format("shared-memory segment %s has mode %04o, expected %04o",
                                        name.c_str(), static_cast<unsigned>(st.st_mode & 07777),
                                        static_cast<unsigned>(mode)));
        }
        if (static_cast<U64>(st.st_size) != bytes) {
            throw Exception(Rix::format("shared-memory segment %s is %lld bytes, expected %llu",
                                        name.c_str(), static_cast<long long>(st.st_size),
                                        static_cast<unsigned long long>(bytes)));
        }
    }
    if (flock(s.fd_, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            throw Exception(
                Rix::format("shared-memory segment %s already has a writer", name.c_str()));
        }
        fail(name, "cannot lock it", errno);
    }
    void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, s.fd_, 0);
    if (p == MAP_FAILED) fail(name, "cannot map it", errno);
    s.base_ = p;
    s.bytes_ = bytes;
    return s;
}

Segment Segment::openReader(const std::string& name) {
    Segment s;
    s.name_ = name;
    s.fd_ = shm_open(name.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (s.fd_ < 0) fail(name, "cannot open it", errno);
    struct stat st {};
    if (fstat(s.fd_, &st) != 0) fail(name, "cannot inspect it", errno);
    if (st.st_mode & 0022) {
        throw Exception(Rix::format(
            "shared-memory segment %s has mode %04o: others than its owner may write it",
            name.c_str(), static_cast<unsigned>(st.st_mode & 07777)));
    }
    if (st.st_size < 64) {
        throw Exception(Rix::format("shared-memory segment %s is %lld bytes, too short for a table",
                                    name.c_str(), static_cast<long long>(st.st_size)));
    }
    const U64 bytes = static_cast<U64>(st.st_size);
    void* p = mmap(nullptr, bytes, PROT_READ, MAP_SHARED, s.fd_, 0);
    if (p == MAP_FAILED) fail(name, "cannot map it", errno);
    s.base_ = p;
    s.bytes_ = bytes;
    return s;
}

bool Segment::unlink(const std::string& name) { return shm_unlink(name.c_str()) == 0; }

}  // namespace Vault
