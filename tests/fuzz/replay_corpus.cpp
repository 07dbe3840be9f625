// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "tests/support/file_bytes.h"

#include <filesystem>
#include <iostream>
#include <string>

/// Runs the entry over every file of the folder that is named on the command line. An empty corpus is a
/// failure.
int main(int argc, char **argv)
{
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " CORPUS_FOLDER\n";
        return 2;
    }
    std::size_t count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
        const std::string bytes = fileBytes(entry.path());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
        ++count;
    }
    std::cout << count << " inputs\n";
    return count == 0 ? 1 : 0;
}
