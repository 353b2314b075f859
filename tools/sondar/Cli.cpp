#include "sondar/Cli.h"

#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>

#include "Rix/Exception.h"
#include "Rix/Format.h"
#include "Wirex/PcapFile.h"
#include "sondar/Analyzer.h"
#include "Wirex/PcapFile.h"
#include "sondar/Generator.h"
#include "sondar/Report.h"

namespace SondarCli {
namespace {

const char* const mainHelp =
    "usage: sondar <command> [options]\n"
    "\n"
    "Builds probe streams, impairs them, writes them to a pcap file, and counts them again as a\n"
    "receiver does.\n"
    "\n"
    "commands:\n"
    "  generate   write probe streams with optional loss, duplication, reordering and restarts\n"
    "  analyze    count the probes of a pcap file per stream\n"
    "  demo       generate, analyze, and check the analysis against the ground truth\n"
    "\n"
    "'sondar <command> --help' describes a command's options.\n";

const char* const generateHelp =
    "usage: sondar generate -o FILE.pcap [options]\n"
    "\n"
    "Writes one probe stream per destination, TTL and source port, and prints the ground truth "
    "per\n"
    "stream: what was sent, dropped, duplicated and reordered, and what a receiver must count.\n"
    "\n"
    "  -o, --output FILE     the pcap file to write (required)\n"
    "  --dst LIST            destination addresses, comma separated (default 10.0.0.2)\n"
    "  --src ADDR            source address (default 10.0.0.1)\n"
    "  --ttl LIST            TTLs, comma separated (default 64)\n"
    "  --src-port LIST       source ports, comma separated (default 5000)\n"
    "  --dst-port N          destination port (default 49152)\n"
    "  --vlan N              VLAN id, 0 for untagged (default 0)\n"
    "  --proto udp|tcp       transport (default udp)\n"
    "  --epoch S[.U]         epoch seconds and microseconds (default 1700000000.0)\n"
    "  --first-seq N         first sequence number (default 1); restarts number from 1\n"
    "  --interval US         microseconds between probes of a stream (default 1000)\n"
    "  --count N             probes per stream (default 1000)\n"
    "  --loss P              probability that a probe is dropped (default 0)\n"
    "  --dup P               probability that a probe is written twice (default 0)\n"
    "  --reorder P           probability that a probe is held back (default 0)\n"
    "  --reorder-depth N     a held probe or a late copy trails by up to N probes (default 4)\n"
    "  --restarts N          transmitter restarts, each beginning a new epoch (default 0)\n"
    "  --seed N              seed of the impairment decisions (default 1)\n"
    "  --intf NAME           receive interface named in the ground truth (default pcap0)\n"
    "  --json                print the ground truth as JSON\n"
    "  --progress            report progress on stderr (default: when stderr is a terminal)\n"
    "  -h, --help            this text\n";

const char* const analyzeHelp =
    "usage: sondar analyze FILE.pcap [options]\n"
    "\n"
    "Reads the frames of FILE.pcap, keeps the probes to the probe port whose IPv4, UDP/TCP and\n"
    "probe-header checksums hold, and counts them per stream: received, lost, misordered,\n"
    "duplicated and the current epoch. Other frames are counted and skipped. Exits with 1 when\n"
    "the file cannot be read or holds truncated or malformed frames.\n"
    "\n"
    "  --dst-port N          the probe port (default 49152)\n"
    "  --intf NAME           the ingress interface the frames arrived on (default pcap0)\n"
    "  --calc-every N        update the loss figures every N frames (default: at the end)\n"
    "  --json                print the result as JSON\n"
    "  --progress            report progress on stderr (default: when stderr is a terminal)\n"
    "  -h, --help            this text\n";

const char* const demoHelp =
    "usage: sondar demo [options]\n"
    "\n"
    "Generates four impaired probe streams into a temporary pcap file, analyzes the file, and\n"
    "shows that the analysis equals the ground truth; exits with 1 when it does not.\n"
    "\n"
    "  --count N             probes per stream (default 5000)\n"
    "  --seed N              seed of the impairment decisions (default 2026)\n"
    "  --keep FILE           write the pcap file here and keep it\n"
    "  -h, --help            this text\n";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The options of one subcommand: "--name value", "--name=value" and flags.
class Args {
  public:
    Args(const std::vector<std::string>& args, std::size_t first, std::vector<std::string> valued,
         std::vector<std::string> flags) {
        for (std::size_t i = first; i < args.size(); ++i) {
            std::string a = args[i];
            if (a == "-o") a = "--output";
            if (a == "-h") a = "--help";
            if (a.size() < 2 || a.compare(0, 2, "--") != 0 || a == "--") {
                positional_.push_back(a);
                continue;
            }
            std::string value;
            bool hasValue = false;
            if (auto eq = a.find('='); eq != std::string::npos) {
                value = a.substr(eq + 1);
                a = a.substr(0, eq);
                hasValue = true;
            }
            const std::string name = a.substr(2);
            if (std::find(flags.begin(), flags.end(), name) != flags.end()) {
                if (hasValue) throw UsageError("option " + a + " takes no value");
                values_[name] = "";
            } else if (std::find(valued.begin(), valued.end(), name) != valued.end()) {
                if (!hasValue) {
                    if (i + 1 >= args.size()) throw UsageError("option " + a + " needs a value");
                    value = args[++i];
                }
                values_[name] = value;
            } else {
                throw UsageError("unknown option " + a);
            }
        }
    }
    bool has(const std::string& name) const { return values_.count(name) != 0; }
    const std::string* value(const std::string& name) const {
        auto it = values_.find(name);
        return it == values_.end() ? nullptr : &it->second;
    }
    const std::vector<std::string>& positional() const { return positional_; }

