// AF_PACKET transmitter and receiver over a veth pair inside a private network namespace that
// the test creates and removes, so no frame reaches a real network.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <thread>

#include "TestFrames.h"
#include "TestTools.h"
#include "Wirex/FrameParser.h"
#include "Wirex/RawSocket.h"

namespace {

using namespace Wirex;

class VethNamespace {
  public:
    VethNamespace() : name_("wirextest" + std::to_string(::getpid())) {
        if (::geteuid() != 0) {
            reason_ = "needs root to create a network namespace";
            return;
        }
        int status = 0;
        std::string out = WirexTest::runCommand("ip netns add " + name_ + " 2>&1", &status);
        if (status != 0) {
            reason_ = "cannot create a network namespace: " + out;
            return;
        }
        created_ = true;
        out = WirexTest::runCommand(
            "ip -n " + name_ + " link add va type veth peer name vb 2>&1 && ip -n " + name_ +
                " link set va up 2>&1 && ip -n " + name_ + " link set vb up 2>&1",
            &status);
        if (status != 0) reason_ = "cannot create a veth pair in a network namespace: " + out;
    }
    ~VethNamespace() {
        if (created_) WirexTest::runCommand("ip netns del " + name_ + " 2>&1");
    }
    bool ready() const { return reason_.empty(); }
    const std::string& reason() const { return reason_; }
    // Moves the calling thread into the namespace.
    bool enter() const {
        const int fd = ::open(("/run/netns/" + name_).c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) return false;
        const bool ok = ::setns(fd, CLONE_NEWNET) == 0;
        ::close(fd);
        return ok;
    }

  private:
    std::string name_;
    std::string reason_;
    bool created_ = false;
};

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
    VethNamespace ns;
    if (!ns.ready()) GTEST_SKIP() << ns.reason();
    std::string failure;
    std::vector<std::vector<U8>> sent, received;
    std::vector<IntfId> ingress;
    // setns moves one thread only, so the test's sockets live on a thread of their own
    std::thread t([&] {
        if (!ns.enter()) {
            failure = "cannot enter the namespace";
            return;
        }
        try {
            Rix::Ptr<RawSocketSource> rx(new RawSocketSource(IntfId("vb"), 200));
            Rix::Ptr<RawSocketPam> tx(new RawSocketPam(IntfId("va")));
            U32 seed = 0;
            for (U16 vlan : {U16(0), U16(100)}) {
                for (bool tcp : {false, true}) {
                    Rix::Ptr<Pkt> p = WirexTest::buildFrame({.tcp = tcp,
                                                             .vlan = vlan,
                                                             .payload = 48,
                                                             .seed = ++seed,
                                                             .srcPort = 40000});
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
    ASSERT_TRUE(failure.empty()) << failure;
    ASSERT_EQ(received.size(), sent.size());
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(received[i], sent[i]) << "frame " << i << " arrives byte for byte, tag included";
        EXPECT_EQ(ingress[i], IntfId("vb"));
    }
}

}  // namespace
