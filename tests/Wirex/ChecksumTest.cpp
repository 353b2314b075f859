// The Internet checksum against a plain RFC 1071 loop kept here as the oracle: every length up to
// 1600 at every alignment and with initial sums that need folding, on random data and on
// near-all-ones data whose every add carries.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "Wirex/Checksum.h"
#include "Wirex/PlainChecksum.h"

namespace {

using SondarTest::plainSum;

TEST(IpChecksum, MatchesReferenceAtEveryLengthAlignmentAndInitialSum) {
    const U32 inits[] = {0u, 1u, 0xffffu, 0x10000u, 0x12345678u, 0x7ff00000u};
    std::mt19937 rng(12345);
    std::vector<U8> buf(1600 + 16);
    for (int round = 0; round < 2; ++round) {
        for (auto& b : buf) b = static_cast<U8>(round == 0 ? rng() : 0xff - (rng() & 1));
        for (std::size_t len = 0; len <= 1600; ++len) {
            for (std::size_t align = 0; align < 8; ++align) {
                const U8* p = buf.data() + align;
                const U32 init = inits[(len + align) % 6];
                ASSERT_EQ(Wirex::ipChecksumPartial(p, len, init), plainSum(p, len, init))
                    << "len " << len << " align " << align << " init " << init;
                ASSERT_EQ(Wirex::ipChecksumCalc(p, len).value(), U16(~plainSum(p, len)));
            }
        }
    }
}

}  // namespace
