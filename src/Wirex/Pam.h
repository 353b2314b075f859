#pragma once
// Pam, the packet transmitter: hands whole Ethernet frames to a link, a file or memory. A send
// never throws and never reports through its return: it moves counters. sendErrors() counts
// sends the backend could not perform (the socket or the file failed); framesDropped() counts
// frames the backend refused or lost (too long, queue full, sent only in part, told to fail).
// A caller tells whether one send succeeded by reading both counters before and after it.
#include <atomic>

#include "Rix/Ptr.h"
#include "Rix/Types.h"
#include "Wirex/Pkt.h"

namespace Wirex {

class Pam : public Rix::PtrInterface {
  public:
    // Sends the packet's bytes as one frame.
    virtual void send(const Rix::Ptr<Pkt>& pkt) noexcept = 0;

    U64 framesSent() const noexcept { return framesSent_.load(std::memory_order_relaxed); }
    U64 sendErrors() const noexcept { return sendErrors_.load(std::memory_order_relaxed); }
    U64 framesDropped() const noexcept { return framesDropped_.load(std::memory_order_relaxed); }

  protected:
    void framesSentInc() noexcept { framesSent_.fetch_add(1, std::memory_order_relaxed); }
    void sendErrorsInc() noexcept { sendErrors_.fetch_add(1, std::memory_order_relaxed); }
    void framesDroppedInc() noexcept { framesDropped_.fetch_add(1, std::memory_order_relaxed); }

  private:
    std::atomic<U64> framesSent_{0};
    std::atomic<U64> sendErrors_{0};
    std::atomic<U64> framesDropped_{0};
};

}  // namespace Wirex
