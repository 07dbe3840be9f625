// SPDX-License-Identifier: MIT
#include "tests/unit/backend/files_on_disk.h"
#include "vrp/core/resource_table.h"

#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <vector>

namespace {

const std::filesystem::path packaging = std::filesystem::path(VAREK_SOURCE_DIR) / "packaging";

std::filesystem::path configuration(const std::string &file)
{
    return packaging / "config" / file;
}

const std::vector<std::string> files = {"varek.ini", "varek.fr.ini", "varek.de.ini", "varek.es.ini"};

const std::string noBreakSpace = "\u00A0";

/// "section/key" to the text between the double quotes; whatever is written otherwise becomes a failure.
std::map<std::string, std::string> readQuoted(const std::string &file)
{
    std::map<std::string, std::string> entries;
    std::istringstream lines(contents(configuration(file)));
    std::string section;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == ';') {
            continue;
        }
        if (line[0] == '[' && line.back() == ']') {
            section = line.substr(1, line.size() - 2);
            continue;
        }
        const std::size_t equals = line.find("=\"");
        const bool isQuoted = equals != std::string::npos && line.size() >= equals + 3 && line.back() == '"';
        EXPECT_TRUE(isQuoted) << file << ": " << line;
        if (!isQuoted) {
            continue;
        }
        const bool isNew = entries
                               .emplace(section + "/" + line.substr(0, equals),
                                        line.substr(equals + 2, line.size() - equals - 3))
                               .second;
        EXPECT_TRUE(isNew) << file << " holds twice: " << line;
    }
    return entries;
}

struct Resource
{
    std::string name; ///< "section/key"
    std::string defaultText;
};

Resource split(const wchar_t *id)
{
    const std::wstring wide = id;
    const std::string text(wide.begin(), wide.end()); // the table is ASCII
    const std::size_t first = text.find(';');
    const std::size_t second = text.find(';', first + 1);
    return {text.substr(0, first) + "/" + text.substr(first + 1, second - first - 1),
            text.substr(second + 1)};
}

/// What installation copies, and what it reads itself.
std::vector<Resource> resources()
{
    std::vector<Resource> all;
    for (const wchar_t *id : resource::installed) {
        all.push_back(split(id));
    }
    for (const wchar_t *id : {resource::setupMonitorSrcDll, resource::setupVarekDll, resource::setupPrgmSrc,
                              resource::setupIntroInstall, resource::setupInstallOk}) {
        all.push_back(split(id));
    }
    return all;
}

bool isText(const std::string &name)
{
    if (name.starts_with("Messages/") || name.starts_with("Errors/") || name.starts_with("SetupErrors/")) {
        return true;
    }
    return name.starts_with("Dlg") && !name.ends_with("/Position");
}

/// A text as it stands between the quotes of an INI file.
std::string inIniForm(std::string text)
{
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n')) {
        text.replace(at, 1, "\\n");
    }
    return text;
}

int numbersIn(const std::string &text)
{
    int count = 0;
    for (std::size_t at = text.find("%d"); at != std::string::npos; at = text.find("%d", at + 1)) {
        ++count;
    }
    return count;
}

TEST(ShippedConfiguration, sets_exactly_what_installation_reads)
{
    for (const std::string &file : files) {
        auto entries = readQuoted(file);
        EXPECT_EQ(entries.erase("ServerDirectories/Sdir1"), 1U) << file;
        for (const Resource &resource : resources()) {
            EXPECT_EQ(entries.erase(resource.name), 1U) << file << " lacks " << resource.name;
        }
        for (const auto &[name, value] : entries) {
            ADD_FAILURE() << file << " holds what nobody reads: " << name;
        }
    }
}

TEST(ShippedConfiguration, says_in_english_what_the_program_says_without_it)
{
    // Where there is room for it a percentage, and a blank between two texts, follow.
    const std::map<std::string, std::string> additions{{"Messages/SendingFile", " %d %"},
                                                       {"DlgConfig/VersionText", " "}};
    auto entries = readQuoted("varek.ini");
    for (const Resource &resource : resources()) {
        const bool isSaid = isText(resource.name) || resource.name.starts_with("Software/") ||
                            resource.name.starts_with("Setup/Intro") || resource.name.ends_with("tallOk") ||
                            resource.name.ends_with("/Title");
        if (isSaid) {
            const auto addition = additions.find(resource.name);
            EXPECT_EQ(entries[resource.name],
                      inIniForm(resource.defaultText) + (addition != additions.end() ? addition->second : ""))
                << resource.name;
        }
    }
}

TEST(ShippedConfiguration, keeps_the_error_number_in_every_translation)
{
    for (const std::string &file : files) {
        auto entries = readQuoted(file);
        for (const Resource &resource : resources()) {
            if (resource.name.starts_with("SetupErrors/")) {
                EXPECT_EQ(numbersIn(entries[resource.name]), numbersIn(resource.defaultText))
                    << file << ": " << resource.name;
            }
        }
    }
}

TEST(ShippedConfiguration, shows_the_percentage_while_sending)
{
    for (const std::string &file : files) {
        EXPECT_THAT(
            readQuoted(file)["Messages/SendingFile"],
            testing::AnyOf(testing::EndsWith("... %d %"), testing::EndsWith("... %d" + noBreakSpace + "%")))
            << file;
    }
}

TEST(ShippedConfiguration, breaks_no_french_line_before_a_mark_of_two_parts)
{
    for (const auto &[name, value] : readQuoted("varek.fr.ini")) {
        const bool isShown = isText(name) || name.starts_with("Setup/Intro");
        for (std::size_t at = value.find_first_of(":;?!%"); isShown && at != std::string::npos;
             at = value.find_first_of(":;?!%", at + 1)) {
            const bool isPlaceholder = value.substr(at, 2) == "%d";
            EXPECT_TRUE(isPlaceholder || value.substr(0, at).ends_with(noBreakSpace)) << name;
        }
    }
}

TEST(ShippedConfiguration, leaves_no_text_empty)
{
    for (const std::string &file : files) {
        for (const auto &[name, value] : readQuoted(file)) {
            EXPECT_FALSE(isText(name) && value.empty()) << file << ": " << name;
        }
    }
}

TEST(ShippedConfiguration, differs_between_languages_in_texts_alone)
{
    const auto english = readQuoted("varek.ini");
    for (const std::string &file : files) {
        for (const auto &[name, value] : readQuoted(file)) {
            const bool isTranslated = isText(name) || name == "Software/Language" ||
                                      name == "Printer/Title" || name == "MessageWindow/Title" ||
                                      name.starts_with("Setup/Intro") || name == "Setup/UninstallOk" ||
                                      name == "Setup/InstallOk";
            if (!isTranslated) {
                EXPECT_EQ(value, english.at(name)) << file << ": " << name;
            }
        }
    }
}

TEST(ShippedConfiguration, names_the_backend_file_after_the_scheme_of_the_device)
{
    auto entries = readQuoted("varek.ini");
    EXPECT_EQ(entries["Setup/MonitorDll"], entries["Printer/Monitor"]);
}

TEST(ShippedConfiguration, names_files_that_are_shipped)
{
    auto entries = readQuoted("varek.ini");
    EXPECT_TRUE(std::filesystem::exists(packaging / "ppd" / entries["Printer/Driver"]));
    for (const char *image : {"Bitmap1File", "BitmapCancelFile", "BitmapCancelSFile"}) {
        EXPECT_TRUE(std::filesystem::is_regular_file(packaging / "images" /
                                                     entries["MessageWindow/" + std::string(image)]))
            << image;
    }
}

} // namespace
