#pragma once
// The typed round trip of a value type: every field of the sample must differ from the default;
// text -> value -> text and binary -> value -> binary must give the same value and the same
// text and bytes; and Python's ast.literal_eval, reading the dictionary part of the text form,
// must find the type's attribute names in the declared order.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "Rix/Value.h"

namespace RoundTrip {

// The attribute names that Python finds in each text, one line per text ("a,b,c"; "bare" for a
// text without the Value envelope). Nested Value(...) forms read as their dictionaries, and the
// floating-point words inf and nan as floats.
inline std::vector<std::string> pythonAttributeNames(const std::vector<std::string>& texts) {
    const std::string dir = SONDAR_BINARY_DIR;
    const std::string in = dir + "/roundtrip_texts.txt", script = dir + "/roundtrip_names.py";
    {
        std::ofstream f(in);
        for (const auto& t : texts) f << t << "\n";
        std::ofstream p(script);
        p << R"PY(
import ast, sys

class Literal(ast.NodeTransformer):
    def visit_Call(self, node):
        assert isinstance(node.func, ast.Name) and node.func.id == 'Value', ast.dump(node)
        assert len(node.args) == 1 and len(node.keywords) == 1 and node.keywords[0].arg is None
        return self.visit(node.keywords[0].value)
    def visit_Name(self, node):
        assert node.id in ('inf', 'nan'), node.id
        return ast.copy_location(ast.Constant(float(node.id)), node)

for line in open(sys.argv[1]):
    text = line.rstrip('\n')
    if not text.startswith('Value('):
        ast.literal_eval(text)
        print('bare')
        continue
    assert text.endswith('})')
    head, _, rest = text.partition(', ** ')
    ast.literal_eval(head[len('Value('):])
    tree = Literal().visit(ast.parse(rest[:-1], mode='eval'))
    value = ast.literal_eval(tree)
    print(','.join(value.keys()))
)PY";
    }
    const std::string cmd = "/usr/bin/python3 " + script + " " + in;
    std::vector<std::string> out;
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return out;
    char buf[4096];
    while (std::fgets(buf, sizeof buf, p)) {
        std::string line(buf);
        if (!line.empty() && line.back() == '\n') line.pop_back();
        out.push_back(line);
    }
    EXPECT_EQ(pclose(p), 0) << "python could not read the text forms";
    return out;
}

template <class T>
std::string declaredNames() {
    if constexpr (Rix::isBareText<T>()) return "bare";
    std::string s;
    Rix::forEachField<T>([&](const auto& fld) {
        if (!s.empty()) s += ',';
        s += fld.name;
    });
    return s;
}

// Checks one sample in C++ and returns its text for the Python check.
template <class T>
std::string check(const T& sample) {
    const T dflt{};
    Rix::forEachField<T>([&](const auto& fld) {
        EXPECT_FALSE(sample.*(fld.member) == dflt.*(fld.member))
            << T::typeName << "::" << fld.name << " is default in the sample";
    });
    const std::string text = Rix::valueStrep(sample).str();
    const T fromText = Rix::strepToValue<T>(Rix::String8(text));
    EXPECT_TRUE(fromText == sample) << text;
    EXPECT_EQ(Rix::valueStrep(fromText).str(), text);

    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << sample;
    Rix::NboAttrLog::In in(out->bytes());
    const T fromBinary(&in, Rix::StreamBogon{});
    EXPECT_TRUE(in.atEnd()) << T::typeName;
    EXPECT_TRUE(fromBinary == sample) << T::typeName;
    Rix::Ptr<Rix::NboAttrLog::Out> again(new Rix::NboAttrLog::Out);
    again << fromBinary;
    EXPECT_EQ(again->bytes(), out->bytes()) << T::typeName;
    for (std::size_t n = 0; n < out->bytes().size(); ++n) {
        Rix::NboAttrLog::In shortIn(out->bytes().data(), n);
        EXPECT_THROW(T(&shortIn, Rix::StreamBogon{}), Rix::RangeException)
            << T::typeName << " " << n;
    }
    return text;
}

// Runs check() over samples of several types and then the Python reading of all their texts.
template <class... T>
void all(const T&... samples) {
    const std::vector<std::string> texts{check(samples)...};
    const std::vector<std::string> names{declaredNames<T>()...};
    EXPECT_EQ(pythonAttributeNames(texts), names);
}

}  // namespace RoundTrip
