// SPDX-License-Identifier: MIT
#include "vrc/transport_errors.h"

#include <algorithm>
#include <array>

namespace vrc {
namespace {

namespace errors = wire::errors;

constexpr std::array certificateCodes = {CURLE_PEER_FAILED_VERIFICATION, CURLE_SSL_CACERT_BADFILE,
                                         CURLE_SSL_ISSUER_ERROR, CURLE_SSL_CRL_BADFILE,
                                         CURLE_SSL_INVALIDCERTSTATUS};
constexpr std::array nonsenseCodes = {CURLE_UNSUPPORTED_PROTOCOL, CURLE_WEIRD_SERVER_REPLY, CURLE_WRITE_ERROR,
                                      CURLE_BAD_CONTENT_ENCODING, CURLE_FILESIZE_EXCEEDED};

template <class Codes>
bool isAmong(CURLcode code, const Codes &codes)
{
    return std::find(codes.begin(), codes.end(), code) != codes.end();
}

bool isGatewayStatus(long status)
{
    return status == 502 || status == 503 || status == 504;
}

/// What a status other than the server's own says.
wire::ErrorInfo errorOfStatus(const ExchangeEnd &end)
{
    const std::string status = "HTTP status " + std::to_string(end.status);
    if (end.status == 407) {
        return wire::makeError(errors::proxyCredentials,
                               "the proxy wants credentials, or refuses those given", status);
    }
    if (end.status == 401 && end.isSingleSignOn) {
        return wire::makeError(errors::singleSignOn,
                               "single sign-on failed: there is no ticket, or the server refuses it", status);
    }
    if (isGatewayStatus(end.status)) {
        return wire::makeError(end.isSessionOpen ? errors::network : errors::cannotConnect,
                               "the server cannot be reached, or takes no more connections", status);
    }
    if (end.status == 403 && end.usesProxy) {
        return wire::makeError(errors::cannotConnect, "the proxy refuses to connect to the server", status);
    }
    return wire::makeError(errors::strangeAnswer,
                           "the answer is not that of an application server (" + status + ")");
}

wire::ErrorInfo errorOfHandshake(const ExchangeEnd &end)
{
    const bool isBroken = end.systemError != 0 || end.detail.find("SYSCALL") != std::string::npos ||
                          end.detail.find("reset") != std::string::npos ||
                          end.detail.find("unexpected eof") != std::string::npos;
    return wire::makeError(isBroken ? errors::cannotConnect : errors::strangeAnswer,
                           "no secure connection could be made: " + end.detail);
}

wire::ErrorInfo errorOfConnecting(const ExchangeEnd &end)
{
    if (end.connectStatus == 407) {
        return wire::makeError(errors::proxyCredentials,
                               "the proxy wants credentials, or refuses those given");
    }
    if (end.code == CURLE_SSL_CONNECT_ERROR) {
        return errorOfHandshake(end);
    }
    return wire::makeError(errors::cannotConnect, "cannot connect: " + end.detail);
}

} // namespace

bool isBodyRefused(const ExchangeEnd &end)
{
    return end.status == 411 || end.status == 413;
}

bool isAnswered(const ExchangeEnd &end, bool needsFrames)
{
    if (needsFrames) {
        return end.code == CURLE_OK && end.isAnswerOfServer && end.isHeaderComplete;
    }
    const bool hasStatus = end.code == CURLE_OK || (end.code == CURLE_WRITE_ERROR && !end.hasAnswerTooLong);
    return hasStatus && end.isHeaderComplete && end.status != 0 && end.status != 401 && end.status != 407 &&
           !isGatewayStatus(end.status);
}

wire::ErrorInfo errorOf(const ExchangeEnd &end)
{
    const bool isRejected = end.code == CURLE_OK || end.code == CURLE_WRITE_ERROR;
    // A single line that is too long is no memory to the transport library.
    const bool hasEndlessLine = end.code == CURLE_OUT_OF_MEMORY && end.isConnected && !end.isHeaderComplete;
    if (end.hasAnswerTooLong || hasEndlessLine) {
        return wire::makeError(errors::strangeAnswer, "the answer has header lines without end");
    }
    if (isRejected && end.status != 0 && !end.isHeaderComplete) {
        return wire::makeError(errors::network, "network error: the answer was cut off in its header");
    }
    if (isRejected && !end.isAnswerOfServer && end.status != 0) {
        return errorOfStatus(end);
    }
    if (isAmong(end.code, certificateCodes)) {
        return wire::makeError(errors::certificate,
                               "the server's certificate does not verify: " + end.detail);
    }
    if (end.code == CURLE_OUT_OF_MEMORY) {
        return wire::makeError(errors::outOfMemory);
    }
    if (!end.isConnected) {
        return errorOfConnecting(end);
    }
    if (isAmong(end.code, nonsenseCodes)) {
        return wire::makeError(errors::strangeAnswer, "the answer makes no sense: " + end.detail);
    }
    return wire::makeError(errors::network, "network error: " + end.detail);
}

} // namespace vrc
