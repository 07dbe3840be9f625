// SPDX-License-Identifier: MIT
#include "vrc/frames_type.h"

#include "wire/limits.h"

#include <curl/curl.h>

#include <cstring>

namespace vrc {

bool isFramesType(const char *contentType)
{
    // strncasecmp would follow the locale of the program: in a Turkish one "I" is no "i".
    const std::size_t length = std::strlen(wire::mediaType);
    return contentType != nullptr && curl_strnequal(contentType, wire::mediaType, length) != 0 &&
           (contentType[length] == '\0' || contentType[length] == ';' || contentType[length] == ' ');
}

} // namespace vrc
