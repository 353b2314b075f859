#include "Wirex/FrameSource.h"

namespace Wirex {

void MemorySource::frameAppend(const U8* data, U32 length, U64 seconds, U32 useconds,
                               IntfId ingressIntf) {
    pending_.push_back(Held{std::vector<U8>(data, data + length), seconds, useconds, ingressIntf});
}

bool MemorySource::nextFrame(Frame& frame) {
    if (pending_.empty()) return false;
    current_ = std::move(pending_.front());
    pending_.pop_front();
    frame.data = current_.bytes.data();
    frame.length = static_cast<U32>(current_.bytes.size());
    frame.wireLength = frame.length;
    frame.seconds = current_.seconds;
    frame.useconds = current_.useconds;
    frame.ingressIntf = current_.intf;
    return true;
}

}  // namespace Wirex
