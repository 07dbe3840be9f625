// SPDX-License-Identifier: MIT
#include "vrc/PendingQueue.h"

#include <algorithm>
#include <numeric>

namespace vrc {
namespace {

constexpr std::size_t maxEntries = 256;
constexpr std::size_t maxKeptBytes = 256 * 1024;

} // namespace

void PendingQueue::add(QueuedCommand command)
{
    const bool isAppend = command.kind == QueuedCommand::Kind::append;
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
    const std::size_t keptBytes = std::accumulate(
        m_entries.begin(), m_entries.end(), std::size_t{0},
        [](std::size_t sum, const Entry &entry) { return sum + entry.command.frames.size(); });
    return m_entries.size() >= maxEntries || keptBytes >= maxKeptBytes;
}

bool PendingQueue::isLong() const
{
    return std::any_of(m_entries.begin(), m_entries.end(), [](const Entry &e) { return e.command.isLong; });
}

std::vector<std::uint64_t> PendingQueue::forgiven() const
{
    std::vector<std::uint64_t> numbers;
    for (const Entry &entry : m_entries) {
        if (entry.command.isForgiven) {
            numbers.push_back(entry.command.number);
        }
    }
    return numbers;
}

std::string PendingQueue::appendedObject() const
{
    const auto last =
        std::find_if(m_entries.rbegin(), m_entries.rend(), [](const Entry &e) { return e.isRun(); });
    return last == m_entries.rend() ? std::string() : last->command.name;
}

std::optional<std::uint64_t> PendingQueue::expectedSize(std::uint64_t number) const
{
    const std::string name = appendedObject();
    std::optional<std::uint64_t> size;
    bool isKnown = true; // nothing else has made, replaced or removed the object since the size was known
    for (const Entry &entry : m_entries) {
        if (entry.command.name != name || (size && entry.command.number > number)) {
            continue;
        }
        if (!entry.isRun()) {
            size.reset();
            isKnown = false;
            continue;
        }
        const std::uint64_t first = entry.command.number;
        const std::uint64_t blocks = number < first ? 0 : (number - first + 1) / entry.stride;
        if (blocks > 0 || isKnown) {
            size = entry.command.offset + std::min(blocks * entry.blockBytes, entry.slice.bytes);
            isKnown = true;
        }
    }
    return size;
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

/// Makes [Remove] Send Append at the end a run of one block, and lengthens the run before it where they fit.
void PendingQueue::gatherRun()
{
    const std::size_t count = m_entries.size();
    const QueuedCommand append = m_entries.back().command;
    if (count < 2 || m_entries[count - 2].isRun()) {
        return;
    }
    const QueuedCommand send = m_entries[count - 2].command;
    if (send.kind != QueuedCommand::Kind::send || send.name != append.sourceName || send.slice.bytes == 0) {
        return;
    }
    const bool removes = count >= 3 && !m_entries[count - 3].isRun() &&
                         m_entries[count - 3].command.kind == QueuedCommand::Kind::remove &&
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
    QueuedCommand one;
    one.number = number;
    one.kind = phase == 0 ? Kind::remove : phase == 1 ? Kind::send : Kind::append;
    one.name = one.kind == Kind::append ? command.name : command.sourceName;
    if (one.kind == Kind::send) {
        one.slice = {slice.path, slice.offset + start, bytes};
    } else if (one.kind == Kind::append) {
        one.sourceName = command.sourceName;
        one.offset = command.offset + start;
    }
    return one;
}

} // namespace vrc
