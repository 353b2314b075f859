#pragma once
// Round trips of value types through both forms, and an independent reader of the text form:
// Python's ast module, which reads each dictionary with ast.literal_eval (nested Value(...) calls
// are read level by level) and reports the attribute names in order; a bare text (no Value
// envelope) must be a literal and has no names.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "Rix/Value.h"
#include "TestTools.h"

namespace SondarTest {

template <class T>
std::vector<std::string> fieldNames() {
    std::vector<std::string> names;
    Rix::forEachField<T>([&](const auto& f) { names.emplace_back(f.name); });
    return names;
}

template <class T>
void expectRoundTrip(const T& v) {
    SCOPED_TRACE(std::string(T::typeName));
    const T dflt{};
    Rix::forEachField<T>([&](const auto& f) {
        EXPECT_FALSE(v.*(f.member) == dflt.*(f.member)) << f.name << " is default in the sample";
    });
    const Rix::String8 text = valueToStrep(v);
    const T fromText = Rix::strepToValue<T>(text);
    EXPECT_TRUE(fromText == v) << text;
    EXPECT_EQ(valueToStrep(fromText).str(), text.str());

    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << v;
    Rix::NboAttrLog::In in(out->bytes());
    const T fromBinary(&in, Rix::StreamBogon{});
    EXPECT_TRUE(in.atEnd());
    EXPECT_TRUE(fromBinary == v);
    Rix::Ptr<Rix::NboAttrLog::Out> again(new Rix::NboAttrLog::Out);
    again << fromBinary;
    EXPECT_EQ(again->bytes(), out->bytes());
    // every strict prefix of the binary form is refused, never over-read
    for (std::size_t n = 0; n < out->bytes().size(); ++n) {
        Rix::NboAttrLog::In shortIn(out->bytes().data(), n);
        EXPECT_THROW(T(&shortIn, Rix::StreamBogon{}), Rix::RangeException) << n;
    }
}

struct PythonCase {
    std::string text;
    std::vector<std::string> names;  // expected outer attribute names, in order; none if bare
};

// Checks every case with one Python run; returns false (and skips) when Python is missing.
inline void expectPythonReads(const std::vector<PythonCase>& cases) {
    if (access(python(), X_OK) != 0) GTEST_SKIP() << "no /usr/bin/python3";
    char dir[] = "/tmp/sondar-ast-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string in = std::string(dir) + "/cases.txt";
    const std::string script = std::string(dir) + "/check.py";
    {
        std::ofstream f(in);
        for (const auto& c : cases) {
            f << c.text << '\n';
            for (std::size_t i = 0; i < c.names.size(); ++i) f << (i ? "," : "") << c.names[i];
            f << '\n';
        }
    }
    {
        std::ofstream f(script);
        f << R"PY(import ast, sys
def names(node):
    # Value('Ns::Type', ** {...}): a call whose only keyword is the ** dictionary
    assert isinstance(node, ast.Call) and node.func.id == 'Value', ast.dump(node)
    assert len(node.args) == 1 and isinstance(node.args[0], ast.Constant)
    assert len(node.keywords) == 1 and node.keywords[0].arg is None
    d = node.keywords[0].value
    assert isinstance(d, ast.Dict)
    out = []
    for k, v in zip(d.keys, d.values):
        out.append(ast.literal_eval(k))
        if isinstance(v, ast.Call):
            names(v)
        else:
            ast.literal_eval(v)
    return out
lines = open(sys.argv[1]).read().split('\n')
bad = 0
for i in range(0, len(lines) - 1, 2):
    text, want = lines[i], lines[i + 1].split(',') if lines[i + 1] else []
    try:
        body = ast.parse(text, mode='eval').body
        got = names(body) if isinstance(body, ast.Call) else (ast.literal_eval(body), [])[1]
    except Exception as e:
        print('unreadable:', text, e); bad += 1; continue
    if got != want:
        print('names differ:', got, want); bad += 1
print('checked', len(lines) // 2, 'bad', bad)
sys.exit(1 if bad else 0)
)PY";
    }
    int status = 0;
    const std::string output =
        SondarTest::runCommand(std::string(python()) + " " + script + " " + in + " 2>&1", &status);
    EXPECT_EQ(status, 0) << output;
    std::remove(in.c_str());
    std::remove(script.c_str());
    rmdir(dir);
}

}  // namespace SondarTest
