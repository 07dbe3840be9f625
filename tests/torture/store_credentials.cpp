// SPDX-License-Identifier: MIT
#include "vrp/core/VrpMain.h"
#include "vrp/platform/text.h"
#include "vrp/settings/stored_credentials.h"

#include <cstdio>

/// Stores identifier and password as the program's dialog does: store_credentials COMPANY SOFTWARE IDENT
/// PASSWORD
int main(int argc, char **argv)
{
    if (argc != 5) {
        std::fputs("usage: store_credentials COMPANY SOFTWARE IDENT PASSWORD\n", stderr);
        return 2;
    }
    VrpMain &main = *VrpsGetMain();
    copyBounded(main.company, UTF8tow(argv[1]));
    copyBounded(main.softwareName, UTF8tow(argv[2]));
    main.ident = UTF8tow(argv[3]);
    main.password = UTF8tow(argv[4]);
    VrpsSetIdentPasswordToRegistry();
    return 0;
}
