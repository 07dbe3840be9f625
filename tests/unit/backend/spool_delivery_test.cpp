// SPDX-License-Identifier: MIT
#include "backend/SpoolDelivery.h"
#include "backend/backend_failure.h"
#include "tests/unit/backend/files_on_disk.h"

#include <fcntl.h>
#include <gmock/gmock.h>

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

class Delivery : public testing::Test
{
protected:
    Delivery() { writeFile(scratch.path() / "source", "contents"); }

    /// Stages two documents of one job, lets something happen and publishes them.
    template <typename Action>
    void deliver(Action beforePublishing)
    {
        backend::JobTicket ticket;
        ticket.queue = "Varek";
        backend::SpoolDelivery delivery(folder.get());
        for (const char *stem : {"1-7-0", "1-7-1"}) {
            delivery.stage(stem, {open(scratch.path() / "source"), false}, ticket);
        }
        beforePublishing();
        delivery.publish();
    }

    static backend::FileDescriptor open(const fs::path &path)
    {
        return backend::FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    }

    [[nodiscard]] fs::path spool() const { return scratch.path() / "spool"; }

    TemporaryFolder scratch;
    bool created = fs::create_directory(spool());
    backend::FileDescriptor folder = open(spool());
};

TEST_F(Delivery, publishes_every_document_with_its_ticket)
{
    deliver([] {});
    EXPECT_THAT(namesIn(spool()),
                ElementsAre("1-7-0.document", "1-7-0.ticket", "1-7-1.document", "1-7-1.ticket"));
}

TEST_F(Delivery, a_job_that_cannot_be_published_as_a_whole_is_not_published_at_all)
{
    for (const char *inTheWay : {"1-7-0.document", "1-7-0.ticket", "1-7-1.document", "1-7-1.ticket"}) {
        EXPECT_THROW(deliver([&] { fs::create_directory(spool() / inTheWay); }), backend::BackendFailure);
        EXPECT_THAT(namesIn(spool()), ElementsAre(inTheWay));
        fs::remove(spool() / inTheWay);
    }
}

TEST_F(Delivery, writes_into_no_file_or_link_that_was_there_before)
{
    writeFile(scratch.path() / "precious", "precious");
    for (const char *inTheWay : {"1-7-0.document.part", "1-7-1.ticket.part"}) {
        fs::create_symlink(scratch.path() / "precious", spool() / inTheWay);
        EXPECT_THROW(deliver([] {}), backend::BackendFailure);
        EXPECT_EQ(contents(scratch.path() / "precious"), "precious");
        fs::remove(spool() / inTheWay);
        writeFile(spool() / inTheWay, "another's");
        EXPECT_THROW(deliver([] {}), backend::BackendFailure);
        EXPECT_EQ(contents(spool() / inTheWay), "another's");
        EXPECT_THAT(namesIn(spool()), ElementsAre(inTheWay));
        fs::remove(spool() / inTheWay);
    }
}

} // namespace
