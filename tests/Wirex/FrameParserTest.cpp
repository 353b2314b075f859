// The frame parser on good frames, on every truncation of them and on headers whose lengths lie.
// Each frame is parsed from a heap copy of exactly its length, so that the sanitizer build catches
// any read past the end.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "TestFrames.h"
#include "Wirex/FrameParser.h"
#include "Wirex/FrameSource.h"

namespace {

using namespace Wirex;
using WirexTest::buildFrame;

ParsedFrame parseCopy(const std::vector<U8>& bytes, std::unique_ptr<U8[]>& holder) {
    holder = std::make_unique<U8[]>(bytes.size() ? bytes.size() : 1);
    std::copy(bytes.begin(), bytes.end(), holder.get());
    return parseFrame(holder.get(), static_cast<U32>(bytes.size()));
}

std::vector<U8> frameBytes(const WirexTest::FrameSpec& s) {
    Rix::Ptr<Pkt> p = buildFrame(s);
    return std::vector<U8>(p->data(), p->data() + p->bytes());
}

TEST(FrameParser, FindsEveryHeaderOfGoodFrames) {
    std::unique_ptr<U8[]> h;
    auto udp = frameBytes({.vlan = 100, .payload = 48});
    ParsedFrame f = parseCopy(udp, h);
    ASSERT_TRUE(f.ok()) << frameStatusName(f.status);
    EXPECT_EQ(f.vlanId(), 100);
    EXPECT_EQ(f.transportOffset, 38u);
    EXPECT_EQ(f.payloadOffset, 46u);
    EXPECT_EQ(f.udp->dstPort(), 6000);
    EXPECT_EQ(f.tcp, nullptr);
    // Ethernet padding behind a short packet is not payload
    auto padded = frameBytes({.payload = 2});
    padded.resize(60, 0);
    f = parseCopy(padded, h);
    ASSERT_TRUE(f.ok());
    EXPECT_EQ(f.payloadLength, 2u);
    auto tcp = frameBytes({.tcp = true, .payload = 48});
    f = parseCopy(tcp, h);
    ASSERT_TRUE(f.ok());
    EXPECT_EQ(f.payloadOffset, 54u);
    EXPECT_TRUE(f.tcp->synFlag());
}

TEST(FrameParser, EveryTruncationIsReported) {
    std::unique_ptr<U8[]> h;
    for (bool tcp : {false, true}) {
        const auto full = frameBytes({.tcp = tcp, .vlan = 7, .payload = 48});
        for (std::size_t n = 0; n < full.size(); ++n) {
            const std::vector<U8> cut(full.begin(), full.begin() + n);
            const ParsedFrame f = parseCopy(cut, h);
            const FrameStatus want = n < 14   ? FrameStatus::truncatedEthernet
                                     : n < 18 ? FrameStatus::truncatedVlanTag
                                     : n < 38 ? FrameStatus::truncatedIpHeader
                                              : FrameStatus::truncatedIpPacket;
            EXPECT_EQ(f.status, want) << n << ": " << frameStatusName(f.status);
        }
    }
}

// Each row changes one field of a good untagged frame (IPv4 at 14, transport at 34).
TEST(FrameParser, LyingLengthsAndForeignHeaders) {
    struct Row {
        const char* what;
        bool tcp;
        std::function<void(std::vector<U8>&)> change;
        FrameStatus want;
    };
    const Row rows[] = {
        {"ARP", false, [](auto& b) { b[12] = 0x08, b[13] = 0x06; }, FrameStatus::notIpv4},
        {"IPv6 version", false, [](auto& b) { b[14] = 0x65; }, FrameStatus::badIpVersion},
        {"IHL 4", false, [](auto& b) { b[14] = 0x44; }, FrameStatus::badIpHeaderLength},
        {"IHL 15 beyond frame", false, [](auto& b) { b[14] = 0x4f, b.resize(14 + 40); },
         FrameStatus::truncatedIpHeader},
        {"total length 19", false, [](auto& b) { b[16] = 0, b[17] = 19; },
         FrameStatus::badIpTotalLength},
        {"total length beyond frame", false, [](auto& b) { b[16] = 0x05, b[17] = 0xdc; },
         FrameStatus::truncatedIpPacket},
        {"more fragments", false, [](auto& b) { b[20] = 0x20; }, FrameStatus::ipFragment},
        {"fragment offset", false, [](auto& b) { b[21] = 0x01; }, FrameStatus::ipFragment},
        {"ICMP", false, [](auto& b) { b[23] = 1; }, FrameStatus::notUdpOrTcp},
        {"UDP length 7", false, [](auto& b) { b[38] = 0, b[39] = 7; }, FrameStatus::badUdpLength},
        {"UDP length beyond IP", false, [](auto& b) { b[38] = 0, b[39] = 57; },
         FrameStatus::badUdpLength},
        {"IP payload below UDP header", false, [](auto& b) { b[16] = 0, b[17] = 27; },
         FrameStatus::truncatedUdp},
        {"TCP offset 4", true, [](auto& b) { b[46] = 0x40; }, FrameStatus::badTcpDataOffset},
        {"TCP offset beyond IP", true, [](auto& b) { b[46] = 0xf0, b[16] = 0, b[17] = 60; },
         FrameStatus::truncatedTcp},
        {"IP payload below TCP header", true, [](auto& b) { b[16] = 0, b[17] = 39; },
         FrameStatus::truncatedTcp},
    };
    std::unique_ptr<U8[]> h;
    for (const Row& r : rows) {
        auto b = frameBytes({.tcp = r.tcp, .payload = 48});
        r.change(b);
        const ParsedFrame f = parseCopy(b, h);
        EXPECT_EQ(f.status, r.want) << r.what << ": " << frameStatusName(f.status);
    }
}

TEST(MemorySource, HandsOutCopiesInOrder) {
    Rix::Ptr<MemorySource> src(new MemorySource);
    std::vector<U8> a = {1, 2, 3};
    src->frameAppend(a, 5, 6, IntfId("et1"));
    a[0] = 9;
    src->frameAppend(a);
    Frame f;
    ASSERT_TRUE(src->nextFrame(f));
    EXPECT_EQ(f.data[0], 1);
    EXPECT_EQ(f.useconds, 6u);
    EXPECT_EQ(f.ingressIntf, IntfId("et1"));
    ASSERT_TRUE(src->nextFrame(f));
    EXPECT_EQ(f.data[0], 9);
    EXPECT_FALSE(src->nextFrame(f));
}

}  // namespace
