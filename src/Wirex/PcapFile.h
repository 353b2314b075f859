#pragma once
// Pcap capture files: the classic format (not pcapng), link type Ethernet.
//
// PcapWriter is a transmitter that appends each sent frame to a file, little-endian, with
// microsecond time stamps from the wall clock; each record is flushed as it is written, so the
// file is readable while the writer is open.
//
// PcapReader is a frame source over such a file. It reads either byte order and microsecond or
// nanosecond time stamps. A file that is empty, truncated, not pcap, or has a record longer than
// its snap length raises Rix::RangeException naming the file; it never reads past what it holds.
#include <cstdio>
#include <string>
#include <vector>

#include "Wirex/FrameSource.h"
#include "Wirex/Pam.h"

namespace Wirex {

inline constexpr U32 pcapMagicMicro = 0xa1b2c3d4;
inline constexpr U32 pcapMagicNano = 0xa1b23c4d;
inline constexpr U32 pcapLinkTypeEthernet = 1;

class PcapWriter : public Pam {
  public:
    // Creates (or truncates) the file and writes the file header. Throws Rix::RuntimeException
    // naming the file when it cannot be created or written.
    explicit PcapWriter(const std::string& path, U32 snapLength = 65535);
    // Writes out what is buffered.
    ~PcapWriter() override;

    // Frames go to the file as they are sent (the default, so that a reader can follow the file),
    // or, buffered, collect in memory and go out when the buffer is full, on flush() and at the
    // end: one write per megabyte instead of per frame, for bulk captures.
    void bufferedIs(bool buffered);
    // Frames sent from now on carry this time stamp instead of the wall clock's time, as a
    // generator that lays out a stream's timing does.
    void timeIs(U64 seconds, U32 useconds) noexcept {
        fixedTime_ = true;
        seconds_ = seconds;
        useconds_ = useconds;
    }

    // Writes the frame. A frame longer than the snap length is written cut to it, with its full
    // length recorded. A failed write counts as a send error.
    void send(const Rix::Ptr<Pkt>& pkt) noexcept override;
    // Writes bytes with a given time stamp; false (and a send error) when the write failed.
    bool frameWrite(const U8* data, U32 length, U64 seconds, U32 useconds) noexcept;
    // Writes out what is buffered; false (and a send error) when the write failed.
    bool flush() noexcept;

    const std::string& path() const noexcept { return path_; }
    U32 snapLength() const noexcept { return snapLength_; }

  private:
    std::string path_;
    U32 snapLength_;
    std::FILE* file_ = nullptr;
    std::vector<U8> buf_;  // empty unless buffered
    std::size_t used_ = 0;
    bool fixedTime_ = false;
    U64 seconds_ = 0;
    U32 useconds_ = 0;
};

class PcapReader : public FrameSource {
  public:
    // Opens the file and reads its header. Throws Rix::RuntimeException when the file cannot be
    // opened and Rix::RangeException when it is not a pcap file. Frames are reported with the
    // given ingress interface (pcap records carry none).
    explicit PcapReader(const std::string& path, IntfId ingressIntf = IntfId());
    ~PcapReader() override;

    bool nextFrame(Frame& frame) override;

    const std::string& path() const noexcept { return path_; }
    U32 snapLength() const noexcept { return snapLength_; }
    U32 linkType() const noexcept { return linkType_; }
    // Records read so far.
    U64 frameCount() const noexcept { return frames_; }

  private:
    [[noreturn]] void bad(const std::string& what) const;
    U32 field(const U8* p) const noexcept;

    std::string path_;
    IntfId intf_;
    std::FILE* file_ = nullptr;
    bool swapped_ = false;
    bool nano_ = false;
    U32 snapLength_ = 0;
    U32 linkType_ = 0;
    U64 frames_ = 0;
    U64 offset_ = 0;
    std::vector<U8> buf_;
};

}  // namespace Wirex
