/* SPDX-License-Identifier: MIT */
#ifndef VRC_H
#define VRC_H

/*
 * The client library of the Varek application server.
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
 * Opens a request from a connection string of Key="value" pairs separated by single blanks: Unicode, Server,
 * Sso, SsoPrincipal, Application, User, Password, Ssl, Open, Close, SocketLog, ConnectionTimeOut (seconds).
 * Nothing is sent yet: the server is contacted by the first command that needs it. Returns null only for a
 * string that cannot be parsed, when the part of the library that stands beside it (libvrc-core) cannot be
 * loaded, and when there is no memory for a request. The caller owns the handle and gives it back with
 * VrCloseRequest.
 */
VRC_EXPORT void *VrOpenRequest(const char *connection);

/*
 * Carries out one command. Remote commands that carry nothing back are queued: 1 says then that they are on
 * their way, and the next command that waits for an answer fails when one of them failed. `result` may be
 * null; otherwise at most `capacity` bytes are written to it, the terminating zero included. A result that
 * does not fit is an error (LOCAL/REQUEST/124), never a cut text. `extra` is reserved and may be null.
 * Returns 1 for success and 0 for an error; the error of the last failed command is then asked with
 * VR_CMD=|LOCAL:REQUEST:ERROR_INFO|, which neither changes nor clears it.
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
