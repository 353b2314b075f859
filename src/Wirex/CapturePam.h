#pragma once
// The in-memory transmitter: keeps a copy of every frame sent, for tests and for tools that
// inspect what would have gone out. It can be told to fail the next sends, moving either counter.
#include <mutex>
#include <vector>

#include "Wirex/Pam.h"

namespace Wirex {

class CapturePam : public Pam {
  public:
    enum class Failure { sendError, frameDropped };

    void send(const Rix::Ptr<Pkt>& pkt) noexcept override;

    // The next n sends fail in the given way and keep nothing.
    void failNextSendsIs(U32 n, Failure how) noexcept;
    // Keep copies of at most the first n frames (all of them by default); frames beyond are
    // counted as sent but not copied, so a long run allocates nothing per send.
    void framesKeptMaxIs(std::size_t n) noexcept;

    std::vector<std::vector<U8>> frames() const;
    std::size_t frameCount() const;
    void framesDelAll();

  private:
    mutable std::mutex mutex_;
    std::vector<std::vector<U8>> frames_;
    std::size_t framesKeptMax_ = static_cast<std::size_t>(-1);
    U32 failNext_ = 0;
    Failure failHow_ = Failure::sendError;
};

}  // namespace Wirex
