// SPDX-License-Identifier: MIT
#include "tests/e2e/tickets/ClientTicket.h"

#include <httplib.h>
#include <openssl/evp.h>

#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view scheme = "Negotiate ";

std::string base64Of(std::string_view bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()),
                                       reinterpret_cast<const unsigned char *>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string bytesOf(std::string_view base64)
{
    std::string bytes(base64.size(), '\0');
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(bytes.data()),
                                       reinterpret_cast<const unsigned char *>(base64.data()),
                                       static_cast<int>(base64.size()));
    bytes.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return bytes;
}

} // namespace

ClientTicket::~ClientTicket()
{
    OM_uint32 minor = 0;
    gss_delete_sec_context(&minor, &m_context, GSS_C_NO_BUFFER);
}

std::string ClientTicket::header(const std::string &answerOfServer)
{
    std::string input = answerOfServer.empty() ? "" : bytesOf(answerOfServer.substr(scheme.size()));
    std::string service = "HTTP@localhost";
    gss_buffer_desc text{service.size(), service.data()};
    gss_buffer_desc received{input.size(), input.data()};
    gss_buffer_desc token = GSS_C_EMPTY_BUFFER;
    gss_name_t server = GSS_C_NO_NAME;
    unsigned char spnego[] = {0x2B, 0x06, 0x01, 0x05, 0x05, 0x02};
    gss_OID_desc mechanism{sizeof spnego, spnego};
    OM_uint32 minor = 0;
    gss_import_name(&minor, &text, GSS_C_NT_HOSTBASED_SERVICE, &server);
    const OM_uint32 major =
        gss_init_sec_context(&minor, GSS_C_NO_CREDENTIAL, &m_context, server, &mechanism, m_flags, 0,
                             GSS_C_NO_CHANNEL_BINDINGS, &received, nullptr, &token, nullptr, nullptr);
    std::string value =
        std::string(scheme) + base64Of({static_cast<const char *>(token.value), token.length});
    gss_release_buffer(&minor, &token);
    gss_release_name(&minor, &server);
    if (GSS_ERROR(major)) {
        throw std::runtime_error("the client has no ticket for the server");
    }
    m_isComplete = major == GSS_S_COMPLETE;
    return value;
}
