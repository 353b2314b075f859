// AF_PACKET transmitter and receiver over a veth pair inside a private network namespace of the
// test's own thread, so no frame reaches a real network and nothing outlives the test.
#include <gtest/gtest.h>
#include <sched.h>
#include <string.h>

#include <thread>

#include "TestFrames.h"
#include "TestTools.h"
#include "Wirex/FrameParser.h"
#include "Wirex/RawSocket.h"

namespace {

using namespace Wirex;

TEST(RawSocket, UnknownInterfaceIsNamed) {
    try {
        RawSocketPam pam(IntfId("nosuchintf9"));
        FAIL() << "no exception";
    } catch (const Rix::RuntimeException& e) {
        EXPECT_NE(std::string(e.what()).find("'nosuchintf9'"), std::string::npos) << e.what();
    }
    EXPECT_THROW(RawSocketSource(IntfId("nosuchintf9")), Rix::RuntimeException);
}

TEST(RawSocket, FramesCrossAVethPairWithTheirIngressInterface) {
    std::string skip, failure;
    std::vector<std::vector<U8>> sent, received;
    std::vector<IntfId> ingress;
    // unshare gives this thread alone a new network namespace; the commands it starts inherit it
    std::thread t([&] {
        if (::unshare(CLONE_NEWNET) != 0) {
            skip = std::string("cannot create a network namespace: ") + ::strerror(errno);
            return;
        }
        int status = 0;
        const std::string out = SondarTest::runCommand(
            "ip link add va type veth peer name vb 2>&1 && ip link set va up 2>&1 &&"
            " ip link set vb up 2>&1",
            &status);
        if (status != 0) {
            skip = "cannot create a veth pair in a network namespace: " + out;
            return;
        }
        try {
            Rix::Ptr<RawSocketSource> rx(new RawSocketSource(IntfId("vb"), 200));
            Rix::Ptr<RawSocketPam> tx(new RawSocketPam(IntfId("va")));
            U32 seed = 0;
            for (U16 vlan : {U16(0), U16(100)}) {
                for (bool tcp : {false, true}) {
                    Rix::Ptr<Pkt> p = WirexTest::buildFrame(
                        {.tcp = tcp, .vlan = vlan, .seed = ++seed, .srcPort = 40000});
                    sent.emplace_back(p->data(), p->data() + p->bytes());
                    tx->send(p);
                }
            }
            if (tx->framesSent() != sent.size() || tx->sendErrors() || tx->framesDropped()) {
                failure = "send failed, errno " + std::to_string(tx->lastError());
                return;
            }
            // the link may carry the kernel's own frames too: keep only ours, for a bounded time
            Frame f;
            for (int polls = 0; polls < 50 && received.size() < sent.size();) {
                if (!rx->nextFrame(f)) {
                    ++polls;
                    continue;
                }
                const ParsedFrame pf = parseFrame(f.data, f.length);
                const U16 port = pf.udp ? pf.udp->srcPort() : pf.tcp ? pf.tcp->srcPort() : 0;
                if (pf.ok() && port == 40000) {
                    received.emplace_back(f.data, f.data + f.length);
                    ingress.push_back(f.ingressIntf);
                }
            }
        } catch (const std::exception& e) {
            failure = e.what();
        }
    });
    t.join();
    if (!skip.empty()) GTEST_SKIP() << skip;
    ASSERT_TRUE(failure.empty()) << failure;
    ASSERT_EQ(received.size(), sent.size());
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(received[i], sent[i]) << "frame " << i << " arrives byte for byte, tag included";
        EXPECT_EQ(ingress[i], IntfId("vb"));
    }
}

}  // namespace
