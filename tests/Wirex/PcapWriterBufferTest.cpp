// A buffered writer keeps the frames' order and time stamps, also across a record larger than its
// whole buffer, which goes out directly after what was buffered before it.
#include <gtest/gtest.h>

#include <unistd.h>

#include <vector>

#include "Wirex/PcapFile.h"

namespace {

TEST(PcapWriterBuffer, OrderAndTimesSurviveBufferingAndOversizedRecords) {
    const std::string path = "/tmp/sondar-pcapbuf-" + std::to_string(getpid()) + ".pcap";
    const std::vector<U32> lengths = {60, 1514, 3u << 20, 64, 90};
    {
        Wirex::PcapWriter writer(path, 4u << 20);
        writer.bufferedIs(true);
        for (std::size_t i = 0; i < lengths.size(); ++i) {
            std::vector<U8> frame(lengths[i], static_cast<U8>(i + 1));
            ASSERT_TRUE(writer.frameWrite(frame.data(), lengths[i], 1000 + i, static_cast<U32>(i)));
        }
        EXPECT_EQ(writer.framesSent(), lengths.size());
    }
    Wirex::PcapReader reader(path, Wirex::IntfId("pcap0"));
    Wirex::Frame f;
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        ASSERT_TRUE(reader.nextFrame(f)) << i;
        EXPECT_EQ(f.length, lengths[i]);
        EXPECT_EQ(f.seconds, 1000 + i);
        EXPECT_EQ(f.useconds, i);
        EXPECT_EQ(f.data[0], i + 1);
        EXPECT_EQ(f.data[f.length - 1], i + 1);
    }
    EXPECT_FALSE(reader.nextFrame(f));
    std::remove(path.c_str());
}

}  // namespace
