// SPDX-License-Identifier: MIT
#include "appserver/session_opening.h"

#include "appserver/AppServices.h"
#include "appserver/CommandFailure.h"
#include "appserver/control_digest.h"
#include "appserver/session_procedures.h"

namespace appserver {

namespace {

namespace errors = wire::errors;

void callOpenProcedure(AppServices &services, ServerSession &session, const std::string &name)
{
    try {
        callSessionProcedure(services, session, name);
    } catch (...) {
        session.ended = true;
        services.sessions.remove(session.id);
        throw;
    }
}

} // namespace

const ApplicationSettings &requireApplication(const ServerConfiguration &configuration,
                                              const wire::HelloFrame &hello)
{
    const auto found = configuration.applications.find(hello.application);
    // Both are compared whatever the first one says.
    const bool known = found != configuration.applications.end();
    const bool user = known && equalSecrets(found->second.user, hello.user);
    const bool password = known && equalSecrets(found->second.password, hello.password);
    if (!known || !user || !password) {
        throw CommandFailure(errors::applicationRefused);
    }
    if (hello.singleSignOn && !configuration.singleSignOn.isOn()) {
        throw CommandFailure(errors::applicationRefused, "this server offers no single sign-on");
    }
    return found->second;
}

void setUpSession(AppServices &services, ServerSession &session, const ApplicationSettings &application,
                  const wire::HelloFrame &hello, const std::string &person)
{
    if (session.ended) {
        throw CommandFailure(errors::unknownSession);
    }
    if (session.opened) {
        return;
    }
    session.wantsLogin = application.loginWanted;
    session.closeProcedure = hello.closeProcedure;
    if (!person.empty()) {
        session.person = Person{person, controlDigest(session.id, {}, {})};
        session.hasPerson = true;
    }
    callOpenProcedure(services, session, hello.openProcedure);
    session.opened = true;
}

} // namespace appserver
