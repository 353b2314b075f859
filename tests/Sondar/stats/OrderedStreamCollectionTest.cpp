// The ordered stream collections: key order, records keyed by themselves, streamNotify, and the
// ingress keys that the ordering cannot tell apart.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Sondar/stats/OrderedStreamCollection.h"

namespace Sondar {
namespace {

IngressStream ingress(const char* intf, U8 lastOctet) {
    IngressStream k;
    k.ingressIntfIs(Wirex::IntfId(intf));
    k.dstIpAddrIs(Wirex::IpAddr(10, 0, 0, lastOctet));
    return k;
}

struct StreamLog : OrderedEgressStreamCollection::NotifieeConst {
    std::vector<U16> told;
    void onStream(const EgressStream& k) override { told.push_back(k.srcPort()); }
};

TEST(OrderedStreamCollectionTest, IngressMembersRunInKeyOrder) {
    Rix::Ptr<OrderedIngressStreamCollection> c(new OrderedIngressStreamCollection("in"));
    IngressStreamStatisticsTableEntry e;
    // the interface decides first, whatever the addresses
    c->streamIs(ingress("Ethernet2", 1), e);
    c->streamIs(ingress("Ethernet1", 9), e);
    c->newStream(ingress("Ethernet1", 3), e);
    auto from = c->streamStartAt(ingress("Ethernet1", 4));
    ASSERT_TRUE(from);
    EXPECT_EQ(from.key(), ingress("Ethernet1", 9));
    ++from;
    EXPECT_EQ(from.key(), ingress("Ethernet2", 1));

    // keys that differ only in egressIntf are one member
    IngressStream other = ingress("Ethernet2", 1);
    other.egressIntfIs(Wirex::IntfId("Ethernet7"));
    IngressStreamStatisticsTableEntry dormant;
    dormant.dormantIs(true);
    c->streamIs(other, dormant);
    EXPECT_EQ(c->streamSize(), 3u);
    EXPECT_TRUE(c->stream(ingress("Ethernet2", 1)).dormant());
}

TEST(OrderedStreamCollectionTest, EgressRecordsAreKeyedByThemselvesAndNotify) {
    Rix::Ptr<OrderedEgressStreamCollection> c(new OrderedEgressStreamCollection("out"));
    StreamLog log;
    log.notifierIs(c);
    EgressStreamTable t;
    EgressStream k;
    k.srcPortIs(5000);
    t.keyIs(k);
    t.numProbesTxIs(3);
    c->newStream(t);
    // a record changed in place is announced by its owner
    auto it = c->streamIter(k);
    ASSERT_TRUE(it);
    EgressStreamTable changed = it->value();
    changed.numProbesTxIs(4);
    it->valueIs(changed);
    c->streamNotify(k);
    c->streamIs(changed);  // equal: nobody told
    c->streamDel(k);
    EXPECT_EQ(log.told, (std::vector<U16>{5000, 5000, 5000}));
    EXPECT_STREQ(c->attributeString(258), "stream");
    EXPECT_FALSE(c->rixHasAttrLogInterface());
}

}  // namespace
}  // namespace Sondar
