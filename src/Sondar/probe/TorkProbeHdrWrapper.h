#pragma once
// Lays a probe header over a packet at a byte offset, for a receiver reading a probe or a test
// inspecting one, and gives the egress VLAN tag control's sub-fields.
#include <string_view>

#include "Rix/Ptr.h"
#include "Rix/Types.h"
#include "Sondar/probe/TorkHdr.h"
#include "Wirex/Pkt.h"

namespace Sondar {

class TorkProbeHdrWrapper : public Rix::PtrInterface {
  public:
    static constexpr std::string_view typeName = "Sondar::TorkProbeHdrWrapper";

    // The whole header must lie in the packet's contiguous front bytes; anything else stops the
    // process: the caller checks a received frame's length before wrapping it.
    TorkProbeHdrWrapper(const Rix::Ptr<Wirex::Pkt>& pkt, U32 offset);

    const Rix::Ptr<Wirex::Pkt>& pkt() const noexcept { return pkt_; }
    U32 offset() const noexcept { return offset_; }
    TorkProbeHdr* header() noexcept { return header_; }
    const TorkProbeHdr* header() const noexcept { return header_; }
    void headerIs(TorkProbeHdr* h) noexcept { header_ = h; }

    // Read-modify-write of the 16-bit tag control; each setter keeps the other sub-fields and
    // keeps only as many bits of its argument as its sub-field has.
    U8 egressTagControlPriority() const noexcept;
    void egressTagControlPriorityIs(U8 priority) noexcept;
    bool egressTagControlCfi() const noexcept;
    void egressTagControlCfiIs(bool cfi) noexcept;
    U16 egressTagControlVlanId() const noexcept;
    void egressTagControlVlanIdIs(U16 vlanId) noexcept;

  private:
    void handleHeader();

    Rix::Ptr<Wirex::Pkt> pkt_;
    U32 offset_;
    TorkProbeHdr* header_ = nullptr;
};

Rix::Ptr<TorkProbeHdrWrapper> torkProbeHdrWrapperFactory(const Rix::Ptr<Wirex::Pkt>& pkt,
                                                         U32 offset);

}  // namespace Sondar
