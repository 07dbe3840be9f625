// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <sys/wait.h>

#include <cstdlib>
#include <string>

/// One call of the program vrserver that ends by itself, as on a terminal without one: input from a file.
class ServerCommand
{
public:
    /// The words are a shell's: quote what needs it. Ends a server that unexpectedly starts after 60 s.
    explicit ServerCommand(const std::string &words, const std::string &input = {})
    {
        const std::string in = m_folder.write("in", input);
        const std::string line = "timeout 60 " VAREK_BUILD_DIR "/bin/vrserver " + words + " < '" + in +
                                 "' > '" + m_folder.file("out") + "' 2> '" + m_folder.file("err") + "'";
        const int ended = std::system(line.c_str());
        m_status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    }

    [[nodiscard]] int status() const { return m_status; }

    [[nodiscard]] std::string output() const { return m_folder.read("out"); }

    [[nodiscard]] std::string errors() const { return m_folder.read("err"); }

private:
    TemporaryFolder m_folder;
    int m_status = -1;
};
