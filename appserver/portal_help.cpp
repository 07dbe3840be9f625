// SPDX-License-Identifier: MIT
#include "appserver/portal_pages.h"

namespace appserver {

namespace {

/// The identifiers of the headings are the help topics of a new server.
constexpr std::string_view sections = R"html(<ol>
<li>Print to the Varek queue from any program.</li>
<li>Enter your identifier and password, and choose how to print.</li>
<li>Choose copies, paper, colour, sides and stapling in this portal, and press <strong>Print</strong>.</li>
</ol>
<h2 id="identifier">Identifier and password</h2>
<p>They are those of your account on this server. The password is kept on your computer only if you tick <em>Keep
password</em>; the settings of the printer forget it again.</p>
<h2 id="mode">Print mode</h2>
<p>In <em>standard</em> mode this portal opens for you. In <em>asynchronous</em> mode you open it yourself, later, under
<a href="/documents">your documents</a>. In <em>tunnel</em> mode the document goes straight to a service.</p>
<p>The address of the portal page works once. A document that you have not confirmed waits under
<a href="/documents">your documents</a>.</p>
<h2 id="service">Service</h2>
<p>In tunnel mode your administrator has set the print parameters of each service: you choose the service alone.</p>
<h2 id="proxy">Proxy</h2>
<p>The network between your computer and this server asks who you are. User and password are those of your network; whoever
looks after it knows them.</p>
<h2 id="settings">Settings of the printer</h2>
<p>The directory service is this server, written server:port;application:directory. Leave the proxy empty unless your network
needs one. The boxes below make your computer forget passwords that it has kept.</p>
)html";

} // namespace

std::string helpPage(const PortalSettings &settings)
{
    return messagePage(settings, "Printing with Varek", sections);
}

} // namespace appserver
