// The program against outside judges and bad input: tshark decoding what generate wrote, and
// every kind of unusable file or option ending in a message and a non-zero status, not a crash.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "Rix/Ptr.h"
#include "ToolTestUtil.h"
#include "Wirex/Headers.h"
#include "Wirex/PcapFile.h"
#include "Wirex/Pkt.h"

namespace {

using ToolTest::Outcome;
using ToolTest::ScratchDir;

// Each shape's frames decoded by tshark with checksum validation on: every IPv4 and transport
// checksum "good" (status 1), nothing malformed, and as many frames as generate reported.
TEST(SondarTshark, GeneratedFramesDecodeCleanWithGoodChecksums) {
    if (!SondarTest::haveTshark()) GTEST_SKIP() << "tshark is not installed";
    ScratchDir dir;
    const char* shapes[] = {"--proto udp", "--proto udp --vlan 100", "--proto tcp",
                            "--proto tcp --vlan 4094 --dst-port 80"};
    for (const char* shape : shapes) {
        SCOPED_TRACE(shape);
        const std::string pcap = dir.file("t.pcap");
        Outcome g = ToolTest::runSondar("generate -o " + pcap + " " + shape +
                                            " --dst 10.0.0.2,192.168.7.9 --count 200 --dup 0.05"
                                            " --reorder 0.05 --restarts 1 --first-seq 4294967290",
                                        dir);
        ASSERT_EQ(g.status, 0) << g.err;
        const bool tcp = std::string(shape).find("tcp") != std::string::npos;
        Outcome t = ToolTest::runShell(
            SondarTest::tsharkChecked(pcap) +
                " -T fields -E separator=, -e ip.checksum.status -e " + (tcp ? "tcp" : "udp") +
                ".checksum.status -e _ws.malformed -e _ws.expert.severity",
            dir);
        ASSERT_EQ(t.status, 0) << t.err;
        std::istringstream lines(t.out);
        std::string line;
        int frames = 0;
        while (std::getline(lines, line)) {
            ++frames;
            ASSERT_EQ(line.rfind("1,1,", 0), 0u) << "frame " << frames << ": " << line;
            EXPECT_EQ(line.find("malformed"), std::string::npos) << line;
        }
        EXPECT_NE(g.out.find("wrote " + std::to_string(frames) + " frames"), std::string::npos)
            << frames << " frames in\n"
            << g.out;
        EXPECT_GT(frames, 400);
    }
}

// A capture of traffic with no probes in it: ARP, IPv6, UDP to another port, a UDP datagram to
// the probe port too short to hold a probe, and an IPv4 fragment.
void otherTrafficWrite(const std::string& path) {
    Wirex::Pkt::Manager pool;
    auto writer = Rix::Ptr<Wirex::PcapWriter>(new Wirex::PcapWriter(path));
    auto frame = [&](U16 ethType, U8 proto, U16 dstPort, U16 payload, U16 fragment) {
        Rix::Ptr<Wirex::Pkt> p = pool.newPkt();
        const U16 l4 = proto == 6 ? 20 : 8;
        U8* d = p->newTailData(14 + 20 + l4 + payload);
        auto put16 = [](U8* at, unsigned v) {
            at[0] = static_cast<U8>(v >> 8);
            at[1] = static_cast<U8>(v);
        };
        put16(d + 12, ethType);
        U8* ip = d + 14;
        ip[0] = 0x45;
        put16(ip + 2, 20 + l4 + payload);
        put16(ip + 6, fragment);
        ip[8] = 64;
        ip[9] = proto;
        put16(ip + 22, dstPort);
        if (proto == 17)
            put16(ip + 24, l4 + payload);
        else
            ip[32] = 0x50;  // TCP data offset
        writer->send(p);
    };
    frame(0x0806, 0, 0, 8, 0);             // ARP
    frame(0x86dd, 17, 49152, 60, 0);       // IPv6
    frame(0x0800, 17, 53, 48, 0);          // DNS-sized UDP elsewhere
    frame(0x0800, 6, 443, 48, 0);          // TCP elsewhere
    frame(0x0800, 17, 49152, 20, 0);       // too short for a probe
    frame(0x0800, 17, 49152, 48, 0);       // probe-sized, but all zeros: no probe type
    frame(0x0800, 17, 49152, 48, 0x2001);  // a fragment
}

TEST(SondarBadInput, OtherTrafficIsCountedAndSkipped) {
    ScratchDir dir;
    otherTrafficWrite(dir.file("other.pcap"));
    Outcome r = ToolTest::runSondar("analyze --json " + dir.file("other.pcap"), dir);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"total\": 7, \"probes\": 0, \"notProbes\": 7"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("\"streams\": 0"), std::string::npos) << r.out;
}

