// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "vrc/Failure.h"
#include "vrc/local_commands.h"
#include "wire/fields.h"

#include <string>
#include <string_view>

namespace {

bool touchesFiles(const wire::Command &command)
{
    return command.name.starts_with("LOCAL:OBJECT:FILE_") || command.name == "LOCAL:OBJECT:COPY" ||
           command.find("FILENAME") != nullptr;
}

void runLocally(vrc::LocalState &state, const wire::Command &command)
{
    if (!command.isLocal() || touchesFiles(command)) {
        return;
    }
    try {
        (void)vrc::runLocalCommand(state, command);
    } catch (const vrc::Failure &failure) {
        ensure(failure.error().code != 0 && !failure.error().description.empty());
    }
}

} // namespace

/// One command a line: what parses is written back as it was, and local ones run over objects that live on.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string_view text(reinterpret_cast<const char *>(data), size);
    vrc::LocalState state;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : text.size());
        std::string problem;
        const auto fields = wire::parseFields(line, problem);
        ensure(fields.has_value() == problem.empty());
        if (!fields) {
            continue;
        }
        ensure(wire::parseFields(wire::formatFields(*fields), problem) == fields);
        (void)wire::maskSecrets(line);
        if (const auto command = wire::parseCommand(line, problem)) {
            runLocally(state, *command);
        }
    }
    return 0;
}
