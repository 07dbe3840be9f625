// SPDX-License-Identifier: MIT
#include "vrp/encrypt.h"
#include "vrp/platform/text.h"

#include <iostream>
#include <string>

/// Prints the stored form of each line of its standard input, for settings files that a script writes.
int main()
{
    for (std::string line; std::getline(std::cin, line);) {
        std::cout << wtoUTF8(VrpsEncryptPassword(UTF8tow(line))) << '\n';
    }
    return 0;
}
