// SPDX-License-Identifier: MIT
#include "vrc/own_folder.h"

#include <dlfcn.h>

namespace vrc {

std::string ownFolder()
{
    Dl_info own = {};
    static const char anchor = 0;
    if (dladdr(&anchor, &own) == 0 || own.dli_fname == nullptr) {
        return {};
    }
    const std::string path = own.dli_fname;
    return path.substr(0, path.rfind('/') + 1);
}

} // namespace vrc
