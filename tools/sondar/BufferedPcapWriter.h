#pragma once
// A pcap transmitter for bulk generation: frames are appended to a large buffer that is written
// out when full and on flush(), instead of one write and flush per frame. Each frame carries the
// time stamp last given to timeIs(), so a generated capture has the spacing its streams were
// meant to have rather than the speed of the generator.
#include <cstdio>
#include <string>
#include <vector>

#include "Wirex/Pam.h"

namespace SondarCli {

class BufferedPcapWriter : public Wirex::Pam {
  public:
    // Creates (or truncates) the file and writes the file header. Throws Rix::RuntimeException
    // naming the file when it cannot be created.
    explicit BufferedPcapWriter(const std::string& path, U32 snapLength = 65535);
    ~BufferedPcapWriter() override;

    void timeIs(U64 seconds, U32 useconds) noexcept {
        seconds_ = seconds;
        useconds_ = useconds;
    }
    // Frames longer than the snap length are cut to it, with their full length recorded. A
    // frame that cannot be written counts as a send error.
    void send(const Rix::Ptr<Wirex::Pkt>& pkt) noexcept override;
    // Writes out what is buffered; false (and a send error) when the write failed.
    bool flush() noexcept;

    const std::string& path() const noexcept { return path_; }

  private:
    std::string path_;
    U32 snapLength_;
    std::FILE* file_ = nullptr;
    std::vector<U8> buf_;
    std::size_t used_ = 0;
    U64 seconds_ = 0;
    U32 useconds_ = 0;
};

}  // namespace SondarCli
