#include "Wirex/CapturePam.h"

namespace Wirex {

void CapturePam::send(const Rix::Ptr<Pkt>& pkt) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!pkt) {
        sendErrorsInc();
        return;
    }
    if (failNext_ > 0) {
        --failNext_;
        if (failHow_ == Failure::sendError)
            sendErrorsInc();
        else
            framesDroppedInc();
        return;
    }
    try {
        if (frames_.size() < framesKeptMax_) frames_.emplace_back(pkt->data(), pkt->data() + pkt->bytes());
    } catch (...) {
        framesDroppedInc();
        return;
    }
    framesSentInc();
}

void CapturePam::framesKeptMaxIs(std::size_t n) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    framesKeptMax_ = n;
}

void CapturePam::failNextSendsIs(U32 n, Failure how) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    failNext_ = n;
    failHow_ = how;
}

std::vector<std::vector<U8>> CapturePam::frames() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return frames_;
}

std::size_t CapturePam::frameCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return frames_.size();
}

void CapturePam::framesDelAll() {
    std::lock_guard<std::mutex> lock(mutex_);
    frames_.clear();
}

}  // namespace Wirex
