#include "Wirex/Pkt.h"

#include <cstring>
#include <new>

#include "Rix/Assert.h"

namespace Wirex {

U8* Pkt::newSharedHeadData(U32 n) noexcept {
    if (n > start_) {
        // more than the headroom: slide the data back, if the whole still fits the buffer
        if (n > capacity || length_ > capacity - n) return nullptr;
        std::memmove(buf_ + n, buf_ + start_, length_);
        start_ = n;
    }
    start_ -= n;
    length_ += n;
    std::memset(buf_ + start_, 0, n);
    return buf_ + start_;
}

U8* Pkt::newTailData(U32 n) noexcept {
    if (n > capacity - start_ - length_) return nullptr;
    U8* p = buf_ + start_ + length_;
    std::memset(p, 0, n);
    length_ += n;
    return p;
}

bool Pkt::tailDataAppend(const void* data, U32 n) noexcept {
    U8* p = newTailData(n);
    if (!p) return false;
    std::memcpy(p, data, n);
    return true;
}

void Pkt::tailDataTrim(U32 n) noexcept { length_ = n > length_ ? 0 : length_ - n; }

void Pkt::bytesIs(U32 n) noexcept {
    if (n < length_) length_ = n;
}

void Pkt::onZeroReferences() noexcept { manager_->release(this); }

Pkt::Manager::Manager(U32 buffersPerBlock)
    : buffersPerBlock_(buffersPerBlock ? buffersPerBlock : 1) {}

Pkt::Manager::~Manager() {
    RIX_ASSERT(pktsInUse() == 0);
    for (Pkt* p : all_) delete p;
}

Rix::Ptr<Pkt> Pkt::Manager::newPkt() noexcept {
    Pkt* p = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (failNext_ > 0) {
            --failNext_;
            return nullptr;
        }
        if (!free_) {
            try {
                all_.reserve(all_.size() + buffersPerBlock_);
                for (U32 i = 0; i < buffersPerBlock_; ++i) {
                    Pkt* fresh = new (std::nothrow) Pkt(this);
                    if (!fresh) break;
                    all_.push_back(fresh);
                    fresh->nextFree_ = free_;
                    free_ = fresh;
                    ++freeCount_;
                }
            } catch (const std::bad_alloc&) {
            }
            if (!free_) return nullptr;
        }
        p = free_;
        free_ = p->nextFree_;
        p->nextFree_ = nullptr;
        --freeCount_;
    }
    p->reset();
    return Rix::Ptr<Pkt>(p);
}

void Pkt::Manager::release(Pkt* p) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    p->nextFree_ = free_;
    free_ = p;
    ++freeCount_;
}

void Pkt::Manager::failNextAllocationsIs(U32 n) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    failNext_ = n;
}

U32 Pkt::Manager::buffersCreated() const noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<U32>(all_.size());
}

U32 Pkt::Manager::buffersFree() const noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    return freeCount_;
}

U32 Pkt::Manager::pktsInUse() const noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<U32>(all_.size()) - freeCount_;
}

Pkt::Manager* globalPktManager() noexcept {
    // never destroyed: packets may be released by static destructors of other objects
    static Pkt::Manager* const manager = new Pkt::Manager();
    return manager;
}

}  // namespace Wirex