struct BadCase {
    const char* name;
    std::string args;
    int status;
    const char* message;  // a piece of what stderr (stdout on success) must say
};

TEST(SondarBadInput, EveryCommandLineEndsInItsMessageAndStatus) {
    ScratchDir dir;
    const std::string good = dir.file("good.pcap");
    ASSERT_EQ(ToolTest::runSondar("generate -o " + good + " --count 50", dir).status, 0);
    const std::string bytes = ToolTest::slurp(good);
    auto make = [&](const std::string& name, const std::string& content) {
        std::ofstream(dir.file(name), std::ios::binary) << content;
        return dir.file(name);
    };
    // A record whose captured length is below its wire length: the frame was cut short.
    std::string snapped = bytes.substr(0, 24 + 16 + 60);
    snapped[24 + 8] = 60;
    // A record announcing more bytes than any snap length allows.
    std::string huge = bytes.substr(0, 24 + 106);
    huge[24 + 11] = 0x7f;
    const std::string analyze = "analyze ", gen = "generate -o " + dir.file("x.pcap") + " ";
    const std::vector<BadCase> cases = {
        {"missing file", analyze + dir.file("absent.pcap"), 1, "cannot open"},
        {"directory", analyze + dir.path(), 1, "is a directory"},
        {"empty file", analyze + make("empty.pcap", ""), 1, "is empty"},
        {"truncated record", analyze + make("r.pcap", bytes.substr(0, 24 + 16 + 40)), 1,
         "truncated record 1"},
        {"truncated record header", analyze + make("h.pcap", bytes.substr(0, 24 + 106 + 7)), 1,
         "truncated record header"},
        {"truncated file header", analyze + make("f.pcap", bytes.substr(0, 10)), 1,
         "truncated file header"},
        {"not pcap", analyze + make("t.pcap", "not a capture file at all\n"), 1, "not a pcap file"},
        {"frame cut by the snap length", analyze + make("s.pcap", snapped), 1, "1 truncated"},
        {"record beyond the snap length", analyze + make("l.pcap", huge), 1,
         "longer than the snap length"},
        {"no command", "", 2, "a command is needed"},
        {"unknown command", "frob", 2, "unknown command 'frob'"},
        {"analyze without a file", "analyze", 2, "exactly one pcap file"},
        {"unknown option", "analyze " + good + " --bogus", 2, "unknown option --bogus"},
        {"option without value", "analyze " + good + " --dst-port", 2, "needs a value"},
        {"port out of range", "analyze " + good + " --dst-port 65536", 2, "--dst-port: '65536'"},
        {"generate without output", "generate --count 5", 2, "needs an output file"},
        {"bad address", gen + "--dst 10.0.0.300", 2, "not an IPv4"},
        {"TTL zero", gen + "--ttl 0", 2, "TTL of 0"},
        {"zero count", gen + "--count 0", 2, "at least 1"},
        {"probability above 1", gen + "--dup 1.5", 2, "probability"},
        {"bad protocol", gen + "--proto sctp", 2, "neither udp nor tcp"},
        {"VLAN too high", gen + "--vlan 4095", 2, "--vlan"},
        {"bad epoch", gen + "--epoch 5.1234567", 2, "--epoch"},
        {"first sequence zero", gen + "--first-seq 0", 2, "at least 1"},
        {"wrapping sequence", gen + "--first-seq 18446744073709551615 --count 2", 2, "wrap"},
        {"too many restarts", gen + "--count 5 --restarts 5", 2, "restarts"},
        {"unwritable output", "generate -o " + dir.path() + "/no/such/dir/x.pcap", 1,
         "cannot create"},
        {"flag with a value", "demo --help=yes", 2, "takes no value"},
        {"help", "--help", 0, "usage: sondar"},
        {"generate help", "generate --help", 0, "usage: sondar"},
        {"analyze help", "analyze -h", 0, "usage: sondar"},
        {"demo help", "demo --help", 0, "usage: sondar"},
    };
    for (const BadCase& c : cases) {
        SCOPED_TRACE(c.name);
        Outcome r = ToolTest::runSondar(c.args, dir);
        EXPECT_TRUE(r.exited) << "killed by a signal";
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_NE((c.status ? r.err : r.out).find(c.message), std::string::npos) << r.err << r.out;
    }
}

}  // namespace
