#include "Wirex/PcapFile.h"

#include <bit>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "Rix/Exception.h"
#include "Rix/Format.h"

namespace Wirex {
namespace {

// The largest record a reader accepts whatever the file's snap length says.
constexpr U32 maxRecordLength = 16u << 20;

void putLe32(U8* p, U32 v) {
    p[0] = static_cast<U8>(v);
    p[1] = static_cast<U8>(v >> 8);
    p[2] = static_cast<U8>(v >> 16);
    p[3] = static_cast<U8>(v >> 24);
}

void putLe16(U8* p, U16 v) {
    p[0] = static_cast<U8>(v);
    p[1] = static_cast<U8>(v >> 8);
}

U32 getLe32(const U8* p) {
    return U32{p[0]} | (U32{p[1]} << 8) | (U32{p[2]} << 16) | (U32{p[3]} << 24);
}

}  // namespace

PcapWriter::PcapWriter(const std::string& path, U32 snapLength)
    : path_(path), snapLength_(snapLength ? snapLength : 65535) {
    file_ = std::fopen(path.c_str(), "wb");
    if (!file_) {
        throw Rix::RuntimeException(
            Rix::format("cannot create pcap file '%s': %s", path.c_str(), std::strerror(errno)));
    }
    U8 h[24];
    putLe32(h, pcapMagicMicro);
    putLe16(h + 4, 2);
    putLe16(h + 6, 4);
    putLe32(h + 8, 0);   // time zone offset
    putLe32(h + 12, 0);  // time stamp accuracy
    putLe32(h + 16, snapLength_);
    putLe32(h + 20, pcapLinkTypeEthernet);
    if (std::fwrite(h, 1, sizeof h, file_) != sizeof h || std::fflush(file_) != 0) {
        const int e = errno;
        std::fclose(file_);
        file_ = nullptr;
        throw Rix::RuntimeException(
            Rix::format("cannot write pcap file '%s': %s", path.c_str(), std::strerror(e)));
    }
}

PcapWriter::~PcapWriter() {
    flush();
    if (file_) std::fclose(file_);
}

void PcapWriter::bufferedIs(bool buffered) {
    if (!buffered) flush();
    buf_.assign(buffered ? std::size_t{1} << 20 : 0, 0);
}

void PcapWriter::send(const Rix::Ptr<Pkt>& pkt) noexcept {
    if (!pkt) {
        framesDroppedInc();
        return;
    }
    if (fixedTime_) {
        frameWrite(pkt->data(), pkt->bytes(), seconds_, useconds_);
        return;
    }
    timespec ts{};
    ::clock_gettime(CLOCK_REALTIME, &ts);
    frameWrite(pkt->data(), pkt->bytes(), static_cast<U64>(ts.tv_sec),
               static_cast<U32>(ts.tv_nsec / 1000));
}

bool PcapWriter::frameWrite(const U8* data, U32 length, U64 seconds, U32 useconds) noexcept {
    const U32 captured = length < snapLength_ ? length : snapLength_;
    // the record header: four little-endian words, stored whole rather than byte by byte
    U32 words[4] = {static_cast<U32>(seconds), useconds, captured, length};
    if constexpr (std::endian::native == std::endian::big) {
        for (U32& w : words) w = __builtin_bswap32(w);
    }
    U8 h[16];
    std::memcpy(h, words, sizeof h);
    const std::size_t record = sizeof h + captured;
    if (!buf_.empty() && used_ + record > buf_.size() && !flush()) return false;
    if (record <= buf_.size()) {
        std::memcpy(buf_.data() + used_, h, sizeof h);
        std::memcpy(buf_.data() + used_ + sizeof h, data, captured);
        used_ += record;
        framesSentInc();
        return true;
    }
    // unbuffered, or a record larger than the whole buffer
    const bool ok = std::fwrite(h, 1, sizeof h, file_) == sizeof h &&
                    std::fwrite(data, 1, captured, file_) == captured && std::fflush(file_) == 0;
    if (!ok) {
        sendErrorsInc();
        std::clearerr(file_);
        return false;
    }
    framesSentInc();
    return true;
}

bool PcapWriter::flush() noexcept {
    if (used_ == 0 || !file_) return true;
    const bool ok = std::fwrite(buf_.data(), 1, used_, file_) == used_ && std::fflush(file_) == 0;
    used_ = 0;
    if (!ok) {
        sendErrorsInc();
        std::clearerr(file_);
    }
    return ok;
}

PcapReader::PcapReader(const std::string& path, IntfId ingressIntf)
    : path_(path), intf_(ingressIntf) {
    file_ = std::fopen(path.c_str(), "rb");
    if (!file_) {
        throw Rix::RuntimeException(
            Rix::format("cannot open pcap file '%s': %s", path.c_str(), std::strerror(errno)));
    }
    U8 h[24];
    const std::size_t n = std::fread(h, 1, sizeof h, file_);
    if (n == 0) {
        std::fclose(file_);
        file_ = nullptr;
        throw Rix::RangeException("pcap file '" + path + "' is empty");
    }
    try {
        if (n >= 4) {
            const U32 magic = getLe32(h);
            if (magic == pcapMagicMicro || magic == pcapMagicNano) {
                nano_ = magic == pcapMagicNano;
            } else if (byteSwap(magic) == pcapMagicMicro || byteSwap(magic) == pcapMagicNano) {
                swapped_ = true;
                nano_ = byteSwap(magic) == pcapMagicNano;
            } else {
                bad(Rix::format("not a pcap file (magic number 0x%08x)", magic));
            }
        } else {
            bad(Rix::format("truncated file header (%zu of 24 bytes)", n));
        }
        if (n < sizeof h) bad(Rix::format("truncated file header (%zu of 24 bytes)", n));
        snapLength_ = field(h + 16);
        linkType_ = field(h + 20) & 0x0fffffff;  // the top bits may carry FCS information
        if (snapLength_ == 0 || snapLength_ > maxRecordLength) {
            bad(Rix::format("unsupported snap length %u", snapLength_));
        }
    } catch (...) {
        std::fclose(file_);
        file_ = nullptr;
        throw;
    }
    offset_ = sizeof h;
}

PcapReader::~PcapReader() {
    if (file_) std::fclose(file_);
}

void PcapReader::bad(const std::string& what) const {
    throw Rix::RangeException("pcap file '" + path_ + "': " + what);
}

U32 PcapReader::field(const U8* p) const noexcept {
    const U32 v = getLe32(p);
    return swapped_ ? byteSwap(v) : v;
}

bool PcapReader::nextFrame(Frame& frame) {
    U8 h[16];
    const std::size_t n = std::fread(h, 1, sizeof h, file_);
    if (n == 0) {
        if (std::ferror(file_)) bad(Rix::format("read error: %s", std::strerror(errno)));
        return false;
    }
    if (n < sizeof h) {
        bad(Rix::format("truncated record header at offset %llu (record %llu)",
                        static_cast<unsigned long long>(offset_),
                        static_cast<unsigned long long>(frames_ + 1)));
    }
    const U32 captured = field(h + 8);
    const U32 wire = field(h + 12);
    if (captured > snapLength_) {
        bad(Rix::format("record %llu at offset %llu is %u bytes, longer than the snap length %u",
                        static_cast<unsigned long long>(frames_ + 1),
                        static_cast<unsigned long long>(offset_), captured, snapLength_));
    }
    buf_.resize(captured);
    if (std::fread(buf_.data(), 1, captured, file_) != captured) {
        bad(Rix::format("truncated record %llu at offset %llu (%u bytes announced)",
                        static_cast<unsigned long long>(frames_ + 1),
                        static_cast<unsigned long long>(offset_), captured));
    }
    offset_ += sizeof h + captured;
    ++frames_;
    const U32 fraction = field(h + 4);
    frame.data = buf_.data();
    frame.length = captured;
    frame.wireLength = wire < captured ? captured : wire;
    frame.seconds = field(h);
    frame.useconds = nano_ ? fraction / 1000 : fraction;
    frame.ingressIntf = intf_;
    return true;
}

}  // namespace Wirex
