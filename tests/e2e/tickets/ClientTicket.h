// SPDX-License-Identifier: MIT
#pragma once

#include <gssapi/gssapi.h>
#include <gssapi/gssapi_ext.h>

#include <string>

/// A client that proves with its ticket who it is, token by token, as a browser or libcurl does.
class ClientTicket
{
public:
    /// Steps: GSS_C_DCE_STYLE wants the server's answer before it ends, 0 does not.
    explicit ClientTicket(OM_uint32 flags = 0) : m_flags(flags) {}

    ~ClientTicket();
    ClientTicket(const ClientTicket &) = delete;
    ClientTicket &operator=(const ClientTicket &) = delete;

    /// The value of the Authorization header: the first token, or the one after the server's
    /// WWW-Authenticate.
    [[nodiscard]] std::string header(const std::string &answerOfServer = {});

    [[nodiscard]] bool isComplete() const { return m_isComplete; }

private:
    OM_uint32 m_flags;
    gss_ctx_id_t m_context = GSS_C_NO_CONTEXT;
    bool m_isComplete = false;
};
