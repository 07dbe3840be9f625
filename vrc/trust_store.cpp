// SPDX-License-Identifier: MIT
#include "vrc/trust_store.h"

#include "vrc/failure.h"

#include <curl/curl.h>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <optional>
#include <sys/stat.h>

namespace vrc {
namespace {

// The folder of the file that holds this very code.
std::string ownFolder()
{
    Dl_info info = {};
    static const char anchor = 0;
    if (dladdr(&anchor, &info) == 0 || info.dli_fname == nullptr) {
        return ".";
    }
    const std::string path = info.dli_fname;
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::optional<std::string> contentsOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string systemBundle()
{
    const curl_version_info_data *version = curl_version_info(CURLVERSION_NOW);
    const bool isKnown = version->age >= CURLVERSION_SEVENTH && version->cainfo != nullptr;
    return isKnown ? contentsOf(version->cainfo).value_or("") : "";
}

} // namespace

std::string installedTrust()
{
    const std::string path = ownFolder() + "/vrc-ca.pem";
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    const std::optional<std::string> own = contentsOf(path);
    if (!own || own->empty()) {
        fail(wire::errors::Certificate, "the certificate authority " + path + " cannot be read");
    }
    return systemBundle() + "\n" + *own;
}

} // namespace vrc
