// SPDX-License-Identifier: MIT
#include "appserver/portal_documents.h"

#include "appserver/AppServices.h"
#include "appserver/ClientConnection.h"
#include "appserver/html_text.h"
#include "appserver/login_check.h"
#include "appserver/portal_answers.h"
#include "appserver/portal_documents_pages.h"
#include "appserver/portal_service.h"

#include <memory>
#include <optional>

namespace appserver {

namespace {

constexpr const char *listPath = "/documents";
constexpr const char *openPath = "/documents/open";
constexpr const char *leavePath = "/documents/leave";
constexpr std::string_view visitorCookie = "visitor";
constexpr std::size_t mostShown = 200;

std::string_view sentenceFor(LoginResult result)
{
    return result == LoginResult::tooMany ? "There were too many failed attempts. Try again in a few minutes."
                                          : "User name or password is wrong.";
}

class PortalDocuments
{
public:
    explicit PortalDocuments(AppServices &services) : m_services(services) {}

    void show(const httplib::Request &request, httplib::Response &response)
    {
        const auto configuration = m_services.configuration();
        const auto visitor = visitorOf(request);
        setPage(response, 200,
                visitor ? documentsPage(configuration->portal, *visitor,
                                        m_services.documents.waitingFor(visitor->name, mostShown))
                        : loginPage(configuration->portal, {}, {}));
    }

    void enter(const httplib::Request &request, const FormFields &fields, httplib::Response &response)
    {
        const auto configuration = m_services.configuration();
        const std::string name = fieldOf(fields, "user");
        const LoginResult result = comesFromElsewhere(request)
                                       ? LoginResult::unknownUser
                                       : checkLogin(m_services, name, fieldOf(fields, "password"),
                                                    ClientConnection::current()->remoteAddress());
        if (result != LoginResult::good) {
            return setPage(response, result == LoginResult::tooMany ? 429 : 403,
                           loginPage(configuration->portal, name, sentenceFor(result)));
        }
        const PortalVisitor visitor = m_services.visitors.enter(name, configuration->limits.sessions);
        setCookie(response, visitorCookie, visitor.cookie, listPath);
        redirect(response, listPath);
    }

    void open(const httplib::Request &request, const FormFields &fields, httplib::Response &response)
    {
        const auto visitor = senderOf(request, fields);
        const auto document = visitor ? m_services.documents.find(fieldOf(fields, "document")) : std::nullopt;
        if (!document || document->owner != visitor->name) {
            return redirect(response, listPath);
        }
        showPage(response, m_services.pages.openFor(visitor->name, document->id,
                                                    m_services.configuration()->limits.sessions));
    }

    void leave(const httplib::Request &request, const FormFields &fields, httplib::Response &response)
    {
        if (const auto visitor = senderOf(request, fields)) {
            m_services.visitors.leave(visitor->cookie);
            setCookie(response, visitorCookie, "", listPath);
        }
        redirect(response, listPath);
    }

private:
    std::optional<PortalVisitor> visitorOf(const httplib::Request &request)
    {
        return m_services.visitors.find(cookieOf(request, visitorCookie),
                                        m_services.configuration()->limits.sessionIdle);
    }

    /// The visitor, when the form comes from our page.
    std::optional<PortalVisitor> senderOf(const httplib::Request &request, const FormFields &fields)
    {
        auto visitor = visitorOf(request);
        if (visitor &&
            (comesFromElsewhere(request) || !equalSecrets(fieldOf(fields, "token"), visitor->formToken))) {
            visitor.reset();
        }
        return visitor;
    }

    AppServices &m_services;
};

using FormHandler = void (PortalDocuments::*)(const httplib::Request &, const FormFields &,
                                              httplib::Response &);

void addForm(HttpSite &site, const char *path, const std::shared_ptr<PortalDocuments> &documents,
             FormHandler handler)
{
    site.Post(path, [documents, handler](const httplib::Request &request, httplib::Response &response,
                                         const httplib::ContentReader &reader) {
        std::string body;
        if (!readBody(reader, formMaxBytes, body, response)) {
            return;
        }
        const auto fields = parseForm(body);
        wipe(body);
        if (!fields) {
            return redirect(response, listPath);
        }
        ((*documents).*handler)(request, *fields, response);
    });
}

} // namespace

void addPortalDocuments(HttpSite &site, AppServices &services)
{
    const auto documents = std::make_shared<PortalDocuments>(services);
    site.Get(listPath, [documents](const httplib::Request &request, httplib::Response &response) {
        documents->show(request, response);
    });
    addForm(site, listPath, documents, &PortalDocuments::enter);
    addForm(site, openPath, documents, &PortalDocuments::open);
    addForm(site, leavePath, documents, &PortalDocuments::leave);
}

bool isDocumentsPostPath(std::string_view path)
{
    return path == listPath || path == openPath || path == leavePath;
}

} // namespace appserver
