// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "vrc/connection_string.h"

#include <string_view>

/// Whatever the string holds, an accepted one names a host that can stand in an address.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const auto settings = vrc::parseConnectionString(text);
    if (!settings) {
        return 0;
    }
    ensure(settings->port != 0 && !settings->host.empty());
    ensure(settings->host.find_first_of("/@?# \"") == std::string::npos);
    if (settings->proxy) {
        ensure(settings->proxy->port != 0 && !settings->proxy->host.empty());
        ensure(settings->proxy->host.find_first_of("/@?# \"") == std::string::npos);
    }
    return 0;
}
