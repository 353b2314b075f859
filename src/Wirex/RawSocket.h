#pragma once
// AF_PACKET raw sockets bound to a named interface: a transmitter that puts whole Ethernet
// frames on the link, and a receiver that reports each frame with the interface it arrived on.
// Both need the CAP_NET_RAW capability. An unknown interface or a refused socket raises
// Rix::RuntimeException naming the interface and the reason.
#include <unordered_map>
#include <vector>

#include "Wirex/FrameSource.h"
#include "Wirex/IntfId.h"
#include "Wirex/Pam.h"

namespace Wirex {

// The kernel's index of an interface; throws Rix::RuntimeException naming an unknown one.
int intfIndex(const IntfId& intf);

class RawSocketPam : public Pam {
  public:
    explicit RawSocketPam(const IntfId& intf);
    ~RawSocketPam() override;
    RawSocketPam(const RawSocketPam&) = delete;
    RawSocketPam& operator=(const RawSocketPam&) = delete;

    // A full socket queue or a frame the link refuses as too long counts as a dropped frame,
    // any other failure of the send call as a send error.
    void send(const Rix::Ptr<Pkt>& pkt) noexcept override;

    const IntfId& intf() const noexcept { return intf_; }
    // The errno of the last failed send, 0 if none failed.
    int lastError() const noexcept { return lastError_; }

  private:
    IntfId intf_;
    int fd_ = -1;
    int lastError_ = 0;
};

class RawSocketSource : public FrameSource {
  public:
    // Receives every frame that arrives on `intf`, or on any interface when it is empty.
    // nextFrame() waits at most timeoutMs milliseconds for one (a negative value waits forever).
    explicit RawSocketSource(const IntfId& intf, int timeoutMs = 1000);
    ~RawSocketSource() override;
    RawSocketSource(const RawSocketSource&) = delete;
    RawSocketSource& operator=(const RawSocketSource&) = delete;

    // Frames the host itself sent are not reported. A VLAN tag that the kernel took off the
    // frame is put back, so the bytes are those of the wire.
    bool nextFrame(Frame& frame) override;
    void timeoutIs(int ms) noexcept { timeoutMs_ = ms; }

  private:
    IntfId nameOf(int ifindex);

    IntfId intf_;
    int fd_ = -1;
    int timeoutMs_;
    std::vector<U8> buf_;
    std::unordered_map<int, IntfId> names_;
};

}  // namespace Wirex
