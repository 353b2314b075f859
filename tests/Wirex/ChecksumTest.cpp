// The Internet checksum against a plain RFC 1071 loop kept here as the oracle: every length up to
// 1600 at every alignment, on random data and on near-all-ones data whose every add carries.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "Wirex/Checksum.h"
#include "Wirex/PlainChecksum.h"

namespace {

using SondarTest::plainSum;

TEST(IpChecksum, MatchesReferenceAtEveryLengthAndAlignment) {
    std::mt19937 rng(12345);
    std::vector<U8> buf(1600 + 16);
    for (int round = 0; round < 2; ++round) {
        for (auto& b : buf) b = static_cast<U8>(round == 0 ? rng() : 0xff - (rng() & 1));
        for (std::size_t len = 0; len <= 1600; ++len) {
            for (std::size_t align = 0; align < 8; ++align) {
                const U8* p = buf.data() + align;
                const U16 ref = plainSum(p, len);
                ASSERT_EQ(Wirex::ipChecksumPartial(p, len), ref)
                    << "len " << len << " align " << align;
                ASSERT_EQ(Wirex::ipChecksumCalc(p, len).value(), static_cast<U16>(~ref));
            }
        }
    }
}

TEST(IpChecksum, InitialSumAndChaining) {
    std::mt19937 rng(7);
    std::vector<U8> buf(301);
    for (auto& b : buf) b = static_cast<U8>(rng());
    const U16 whole = plainSum(buf.data(), buf.size());
    for (std::size_t cut = 0; cut <= buf.size(); cut += 2) {
        const U16 first = Wirex::ipChecksumPartial(buf.data(), cut);
        EXPECT_EQ(Wirex::ipChecksumPartial(buf.data() + cut, buf.size() - cut, first), whole)
            << cut;
    }
    for (U32 init : {0u, 1u, 0xffffu, 0x10000u, 0x12345678u, 0x7ff00000u}) {
        EXPECT_EQ(Wirex::ipChecksumPartial(buf.data(), 100, init), plainSum(buf.data(), 100, init))
            << init;
    }
}

TEST(IpChecksum, WorkedExampleAndStoredChecksumVerifies) {
    // RFC 1071's worked example: 00 01 f2 03 f4 f5 f6 f7 sums to ddf2
    const U8 example[] = {0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
    EXPECT_EQ(Wirex::ipChecksumPartial(example, sizeof example), 0xddf2);
    // data carrying its own checksum sums to all ones
    U8 hdr[20] = {0x45, 0, 0, 28, 0, 0, 0, 0, 64, 17, 0, 0, 10, 0, 0, 1, 10, 0, 0, 2};
    const Wirex::IpChecksum c = Wirex::ipChecksumCalc(hdr, 20);
    std::memcpy(hdr + 10, c.data(), 2);
    EXPECT_EQ(Wirex::ipChecksumCalc(hdr, 20).value(), 0);
}

}  // namespace
