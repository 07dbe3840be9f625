// SPDX-License-Identifier: MIT
#include "appserver/negotiate.h"

#include <gssapi/gssapi.h>
#include <gssapi/gssapi_ext.h>

#include <array>

namespace appserver {

namespace {

constexpr int maxSteps = 4;

/// 1.3.6.1.5.5.2, SPNEGO: no other mechanism is taken.
std::array<unsigned char, 6> spnegoBytes{0x2B, 0x06, 0x01, 0x05, 0x05, 0x02};
gss_OID_desc spnego{spnegoBytes.size(), spnegoBytes.data()};

class Buffer
{
public:
    Buffer() = default;
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;

    ~Buffer()
    {
        OM_uint32 minor = 0;
        gss_release_buffer(&minor, &m_buffer);
    }

    [[nodiscard]] gss_buffer_t get() { return &m_buffer; }

    [[nodiscard]] std::string text() const
    {
        return {static_cast<const char *>(m_buffer.value), m_buffer.length};
    }

private:
    gss_buffer_desc m_buffer = GSS_C_EMPTY_BUFFER;
};

std::string statusText(OM_uint32 status, int type)
{
    Buffer text;
    OM_uint32 minor = 0;
    OM_uint32 more = 0; // only the first of the lines is told
    gss_display_status(&minor, status, type, GSS_C_NO_OID, &more, text.get());
    return text.text();
}

std::string describe(OM_uint32 major, OM_uint32 minor)
{
    return statusText(major, GSS_C_GSS_CODE) + ": " + statusText(minor, GSS_C_MECH_CODE);
}

} // namespace

struct Negotiation::State
{
    State() = default;
    State(const State &) = delete;
    State &operator=(const State &) = delete;

    ~State()
    {
        OM_uint32 minor = 0;
        gss_release_name(&minor, &client);
        gss_delete_sec_context(&minor, &context, GSS_C_NO_BUFFER);
        gss_release_cred(&minor, &credentials);
    }

    gss_cred_id_t credentials = GSS_C_NO_CREDENTIAL;
    gss_ctx_id_t context = GSS_C_NO_CONTEXT;
    gss_name_t client = GSS_C_NO_NAME;
    int steps = 0;
    bool isOver = false;
};

bool canNegotiate()
{
    return true;
}

Negotiation::Negotiation(const std::filesystem::path &keytab, const std::filesystem::path &replayCache)
    : m_state(std::make_unique<State>())
{
    const std::string keytabName = "FILE:" + keytab.string();
    const std::string cacheName = "file2:" + replayCache.string();
    std::array<gss_key_value_element_desc, 2> elements{
        {{"keytab", keytabName.c_str()}, {"rcache", cacheName.c_str()}}};
    const gss_key_value_set_desc store{elements.size(), elements.data()};
    gss_OID_set_desc mechanisms{1, &spnego};
    OM_uint32 minor = 0;
    const OM_uint32 major =
        gss_acquire_cred_from(&minor, GSS_C_NO_NAME, GSS_C_INDEFINITE, &mechanisms, GSS_C_ACCEPT, &store,
                              &m_state->credentials, nullptr, nullptr);
    if (GSS_ERROR(major)) {
        m_reason = "the keytab is of no use: " + describe(major, minor);
        m_state->isOver = true;
    }
}

Negotiation::~Negotiation() = default;

Negotiation::Outcome Negotiation::take(std::string_view token)
{
    m_reply.clear();
    if (m_state->isOver) {
        return Outcome::refused;
    }
    // No token at all would be a question for the server's mechanisms.
    if (token.empty() || ++m_state->steps > maxSteps) {
        m_state->isOver = true;
        m_reason = "no token that makes sense";
        return Outcome::refused;
    }
    std::string bytes(token);
    gss_buffer_desc input{bytes.size(), bytes.data()};
    Buffer reply;
    OM_uint32 minor = 0;
    gss_release_name(&minor, &m_state->client);
    const OM_uint32 major = gss_accept_sec_context(&minor, &m_state->context, m_state->credentials, &input,
                                                   GSS_C_NO_CHANNEL_BINDINGS, &m_state->client, nullptr,
                                                   reply.get(), nullptr, nullptr, nullptr);
    m_reply = reply.text();
    m_state->isOver = major != GSS_S_CONTINUE_NEEDED;
    if (GSS_ERROR(major)) {
        m_reason = describe(major, minor);
        return Outcome::refused;
    }
    if (major == GSS_S_CONTINUE_NEEDED) {
        return Outcome::goesOn;
    }
    Buffer name;
    if (GSS_ERROR(gss_display_name(&minor, m_state->client, name.get(), nullptr))) {
        m_reason = "the ticket names nobody";
        return Outcome::refused;
    }
    m_principal = name.text();
    return Outcome::accepted;
}

bool Negotiation::isGoingOn() const
{
    return m_state->steps > 0 && !m_state->isOver;
}

} // namespace appserver
