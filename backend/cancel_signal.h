// SPDX-License-Identifier: MIT
#pragma once

namespace backend {

/// Makes SIGTERM and SIGINT a wish that is asked for at safe points, and lets a closed pipe or a file size
/// limit be an error of the call that met it: a backend or an agent that dies of a signal leaves work half
/// done.
void catchSignals();

/// Whether SIGTERM or SIGINT has arrived.
[[nodiscard]] bool isCancelled();

/// Waits until the descriptor can be read (true), a caught signal arrives or the time is over (false). A
/// signal that came before the call counts as well. Negative milliseconds wait without limit; with descriptor
/// -1 only time and signals end the wait.
[[nodiscard]] bool waitReadable(int fd, int timeoutMs);

} // namespace backend
