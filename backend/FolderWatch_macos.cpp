// SPDX-License-Identifier: MIT
#include "backend/FolderWatch.h"

#include "backend/cancel_signal.h"

#include <fcntl.h>
#include <sys/event.h>

namespace backend {

FolderWatch::FolderWatch(const std::string &path) : m_target(::open(path.c_str(), O_EVTONLY | O_CLOEXEC))
{
    FileDescriptor queue(::kqueue());

    struct kevent change
    {};

    EV_SET(&change, static_cast<uintptr_t>(m_target.get()), EVFILT_VNODE, EV_ADD | EV_CLEAR,
           NOTE_WRITE | NOTE_ATTRIB | NOTE_DELETE | NOTE_RENAME, 0, nullptr);
    if (queue.isOpen() && m_target.isOpen() && ::kevent(queue.get(), &change, 1, nullptr, 0, nullptr) == 0) {
        m_queue = std::move(queue);
    }
}

void FolderWatch::wait(int timeoutMs)
{
    if (!waitReadable(m_queue.get(), timeoutMs)) {
        return;
    }

    struct kevent event
    {};

    const timespec atOnce{};
    while (::kevent(m_queue.get(), nullptr, 0, &event, 1, &atOnce) > 0) {
    }
}

} // namespace backend
