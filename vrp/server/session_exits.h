// SPDX-License-Identifier: MIT
#pragma once

class RequestSession;

/// The ways in which a server operation ends early. Each closes the session, if there is one, tells the user
/// unless the run is silent, closes the progress window and returns 1, the operation's result.

int failWith(RequestSession &session, const wchar_t *messageId);

/// The user has cancelled: an information box says so.
int endCancelled(RequestSession &session);

/// As failWith, for a step of an operation, which says by false that the operation has ended.
[[nodiscard]] bool stepFailed(RequestSession &session, const wchar_t *messageId);

/// True unless the user has cancelled: then the operation has ended as by endCancelled.
[[nodiscard]] bool goOn(RequestSession &session);
