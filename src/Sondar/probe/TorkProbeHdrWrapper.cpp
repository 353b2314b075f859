#include "Sondar/probe/TorkProbeHdrWrapper.h"

#include "Rix/Assert.h"

namespace Sondar {

TorkProbeHdrWrapper::TorkProbeHdrWrapper(const Rix::Ptr<Wirex::Pkt>& pkt, U32 offset)
    : pkt_(pkt), offset_(offset) {
    handleHeader();
}

void TorkProbeHdrWrapper::handleHeader() {
    // The assertion's text is what a failing caller sees; keep its spelling.
    // clang-format off
    RIX_ASSERT( ( offset_ + sizeof( TorkProbeHdr ) ) <= pkt_->frontBytes() );
    // clang-format on
    header_ = reinterpret_cast<TorkProbeHdr*>(pkt_->frontData() + offset_);
}

U8 TorkProbeHdrWrapper::egressTagControlPriority() const noexcept {
    return static_cast<U8>(header_->egressTagControl().value() >> 13);
}

void TorkProbeHdrWrapper::egressTagControlPriorityIs(U8 priority) noexcept {
    const U16 v = header_->egressTagControl().value();
    header_->egressTagControlIs(
        Wirex::Eth8021QTagControl(static_cast<U16>((v & 0x1fffu) | (unsigned{priority} << 13))));
}

bool TorkProbeHdrWrapper::egressTagControlCfi() const noexcept {
    return (header_->egressTagControl().value() & 0x1000u) != 0;
}

void TorkProbeHdrWrapper::egressTagControlCfiIs(bool cfi) noexcept {
    const U16 v = header_->egressTagControl().value();
    header_->egressTagControlIs(
        Wirex::Eth8021QTagControl(static_cast<U16>((v & ~0x1000u) | (cfi ? 0x1000u : 0u))));
}

U16 TorkProbeHdrWrapper::egressTagControlVlanId() const noexcept {
    return static_cast<U16>(header_->egressTagControl().value() & 0xfffu);
}

void TorkProbeHdrWrapper::egressTagControlVlanIdIs(U16 vlanId) noexcept {
    const U16 v = header_->egressTagControl().value();
    header_->egressTagControlIs(
        Wirex::Eth8021QTagControl(static_cast<U16>((v & 0xf000u) | (vlanId & 0xfffu))));
}

Rix::Ptr<TorkProbeHdrWrapper> torkProbeHdrWrapperFactory(const Rix::Ptr<Wirex::Pkt>& pkt,
                                                         U32 offset) {
    return Rix::Ptr<TorkProbeHdrWrapper>(new TorkProbeHdrWrapper(pkt, offset));
}

}  // namespace Sondar
