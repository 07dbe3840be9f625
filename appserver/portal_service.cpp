// SPDX-License-Identifier: MIT
#include "appserver/portal_service.h"

#include "appserver/AppServices.h"
#include "appserver/finishing.h"
#include "appserver/portal_answers.h"
#include "appserver/portal_documents.h"
#include "appserver/portal_file.h"
#include "appserver/portal_pages.h"

#include <memory>
#include <optional>

namespace appserver {

namespace {

constexpr std::string_view jobPrefix = "/job/";
constexpr std::string_view jobCookie = "job";
constexpr std::size_t pageIdLength = 32;

std::string jobPath(const PortalPage &page)
{
    return std::string(jobPrefix) + page.id;
}

/// /job/<page>, /job/<page>/document or /job/<page>/confirm.
struct JobPath
{
    std::string_view page;
    std::string_view action;
};

std::optional<JobPath> parseJobPath(std::string_view path)
{
    if (!path.starts_with(jobPrefix)) {
        return std::nullopt;
    }
    path.remove_prefix(jobPrefix.size());
    const std::string_view page = path.substr(0, pageIdLength);
    if (page.size() != pageIdLength || page.find_first_not_of("0123456789abcdef") != std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view action = path.substr(pageIdLength);
    if (!action.empty() && action.front() != '/') {
        return std::nullopt;
    }
    return JobPath{page, action.empty() ? action : action.substr(1)};
}

class PortalService
{
public:
    explicit PortalService(AppServices &services) : m_services(services) {}

    void openPage(const httplib::Request &request, httplib::Response &response)
    {
        const auto configuration = m_services.configuration();
        const ServerLimits &limits = configuration->limits;
        // A look at the address without following it must not use it up.
        const bool follows = request.method == "GET" && request.has_param("VR_SESSION_ID");
        std::optional<PortalPage> page;
        if (follows) {
            const auto session =
                m_services.sessions.find(request.get_param_value("VR_SESSION_ID"), limits.sessionIdle);
            page = m_services.pages.open(session, request.get_param_value("CTRL"), limits.sessions);
        }
        if (!page) {
            return setPage(
                response, 403,
                messagePage(configuration->portal, "This address does not work",
                            "<p>It works once, and only for a while. Print the document again to get a "
                            "new one.</p>\n"));
        }
        showPage(response, *page);
    }

    void serveJob(const httplib::Request &request, httplib::Response &response)
    {
        const auto configuration = m_services.configuration();
        const auto path = parseJobPath(request.path);
        const auto page = path ? pageOf(request, *path) : std::nullopt;
        if (!page) {
            return refuseStranger(*configuration, response);
        }
        const auto document = documentOf(*page);
        if (!document) {
            return setPage(
                response, 200,
                messagePage(configuration->portal, "There is no document",
                            "<p>Nothing was uploaded for this page, or it has been deleted since. Print "
                            "the document again.</p>\n"));
        }
        if (path->action == "document") {
            sendFile(m_services.documents.fileOf(*document), *document, response);
        } else {
            setPage(response, 200, documentPage(configuration->portal, *page, *document));
        }
    }

    void confirm(const httplib::Request &request, httplib::Response &response,
                 const httplib::ContentReader &reader)
    {
        const auto configuration = m_services.configuration();
        std::string body;
        if (!readBody(reader, formMaxBytes, body, response)) {
            return;
        }
        const auto path = parseJobPath(request.path);
        const auto page = path ? pageOf(request, *path) : std::nullopt;
        const auto fields = parseForm(body);
        if (!page || !fields || !equalSecrets(fieldOf(*fields, "token"), page->formToken) ||
            comesFromElsewhere(request)) {
            return refuseStranger(*configuration, response);
        }
        const auto document = documentOf(*page);
        if (!document) {
            return redirect(response, jobPath(*page));
        }
        const auto wanted = choicesFrom(*fields, configuration->portal);
        if (const auto *problem = std::get_if<std::string>(&wanted)) {
            return setPage(response, 422,
                           correctionPage(configuration->portal, *page, *document,
                                          stillUsable(*fields, configuration->portal), *problem));
        }
        // A second confirmation changes nothing, and shows what the first one chose.
        m_services.documents.confirm(document->id, std::get<PrintChoices>(wanted));
        redirect(response, jobPath(*page));
    }

private:
    std::optional<PortalPage> pageOf(const httplib::Request &request, const JobPath &path)
    {
        return m_services.pages.find(path.page, cookieOf(request, jobCookie),
                                     m_services.configuration()->limits.sessionIdle);
    }

    std::optional<Document> documentOf(const PortalPage &page)
    {
        auto document = m_services.documents.find(page.documentId);
        if (document && document->owner != page.owner) {
            document.reset();
        }
        return document;
    }

    static void refuseStranger(const ServerConfiguration &configuration, httplib::Response &response)
    {
        setPage(response, 403,
                messagePage(
                    configuration.portal, "This page is not open here",
                    "<p>It was opened in another browser, or too long ago. Print the document again.</p>\n"));
    }

    /// What a person typed is shown again, so that nothing is lost over one mistake.
    static PrintChoices stillUsable(FormFields fields, const PortalSettings &settings)
    {
        PrintChoices choices = defaultChoices(settings);
        choices.note = fieldOf(fields, "note").substr(0, 4 * noteMaxLength);
        fields.insert_or_assign("copies", "1");
        fields.insert_or_assign("note", "");
        const auto rest = choicesFrom(fields, settings);
        if (const auto *good = std::get_if<PrintChoices>(&rest)) {
            const std::string note = choices.note;
            choices = *good;
            choices.note = note;
        }
        return choices;
    }

    AppServices &m_services;
};

void addStatic(HttpSite &site, const char *path, std::string_view contents, const char *type)
{
    site.Get(path, [contents, type](const httplib::Request &, httplib::Response &response) {
        setCommonHeaders(response, pagePolicy);
        response.headers.erase("Cache-Control");
        response.set_header("Cache-Control", "max-age=3600");
        response.set_content(contents.data(), contents.size(), type);
    });
}

} // namespace

void showPage(httplib::Response &response, const PortalPage &page)
{
    setCookie(response, jobCookie, page.cookie, jobPath(page));
    redirect(response, jobPath(page));
}

void addPortalService(HttpSite &site, AppServices &services)
{
    const auto service = std::make_shared<PortalService>(services);
    site.Get("/portal", [service](const httplib::Request &request, httplib::Response &response) {
        service->openPage(request, response);
    });
    const auto job = [service](const httplib::Request &request, httplib::Response &response) {
        service->serveJob(request, response);
    };
    site.Get("/job/[0-9a-f]{32}", job);
    site.Get("/job/[0-9a-f]{32}/document", job);
    site.Post(
        "/job/[0-9a-f]{32}/confirm",
        [service](const httplib::Request &request, httplib::Response &response,
                  const httplib::ContentReader &reader) { service->confirm(request, response, reader); });
    addPortalDocuments(site, services);
    const auto help = [&services](const httplib::Request &, httplib::Response &response) {
        setPage(response, 200, helpPage(services.configuration()->portal));
    };
    site.Get("/help", help);
    site.Get("/", help);
    addStatic(site, "/style.css", portalStyleSheet(), "text/css; charset=utf-8");
    addStatic(site, "/mark.svg", portalMark(), "image/svg+xml");
}

bool isPortalPostPath(std::string_view path)
{
    const auto job = parseJobPath(path);
    return (job && job->action == "confirm") || isDocumentsPostPath(path);
}

} // namespace appserver
