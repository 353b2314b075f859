// The attribute log's primitives: widths and byte order, and refusal of short or malformed
// streams without reading past their end (each stream below is a heap block of exactly its size,
// so the sanitizer run catches any overread).
#include <gtest/gtest.h>

#include <memory>

#include "Rix/NboAttrLog.h"

namespace {

using Rix::NboAttrLog::In;
using Rix::NboAttrLog::Out;

std::vector<U8> everyWidth() {
    Out o;
    o.nextU8(0xa1);
    o.nextU16(0xb1b2);
    o.nextU32(0xc1c2c3c4);
    o.nextU64(0xd1d2d3d4d5d6d7d8ull);
    o.nextS32(-2);
    o.nextbool(true);
    o.nextbool(false);
    o.nextSeconds(-0.5);
    o.nextString("hé");
    return o.bytes();
}

void readEveryWidth(In& in) {
    EXPECT_EQ(in.nextU8(), 0xa1);
    EXPECT_EQ(in.nextU16(), 0xb1b2);
    EXPECT_EQ(in.nextU32(), 0xc1c2c3c4u);
    EXPECT_EQ(in.nextU64(), 0xd1d2d3d4d5d6d7d8ull);
    EXPECT_EQ(in.nextS32(), -2);
    EXPECT_TRUE(in.nextbool());
    EXPECT_FALSE(in.nextbool());
    EXPECT_EQ(in.nextSeconds(), -0.5);
    EXPECT_EQ(in.nextString(), Rix::String8("hé"));
}

TEST(NboAttrLogTest, EveryWidthIsBigEndianAndReadsBack) {
    const std::vector<U8> b = everyWidth();
    const std::vector<U8> expect = {0xa1, 0xb1, 0xb2, 0xc1, 0xc2, 0xc3, 0xc4, 0xd1, 0xd2,
                                    0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xff, 0xff, 0xff,
                                    0xfe, 0x01, 0x00, 0xbf, 0xe0, 0x00, 0x00, 0x00, 0x00,
                                    0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 'h',  0xc3, 0xa9};
    EXPECT_EQ(b, expect);
    In in(b);
    readEveryWidth(in);
    EXPECT_TRUE(in.atEnd());
}

TEST(NboAttrLogTest, TruncationAtEveryByteIsARangeError) {
    const std::vector<U8> b = everyWidth();
    for (std::size_t n = 0; n < b.size(); ++n) {
        std::unique_ptr<U8[]> exact(new U8[n == 0 ? 1 : n]);
        std::memcpy(exact.get(), b.data(), n);
        In in(exact.get(), n);
        bool threw = false;
        try {
            readEveryWidth(in);
        } catch (const Rix::RangeException& e) {
            threw = true;
            EXPECT_NE(std::string(e.what()).find("attribute log"), std::string::npos);
        }
        EXPECT_TRUE(threw) << "prefix of " << n << " bytes";
        EXPECT_LE(in.remaining(), n);
    }
}

TEST(NboAttrLogTest, MalformedFieldsAreRefused) {
    for (U8 byte : {2, 0x7f, 0xff}) {
        const U8 b[1] = {byte};
        In in(b, 1);
        EXPECT_THROW(in.nextbool(), Rix::RangeException) << int(byte);
        EXPECT_EQ(in.remaining(), 1u);
    }
    // a length that claims more than the stream holds, or more than any string may be
    const U8 past[6] = {0, 0, 0, 3, 'a', 'b'}, huge[5] = {0xff, 0xff, 0xff, 0xff, 'a'};
    EXPECT_THROW(In(past, sizeof past).nextString(), Rix::RangeException);
    EXPECT_THROW(In(huge, sizeof huge).nextString(), Rix::RangeException);
    U8 into[4];
    In shortIn(past, 3);
    EXPECT_THROW(shortIn.nextBytes(into, 4), Rix::RangeException);
}

}  // namespace
