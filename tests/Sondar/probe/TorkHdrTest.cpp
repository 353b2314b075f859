#include <gtest/gtest.h>

#include <sstream>

#include "ProbeTestUtil.h"
#include "Sondar/TorkHdr.h"
#include "Wirex/Pkt.h"

namespace Sondar {
namespace {

using SondarTest::assertionRegex;
using SondarTest::plainChecksum;

TorkProbeHdr filledHeader() {
    TorkProbeHdr h;
    h.messageTypeIs(torkProbe);
    h.versionImplIs(Wirex::NetU8(1));
    h.epochSecondsImplIs(Wirex::NetU32(0x01020304));
    h.epochUSecondsImplIs(Wirex::NetU32(999999));
    h.sequenceNumberImplIs(Wirex::NetU64(0x1112131415161718ull));
    h.originIntfIpIs(Wirex::IpAddr(10, 0, 0, 1));
    h.egressIfIndexImplIs(Wirex::NetU32(0x21222324));
    h.egressSrcMacIs(Wirex::EthAddr(0x00, 0x1c, 0x73, 0xaa, 0xbb, 0x01));
    h.egressDestMacIs(Wirex::EthAddr(0x00, 0x1c, 0x73, 0xaa, 0xbb, 0x02));
    h.egressTagControlIs(Wirex::Eth8021QTagControl(0, false, 100));
    h.ttlImplIs(Wirex::NetU8(64));
    h.intervalImplIs(Wirex::NetU32(0x31323334));
    return h;
}

TEST(TorkHdrTest, UnknownCodesReadAsUnknownType) {
    for (unsigned code = 0; code < 256; ++code) {
        TorkHdr h;
        h.mTypeIs(TorkImplMessageType(static_cast<U8>(code)));
        EXPECT_EQ(h.messageType(), static_cast<TorkMessageType>(code == 1 || code == 2 ? code : 0))
            << code;
    }
}

TEST(TorkHdrTest, ChecksumCoversTheHeaderAndWhatFollows) {
    // A header followed by three payload bytes, so the checksum runs past the header and ends on
    // an odd byte.
    struct __attribute__((packed)) {
        TorkProbeHdr hdr;
        U8 tail[3] = {0xde, 0xad, 0xbe};
    } buf;
    buf.hdr = filledHeader();
    const U8* raw = reinterpret_cast<const U8*>(&buf.hdr);
    EXPECT_EQ(buf.hdr.computedChecksumU16(51), plainChecksum(raw, 51));
    EXPECT_EQ(buf.hdr.computedChecksumU16(20), plainChecksum(raw, 20));
    buf.hdr.checksumImplIs(buf.hdr.computedChecksum(48));
    EXPECT_EQ(buf.hdr.computedChecksumU16(48), 0);
}

// The ttl prints as a character, not a number.
TEST(TorkHdrTest, PrintedForms) {
    TorkProbeHdr h = filledHeader();
    std::ostringstream common;
    common << static_cast<TorkHdr*>(&h);
    EXPECT_EQ(common.str(),
              " type: torkProbe epoch seconds: 16909060 epoch u seconds: 999999 sequence number: "
              "1230066625199609624  ");

    std::ostringstream tag;
    tag << h.egressTagControl();
    std::ostringstream full;
    torkProbeHdrStr(full, &h);
    EXPECT_EQ(full.str(),
              common.str() +
                  " origin intf ip: 10.0.0.1 egress ifIndex: 555885348 egressSrcMac: "
                  "00:1c:73:aa:bb:01 egressDestMac: 00:1c:73:aa:bb:02 egressTagControl: " +
                  tag.str() + " ttl: @  ");
}

Rix::Ptr<Wirex::Pkt> packetOf(U32 bytes) {
    Rix::Ptr<Wirex::Pkt> p = Wirex::globalPktManager()->newPkt();
    p->newSharedHeadData(bytes);
    return p;
}

TEST(TorkProbeHdrWrapperTest, TagControlSubFieldsAreMasked) {
    const auto w = torkProbeHdrWrapperFactory(packetOf(60), 12);
    EXPECT_EQ(reinterpret_cast<U8*>(w->header()), w->pkt()->frontData() + 12);
    w->header()->egressTagControlIs(Wirex::Eth8021QTagControl(U16{0x0fff}));
    w->egressTagControlPriorityIs(9);  // only the low three bits count
    EXPECT_EQ(w->egressTagControlPriority(), 1);
    w->egressTagControlVlanIdIs(0x1005);
    EXPECT_EQ(w->egressTagControlVlanId(), 5);
    EXPECT_EQ(w->header()->egressTagControl().value(), 0x2005);
    w->egressTagControlCfiIs(true);
    EXPECT_TRUE(w->egressTagControlCfi());
    EXPECT_EQ(w->header()->egressTagControl().value(), 0x3005);
    w->egressTagControlCfiIs(false);
    w->egressTagControlPriorityIs(7);
    EXPECT_EQ(w->header()->egressTagControl().value(), 0xe005);
}

TEST(TorkProbeHdrWrapperDeathTest, HeaderMustFitTheFrontBytes) {
    EXPECT_NE(torkProbeHdrWrapperFactory(packetOf(60), 12)->header(), nullptr);
    EXPECT_DEATH(torkProbeHdrWrapperFactory(packetOf(59), 12),
                 assertionRegex("( offset_ + sizeof( TorkProbeHdr ) ) <= pkt_->frontBytes()"));
}

}  // namespace
}  // namespace Sondar
