// SPDX-License-Identifier: MIT
#include "appserver/ServerConfiguration.h"
#include "appserver/finishing.h"
#include "appserver/html_text.h"
#include "appserver/server_log.h"
#include "appserver/server_options.h"
#include "tests/fuzz/fuzz_entry.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

// The server's configuration file, its command line, and forms as a browser sends them; the first byte
// chooses.

namespace {

using namespace appserver;

void checkConfiguration(std::string_view text)
{
    try {
        const ServerConfiguration configuration = ServerConfiguration::parse(text);
        ensure(configuration.listen.port >= 0 && configuration.listen.port <= 65535);
        ensure(!configuration.listen.publicName.empty() && configuration.portal.copies >= 1);
        ensure(configuration.limits.fileBytes <= 2'147'483'647 && configuration.limits.sessionObjects <= 64);
        for (const auto &[name, container] : configuration.containers) {
            ensure(std::ranges::all_of(container.tunnelServices,
                                       [](const auto &service) { return service.size() == 3; }));
        }
    } catch (const ConfigurationError &error) {
        ensure(std::string_view(error.what()).size() > 3);
    }
    static_cast<void>(withOwnAddresses(text, {"{address}", 1, "{port}"}));
}

void checkOptions(std::string_view text)
{
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        words.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    try {
        const ServerOptions options = parseServerOptions(words);
        ensure(options.port.value_or(0) >= 0 && options.port.value_or(0) <= 65535);
    } catch (const UsageError &error) {
        ensure(std::string_view(error.what()).size() > 3);
    }
}

void checkForm(std::string_view text)
{
    const auto fields = parseForm(text);
    if (!fields) {
        return;
    }
    ensure(fields->size() <= 64);
    const PortalSettings settings;
    const auto wanted = choicesFrom(*fields, settings);
    if (const auto *choices = std::get_if<PrintChoices>(&wanted)) {
        ensure(choices->copies >= 1 && choices->copies <= settings.copies);
        ensure(std::ranges::find(settings.papers, choices->paper) != settings.papers.end());
        ensure(choices->note.size() <= 4 * noteMaxLength && choices->note.find('\r') == std::string::npos);
    }
}

void checkShownText(std::string_view text)
{
    const std::string html = escapedHtml(text);
    ensure(html.find_first_of("<>\"'") == std::string::npos);
    const std::string line = forLog(text);
    ensure(line.size() <= 4 * 256 && std::ranges::none_of(line, [](char c) {
               return static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == '"';
           }));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string_view text(reinterpret_cast<const char *>(data + 1), size - 1);
    constexpr void (*checks[])(std::string_view) = {checkConfiguration, checkOptions, checkForm,
                                                    checkShownText};
    checks[data[0] % std::size(checks)](text);
    return 0;
}
