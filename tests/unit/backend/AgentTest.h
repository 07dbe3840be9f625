// SPDX-License-Identifier: MIT
#pragma once

#include "backend/agent_run.h"
#include "backend/job_ticket.h"
#include "tests/unit/backend/files_on_disk.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

/// A spool folder of its own and a script in the place of the program that is started for each job.
class AgentTest : public testing::Test
{
protected:
    /// Writes each argument as one line of "calls", an empty line behind each call, and deletes the document.
    static constexpr char obedientProgram[] = "#!/bin/sh\n"
                                              "{ printf '%s\\n' \"$@\"; echo; } >>\"${0%/*}/calls\"\n"
                                              "rm \"$6\"\n";

    AgentTest()
    {
        std::filesystem::create_directory(folder());
        ::chmod(folder().c_str(), 0700);
        installProgram(obedientProgram);
    }

    [[nodiscard]] std::filesystem::path folder() const
    {
        return scratch.path() / std::to_string(::geteuid());
    }

    void installProgram(const std::string &script) const { writeFile(scratch.path() / "vrp", script, 0755); }

    void spool(const std::string &stem, const backend::JobTicket &ticket) const
    {
        writeFile(folder() / (stem + ".document"), "document " + stem);
        writeFile(folder() / (stem + ".part"), formatTicket(ticket));
        std::filesystem::rename(folder() / (stem + ".part"), folder() / (stem + ".ticket"));
    }

    void spool(const std::string &stem, const std::string &title = "Title") const
    {
        spool(stem, {"Varek", title, "desk7", "alice", 2, 1});
    }

    [[nodiscard]] backend::AgentOptions options() const
    {
        return {.spoolRoot = scratch.path(), .program = scratch.path() / "vrp", .displayWaitMs = 0};
    }

    int runOnce(bool display = true)
    {
        return backend::runAgent(options(),
                                 {.displayOpens = [display] { return display; },
                                  .tellUser = [this](const std::string &text) { told.push_back(text); }});
    }

    [[nodiscard]] std::string calls() const { return contents(scratch.path() / "calls"); }

    [[nodiscard]] std::vector<std::string> files(const std::filesystem::path &where) const
    {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(where)) {
            if (entry.is_regular_file() && entry.path().filename() != "agent.lock") {
                names.push_back(entry.path().filename());
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] std::filesystem::path failed() const { return folder() / "failed"; }

    TemporaryFolder scratch;
    std::vector<std::string> told;
};
