// SPDX-License-Identifier: MIT
#include "backend/backend_run.h"
#include "backend/cancel_signal.h"
#include "backend/spool_names.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

std::string computerName()
{
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? name.data() : "localhost";
}

/// cupsd reads the messages of filters and backend from one pipe: a line that is not written at once has
/// another's in its middle.
void writeMessagesByLine()
{
    std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
    std::cerr.unsetf(std::ios::unitbuf);
}

} // namespace

int main(int argc, char **argv)
{
    ::umask(077);
    writeMessagesByLine();
    backend::catchSignals();
    const char *queue = std::getenv("PRINTER");
    const std::vector<std::string> arguments(argv, argv + argc);
    return static_cast<int>(backend::runBackend(arguments, {.spoolRoot = backend::spoolRoot,
                                                            .mappingFile = "/etc/varek/backend.conf",
                                                            .queue = queue != nullptr ? queue : "",
                                                            .computer = computerName(),
                                                            .findAccount = backend::findSystemAccount,
                                                            .devices = std::cout,
                                                            .messages = std::cerr}));
}
