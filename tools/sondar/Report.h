#pragma once
// The text tables and JSON documents that generate and analyze print, and the comparison of an
// analysis with a generator's ground truth.
#include <ostream>
#include <string>
#include <vector>

#include "sondar/Analyzer.h"
#include "sondar/Generator.h"

namespace SondarCli {

void generateReport(std::ostream& out, const GenerateResult& result, const std::string& path,
                    bool json);
void analyzeReport(std::ostream& out, const Analyzer& analyzer, const std::string& path, bool json);

// One line per difference between what the generator says a receiver must count and what the
// analysis counted; empty when they agree stream for stream.
std::vector<std::string> truthMismatches(const GenerateResult& truth, const Analyzer& analyzer);

// Text as a JSON string literal, quotes included.
std::string jsonString(const std::string& text);

}  // namespace SondarCli
