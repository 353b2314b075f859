#pragma once
// A named POSIX shared-memory segment mapped into this process. The writer creates it
// exclusively with an exact mode, or reopens its own after a restart, and holds an exclusive
// lock on it so that a table never has two writers; readers map it read-only.
#include <sys/types.h>

#include <string>

#include "Rix/Types.h"

namespace Vault {

class Segment {
  public:
    Segment() = default;
    Segment(Segment&& other) noexcept;
    Segment& operator=(Segment&& other) noexcept;
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;
    ~Segment();

    // Creates the segment with `mode` and `bytes` zero bytes, or opens an existing one, which
    // must belong to this user, have exactly `mode` and `bytes`. Throws Vault::Exception naming
    // the segment and what is wrong with it, or that another writer holds it.
    static Segment openWriter(const std::string& name, U64 bytes, mode_t mode);
    // Maps an existing segment read-only; refuses one that others than its owner may write.
    static Segment openReader(const std::string& name);
    // Removes the name; true when there was one.
    static bool unlink(const std::string& name);

    bool created() const { return created_; }
    void* base() const { return base_; }
    U64 bytes() const { return bytes_; }
    const std::string& name() const { return name_; }
    explicit operator bool() const { return base_ != nullptr; }

  private:
    void release() noexcept;

    std::string name_;
    void* base_ = nullptr;
    U64 bytes_ = 0;
    int fd_ = -1;
    bool created_ = false;
};

}  // namespace Vault
