/* SPDX-License-Identifier: MIT */
#ifndef VRC_H
#define VRC_H

/*
 * The client library of the Varek application server.
 *
 *     char text[8192];
 *     void *request = VrOpenRequest("Server=\"localhost:1082\" Ssl=\"YES\" Application=\"directory\"");
 *     if (request == NULL) return -1;
 *     if (VrCommand(request, "VR_PROC=|GetData| DIRECTORY=|demo| KEY=|Help| ENTRIES=|Topics|",
 *                   NULL, 0, NULL) != 1)
 *         VrCommand(request, "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|DESCRIPTION|",
 *                   text, sizeof text, NULL);
 *     VrCommand(request, "VR_CLOSE_SESSION=|YES|", NULL, 0, NULL);
 *     VrCloseRequest(request);
 *
 * All text is UTF-8 and zero-terminated. A request is a connection to one server with one set of credentials;
 * it may be used by one thread at a time, different requests by different threads. No function throws, and
 * none ends the process. The command language, the wire protocol and every error are described in
 * docs/protocol.md.
 */

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define VRC_EXPORT __attribute__((visibility("default")))
#else
#define VRC_EXPORT
#endif

/*
 * Opens a request from a connection string of Key="value" pairs separated by single blanks, in any order,
 * each at most once, 64 KiB together:
 *
 *     Server             host:port, an IPv6 address in brackets; must be there. Through a proxy
 *                        proxy::http://host:port(user;password)::host:port, (user;password) being optional
 *     Ssl                YES or NO (default): TLS 1.2 or newer. The server's certificate is verified, always,
 *                        against the system's authorities and those in vrc-ca.pem beside the library
 *     Application        what the server is asked for, with the
 *     User, Password     that it wants for this application
 *     Open, Close        procedures that the server runs when the session begins and ends
 *     Sso                YES or NO (default): single sign-on with the caller's Kerberos ticket
 *     SsoPrincipal       service/host of the server; what stands before the slash counts, default HTTP
 *     ConnectionTimeOut  1 to 3600 seconds for connecting; default 30
 *     SocketLog          path of a file that gets a line for each request and answer, secrets masked
 *     Unicode            YES or NO: taken and without effect, all text is UTF-8
 *
 * Nothing is escaped: a value ends at a double quote which the end, or a blank and the next key, follows.
 * Nothing is sent yet: the server is contacted by the first command that needs it. Returns null only for a
 * string that cannot be parsed, when the part of the library that stands beside it (libvrc-core) cannot be
 * loaded, and when there is no memory for a request. The caller owns the handle and gives it back with
 * VrCloseRequest.
 */
VRC_EXPORT void *VrOpenRequest(const char *connection);

/*
 * Carries out one command, at most 1 MiB long. Those that begin with LOCAL: never touch the network; remote
 * ones that carry nothing back are queued: 1 says then that they are on their way, and the next command that
 * waits for an answer fails when one of them failed. A command waits 30 s for a byte of the server, and 10
 * minutes for the answer of a procedure. A command that is repeated directly after a network error
 * (LOCAL/REQUEST/104), with the same text, is carried out once, even when only its answer was lost.
 *
 * `result` may be null; otherwise at most `capacity` bytes are written to it, the terminating zero included;
 * it is empty after an error. A result that does not fit is an error (LOCAL/REQUEST/124), never a cut text.
 * `extra` is reserved and may be null. Returns 1 for success and 0 for an error; the error of the last failed
 * command is then asked with VR_CMD=|LOCAL:REQUEST:ERROR_INFO|, which neither changes nor clears it.
 */
VRC_EXPORT int VrCommand(void *request, const char *command, char *result, int capacity, int *extra);

/*
 * Frees the request with its local objects and the temporary files that belong to them. What is queued is
 * seen carried out before. The session on the server goes on: only VR_CLOSE_SESSION=|YES| ends it. Null is
 * allowed.
 */
VRC_EXPORT void VrCloseRequest(void *request);

#ifdef __cplusplus
}
#endif

#endif
