// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/DocumentStore.h"
#include "appserver/html_text.h"

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace appserver {

struct PortalSettings;

/// One way to answer a question of the form: what is stored, and what is shown.
struct ChoiceOption
{
    std::string_view value;
    std::string_view label;
};

[[nodiscard]] std::span<const ChoiceOption> colourOptions();
[[nodiscard]] std::span<const ChoiceOption> duplexOptions();
[[nodiscard]] std::span<const ChoiceOption> stapleOptions();
/// The label of a stored value; the value itself where there is none.
[[nodiscard]] std::string_view labelOf(std::span<const ChoiceOption> options, std::string_view value);

/// Code points of a note.
constexpr std::size_t noteMaxLength = 500;

/// What stands in the form at first.
[[nodiscard]] PrintChoices defaultChoices(const PortalSettings &settings);

/// What a filled-in form asks for, or a sentence for the person who filled it in. Nothing that the settings
/// do not offer gets through, whatever was sent.
[[nodiscard]] std::variant<PrintChoices, std::string> choicesFrom(const FormFields &fields,
                                                                  const PortalSettings &settings);

} // namespace appserver
