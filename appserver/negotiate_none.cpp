// SPDX-License-Identifier: MIT
#include "appserver/negotiate.h"

namespace appserver {

struct Negotiation::State
{};

bool canNegotiate()
{
    return false;
}

Negotiation::Negotiation(const std::filesystem::path &, const std::filesystem::path &)
{}

Negotiation::~Negotiation() = default;

Negotiation::Outcome Negotiation::take(std::string_view)
{
    m_reason = "this server was built without GSSAPI";
    return Outcome::refused;
}

bool Negotiation::isGoingOn() const
{
    return false;
}

} // namespace appserver
