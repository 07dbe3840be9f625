// SPDX-License-Identifier: MIT
#include "vrc/pending_queue.h"

#include <algorithm>
#include <optional>

namespace vrc {
namespace {

constexpr std::size_t kMaxEntries = 256;

} // namespace

void PendingQueue::add(QueuedCommand command)
{
    const bool isAppend = command.kind == QueuedCommand::Kind::Append;
    m_entries.push_back({std::move(command), {}, 0, 1});
    if (isAppend) {
        gatherRun();
    }
}

void PendingQueue::dropThrough(std::uint64_t number)
{
    const auto isDone = [number](const Entry &entry) { return entry.lastNumber() <= number; };
    m_entries.erase(m_entries.begin(), std::find_if_not(m_entries.begin(), m_entries.end(), isDone));
}

bool PendingQueue::isFull() const
{
    return m_entries.size() >= kMaxEntries;
}

std::string PendingQueue::appendedObject() const
{
    const auto last =
        std::find_if(m_entries.rbegin(), m_entries.rend(), [](const Entry &e) { return e.isRun(); });
    return last == m_entries.rend() ? std::string() : last->command.name;
}

std::uint64_t PendingQueue::expectedSize(std::uint64_t number) const
{
    const std::string name = appendedObject();
    std::optional<std::uint64_t> size;
    for (const Entry &entry : m_entries) {
        if (!entry.isRun() || entry.command.name != name) {
            continue;
        }
        const std::uint64_t first = entry.command.number;
        const std::uint64_t blocks = number < first ? 0 : (number - first + 1) / entry.stride;
        if (blocks > 0 || !size) {
            size = entry.command.offset + std::min(blocks * entry.blockBytes, entry.slice.bytes);
        }
    }
    return size.value_or(0);
}

void PendingQueue::forEachAfter(std::uint64_t number,
                                const std::function<void(const QueuedCommand &)> &visit) const
{
    for (const Entry &entry : m_entries) {
        for (std::uint64_t n = std::max(number + 1, entry.command.number); n <= entry.lastNumber(); ++n) {
            visit(entry.at(n));
        }
    }
}

// Makes [Remove] Send Append at the end a run of one block, and lengthens the run before it where they fit.
void PendingQueue::gatherRun()
{
    const std::size_t count = m_entries.size();
    const QueuedCommand append = m_entries.back().command;
    if (count < 2 || m_entries[count - 2].isRun()) {
        return;
    }
    const QueuedCommand send = m_entries[count - 2].command;
    if (send.kind != QueuedCommand::Kind::Send || send.name != append.sourceName || send.slice.bytes == 0) {
        return;
    }
    const bool removes = count >= 3 && !m_entries[count - 3].isRun() &&
                         m_entries[count - 3].command.kind == QueuedCommand::Kind::Remove &&
                         m_entries[count - 3].command.name == append.sourceName;
    Entry run{append, send.slice, send.slice.bytes, removes ? 3U : 2U};
    run.command.number = append.number + 1 - run.stride;
    m_entries.resize(count - static_cast<std::size_t>(run.stride));
    if (!m_entries.empty() && continues(m_entries.back(), run)) {
        m_entries.back().slice.bytes += run.slice.bytes;
    } else {
        m_entries.push_back(std::move(run));
    }
}

bool PendingQueue::continues(const Entry &run, const Entry &next)
{
    return run.isRun() && run.stride == next.stride && run.command.name == next.command.name &&
           run.command.sourceName == next.command.sourceName && run.slice.path == next.slice.path &&
           run.slice.offset + run.slice.bytes == next.slice.offset &&
           run.command.offset + run.slice.bytes == next.command.offset &&
           run.slice.bytes % run.blockBytes == 0 && next.blockBytes <= run.blockBytes &&
           run.lastNumber() + 1 == next.command.number;
}

std::uint64_t PendingQueue::Entry::blocks() const
{
    return isRun() ? (slice.bytes + blockBytes - 1) / blockBytes : 1;
}

std::uint64_t PendingQueue::Entry::lastNumber() const
{
    return command.number + blocks() * stride - 1;
}

QueuedCommand PendingQueue::Entry::at(std::uint64_t number) const
{
    if (!isRun()) {
        return command;
    }
    using Kind = QueuedCommand::Kind;
    const std::uint64_t index = number - command.number;
    const std::uint64_t start = index / stride * blockBytes;
    const std::uint64_t phase = index % stride + (3 - stride);
    const std::uint64_t bytes = std::min(blockBytes, slice.bytes - start);
    if (phase == 0) {
        return {Kind::Remove, number, command.sourceName, {}, {}, 0};
    }
    if (phase == 1) {
        return {Kind::Send, number, command.sourceName, {}, {slice.path, slice.offset + start, bytes}, 0};
    }
    return {Kind::Append, number, command.name, command.sourceName, {}, command.offset + start};
}

} // namespace vrc