  private:
    std::map<std::string, std::string> values_;
    std::vector<std::string> positional_;
};

U64 parseUnsigned(const std::string& option, const std::string& text, U64 max) {
    U64 v = 0;
    const char* end = text.data() + text.size();
    auto [p, ec] = std::from_chars(text.data(), end, v);
    if (text.empty() || ec != std::errc() || p != end || v > max) {
        throw UsageError(Rix::format("--%s: '%s' is not a whole number from 0 to %llu",
                                     option.c_str(), text.c_str(),
                                     static_cast<unsigned long long>(max)));
    }
    return v;
}

double parseProbability(const std::string& option, const std::string& text) {
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size() || !(v >= 0.0 && v <= 1.0)) {
        throw UsageError("--" + option + ": '" + text + "' is not a probability from 0 to 1");
    }
    return v;
}

std::vector<std::string> splitList(const std::string& text) {
    std::vector<std::string> out;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        out.push_back(text.substr(start, comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return out;
}

Wirex::IpAddr parseAddress(const std::string& option, const std::string& text) {
    try {
        return Wirex::IpAddr(std::string_view(text));
    } catch (const std::exception&) {
        throw UsageError("--" + option + ": '" + text + "' is not an IPv4 address");
    }
}

Wirex::IntfId parseIntf(const std::string& text) {
    if (text.empty()) throw UsageError("--intf: an interface name cannot be empty");
    try {
        return Wirex::IntfId(std::string_view(text));
    } catch (const std::exception& e) {
        throw UsageError(std::string("--intf: ") + e.what());
    }
}

Sondar::Epoch parseEpoch(const std::string& text) {
    const std::size_t dot = text.find('.');
    const U64 s = parseUnsigned("epoch", text.substr(0, dot), 0xffffffffu);
    U64 us = 0;
    if (dot != std::string::npos) {
        std::string frac = text.substr(dot + 1);
        if (frac.empty() || frac.size() > 6) {
            throw UsageError("--epoch: '" + text + "' needs 1 to 6 digits of microseconds");
        }
        frac.append(6 - frac.size(), '0');
        us = parseUnsigned("epoch", frac, 999999);
    }
    return Sondar::Epoch(static_cast<U32>(s), static_cast<U32>(us));
}

bool progressWanted(const Args& a) { return a.has("progress") || ::isatty(2) == 1; }

int generateCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const Args a(args, 1,
                 {"output", "dst", "src", "ttl", "src-port", "dst-port", "vlan", "proto", "epoch",
                  "first-seq", "interval", "count", "loss", "dup", "reorder", "reorder-depth",
                  "restarts", "seed", "intf"},
                 {"json", "progress", "help"});
    if (a.has("help")) {
        out << generateHelp;
        return exitOk;
    }
    if (!a.positional().empty())
        throw UsageError("unexpected argument '" + a.positional()[0] + "'");
    const std::string* path = a.value("output");
    if (!path || path->empty()) throw UsageError("generate needs an output file: -o FILE.pcap");
    GenerateOptions o;
    if (auto v = a.value("dst")) {
        o.destinations.clear();
        for (const std::string& s : splitList(*v)) o.destinations.push_back(parseAddress("dst", s));
    }
    if (auto v = a.value("src")) o.srcIp = parseAddress("src", *v);
    if (auto v = a.value("ttl")) {
        o.ttls.clear();
        for (const std::string& s : splitList(*v)) {
            const U64 ttl = parseUnsigned("ttl", s, 255);
            if (ttl == 0) throw UsageError("--ttl: a TTL of 0 cannot be sent");
            o.ttls.push_back(static_cast<U8>(ttl));
        }
    }
    if (auto v = a.value("src-port")) {
        o.srcPorts.clear();
        for (const std::string& s : splitList(*v)) {
            o.srcPorts.push_back(static_cast<U16>(parseUnsigned("src-port", s, 65535)));
        }
    }
    if (auto v = a.value("dst-port"))
        o.dstPort = static_cast<U16>(parseUnsigned("dst-port", *v, 65535));
    if (auto v = a.value("vlan")) {
        o.vlan = static_cast<U16>(parseUnsigned("vlan", *v, Bridging::VlanIdOrNone::maxVlanId));
    }
    if (auto v = a.value("proto")) {
        if (*v == "udp") {
            o.protocol = Wirex::IpProto::udp;
        } else if (*v == "tcp") {
            o.protocol = Wirex::IpProto::tcp;
        } else {
            throw UsageError("--proto: '" + *v + "' is neither udp nor tcp");
        }
    }
    if (auto v = a.value("epoch")) o.epoch = parseEpoch(*v);
    if (auto v = a.value("first-seq")) o.firstSeq = parseUnsigned("first-seq", *v, ~U64{0});
    if (auto v = a.value("interval"))
        o.interval = static_cast<U32>(parseUnsigned("interval", *v, 0xffffffffu));
    if (auto v = a.value("count")) o.count = parseUnsigned("count", *v, U64{1} << 32);
    if (auto v = a.value("loss")) o.loss = parseProbability("loss", *v);
    if (auto v = a.value("dup")) o.duplication = parseProbability("dup", *v);
    if (auto v = a.value("reorder")) o.reorder = parseProbability("reorder", *v);
    if (auto v = a.value("reorder-depth"))
        o.reorderDepth = static_cast<U32>(parseUnsigned("reorder-depth", *v, 1024));
    if (auto v = a.value("restarts"))
        o.restarts = static_cast<U32>(parseUnsigned("restarts", *v, 0xffffffffu));
    if (auto v = a.value("seed")) o.seed = parseUnsigned("seed", *v, ~U64{0});
    if (auto v = a.value("intf")) o.ingressIntf = parseIntf(*v);
    try {
        generateOptionsCheck(o);
    } catch (const Rix::RangeException& e) {
        throw UsageError(e.what());
    }

    auto writer = pcapOutput(*path);
    std::function<void(U64, U64)> progress;
    if (progressWanted(a)) {
        progress = [&err](U64 done, U64 total) {
            err << Rix::format("\rgenerate: %llu of %llu slots",
                               static_cast<unsigned long long>(done),
                               static_cast<unsigned long long>(total))
                << std::flush;
        };
    }
    const GenerateResult r = generate(o, writer, writer.ptr(), progress);
    if (progress) err << "\n";
    generateReport(out, r, *path, a.has("json"));
    return exitOk;
}

// Runs the analysis of one file into `analyzer`; the caller prints it.
void analyzeFile(const std::string& path, Analyzer& analyzer, const AnalyzeOptions& o,
                 bool progress, std::ostream& err) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
        throw Rix::RangeException("'" + path + "' is a directory, not a pcap file");
    }
    Wirex::PcapReader reader(path, o.ingressIntf);
    if (reader.linkType() != Wirex::pcapLinkTypeEthernet) {
        throw Rix::RangeException(Rix::format("pcap file '%s' has link type %u, not Ethernet (1)",
                                              path.c_str(), reader.linkType()));
    }
    std::function<void(U64)> report;
    if (progress) {
        report = [&err](U64 frames) {
            err << Rix::format("\ranalyze: %llu frames", static_cast<unsigned long long>(frames))
                << std::flush;
        };
    }
    analyzer.sourceIs(reader, report);
    if (progress) err << "\n";
    analyzer.doCalcLoss();
}

int analyzeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const Args a(args, 1, {"dst-port", "intf", "calc-every"}, {"json", "progress", "help"});
    if (a.has("help")) {
        out << analyzeHelp;
        return exitOk;
    }
    if (a.positional().size() != 1) throw UsageError("analyze needs exactly one pcap file");
    AnalyzeOptions o;
    if (auto v = a.value("dst-port"))
        o.dstPort = static_cast<U16>(parseUnsigned("dst-port", *v, 65535));
    if (auto v = a.value("intf")) o.ingressIntf = parseIntf(*v);
    if (auto v = a.value("calc-every")) o.calcEvery = parseUnsigned("calc-every", *v, ~U64{0});
    const std::string& path = a.positional()[0];
    Analyzer analyzer(o);
    analyzeFile(path, analyzer, o, progressWanted(a), err);
    analyzeReport(out, analyzer, path, a.has("json"));
    const FrameTotals& t = analyzer.totals();
    if (t.truncated || t.malformed) {
        err << Rix::format("sondar analyze: '%s' holds %llu truncated and %llu malformed frames",
                           path.c_str(), static_cast<unsigned long long>(t.truncated),
                           static_cast<unsigned long long>(t.malformed));
        if (t.firstTruncatedFrame) {
            err << Rix::format(" (first truncated: frame %llu)",
                               static_cast<unsigned long long>(t.firstTruncatedFrame));
        }
        err << "\n";
        return exitFailed;
    }
    return exitOk;
}

int demoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const Args a(args, 1, {"count", "seed", "keep"}, {"help"});
    if (a.has("help")) {
        out << demoHelp;
        return exitOk;
    }
    if (!a.positional().empty())
        throw UsageError("unexpected argument '" + a.positional()[0] + "'");
    GenerateOptions g;
    g.destinations = {Wirex::IpAddr(10, 0, 0, 2), Wirex::IpAddr(10, 0, 1, 2)};
    g.ttls = {64, 255};
    g.count = 5000;
    g.seed = 2026;
    g.loss = 0.01;
    g.duplication = 0.005;
    g.reorder = 0.01;
    g.reorderDepth = 8;
    g.restarts = 2;
    if (auto v = a.value("count")) g.count = parseUnsigned("count", *v, 10000000);
    if (auto v = a.value("seed")) g.seed = parseUnsigned("seed", *v, ~U64{0});
    try {
        generateOptionsCheck(g);
    } catch (const Rix::RangeException& e) {
        throw UsageError(e.what());
    }

    std::string path;
    bool keep = false;
    if (auto v = a.value("keep")) {
        path = *v;
        keep = true;
    } else {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/sondar-demo-XXXXXX";
        const int fd = ::mkstemp(pattern.data());
        if (fd < 0) throw Rix::RuntimeException("cannot create a temporary file in " + pattern);
        ::close(fd);
        path = pattern;
    }
    struct Remove {
        const std::string& path;
        bool keep;
        ~Remove() {
            if (!keep) std::remove(path.c_str());
        }
    } remove{path, keep};

    out << Rix::format(
        "sondar demo: %zu probe streams of %llu probes each, 1%% loss, 0.5%% duplicates,\n"
        "1%% held back by up to 8 probes, 2 transmitter restarts; seed %llu\n\n",
        g.destinations.size() * g.ttls.size(), static_cast<unsigned long long>(g.count),
        static_cast<unsigned long long>(g.seed));
    GenerateResult truth;
    {
        auto writer = pcapOutput(path);
        truth = generate(g, writer, writer.ptr());
    }
    out << "== generate: the ground truth\n";
    generateReport(out, truth, path, false);

    AnalyzeOptions o;
    Analyzer analyzer(o);
    analyzeFile(path, analyzer, o, false, err);
    out << "\n== analyze: what the receiver counted\n";
    analyzeReport(out, analyzer, path, false);

    const auto mismatches = truthMismatches(truth, analyzer);
    if (!mismatches.empty()) {
        out << "\nthe analysis differs from the ground truth:\n";
        for (const std::string& m : mismatches) out << "  " << m << "\n";
        return exitFailed;
    }
    out << Rix::format("\nthe analysis equals the ground truth for all %zu streams\n",
                       truth.streams.size());
    return exitOk;
}

}  // namespace

int runSondar(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const std::string command = args.empty() ? "" : args[0];
    try {
        if (command == "generate") return generateCommand(args, out, err);
        if (command == "analyze") return analyzeCommand(args, out, err);
        if (command == "demo") return demoCommand(args, out, err);
        if (command == "--help" || command == "-h" || command == "help") {
            out << mainHelp;
            return exitOk;
        }
        if (command.empty()) throw UsageError("a command is needed");
        throw UsageError("unknown command '" + command + "'");
    } catch (const UsageError& e) {
        err << "sondar" << (command.empty() || command[0] == '-' ? "" : " " + command) << ": "
            << e.what() << "\n";
        if (command == "generate" || command == "analyze" || command == "demo") {
            err << "try 'sondar " << command << " --help'\n";
        } else {
            err << mainHelp;
        }
        return exitUsage;
    } catch (const std::exception& e) {
        err << "sondar " << command << ": " << e.what() << "\n";
        return exitFailed;
    }
}

}  // namespace SondarCli
