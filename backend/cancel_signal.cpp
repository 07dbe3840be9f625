// SPDX-License-Identifier: MIT
#include "backend/cancel_signal.h"

#include <sys/select.h>

#include <csignal>
#include <ctime>

namespace backend {
namespace {

volatile std::sig_atomic_t cancelRequested = 0;

void requestCancel(int)
{
    cancelRequested = 1;
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action
    {};

    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

sigset_t cancelSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

} // namespace

void catchSignals()
{
    handle(SIGPIPE, SIG_IGN);
    handle(SIGXFSZ, SIG_IGN);
    handle(SIGHUP, SIG_IGN);
    handle(SIGTERM, requestCancel);
    handle(SIGINT, requestCancel);
}

bool isCancelled()
{
    return cancelRequested != 0;
}

bool waitReadable(int fd, int timeoutMs)
{
    // Blocked until pselect lets them in, the signals cannot slip in between the question and the wait.
    const sigset_t signals = cancelSignals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &signals, &before);
    bool readable = false;
    if (!isCancelled()) {
        fd_set descriptors;
        FD_ZERO(&descriptors);
        if (fd >= 0) {
            FD_SET(fd, &descriptors);
        }
        const timespec limit{timeoutMs / 1000, (timeoutMs % 1000) * 1'000'000L};
        readable =
            pselect(fd + 1, &descriptors, nullptr, nullptr, timeoutMs < 0 ? nullptr : &limit, &before) > 0;
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return readable && !isCancelled();
}

} // namespace backend
