// SPDX-License-Identifier: MIT
#include "backend/job_ticket.h"

#include "backend/value_cleaning.h"

#include <gmock/gmock.h>

using backend::formatTicket;
using backend::JobTicket;
using backend::parseTicket;

namespace {

const JobTicket ticket{"Varek", "Grüße = 1", "desk7", "alice", 3, 1'700'000'000};
constexpr char text[] = "varek-ticket 1\nqueue=Varek\ntitle=Grüße = 1\nhost=desk7\nuser=alice\ncopies=3\n"
                        "time=1700000000\n";

std::string replaced(std::string from, const std::string &what, const std::string &with)
{
    const std::size_t at = from.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return from.replace(at, what.size(), with);
}

TEST(JobTicket, is_written_as_one_line_a_field)
{
    EXPECT_EQ(formatTicket(ticket), text);
}

TEST(JobTicket, is_read_as_it_was_written)
{
    EXPECT_EQ(parseTicket(text), ticket);
}

TEST(JobTicket, holds_no_line_that_a_title_brought_along)
{
    JobTicket hostile = ticket;
    hostile.title = "x\nuser=root\ncopies=9";
    EXPECT_EQ(parseTicket(formatTicket(hostile))->title, "xuser=rootcopies=9");
    EXPECT_EQ(parseTicket(formatTicket(hostile))->user, "alice");
}

TEST(JobTicket, that_somebody_else_wrote_is_cleaned_when_it_is_read)
{
    EXPECT_EQ(parseTicket(replaced(text, "alice", "-s"))->user, " -s");
    EXPECT_EQ(parseTicket(replaced(text, "alice", "a\" -l x \"|"))->user, "a' -l x '");
}

TEST(JobTicket, of_another_form_is_no_ticket)
{
    const std::string whole = text;
    const std::string broken[] = {
        "",
        replaced(whole, "ticket 1", "ticket 2"),
        replaced(whole, "queue=Varek\n", ""),
        replaced(whole, "queue=Varek", "queue="),
        replaced(whole, "queue=Varek", "queue"),
        replaced(whole, "user=alice\n", "user=alice\nuser=bob\n"),
        replaced(whole, "host=desk7\nuser=alice\n", "user=alice\nhost=desk7\n"),
        replaced(whole, "copies=3", "copies=0"),
        replaced(whole, "copies=3", "copies=-3"),
        replaced(whole, "copies=3", "copies=3x"),
        replaced(whole, "copies=3", "copies= 3"),
        replaced(whole, "copies=3", "copies=10000"),
        replaced(whole, "copies=3", "copies=99999999999999999999"),
        replaced(whole, "time=1700000000", "time=-1"),
        replaced(whole, "time=1700000000", "time="),
        whole + "more=1\n",
        whole + "\n",
        whole.substr(0, whole.size() - 1),
    };
    for (const std::string &form : broken) {
        EXPECT_FALSE(parseTicket(form)) << form;
    }
}

TEST(JobTicket, that_is_cut_anywhere_is_no_ticket)
{
    const std::string whole = text;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(parseTicket(whole.substr(0, length))) << length;
    }
}

TEST(JobTicket, of_the_longest_values_can_be_read_again)
{
    const std::string longest(backend::maxValueBytes, 'x');
    const JobTicket large{longest, longest, longest, longest, backend::maxCopies, INT64_MAX};
    EXPECT_EQ(parseTicket(formatTicket(large)), large);
}

TEST(JobTicket, beyond_the_limit_is_no_ticket)
{
    EXPECT_FALSE(parseTicket(replaced(text, "desk7", std::string(backend::maxTicketBytes, 'x'))));
}

} // namespace
