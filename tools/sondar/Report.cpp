#include "sondar/Report.h"

#include <cstdio>
#include <map>

#include "Rix/Format.h"

namespace SondarCli {
namespace {

using ULL = unsigned long long;

std::string epochText(const Sondar::Epoch& e) {
    return Rix::format("%u.%06u", e.seconds(), e.useconds());
}

std::string protoText(Wirex::IpProto p) {
    if (p.value() == Wirex::IpProto::udp) return "udp";
    if (p.value() == Wirex::IpProto::tcp) return "tcp";
    return std::to_string(p.value());
}

std::string streamText(const Sondar::IngressStream& k) {
    return Rix::format("%-8s %15s:%-5u -> %-15s ttl %-3u %s vlan %-4u",
                       k.ingressIntf().str().c_str(), k.srcIpAddr().str().c_str(),
                       unsigned{k.srcPort()}, k.dstIpAddr().str().c_str(), unsigned{k.ttl()},
                       protoText(k.ipType()).c_str(), unsigned{k.tag().value()});
}

std::string streamJson(const Sondar::IngressStream& k) {
    return Rix::format(
        "\"ingressIntf\": %s, \"srcIp\": \"%s\", \"srcPort\": %u, \"dstIp\": \"%s\", \"ttl\": %u, "
        "\"protocol\": %u, \"vlan\": %u, \"srcMac\": \"%s\", \"dstMac\": \"%s\", \"egressIntfIp\": "
        "\"%s\", \"egressIfIndex\": %u",
        jsonString(k.ingressIntf().str()).c_str(), k.srcIpAddr().str().c_str(),
        unsigned{k.srcPort()}, k.dstIpAddr().str().c_str(), unsigned{k.ttl()},
        unsigned{k.ipType().value()}, unsigned{k.tag().value()}, k.srcEthAddr().str().c_str(),
        k.dstEthAddr().str().c_str(), k.egressIntfIp().str().c_str(), k.egressIfIndex());
}

std::string epochJson(const Sondar::Epoch& e) {
    return Rix::format("{\"seconds\": %u, \"useconds\": %u}", e.seconds(), e.useconds());
}

}  // namespace

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            out += Rix::format("\\u%04x", unsigned{c});
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

void generateReport(std::ostream& out, const GenerateResult& r, const std::string& path,
                    bool json) {
    if (json) {
        out << "{\"file\": " << jsonString(path) << ", \"framesWritten\": " << r.framesWritten
            << ", \"streams\": [";
        const char* sep = "";
        for (const StreamTruth& s : r.streams) {
            out << sep << "\n  {" << streamJson(s.key) << ", \"sent\": " << s.sent
                << ", \"dropped\": " << s.dropped << ", \"duplicated\": " << s.duplicated
                << ", \"reordered\": " << s.reordered << ", \"epochs\": " << s.epochs
                << ", \"expected\": {\"received\": " << s.received << ", \"lost\": " << s.lost
                << ", \"misordered\": " << s.misordered
                << ", \"duplicated\": " << s.expectDuplicated
                << ", \"epoch\": " << epochJson(s.currentEpoch) << "}}";
            sep = ",";
        }
        out << "\n]}\n";
        return;
    }
    out << Rix::format("wrote %llu frames to %s\n\n", static_cast<ULL>(r.framesWritten),
                       path.c_str());
    out << Rix::format("%-70s %9s %8s %8s %8s %6s | %9s %8s %8s %8s  %s\n", "stream", "sent",
                       "dropped", "dup", "reorder", "epochs", "received", "lost", "misord", "dup",
                       "epoch");
    for (const StreamTruth& s : r.streams) {
        out << Rix::format("%-70s %9llu %8llu %8llu %8llu %6u | %9llu %8llu %8llu %8llu  %s\n",
                           streamText(s.key).c_str(), static_cast<ULL>(s.sent),
                           static_cast<ULL>(s.dropped), static_cast<ULL>(s.duplicated),
                           static_cast<ULL>(s.reordered), s.epochs, static_cast<ULL>(s.received),
                           static_cast<ULL>(s.lost), static_cast<ULL>(s.misordered),
                           static_cast<ULL>(s.expectDuplicated), epochText(s.currentEpoch).c_str());
    }
    out << "(left: what the transmitters did; right: what a receiver must count)\n";
}

void analyzeReport(std::ostream& out, const Analyzer& a, const std::string& path, bool json) {
    const FrameTotals& t = a.totals();
    const auto streams = a.streams().sorted();
    U64 received = 0, lost = 0, misordered = 0, duplicated = 0;
    for (const StreamCount* s : streams) {
        received += s->received();
        lost += s->counter.probesLost();
        misordered += s->counter.probesMisordered();
        duplicated += s->counter.probesDuplicated();
    }
    if (json) {
        out << "{\"file\": " << jsonString(path) << ", \"frames\": {\"total\": " << t.frames
            << ", \"probes\": " << t.probes << ", \"notProbes\": " << t.notProbes
            << ", \"truncated\": " << t.truncated << ", \"malformed\": " << t.malformed
            << ", \"badIpChecksum\": " << t.badIpChecksum
            << ", \"badTransportChecksum\": " << t.badTransportChecksum
            << ", \"badProbeChecksum\": " << t.badProbeChecksum << ", \"badEpoch\": " << t.badEpoch
            << "}, \"streams\": [";
        const char* sep = "";
        for (const StreamCount* s : streams) {
            const Sondar::Counter& c = s->counter;
            out << sep << "\n  {" << streamJson(s->key) << ", \"received\": " << s->received()
                << ", \"lost\": " << c.probesLost() << ", \"misordered\": " << c.probesMisordered()
                << ", \"duplicated\": " << c.probesDuplicated()
                << ", \"epoch\": " << epochJson(c.currentEpochSession().epoch()) << "}";
            sep = ",";
        }
        out << "\n], \"totals\": {\"streams\": " << streams.size() << ", \"received\": " << received
            << ", \"lost\": " << lost << ", \"misordered\": " << misordered
            << ", \"duplicated\": " << duplicated << "}}\n";
        return;
    }
    out << Rix::format(
        "%s: %llu frames, %llu probes, %llu not probes, %llu truncated, %llu malformed\n"
        "bad checksums: %llu IPv4, %llu UDP/TCP, %llu probe header; %llu bad epochs\n\n",
        path.c_str(), static_cast<ULL>(t.frames), static_cast<ULL>(t.probes),
        static_cast<ULL>(t.notProbes), static_cast<ULL>(t.truncated), static_cast<ULL>(t.malformed),
        static_cast<ULL>(t.badIpChecksum), static_cast<ULL>(t.badTransportChecksum),
        static_cast<ULL>(t.badProbeChecksum), static_cast<ULL>(t.badEpoch));
    out << Rix::format("%-70s %9s %8s %8s %8s  %s\n", "stream", "received", "lost", "misord", "dup",
                       "epoch");
    for (const StreamCount* s : streams) {
        const Sondar::Counter& c = s->counter;
        out << Rix::format("%-70s %9llu %8llu %8llu %8llu  %s\n", streamText(s->key).c_str(),
                           static_cast<ULL>(s->received()), static_cast<ULL>(c.probesLost()),
                           static_cast<ULL>(c.probesMisordered()),
                           static_cast<ULL>(c.probesDuplicated()),
                           epochText(c.currentEpochSession().epoch()).c_str());
    }
    out << Rix::format("%-70s %9llu %8llu %8llu %8llu\n",
                       Rix::format("total (%zu streams)", streams.size()).c_str(),
                       static_cast<ULL>(received), static_cast<ULL>(lost),
                       static_cast<ULL>(misordered), static_cast<ULL>(duplicated));
}

std::vector<std::string> truthMismatches(const GenerateResult& truth, const Analyzer& a) {
    std::vector<std::string> out;
    std::map<Sondar::IngressStream, const StreamCount*> seen;
    for (const StreamCount* s : a.streams().sorted()) seen[s->key] = s;
    for (const StreamTruth& t : truth.streams) {
        const std::string name = streamText(t.key);
        auto it = seen.find(t.key);
        if (it == seen.end()) {
            if (t.received) out.push_back(name + ": not found by the analysis");
            continue;
        }
        const StreamCount& s = *it->second;
        const Sondar::Counter& c = s.counter;
        auto check = [&](const char* what, U64 expected, U64 got) {
            if (expected != got) {
                out.push_back(Rix::format("%s: %s expected %llu, analyzed %llu", name.c_str(), what,
                                          static_cast<ULL>(expected), static_cast<ULL>(got)));
            }
        };
        check("received", t.received, s.received());
        check("lost", t.lost, c.probesLost());
        check("misordered", t.misordered, c.probesMisordered());
        check("duplicated", t.expectDuplicated, c.probesDuplicated());
        if (!(t.currentEpoch == c.currentEpochSession().epoch())) {
            out.push_back(name + ": epoch expected " + epochText(t.currentEpoch) + ", analyzed " +
                          epochText(c.currentEpochSession().epoch()));
        }
        seen.erase(it);
    }
    for (const auto& [key, s] : seen) out.push_back(streamText(key) + ": not generated");
    return out;
}

}  // namespace SondarCli
