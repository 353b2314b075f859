// Pcap files: what the writer writes tshark decodes with every checksum verified, scapy computes
// the same checksums for, the reader gives back the same frames, and bad files are refused with a
// message naming the file.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "TestFrames.h"
#include "TestTools.h"
#include "Wirex/PcapFile.h"

namespace {

using namespace Wirex;
using WirexTest::buildFrame;
using WirexTest::FrameSpec;

void writeFile(const std::string& path, const std::vector<U8>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

std::vector<U8> readFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<U8>(std::istreambuf_iterator<char>(f), {});
}

// Frames of every shape the probes take: UDP and TCP, untagged and tagged, empty, odd and long
// payloads.
std::vector<FrameSpec> frameShapes() {
    std::vector<FrameSpec> v;
    for (bool tcp : {false, true})
        for (U16 vlan : {0, 100})
            for (U16 payload : {0, 1, 48, 49, 1200})
                v.push_back({.tcp = tcp, .vlan = vlan, .payload = payload, .seed = U32(v.size())});
    return v;
}
// Writes them to `path`, frame i stamped 1700000000 s and (i + 1) ms; returns them in order. A
// buffered writer also gets a record larger than its whole buffer, in the middle.
std::vector<std::vector<U8>> writeSamples(const std::string& path, U32 snap = 65535,
                                          bool buffered = false) {
    std::vector<std::vector<U8>> sent;
    for (const auto& s : frameShapes()) {
        Rix::Ptr<Pkt> p = buildFrame(s);
        sent.emplace_back(p->data(), p->data() + p->bytes());
        if (buffered && sent.size() == 10) sent.emplace_back(3u << 20, U8{7});
    }
    Rix::Ptr<PcapWriter> w(new PcapWriter(path, snap));
    w->bufferedIs(buffered);
    for (U32 i = 0; i < sent.size(); ++i)
        EXPECT_TRUE(w->frameWrite(sent[i].data(), U32(sent[i].size()), 1700000000, (i + 1) * 1000));
    EXPECT_EQ(w->framesSent(), sent.size());
    return sent;
}

TEST(PcapFile, TsharkDecodesWrittenFramesWithGoodChecksums) {
    if (!SondarTest::haveTshark()) GTEST_SKIP() << "tshark is not installed";
    SondarTest::ScratchDir dir;
    const std::string path = dir.file("probes.pcap");
    writeSamples(path);
    int status = 0;
    const std::string out = SondarTest::runCommand(
        SondarTest::tsharkChecked(path) +
            " -T fields -E 'separator=;' -e frame.number -e vlan.id -e ip.checksum.status"
            " -e udp.checksum.status -e tcp.checksum.status -e _ws.malformed -e _ws.expert.severity"
            " 2>/dev/null",
        &status);
    ASSERT_EQ(status, 0) << out;
    std::istringstream lines(out);
    std::string line;
    std::size_t i = 0;
    const auto all = frameShapes();
    while (std::getline(lines, line)) {
        ASSERT_LT(i, all.size()) << out;
        const FrameSpec& s = all[i++];
        std::ostringstream expected;
        expected << i << ";" << (s.vlan ? std::to_string(s.vlan) : "") << ";1;"
                 << (s.tcp ? "" : "1") << ";" << (s.tcp ? "1" : "") << ";";
        EXPECT_EQ(line.substr(0, expected.str().size()), expected.str()) << line;
        EXPECT_EQ(line.find("_ws.malformed"), std::string::npos) << line;
    }
    EXPECT_EQ(i, all.size()) << out;
}

// scapy recomputes the IPv4, UDP and TCP checksums of the written frames from scratch and prints
// them beside the stored ones.
TEST(PcapFile, ChecksumsAgreeWithScapy) {
    if (!SondarTest::haveScapy()) GTEST_SKIP() << "scapy is not importable from /usr/bin/python3";
    SondarTest::ScratchDir dir;
    const std::string path = dir.file("probes.pcap"), script = dir.file("sums.py");
    const std::size_t frames = writeSamples(path).size();
    std::ofstream(script) << "import sys\n"
                             "from scapy.all import Ether, IP, UDP, TCP, raw, rdpcap\n"
                             "for p in rdpcap(sys.argv[1]):\n"
                             "    l4 = UDP if UDP in p else TCP\n"
                             "    stored = (p[IP].chksum, p[l4].chksum)\n"
                             "    del p[IP].chksum\n"
                             "    del p[l4].chksum\n"
                             "    q = Ether(raw(p))\n"
                             "    print(*stored, q[IP].chksum, q[l4].chksum)\n";
    int status = 0;
    const std::string out =
        SondarTest::runCommand("/usr/bin/python3 " + script + " " + path + " 2>&1", &status);
    ASSERT_EQ(status, 0) << out;
    std::istringstream in(out);
    for (std::size_t i = 0; i < frames; ++i) {
        unsigned ip = 0, l4 = 0, ipScapy = 1, l4Scapy = 1;
        ASSERT_TRUE(in >> ip >> l4 >> ipScapy >> l4Scapy) << out;
        EXPECT_EQ(ip, ipScapy) << "frame " << i;
        EXPECT_EQ(l4, l4Scapy) << "frame " << i;
    }
}

// Unbuffered with a snap length that cuts the long frames, and buffered.
TEST(PcapFile, ReaderGivesBackWhatTheWriterWrote) {
    for (bool buffered : {false, true}) {
        SondarTest::ScratchDir dir;
        const std::string path = dir.file("round.pcap");
        const U32 snap = buffered ? 4u << 20 : 1000;
        const auto sent = writeSamples(path, snap, buffered);
        Rix::Ptr<PcapReader> r(new PcapReader(path, IntfId("Ethernet7")));
        EXPECT_EQ(r->linkType(), pcapLinkTypeEthernet);
        EXPECT_EQ(r->snapLength(), snap);
        Frame f;
        for (std::size_t i = 0; i < sent.size(); ++i) {
            ASSERT_TRUE(r->nextFrame(f)) << i;
            const U32 expectLen = std::min<U32>(static_cast<U32>(sent[i].size()), snap);
            EXPECT_EQ(f.wireLength, sent[i].size()) << "a cut frame keeps its wire length";
            EXPECT_EQ(std::vector<U8>(f.data, f.data + f.length),
                      std::vector<U8>(sent[i].begin(), sent[i].begin() + expectLen));
            EXPECT_EQ(f.seconds, 1700000000u);
            EXPECT_EQ(f.useconds, (i + 1) * 1000);
            EXPECT_EQ(f.ingressIntf, IntfId("Ethernet7"));
        }
        EXPECT_FALSE(r->nextFrame(f));
        EXPECT_FALSE(r->nextFrame(f)) << "the end stays the end";
    }
}

// Each row is a file image and the words its error must contain besides the file's name.
TEST(PcapFile, BadFilesAreRefusedNamingTheFile) {
    SondarTest::ScratchDir dir;
    const std::string good = dir.file("good.pcap");
    {
        Rix::Ptr<PcapWriter> w(new PcapWriter(good, 200));
        Rix::Ptr<Pkt> p = buildFrame({.payload = 20});
        w->frameWrite(p->data(), p->bytes(), 1, 2);
        w->frameWrite(p->data(), p->bytes(), 3, 4);
    }
    const std::vector<U8> image = readFile(good);
    ASSERT_EQ(image.size(), 24u + 2 * (16 + 62));
    auto cut = [&](std::size_t n) { return std::vector<U8>(image.begin(), image.begin() + n); };
    std::vector<U8> oversized = image;
    oversized[24 + 8] = 201;  // the first record claims more than the snap length
    std::vector<U8> pcapng = image;
    pcapng[0] = 0x0a, pcapng[1] = 0x0d, pcapng[2] = 0x0d, pcapng[3] = 0x0a;
    std::vector<U8> hugeSnap = image;
    hugeSnap[16] = hugeSnap[17] = hugeSnap[18] = hugeSnap[19] = 0xff;
    struct Row {
        const char* name;
        std::vector<U8> bytes;
        const char* says;
        int goodFrames;  // frames read before the error
    };
    const Row rows[] = {
        {"empty", {}, "is empty", 0},
        {"short-header", cut(10), "truncated file header", 0},
        {"pcapng", pcapng, "not a pcap file", 0},
        {"text", std::vector<U8>(100, 'x'), "not a pcap file", 0},
        {"huge-snap", hugeSnap, "snap length", 0},
        {"oversized", oversized, "longer than the snap length", 0},
        {"cut-record-header", cut(24 + 10), "truncated record header", 0},
        {"cut-record", cut(24 + 16 + 30), "truncated record 1", 0},
        {"cut-second", cut(image.size() - 1), "truncated record 2", 1},
    };
    for (const Row& row : rows) {
        const std::string path = dir.file(row.name);
        writeFile(path, row.bytes);
        std::string message = "no exception";
        int frames = 0;
        try {
            Rix::Ptr<PcapReader> r(new PcapReader(path));
            Frame f;
            while (r->nextFrame(f)) ++frames;
        } catch (const Rix::RangeException& e) {
            message = e.what();
        }
        EXPECT_NE(message.find(path), std::string::npos) << row.name << ": " << message;
        EXPECT_NE(message.find(row.says), std::string::npos) << row.name << ": " << message;
        EXPECT_EQ(frames, row.goodFrames) << row.name;
    }
    EXPECT_THROW(PcapReader(dir.file("missing.pcap")), Rix::RuntimeException);
    EXPECT_THROW(PcapWriter(dir.file("no/such/dir.pcap")), Rix::RuntimeException);
}

TEST(PcapFile, ReadsBigEndianAndNanosecondFiles) {
    SondarTest::ScratchDir dir;
    // a big-endian nanosecond file with one 14-byte frame, laid out by hand
    const std::vector<U8> be = {0xa1, 0xb2, 0x3c, 0x4d, 0,    2,    0, 4,  0,  0,  0,    0,   0, 0,
                                0,    0,    0,    0,    0xff, 0xff, 0, 0,  0,  1,  0,    0,   0, 9,
                                0x3b, 0x9a, 0xc9, 0xff, 0,    0,    0, 14, 0,  0,  0,    60,  1, 2,
                                3,    4,    5,    6,    7,    8,    9, 10, 11, 12, 0x08, 0x06};
    const std::string path = dir.file("be.pcap");
    writeFile(path, be);
    Rix::Ptr<PcapReader> r(new PcapReader(path));
    Frame f;
    ASSERT_TRUE(r->nextFrame(f));
    EXPECT_EQ(f.seconds, 9u);
    EXPECT_EQ(f.useconds, 999999u);
    EXPECT_EQ(f.length, 14u);
    EXPECT_EQ(f.wireLength, 60u);
    EXPECT_EQ(f.data[13], 0x06);
    EXPECT_FALSE(r->nextFrame(f));
}

}  // namespace
