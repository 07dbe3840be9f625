// SPDX-License-Identifier: MIT
#include "appserver/default_configuration.h"

#include "appserver/ServerConfiguration.h"

#include <string_view>

namespace appserver {

namespace {

constexpr std::string_view head = R"(; Configuration of the application server.
;
; Comments stand on lines of their own. A value reaches to the end of its line; semicolons belong to it.
; After a change send the server SIGHUP (kill -HUP, systemctl reload). The [Server] section needs a restart.

[Server]
; The address to listen on: 127.0.0.1 for this machine alone, 0.0.0.0 or :: for every network.
)";

constexpr std::string_view body =
    R"(; The name under which clients reach this server. It is handed out in the directory and stands in the
; certificate. Empty: the address above, or the host name when that is 0.0.0.0 or ::
PublicName=

; Without TLS, for networks where something else encrypts. -1 is off.
)";

constexpr std::string_view rest = R"(
[Limits]
; One request's body, one file, all files of a session on disk, everything else of a session in memory: bytes.
RequestBytes=2200000000
FileBytes=2147483647
SessionFileBytes=4294967296
SessionMemoryBytes=4194304
SessionObjects=64
SessionVariables=64
Sessions=2000
Connections=1000
; A request body that brings fewer bytes than this is cut off; measured over BodyRateSeconds. 0 is off.
BodyBytesPerSecond=128
BodyRateSeconds=30
; Time for a TLS handshake, and for the header of a request.
HeaderSeconds=20
; A session that nobody uses ends after this time. A person may be choosing: 30 minutes or more.
SessionIdleSeconds=1800
; After this many failed logins of a user from one address within the time, further ones are refused.
FailedLogins=10
FailedLoginSeconds=300

[Documents]
; Documents are deleted after this many days, printed or not.
KeepDays=7

[Portal]
; What the web page offers.
Title=Varek Print
Papers=A4,A3,A5,Letter,Legal
Copies=99
Colour=yes
Duplex=yes
Staple=yes

; Single sign-on with Kerberos: the keytab with the keys of HTTP/name-of-this-server, and the realm whose people are
; this server's users (alice@REALM is alice). Both empty: off.
[SingleSignOn]
Keytab=
Realm=

; Applications: the name that a client connects with, its connection user and password (these are no secrets of
; a person: the directory hands them out) and whether a person must log in.
[Application directory]
User=
Password=
Login=no

[Application upload]
User=
Password=
Login=yes

[Application portal]
User=
Password=
Login=yes

; A directory: Directory= lines name the servers that a client may ask in future (server:port;application:directory),
; Topic= lines its help topics (name=address): Main is the printer's help, the others are opened by the Help button of
; the window of that name. {address}, {port} and {portal} stand for this server.
[Directory demo]
Directory={address}:{port};directory:demo
Topic=Main={portal}/help
Topic=DlgIdent={portal}/help#identifier
Topic=DlgProxy={portal}/help#proxy
Topic=DlgPrintMode={portal}/help#mode
Topic=DlgService={portal}/help#service
Topic=DlgConfig={portal}/help#settings

; The parameters that the directory hands out. Every line is passed on as it stands.
[Parameters demo]
SERVER_UPLOAD_ADDRESS={address}
SERVER_UPLOAD_PORT={port}
SERVER_UPLOAD_PROTOCOL=HTTPS
SERVER_UPLOAD_APPLICATION=upload
SERVER_UPLOAD_USER=
SERVER_UPLOAD_PASSWORD=
SERVER_UPLOAD_OPEN_SESSION_PROC=
SERVER_UPLOAD_CLOSE_SESSION_PROC=
SERVER_UPLOAD_SSO=NO
SERVER_UPLOAD_SSO_PRINCIPAL=
SERVER_UPLOAD_PROFILE_CONTAINER=demo
SERVER_UPLOAD_PROCEDURE=ProcessFile
SERVER_UPLOAD_PARAM=QUEUE=|demo|
SERVER_PORTAL_ADDRESS={address}
SERVER_PORTAL_PORT={port}
SERVER_PORTAL_PROTOCOL=HTTPS
SERVER_PORTAL_APPLICATION=portal
SERVER_PORTAL_USER=
SERVER_PORTAL_PASSWORD=
SERVER_PORTAL_OPEN_SESSION_PROC=
SERVER_PORTAL_CLOSE_SESSION_PROC=
SERVER_PORTAL_SSO=NO
SERVER_PORTAL_SSO_PRINCIPAL=
PORTAL_URL={portal}/portal?client=vrp
LAST_VERSION_CHECK=NO
LAST_VERSION=1.00.000
LAST_VERSION_DOWNLOAD=

; What a user may do. PrintingModes: STANDARD, ASYNC, TUNNEL. TunnelMode: SINGLE (TunnelServiceName and
; TunnelServiceProfile) or MULTIPLE (TunnelService lines: name;label;profile).
[Profile demo]
PrintingModes=STANDARD,ASYNC,TUNNEL
TunnelMode=MULTIPLE
TunnelService=archive;Archive;long-term
TunnelService=fax;Fax gateway;standard
TunnelServiceName=archive
TunnelServiceProfile=long-term
)";

std::string setting(std::string_view key, const std::string &value)
{
    return std::string(key) + '=' + value + '\n';
}

} // namespace

std::string defaultConfiguration(const ListenSettings &listen)
{
    return std::string(head) + setting("Listen", listen.address) +
           setting("Port", std::to_string(listen.port)) +
           setting("PortalPort", std::to_string(listen.portalPort)) + std::string(body) +
           setting("PlainPort", std::to_string(listen.plainPort)) +
           setting("PlainPortalPort", std::to_string(listen.plainPortalPort)) + std::string(rest);
}

} // namespace appserver
