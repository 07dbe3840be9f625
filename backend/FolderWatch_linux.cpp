// SPDX-License-Identifier: MIT
#include "backend/FolderWatch.h"

#include "backend/cancel_signal.h"

#include <sys/inotify.h>

#include <array>

namespace backend {

FolderWatch::FolderWatch(const std::string &path)
{
    FileDescriptor queue(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    constexpr std::uint32_t changes = IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
    if (queue.isOpen() && ::inotify_add_watch(queue.get(), path.c_str(), changes) >= 0) {
        m_queue = std::move(queue);
    }
}

void FolderWatch::wait(int timeoutMs)
{
    if (!waitReadable(m_queue.get(), timeoutMs)) {
        return;
    }
    std::array<char, 4096> events{};
    while (::read(m_queue.get(), events.data(), events.size()) > 0) {
    }
}

} // namespace backend
