#pragma once
// A source of received frames: a pcap file, a raw socket, or memory. Each frame comes with its
// captured bytes, its length on the wire, its time stamp and the interface it arrived on (empty
// when the source does not know it).
#include <deque>
#include <vector>

#include "Rix/Ptr.h"
#include "Rix/Types.h"
#include "Wirex/IntfId.h"

namespace Wirex {

struct Frame {
    const U8* data = nullptr;  // valid until the source's next nextFrame() or its end
    U32 length = 0;            // bytes captured at data
    U32 wireLength = 0;        // bytes the frame had on the wire (at least length)
    U64 seconds = 0;           // time stamp: seconds and microseconds since the Unix epoch
    U32 useconds = 0;
    IntfId ingressIntf;
};

class FrameSource : public Rix::PtrInterface {
  public:
    // Fills `frame` with the next frame and returns true; false when there is none (the end of a
    // file or of memory, or a live source's time-out). Bad input raises Rix::RangeException and
    // a failing resource Rix::RuntimeException, each naming the file or the interface.
    virtual bool nextFrame(Frame& frame) = 0;
};

// Frames held in memory, handed out in the order they were added.
class MemorySource : public FrameSource {
  public:
    void frameAppend(const U8* data, U32 length, U64 seconds = 0, U32 useconds = 0,
                     IntfId ingressIntf = IntfId());
    void frameAppend(const std::vector<U8>& bytes, U64 seconds = 0, U32 useconds = 0,
                     IntfId ingressIntf = IntfId()) {
        frameAppend(bytes.data(), static_cast<U32>(bytes.size()), seconds, useconds, ingressIntf);
    }
    std::size_t framesLeft() const noexcept { return pending_.size(); }
    bool nextFrame(Frame& frame) override;

  private:
    struct Held {
        std::vector<U8> bytes;
        U64 seconds;
        U32 useconds;
        IntfId intf;
    };
    std::deque<Held> pending_;
    Held current_;
};

}  // namespace Wirex
