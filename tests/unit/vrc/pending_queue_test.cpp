// SPDX-License-Identifier: MIT
#include "vrc/PendingQueue.h"

#include <gtest/gtest.h>

using vrc::PendingQueue;
using vrc::QueuedCommand;
using Kind = vrc::QueuedCommand::Kind;

namespace {

QueuedCommand command(Kind kind, std::uint64_t number, const std::string &name)
{
    QueuedCommand command;
    command.kind = kind;
    command.number = number;
    command.name = name;
    return command;
}

QueuedCommand removal(std::uint64_t number)
{
    return command(Kind::remove, number, "B");
}

QueuedCommand sending(std::uint64_t number, std::uint64_t offset, std::uint64_t bytes)
{
    QueuedCommand send = command(Kind::send, number, "B");
    send.slice = {"/doc", offset, bytes};
    return send;
}

QueuedCommand appending(std::uint64_t number, std::uint64_t offset)
{
    QueuedCommand append = command(Kind::append, number, "R");
    append.sourceName = "B";
    append.offset = offset;
    return append;
}

QueuedCommand kept(std::uint64_t number, const std::string &name, std::size_t bytes = 10)
{
    QueuedCommand other = command(Kind::kept, number, name);
    other.frames.assign(bytes, 'k');
    return other;
}

/// "1R 2S0+100 3A0": number, kind, and where the bytes are.
std::string textAfter(const PendingQueue &queue, std::uint64_t number)
{
    std::string text;
    queue.forEachAfter(number, [&text](const QueuedCommand &command) {
        text += (text.empty() ? "" : " ") + std::to_string(command.number);
        text += command.kind == Kind::remove ? "R"
                : command.kind == Kind::send
                    ? "S" + std::to_string(command.slice.offset) + "+" + std::to_string(command.slice.bytes)
                    : "A" + std::to_string(command.offset);
        EXPECT_EQ(command.name, command.kind == Kind::append ? "R" : "B");
        EXPECT_TRUE(command.kind != Kind::append || command.sourceName == "B");
        EXPECT_TRUE(command.kind != Kind::send || command.slice.path == "/doc");
    });
    return text;
}

void addBlocks(PendingQueue &queue, std::uint64_t blocks, std::uint64_t blockBytes)
{
    for (std::uint64_t i = 0; i < blocks; ++i) {
        queue.add(removal(3 * i + 1));
        queue.add(sending(3 * i + 2, i * blockBytes, blockBytes));
        queue.add(appending(3 * i + 3, i * blockBytes));
    }
}

} // namespace

TEST(PendingQueue, gives_back_what_was_added)
{
    PendingQueue queue;
    addBlocks(queue, 2, 100);
    queue.add(removal(7));
    queue.add(sending(8, 200, 30));
    queue.add(appending(9, 200));
    queue.add(removal(10));
    queue.add(sending(11, 230, 5));
    EXPECT_EQ(textAfter(queue, 0), "1R 2S0+100 3A0 4R 5S100+100 6A100 7R 8S200+30 9A200 10R 11S230+5");
}

TEST(PendingQueue, gives_what_follows_any_number)
{
    PendingQueue queue;
    addBlocks(queue, 3, 100);
    EXPECT_EQ(textAfter(queue, 4), "5S100+100 6A100 7R 8S200+100 9A200");
    EXPECT_EQ(textAfter(queue, 6), "7R 8S200+100 9A200");
    EXPECT_EQ(textAfter(queue, 9), "");
}

TEST(PendingQueue, knows_blocks_without_removals)
{
    PendingQueue queue;
    queue.add(sending(1, 0, 10));
    queue.add(appending(2, 0));
    queue.add(sending(3, 10, 10));
    queue.add(appending(4, 10));
    EXPECT_EQ(textAfter(queue, 2), "3S10+10 4A10");
    EXPECT_EQ(queue.expectedSize(1), 0U);
    EXPECT_EQ(queue.expectedSize(2), 10U);
    EXPECT_EQ(queue.expectedSize(4), 20U);
}

