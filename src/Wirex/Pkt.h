#pragma once
// Packet buffers. A Pkt is a reference-counted buffer whose bytes are one contiguous run with
// headroom in front: headers are laid by reserving head data, payload by appending tail data.
// Buffers come from a Pkt::Manager's pool and go back to it when the last reference drops, so a
// steady state allocates nothing per packet.
#include <cstddef>
#include <mutex>
#include <vector>

#include "Rix/Ptr.h"
#include "Rix/Types.h"

namespace Wirex {

class Pkt : public Rix::PtrInterface {
  public:
    class Manager;
    // Room in front of the first byte for head data, and the largest packet.
    static constexpr U32 headroom = 256;
    static constexpr U32 capacity = 2048;
    static constexpr U32 maxBytes = capacity - headroom;

    Pkt(const Pkt&) = delete;
    Pkt& operator=(const Pkt&) = delete;

    // Reserves n contiguous bytes in front of the packet's data, zero-filled, and returns a
    // pointer to them (the new start of the data); null when the buffer cannot take n more bytes.
    // Beyond the headroom the data already there moves back, invalidating pointers into it.
    U8* newSharedHeadData(U32 n) noexcept;
    // Appends n zero-filled bytes behind the data and returns a pointer to them; null when the
    // buffer cannot take them.
    U8* newTailData(U32 n) noexcept;
    // Appends a copy of n bytes; false when they do not fit.
    bool tailDataAppend(const void* data, U32 n) noexcept;
    // Removes n bytes from the end (all of them if n is larger than the packet).
    void tailDataTrim(U32 n) noexcept;
    // Shortens the packet to n bytes; a larger n leaves it as it is.
    void bytesIs(U32 n) noexcept;

    // The whole packet.
    U32 bytes() const noexcept { return length_; }
    // The contiguous bytes at the front, addressable through frontData(); all of them here.
    U32 frontBytes() const noexcept { return length_; }
    U8* frontData() noexcept { return buf_ + start_; }
    const U8* frontData() const noexcept { return buf_ + start_; }
    U8* data() noexcept { return frontData(); }
    const U8* data() const noexcept { return frontData(); }

    Manager* manager() const noexcept { return manager_; }

  private:
    friend class Manager;
    explicit Pkt(Manager* m) noexcept : manager_(m) {}
    ~Pkt() override = default;
    void onZeroReferences() noexcept override;
    void reset() noexcept {
        start_ = headroom;
        length_ = 0;
    }

    Manager* manager_;
    Pkt* nextFree_ = nullptr;
    U32 start_ = headroom;
    U32 length_ = 0;
    alignas(64) U8 buf_[capacity];
};

class Pkt::Manager {
  public:
    // buffersPerBlock buffers are created at a time when the pool runs dry.
    explicit Manager(U32 buffersPerBlock = 64);
    // Every packet must have been released: a packet outliving its manager is a programming error.
    ~Manager();
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    // An empty packet, or null when no buffer can be had (the process is out of memory, or a
    // test asked for failures).
    Rix::Ptr<Pkt> newPkt() noexcept;

    // Test hook: the next n calls of newPkt return null.
    void failNextAllocationsIs(U32 n) noexcept;

    // Buffers ever created, buffers now in the pool, packets now handed out.
    U32 buffersCreated() const noexcept;
    U32 buffersFree() const noexcept;
    U32 pktsInUse() const noexcept;

  private:
    friend class Pkt;
    void release(Pkt* p) noexcept;

    mutable std::mutex mutex_;
    const U32 buffersPerBlock_;
    Pkt* free_ = nullptr;
    std::vector<Pkt*> all_;
    U32 freeCount_ = 0;
    U32 failNext_ = 0;
};

// The process's packet manager; it lives as long as the process.
Pkt::Manager* globalPktManager() noexcept;

}  // namespace Wirex
