// Text and attribute-log forms of the network value types: every form reads back to the same
// value, bad text is refused with a message naming it, and short attribute logs are refused.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <unordered_set>

#include "Bridging/VlanIdOrNone.h"
#include "Rix/Value.h"
#include "Wirex/Addresses.h"
#include "Wirex/IntfId.h"
#include "Wirex/NetTypes.h"

namespace {

using namespace Wirex;
using Bridging::VlanIdOrNone;

template <class T>
std::string streamed(const T& v) {
    std::ostringstream os;
    os << v;
    return os.str();
}

// One row per value: its text form (the stream form is the same without quotes) and its
// attribute-log bytes. Every proper prefix of the bytes must be refused.
template <class T>
struct Row {
    T value;
    std::string text;
    std::vector<U8> bytes;
};

template <class T>
void checkRows(const std::vector<Row<T>>& rows) {
    for (const auto& r : rows) {
        SCOPED_TRACE(r.text);
        const std::string bare = r.text[0] == '\'' ? r.text.substr(1, r.text.size() - 2) : r.text;
        EXPECT_EQ(valueToStrep(r.value).str(), r.text);
        EXPECT_EQ(streamed(r.value), bare);
        EXPECT_EQ(Rix::strepToValue<T>(r.text), r.value);
        if (!bare.empty()) {
            EXPECT_EQ(Rix::strepToValue<T>(bare), r.value);
        }
        Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
        out << r.value;
        EXPECT_EQ(out->bytes(), r.bytes);
        Rix::NboAttrLog::In in(r.bytes);
        EXPECT_EQ(T(&in, Rix::StreamBogon{}), r.value);
        EXPECT_TRUE(in.atEnd());
        for (std::size_t n = 0; n < r.bytes.size(); ++n) {
            Rix::NboAttrLog::In shortIn(r.bytes.data(), n);
            EXPECT_THROW(T(&shortIn, Rix::StreamBogon{}), Rix::RangeException) << n;
        }
    }
}

std::string rangeMessage(const std::function<void()>& f) {
    try {
        f();
    } catch (const Rix::RangeException& e) {
        return e.what();
    }
    return "no exception";
}

// Each text must be refused with a message that quotes it (without its own quotes).
template <class T>
void expectBadText(std::initializer_list<std::string> texts) {
    for (const std::string& text : texts) {
        const std::string named = text[0] == '\'' ? text.substr(1, text.size() - 2) : text;
        const std::string m = rangeMessage([&] { Rix::strepToValue<T>(text); });
        EXPECT_NE(m.find(named), std::string::npos) << text << " gave: " << m;
    }
}

TEST(NetValueForms, Addresses) {
    checkRows<EthAddr>({
        {EthAddr(0x00, 0x1c, 0x73, 0xaa, 0xbb, 0x01),
         "'00:1c:73:aa:bb:01'",
         {0x00, 0x1c, 0x73, 0xaa, 0xbb, 0x01}},
    });
    EXPECT_EQ(EthAddr("00:1C:73:AA:BB:01"), EthAddr(0x00, 0x1c, 0x73, 0xaa, 0xbb, 0x01));
    checkRows<IpAddr>({{IpAddr(0xc0a80101u), "'192.168.1.1'", {192, 168, 1, 1}}});
    const IpAddr a(10, 1, 2, 3);
    EXPECT_EQ(IpAddr::fromNetworkOrder(a.nboValue()), a);
    EXPECT_EQ(std::memcmp(&a, "\x0a\x01\x02\x03", 4), 0) << "held in network order";
    checkRows<Ip6Addr>({
        {Ip6Addr("2001:db8:0:0:0:0:0:1"),
         "'2001:db8::1'",
         {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
        {Ip6Addr(), "'::'", std::vector<U8>(16, 0)},
        {Ip6Addr("::ffff:10.0.0.1"),
         "'::ffff:10.0.0.1'",
         {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 10, 0, 0, 1}},
    });
    // RFC 5952: lower case, no leading zeros, the longest zero run (the first of equals)
    // compressed, and a single zero group never compressed.
    const std::pair<const char*, const char*> canonical[] = {
        {"2001:0DB8:0000:0000:0001:0000:0000:0001", "2001:db8::1:0:0:1"},
        {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
        {"1::", "1::"},
    };
    for (auto [in, out] : canonical) EXPECT_EQ(Ip6Addr(in).str(), out) << in;
}

TEST(NetValueForms, Prefixes) {
    checkRows<IpAddrWithMask>({
        {IpAddrWithMask(IpAddr(10, 0, 0, 0), 24), "'10.0.0.0/24'", {10, 0, 0, 0, 24}},
        {IpAddrWithMask(), "'0.0.0.0/0'", {0, 0, 0, 0, 0}},
    });
    std::vector<U8> six(16, 0);
    six[0] = 0x20, six[1] = 0x01, six[2] = 0x0d, six[3] = 0xb8, six.push_back(32);
    checkRows<Ip6AddrWithMask>(
        {{Ip6AddrWithMask(Ip6Addr("2001:db8::"), 32), "'2001:db8::/32'", six}});
    EXPECT_TRUE(IpAddrWithMask("10.1.0.0/16").contains(IpAddr(10, 1, 255, 3)));
    EXPECT_FALSE(IpAddrWithMask("10.1.0.0/16").contains(IpAddr(10, 2, 0, 0)));
    EXPECT_TRUE(IpAddrWithMask("1.2.3.4/0").contains(IpAddr(200, 0, 0, 0)));
    std::vector<U8> badLen = {10, 0, 0, 0, 33};
    Rix::NboAttrLog::In in(badLen);
    EXPECT_THROW(IpAddrWithMask(&in, Rix::StreamBogon{}), Rix::RangeException);
}

TEST(NetValueForms, IntfIdAndNumbers) {
    checkRows<IntfId>({
        {IntfId("Ethernet1"), "'Ethernet1'", {9, 'E', 't', 'h', 'e', 'r', 'n', 'e', 't', '1'}},
        {IntfId(), "''", {0}},
    });
    const std::string longest(IntfId::maxLength, 'x');
    EXPECT_EQ(IntfId(longest).name(), longest);
    checkRows<VlanIdOrNone>(
        {{VlanIdOrNone(4094), "4094", {0x0f, 0xfe}}, {VlanIdOrNone(), "0", {0, 0}}});
    checkRows<NetU32>({{NetU32(0x01020304), "16909060", {1, 2, 3, 4}}});
    // a VLAN number is kept as given, but an attribute log above 4094 is refused
    EXPECT_EQ(VlanIdOrNone(0x1005).value(), 0x1005);
    std::vector<U8> b = {0x0f, 0xff};
    Rix::NboAttrLog::In in(b);
    EXPECT_THROW(VlanIdOrNone(&in, Rix::StreamBogon{}), Rix::RangeException);
}

TEST(NetValueForms, BadTextNamesTheText) {
    expectBadText<IpAddr>({"'10.0.0.256'", "10.0.0", "10.0.0.1.2", "010.0.0.1", "'1.2.3.1000'"});
    expectBadText<EthAddr>({"'00:11:22:33:44'", "'00:11:22:33:44:55:66'", "'00:11:22:33:44:5g'",
                            "'0:11:22:33:44:55'"});
    expectBadText<Ip6Addr>(
        {"'2001:db8::1::2'", "'1:2:3:4:5:6:7:8:9'", "'12345::'", "':1::'", "'1:'"});
    expectBadText<IpAddrWithMask>({"'10.0.0.0/33'", "'10.0.0.0'", "'10.0.0.0/'", "'10.0.0.0/08'"});
    expectBadText<Ip6AddrWithMask>({"'::/129'"});
    expectBadText<VlanIdOrNone>({"4095", "65535"});
    expectBadText<IntfId>({"'abcdefghijklmnopqrstuvwxyz0123456'"});
    EXPECT_EQ(rangeMessage([&] { IpAddrWithMask(IpAddr(), 33); }), "bad IPv4 prefix length: 33");
}

TEST(NetValueForms, OrderingAndHash) {
    EXPECT_LT(IpAddr(9, 255, 255, 255), IpAddr(10, 0, 0, 0));
    EXPECT_LT(EthAddr(0, 0, 0, 0, 0, 0xff), EthAddr(0, 0, 0, 0, 1, 0));
    EXPECT_LT(IntfId("Ethernet10"), IntfId("Ethernet2"));
    EXPECT_LT(IpAddrWithMask("10.0.0.0/8"), IpAddrWithMask("10.0.0.0/16"));
    EXPECT_LT(NetU16(0x00ff), NetU16(0x0100)) << "numeric, not byte order";
    EXPECT_LT(Ip6Addr("::ff"), Ip6Addr("::1:0"));
    std::unordered_set<U32> hashes;
    for (U32 i = 0; i < 1000; ++i) hashes.insert(IpAddr(0x0a000000u + i).hash());
    EXPECT_GT(hashes.size(), 990u) << "addresses that differ in one byte hash apart";
}

}  // namespace
