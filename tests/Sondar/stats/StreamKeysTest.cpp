#include <gtest/gtest.h>

#include <vector>

#include "Sondar/stats/StreamKeys.h"

namespace Sondar {
namespace {

using Wirex::EthAddr;
using Wirex::IntfId;
using Wirex::IpAddr;

IngressStream baseIngress() {
    IngressStream k;
    k.srcEthAddrIs(EthAddr("00:1c:73:aa:bb:01"));
    k.dstEthAddrIs(EthAddr("00:1c:73:aa:bb:02"));
    k.tagIs(Bridging::VlanIdOrNone(10));
    k.dstIpAddrIs(IpAddr("10.0.0.2"));
    k.egressIntfIs(IntfId("Ethernet3"));
    k.egressIntfIpIs(IpAddr("10.0.0.1"));
    k.srcIpAddrIs(IpAddr("10.0.1.1"));
    k.ttlIs(64);
    k.ipTypeIs(Wirex::IpProto(17));
    k.srcPortIs(5000);
    k.egressIfIndexIs(7);
    k.ingressIntfIs(IntfId("Ethernet1"));
    return k;
}

// A small (false) or large (true) value of a key field's type.
// clang-format off
template <class T>
T leaf(bool big) {
    if constexpr (std::is_same_v<T, EthAddr>) return EthAddr(big ? "00:00:00:00:00:09" : "00:00:00:00:00:01");
    else if constexpr (std::is_same_v<T, IpAddr>) return IpAddr(big ? "9.0.0.0" : "1.0.0.0");
    else if constexpr (std::is_same_v<T, IntfId>) return IntfId(big ? "Ethernet9" : "Ethernet1");
    else if constexpr (std::is_same_v<T, Bridging::VlanIdOrNone>) return Bridging::VlanIdOrNone(big ? 900 : 1);
    else if constexpr (std::is_same_v<T, Wirex::IpProto>) return Wirex::IpProto(big ? 17 : 6);
    else return static_cast<T>(big ? 200 : 1);
}
// clang-format on

// Sets field number n (declaration order, from 0) of a key to a small or a large value.
template <class K>
void setField(K& k, int n, bool big) {
    int i = 0;
    Rix::forEachField<K>([&](const auto& f) {
        if (i++ == n) k.*(f.member) = leaf<typename std::remove_cvref_t<decltype(f)>::Type>(big);
    });
}

// Field numbers (declaration order, from 0) in priority order.
const std::vector<int> kIngressPriority = {11, 3, 5, 10, 7, 8, 1, 0, 2, 6, 9};
const std::vector<int> kEgressPriority = {5, 4, 3, 7, 8, 1, 0, 2, 6, 10, 9};

// For each step of the priority list: a key that is larger at that step and smaller at every later
// step must still sort after, so each step decides over all the ones below it.
template <class K>
void expectPriority(const std::vector<int>& priority) {
    for (std::size_t step = 0; step < priority.size(); ++step) {
        K lo, hi;
        for (std::size_t later = step + 1; later < priority.size(); ++later) {
            setField(lo, priority[later], true);
            setField(hi, priority[later], false);
        }
        setField(lo, priority[step], false);
        setField(hi, priority[step], true);
        EXPECT_TRUE(lo < hi) << "step " << step;
        EXPECT_FALSE(hi < lo) << "step " << step;
        EXPECT_TRUE(lo <= hi && hi >= lo && hi > lo);
    }
}

TEST(StreamKeysTest, PriorityOrderings) {
    expectPriority<IngressStream>(kIngressPriority);
    expectPriority<EgressStream>(kEgressPriority);
}

TEST(StreamKeysTest, EgressInterfaceTakesNoPartInTheIngressOrder) {
    IngressStream a = baseIngress(), b = baseIngress();
    b.egressIntfIs(IntfId("Ethernet4"));
    EXPECT_NE(a, b);
    EXPECT_NE(a.hash(), b.hash());
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(b < a);
}

TEST(StreamKeysTest, EgressHashLeavesOutTheIfIndex) {
    EgressStream a, b;
    a.dstIpAddrIs(IpAddr("10.0.0.2"));
    b = a;
    b.egressIfIndexIs(99);
    EXPECT_NE(a, b);
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_LT(a, b);
    IngressStream c = baseIngress(), d = baseIngress();
    d.egressIfIndexIs(8);
    EXPECT_EQ(c.hash() ^ d.hash(), 7u ^ 8u);  // the number itself is its contribution
}

TEST(StreamKeysTest, StringValue) {
    EXPECT_EQ(baseIngress().stringValue(),
              "ingress interface: Ethernet1; src ip: 10.0.1.1; dst ip: 10.0.0.2; source port: "
              "5000; ttl: 64; "
              "egress src mac: 00:1c:73:aa:bb:01; egress dst mac: 00:1c:73:aa:bb:02; egress vlan "
              "tag: 10; "
              "egress intf ip: 10.0.0.1;      egress ifIndex: 7; ip type: 17");
}

}  // namespace
}  // namespace Sondar
