#include "sondar/BufferedPcapWriter.h"

#include <cerrno>
#include <cstring>

#include "Rix/Exception.h"
#include "Rix/Format.h"
#include "Wirex/PcapFile.h"

namespace SondarCli {
namespace {

constexpr std::size_t bufferSize = 1u << 20;
constexpr std::size_t recordHeaderSize = 16;

void putLe32(U8* p, U32 v) {
    p[0] = static_cast<U8>(v);
    p[1] = static_cast<U8>(v >> 8);
    p[2] = static_cast<U8>(v >> 16);
    p[3] = static_cast<U8>(v >> 24);
}

}  // namespace

BufferedPcapWriter::BufferedPcapWriter(const std::string& path, U32 snapLength)
    : path_(path), snapLength_(snapLength ? snapLength : 65535), buf_(bufferSize) {
    file_ = std::fopen(path.c_str(), "wb");
    if (!file_) {
        throw Rix::RuntimeException(
            Rix::format("cannot create pcap file '%s': %s", path.c_str(), std::strerror(errno)));
    }
    U8 h[24];
    putLe32(h, Wirex::pcapMagicMicro);
    h[4] = 2;  // version 2.4, little-endian like every other field
    h[5] = 0;
    h[6] = 4;
    h[7] = 0;
    putLe32(h + 8, 0);
    putLe32(h + 12, 0);
    putLe32(h + 16, snapLength_);
    putLe32(h + 20, Wirex::pcapLinkTypeEthernet);
    std::memcpy(buf_.data(), h, sizeof h);
    used_ = sizeof h;
}

BufferedPcapWriter::~BufferedPcapWriter() {
    flush();
    std::fclose(file_);
}

void BufferedPcapWriter::send(const Rix::Ptr<Wirex::Pkt>& pkt) noexcept {
    if (!pkt) {
        framesDroppedInc();
        return;
    }
    const U32 length = pkt->bytes();
    const U32 captured = length < snapLength_ ? length : snapLength_;
    if (used_ + recordHeaderSize + captured > buf_.size() && !flush()) return;
    U8* p = buf_.data() + used_;
    putLe32(p, static_cast<U32>(seconds_));
    putLe32(p + 4, useconds_);
    putLe32(p + 8, captured);
    putLe32(p + 12, length);
    std::memcpy(p + recordHeaderSize, pkt->data(), captured);
    used_ += recordHeaderSize + captured;
    framesSentInc();
}

bool BufferedPcapWriter::flush() noexcept {
    const bool ok = used_ == 0 ||
                    (std::fwrite(buf_.data(), 1, used_, file_) == used_ && std::fflush(file_) == 0);
    used_ = 0;
    if (!ok) {
        sendErrorsInc();
        std::clearerr(file_);
    }
    return ok;
}

}  // namespace SondarCli
