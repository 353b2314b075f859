#include <iostream>

#include "sondar/Cli.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    return SondarCli::runSondar(std::vector<std::string>(argv + 1, argv + argc), std::cout,
                                std::cerr);
}
