// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/LocalFile.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vrc {

/// One command that was sent without waiting for its answer.
struct QueuedCommand
{
    enum class Kind
    {
        remove,
        send,
        append,
        kept ///< its frames are kept as they were sent
    };

    Kind kind = Kind::remove;
    std::uint64_t number = 0;
    std::string name;         ///< of the object appended to, or made, replaced or removed; may be empty
    std::string sourceName;   ///< Append: the object that is appended
    FileSlice slice;          ///< Send: where the bytes stand on this machine
    std::uint64_t offset = 0; ///< Append: the size that the object has before
    std::string frames;       ///< Kept
    bool isForgiven = false;  ///< a failure of it is no failure of the queue
    bool isLong = false;      ///< may take the server minutes
};

/// The commands whose answers are outstanding, oldest first. The bytes of blocks are not kept: they stand in
/// the local file that the blocks were copied from. However many blocks a document has, they take a few
/// hundred bytes, since blocks that follow each other are kept as one run.
class PendingQueue
{
public:
    /// Numbers are given without gaps.
    void add(QueuedCommand command);

    /// Everything up to this number was carried out.
    void dropThrough(std::uint64_t number);

    void clear() { m_entries.clear(); }

    [[nodiscard]] bool isEmpty() const { return m_entries.empty(); }

    /// True when further commands have to wait for the answers of these.
    [[nodiscard]] bool isFull() const;

    /// True when one of them may take the server minutes.
    [[nodiscard]] bool isLong() const;

    /// The numbers of those whose failure is no failure of the queue.
    [[nodiscard]] std::vector<std::uint64_t> forgiven() const;

    /// The object that the loop appends to; empty when there is none.
    [[nodiscard]] std::string appendedObject() const;

    /// The size that this object has when everything up to `number` was carried out. No value when the
    /// commands do not tell.
    [[nodiscard]] std::optional<std::uint64_t> expectedSize(std::uint64_t number) const;

    /// Every command after `number`, in order.
    void forEachAfter(std::uint64_t number, const std::function<void(const QueuedCommand &)> &visit) const;

private:
    /// One command; or, with blockBytes, a run of [Remove] Send Append triples of blocks that follow each
    /// other.
    struct Entry
    {
        QueuedCommand command; ///< of a run: its first Append, as if it were the first command
        FileSlice slice;       ///< of a run: all its bytes
        std::uint64_t blockBytes = 0;
        std::uint64_t stride = 1; ///< commands a block

        [[nodiscard]] bool isRun() const { return blockBytes != 0; }

        [[nodiscard]] std::uint64_t blocks() const;
        [[nodiscard]] std::uint64_t lastNumber() const;
        [[nodiscard]] QueuedCommand at(std::uint64_t number) const;
    };

    void gatherRun();
    [[nodiscard]] static bool continues(const Entry &run, const Entry &next);

    std::vector<Entry> m_entries;
};

} // namespace vrc
