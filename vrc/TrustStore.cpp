// SPDX-License-Identifier: MIT
#include "vrc/TrustStore.h"

#include "vrc/Failure.h"
#include "vrc/own_folder.h"

#include <curl/curl.h>
#include <dirent.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace vrc {
namespace {

/// Nothing of a file that cannot be read or is empty.
std::optional<std::string> contentsOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf(); // fails, and throws nothing, also where the path is that of a folder
    return contents ? std::optional(contents.str()) : std::nullopt;
}

/// A name as c0ff1f52.0: eight hexadecimal digits and a number.
bool isHashName(std::string_view name)
{
    constexpr std::size_t digits = 8;
    return name.size() > digits + 1 && name[digits] == '.' &&
           name.find_first_not_of("0123456789abcdef") == digits &&
           name.find_first_not_of("0123456789", digits + 1) == std::string_view::npos;
}

std::string textOf(const char *text)
{
    return text == nullptr ? std::string() : std::string(text);
}

SystemAuthorities systemAuthorities()
{
    const curl_version_info_data *version = curl_version_info(CURLVERSION_NOW);
    if (version->age < CURLVERSION_SEVENTH) {
        return {};
    }
    return {textOf(version->capath), textOf(version->cainfo)};
}

/// As `openssl rehash` names what stands in a folder.
bool isHashedFolder(const std::string &path)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(path.c_str()), closedir);
    while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
        if (isHashName(entry->d_name)) {
            return true;
        }
    }
    return false;
}

/// Empty where an installation ships none.
std::string ownAuthorities(const std::string &path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    std::optional<std::string> own = contentsOf(path);
    if (!own) {
        fail(wire::errors::certificate, "the certificate authority " + path + " cannot be read");
    }
    return std::move(*own);
}

} // namespace

TrustStore trustStore(const SystemAuthorities &system, const std::string &ownPath)
{
    std::string own = ownAuthorities(ownPath);
    if (isHashedFolder(system.folder)) {
        return {system.folder, std::move(own)};
    }
    if (own.empty()) {
        return {};
    }
    return {{}, contentsOf(system.bundle).value_or("") + "\n" + own};
}

TrustStore installedTrust()
{
    return trustStore(systemAuthorities(), ownFolder() + "vrc-ca.pem");
}

} // namespace vrc
