// SPDX-License-Identifier: MIT
#pragma once

#include "wire/error_info.h"

#include <curl/curl.h>

#include <string>

namespace vrc {

/// How an HTTP exchange ended.
struct ExchangeEnd
{
    CURLcode code = CURLE_OK;
    long status = 0;          ///< of the answer; 0: none came
    long connectStatus = 0;   ///< of a proxy's answer to CONNECT; 0: none came
    long systemError = 0;     ///< errno, where the transport knows one
    bool isConnected = false; ///< the request, or a part of it, was sent
    bool usesProxy = false;
    bool isSessionOpen = false; ///< earlier requests reached the server
    bool isSingleSignOn = false;
    bool isAnswerOfServer = false; ///< status 200 with the media type of frames
    bool isHeaderComplete = false; ///< of the answer
    bool hasAnswerTooLong = false; ///< header lines without end
    std::string detail;            ///< the transport's own words
};

/// True for 411 and 413: the body is not taken as it is, but may be in other portions.
[[nodiscard]] bool isBodyRefused(const ExchangeEnd &end);

/// True for an exchange that brought frames, or was answered at all where that is enough (GET).
[[nodiscard]] bool isAnswered(const ExchangeEnd &end, bool needsFrames);

/// The error of an exchange that was not answered, in the terms of docs/protocol.md.
[[nodiscard]] wire::ErrorInfo errorOf(const ExchangeEnd &end);

} // namespace vrc