TEST(PendingQueue, a_long_document_takes_no_more_room_than_a_short_one)
{
    PendingQueue queue;
    addBlocks(queue, 100'000, 65536);
    EXPECT_FALSE(queue.isFull());
    EXPECT_EQ(textAfter(queue, 299'999), "300000A6553534464");
    EXPECT_EQ(queue.expectedSize(150'000), 50'000U * 65536);
}

TEST(PendingQueue, a_block_behind_a_short_one_is_kept_right)
{
    PendingQueue queue;
    queue.add(sending(1, 0, 10));
    queue.add(appending(2, 0));
    queue.add(sending(3, 10, 4));
    queue.add(appending(4, 10));
    queue.add(sending(5, 14, 10));
    queue.add(appending(6, 14));
    EXPECT_EQ(textAfter(queue, 0), "1S0+10 2A0 3S10+4 4A10 5S14+10 6A14");
}

TEST(PendingQueue, forgets_what_was_carried_out)
{
    PendingQueue queue;
    addBlocks(queue, 2, 100);
    queue.add(removal(7));
    queue.dropThrough(5);
    EXPECT_EQ(textAfter(queue, 5), "6A100 7R");
    EXPECT_EQ(queue.appendedObject(), "R");
    queue.dropThrough(7);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.appendedObject(), "");
}

TEST(PendingQueue, single_commands_fill_it)
{
    PendingQueue queue;
    std::uint64_t number = 0;
    while (!queue.isFull() && number < 100'000) {
        queue.add(removal(++number));
    }
    EXPECT_LT(number, 1000U);
}

TEST(PendingQueue, the_bytes_of_other_commands_fill_it)
{
    PendingQueue queue;
    std::uint64_t number = 0;
    while (!queue.isFull() && number < 100) {
        queue.add(kept(++number, "O", 65536));
    }
    EXPECT_LE(number, 4U);
}

TEST(PendingQueue, other_commands_stand_between_the_blocks_as_they_were_sent)
{
    PendingQueue queue;
    queue.add(kept(1, "R"));
    queue.add(sending(2, 0, 10));
    queue.add(appending(3, 0));
    queue.add(kept(4, ""));
    std::string kinds;
    queue.forEachAfter(0, [&kinds](const QueuedCommand &command) {
        kinds += command.kind == Kind::kept ? "K" + std::to_string(command.frames.size()) : ".";
    });
    EXPECT_EQ(kinds, "K10..K10");
}

TEST(PendingQueue, knows_what_takes_long_and_what_may_fail)
{
    PendingQueue queue;
    queue.add(kept(1, "A"));
    EXPECT_FALSE(queue.isLong());
    EXPECT_TRUE(queue.forgiven().empty());
    QueuedCommand creation = kept(2, "B");
    creation.isForgiven = true;
    queue.add(creation);
    QueuedCommand decompression = kept(3, "C");
    decompression.isLong = true;
    queue.add(decompression);
    EXPECT_TRUE(queue.isLong());
    EXPECT_EQ(queue.forgiven(), std::vector<std::uint64_t>{2});
    queue.dropThrough(3);
    EXPECT_FALSE(queue.isLong());
    EXPECT_TRUE(queue.forgiven().empty());
}

/// Commands 1 (makes R), 2 and 3 (a block), 4 (removes R).
TEST(PendingQueue, tells_a_size_only_where_the_blocks_alone_decide_it)
{
    PendingQueue queue;
    queue.add(kept(1, "R"));
    queue.add(sending(2, 0, 10));
    queue.add(appending(3, 0));
    queue.add(kept(4, "R"));
    EXPECT_EQ(queue.expectedSize(0), std::nullopt); // the R of before
    EXPECT_EQ(queue.expectedSize(1), std::nullopt); // it may not have been made
    EXPECT_EQ(queue.expectedSize(3), 10U);
    EXPECT_EQ(queue.expectedSize(4), std::nullopt);
    queue.dropThrough(1);
    EXPECT_EQ(queue.expectedSize(1), 0U);
}

TEST(PendingQueue, tells_no_size_behind_a_block_that_was_appended_twice)
{
    PendingQueue queue;
    queue.add(sending(1, 0, 10));
    queue.add(appending(2, 0));
    queue.add(appending(3, 10));
    EXPECT_EQ(queue.expectedSize(2), 10U);
    EXPECT_EQ(queue.expectedSize(3), std::nullopt);
}
