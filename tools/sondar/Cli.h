#pragma once
// The `sondar` command line: subcommands generate, analyze and demo. Every failure of input or
// options ends in a message on `err` and a non-zero status, never an abort.
#include <ostream>
#include <string>
#include <vector>

namespace SondarCli {

enum ExitStatus : int { exitOk = 0, exitFailed = 1, exitUsage = 2 };

int runSondar(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace SondarCli
