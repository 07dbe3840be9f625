// SPDX-License-Identifier: MIT
#include "appserver/finishing.h"

#include "appserver/ServerConfiguration.h"
#include "wire/utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace appserver {

namespace {

constexpr std::array colours{ChoiceOption{"colour", "Colour"}, ChoiceOption{"grey", "Greyscale"}};
constexpr std::array sides{ChoiceOption{"one-sided", "One side"}, ChoiceOption{"long-edge", "Both sides"},
                           ChoiceOption{"short-edge", "Both, short edge"}};
constexpr std::array staples{ChoiceOption{"none", "None"}, ChoiceOption{"corner", "Corner"},
                             ChoiceOption{"side", "Two, left"}};

bool isOffered(std::span<const ChoiceOption> options, std::string_view value)
{
    return std::ranges::find(options, value, &ChoiceOption::value) != options.end();
}

std::optional<int> copiesFrom(const std::string &text, int most)
{
    int copies = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), copies);
    if (error != std::errc() || end != text.data() + text.size() || copies < 1 || copies > most) {
        return std::nullopt;
    }
    return copies;
}

/// Line ends as one character; no other control characters.
std::optional<std::string> noteFrom(const std::string &text)
{
    std::string note;
    std::ranges::copy_if(text, std::back_inserter(note), [](char c) { return c != '\r'; });
    const auto length =
        std::ranges::count_if(note, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; });
    const bool plain = std::ranges::none_of(note, [](char c) {
        return (static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t') || c == 0x7F;
    });
    if (!plain || !wire::isText(note) || static_cast<std::size_t>(length) > noteMaxLength) {
        return std::nullopt;
    }
    return note;
}

} // namespace

std::span<const ChoiceOption> colourOptions()
{
    return colours;
}

std::span<const ChoiceOption> duplexOptions()
{
    return sides;
}

std::span<const ChoiceOption> stapleOptions()
{
    return staples;
}

std::string_view labelOf(std::span<const ChoiceOption> options, std::string_view value)
{
    const auto found = std::ranges::find(options, value, &ChoiceOption::value);
    return found == options.end() ? value : found->label;
}

PrintChoices defaultChoices(const PortalSettings &settings)
{
    return {1,
            settings.papers.empty() ? std::string() : settings.papers.front(),
            settings.colour ? "colour" : "grey",
            "one-sided",
            "none",
            {}};
}

std::variant<PrintChoices, std::string> choicesFrom(const FormFields &fields, const PortalSettings &settings)
{
    PrintChoices choices = defaultChoices(settings);
    const auto copies = copiesFrom(fieldOf(fields, "copies"), settings.copies);
    if (!copies) {
        return "Copies: a number from 1 to " + std::to_string(settings.copies) + ", please.";
    }
    choices.copies = *copies;
    choices.paper = fieldOf(fields, "paper");
    if (std::ranges::find(settings.papers, choices.paper) == settings.papers.end()) {
        return std::string("Paper: please choose one of the sizes offered.");
    }
    if (settings.colour) {
        choices.colour = fieldOf(fields, "colour");
    }
    if (settings.duplex) {
        choices.duplex = fieldOf(fields, "duplex");
    }
    if (settings.staple) {
        choices.staple = fieldOf(fields, "staple");
    }
    if (!isOffered(colours, choices.colour) || !isOffered(sides, choices.duplex) ||
        !isOffered(staples, choices.staple)) {
        return std::string("Please answer every question with one of the choices offered.");
    }
    const auto note = noteFrom(fieldOf(fields, "note"));
    if (!note) {
        return "Note: at most " + std::to_string(noteMaxLength) + " characters, please.";
    }
    choices.note = *note;
    return choices;
}

} // namespace appserver
