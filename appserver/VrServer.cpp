// SPDX-License-Identifier: MIT
#include "appserver/VrServer.h"

#include "appserver/portal_service.h"
#include "appserver/secrets.h"
#include "appserver/vrc_service.h"

#include <stdexcept>

namespace appserver {

namespace {

constexpr std::string_view demoUser = "demo";
constexpr std::chrono::seconds patienceAtEnd{3};

ListenSettings withOptions(ListenSettings settings, const ServerOptions &options)
{
    settings.address = options.listen.value_or(settings.address);
    settings.port = options.port.value_or(settings.port);
    settings.portalPort = options.portalPort.value_or(settings.portalPort);
    settings.plainPort = options.plainPort.value_or(settings.plainPort);
    settings.plainPortalPort = options.plainPortalPort.value_or(settings.plainPortalPort);
    return settings;
}

std::string inUrl(const std::string &name)
{
    return name.find(':') == std::string::npos ? name : '[' + name + ']';
}

} // namespace

VrServer::VrServer(const ServerOptions &options) : m_folder(options.data)
{
    m_folder.lockForServer();
    m_isFirstStart = m_folder.prepare(withOptions({}, options));
    ServerConfiguration configuration = m_folder.readConfiguration();
    m_listen = withOptions(configuration.listen, options);
    m_folder.prepareCertificates(m_listen);
    m_services = std::make_unique<AppServices>(m_folder.path(), std::move(configuration));
    m_tls = std::make_unique<TlsSettings>(m_folder.certificates());
    m_log = std::make_unique<AccessLog>(m_folder.accessLog());
    m_vrcSite = std::make_unique<HttpSite>(*m_log, isVrcPath);
    addVrcService(*m_vrcSite, *m_services);
    m_portalSite = std::make_unique<HttpSite>(*m_log, isPortalPostPath);
    addPortalService(*m_portalSite, *m_services);
    listen(m_listen);
}

VrServer::~VrServer()
{
    stop();
}

void VrServer::listen(const ListenSettings &settings)
{
    m_ports.main = addListener(settings.address, settings.port, *m_vrcSite, true);
    m_ports.portal = addListener(settings.address, settings.portalPort, *m_portalSite, true);
    if (settings.plainPort >= 0) {
        m_ports.plain = addListener(settings.address, settings.plainPort, *m_vrcSite, false);
    }
    if (settings.plainPortalPort >= 0) {
        m_ports.plainPortal = addListener(settings.address, settings.plainPortalPort, *m_portalSite, false);
    }
    m_services->setAddresses({settings.publicName, m_ports.main, url(true, m_ports.portal)});
    for (const auto &listener : m_listeners) {
        listener->start();
    }
}

int VrServer::addListener(const std::string &address, int port, HttpSite &site, bool tls)
{
    m_listeners.push_back(std::make_unique<Listener>(address, port, site, tls ? m_tls.get() : nullptr,
                                                     m_connections, [this] { return rules(); }));
    return m_listeners.back()->port();
}

ConnectionRules VrServer::rules() const
{
    const auto configuration = m_services->configuration();
    ConnectionRules rules;
    rules.limits.headerTime = configuration->limits.headerTime;
    rules.limits.bodyRateWindow = configuration->limits.bodyRateWindow;
    rules.limits.bodyBytesPerSecond = configuration->limits.bodyBytesPerSecond;
    rules.maxConnections = configuration->limits.connections;
    return rules;
}

std::string VrServer::url(bool tls, int port) const
{
    return (tls ? "https://" : "http://") + inUrl(m_listen.publicName) + ':' + std::to_string(port);
}

void VrServer::describe(std::ostream &out) const
{
    out << "data folder: " << m_folder.path().string() << '\n'
        << "configuration: " << m_folder.configurationFile().string() << '\n'
        << "certificate authority: " << m_folder.certificates().authority.string() << '\n'
        << "application server: " << url(true, m_ports.main) << '\n';
    if (m_ports.plain != 0) {
        out << "application server without TLS: " << url(false, m_ports.plain) << '\n';
    }
    out << "server directory: " << m_listen.publicName << ':' << m_ports.main << ";directory:demo\n"
        << "portal: " << url(true, m_ports.portal) << "/portal?client=vrp\n";
    if (m_ports.plainPortal != 0) {
        out << "portal without TLS: " << url(false, m_ports.plainPortal) << "/portal?client=vrp\n";
    }
}

void VrServer::introduceDemoUser(std::ostream &out)
{
    std::string password = randomPassword();
    // A first start that failed later than here has left a user whose password nobody has seen.
    if (!m_services->users.add(demoUser, password)) {
        m_services->users.setPassword(demoUser, password);
    }
    out << "demo user: " << demoUser << '\n'
        << "demo password: " << password << '\n'
        << "The password is shown this once; vrserver user passwd " << demoUser << " --data "
        << m_folder.path().string() << " sets another one.\n"
        << "The portal opens at the end of a print; a browser trusts it once the certificate authority is "
           "imported.\n"
        << std::flush;
    wipe(password);
    if (!out) {
        throw std::runtime_error("the demo user's password could not be shown");
    }
}

void VrServer::announce(std::ostream &out)
{
    describe(out);
    if (m_isFirstStart) {
        introduceDemoUser(out);
        m_folder.endFirstStart();
        m_isFirstStart = false;
    }
    out << "ready\n" << std::flush;
    // Whoever started the server waits for this word.
    if (!out) {
        throw std::runtime_error("nobody could be told that the server is ready");
    }
}

void VrServer::reload()
{
    try {
        m_services->setConfiguration(m_folder.readConfiguration());
        m_folder.prepareCertificates(m_listen);
        m_tls->reload(m_folder.certificates());
        logLine("configuration read again");
    } catch (const std::exception &trouble) {
        logFailure("the configuration stays as it was", trouble);
    }
    m_log->reopen();
}

void VrServer::tidyUp()
{
    try {
        m_services->tidyUp();
    } catch (const std::exception &trouble) {
        logFailure("cannot tidy up", trouble);
    }
}

void VrServer::stop()
{
    for (const auto &listener : m_listeners) {
        listener->stop();
    }
    m_connections.closeAll(patienceAtEnd);
    m_listeners.clear();
}

} // namespace appserver
