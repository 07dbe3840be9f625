// SPDX-License-Identifier: MIT
#include "tests/support/FaultRelay.h"

#include <cstdlib>
#include <iostream>
#include <map>
#include <string>

/// A relay to a port of this machine that hurts its first connection; prints its own port and runs until its
/// standard input ends: fault_relay PORT KIND BYTES-TO-SERVER
int main(int argc, char **argv)
{
    const std::map<std::string, Fault::Kind> kinds = {{"cut", Fault::Kind::cut},
                                                      {"reset", Fault::Kind::reset},
                                                      {"stall", Fault::Kind::stall},
                                                      {"drip", Fault::Kind::drip},
                                                      {"corrupt", Fault::Kind::corrupt}};
    if (argc != 4 || kinds.count(argv[2]) == 0) {
        std::cerr << "usage: fault_relay PORT cut|reset|stall|drip|corrupt BYTES-TO-SERVER\n";
        return 2;
    }
    Fault fault;
    fault.kind = kinds.at(argv[2]);
    fault.afterBytes = std::strtoull(argv[3], nullptr, 10);
    const FaultRelay relay(std::atoi(argv[1]), {fault});
    std::cout << relay.port() << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
    }
    return 0;
}
