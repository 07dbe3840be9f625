// SPDX-License-Identifier: MIT
#include "tests/e2e/program/ProgramTest.h"
#include "tests/support/file_bytes.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class RunModes : public ProgramTest
{};

TEST_F(RunModes, without_a_mode_the_program_does_nothing_and_writes_nothing)
{
    for (const Arguments &arguments :
         {Arguments{}, Arguments{"-m"}, Arguments{"-l", path("run.log"), "-m"},
          Arguments{"-m", "print", "-l", path("run.log")}, Arguments{"-m", "VERSION"}}) {
        EXPECT_EQ(run(arguments), 0);
        EXPECT_EQ(m_output, "");
    }
    // Only what the test itself redirects.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path("")), {}), 1);
    EXPECT_TRUE(QDir(m_settings.folder(true)).isEmpty());
    EXPECT_TRUE(QDir(m_settings.folder(false)).isEmpty());
}

TEST_F(RunModes, a_locale_without_utf8_is_no_reason_to_write_something)
{
    EXPECT_EQ(run({}, {{"LC_ALL", "C"}}), 0);
    EXPECT_EQ(m_output, "");
}

TEST_F(RunModes, version_shows_its_box_until_it_is_confirmed)
{
    RunningProgram program = start({"-m", "version"});
    program.press(program.window("Varek Printer"), "Return");
    EXPECT_EQ(program.exitStatus(), 0);
    EXPECT_EQ(program.output(), "");
}

TEST_F(RunModes, help_and_configure_without_a_printer_show_a_box_and_fail)
{
    for (const char *mode : {"help", "configure"}) {
        RunningProgram program = start({"-m", mode});
        program.press(program.window(ProgramTest::untitled), "Return");
        EXPECT_EQ(program.exitStatus(), 1) << mode;
    }
}

TEST_F(RunModes, help_configure_and_send_of_an_unknown_printer_show_a_box_and_fail)
{
    for (const char *mode : {"help", "configure", "send", "test", "testb"}) {
        RunningProgram program = start({"-m", mode, "-p", "Nowhere"});
        program.press(program.window(ProgramTest::untitled), "Return");
        EXPECT_EQ(program.exitStatus(), 1) << mode;
    }
}

TEST_F(RunModes, a_silent_run_fails_without_a_box)
{
    for (const Arguments &arguments :
         {Arguments{"-m", "help"}, Arguments{"-m", "configure"}, Arguments{"-m", "send"},
          Arguments{"-m", "uninstall"}, Arguments{"-m", "help", "-p", "Nowhere"},
          Arguments{"-m", "configure", "-p", "Nowhere"}, Arguments{"-m", "send", "-p", "Nowhere"},
          Arguments{"-m", "uninstall", "-p", "Nowhere"}}) {
        Arguments silent = arguments;
        silent.push_back("-s");
        EXPECT_EQ(run(silent), 1) << testing::PrintToString(arguments);
        EXPECT_EQ(m_output, "");
    }
}

TEST_F(RunModes, a_send_to_an_unknown_printer_logs_why)
{
    EXPECT_EQ(run({"-m", "send", "-s", "-p", "No where", "-l", path("run.log")}), 1);
    EXPECT_THAT(content("run.log"),
                MatchesRegex("[0-9/]+ - [0-9:]+\r\n\tNo where\r\nError: Printer not installed\r\n"));
}

TEST_F(RunModes, every_run_starts_its_log_anew)
{
    const Arguments send{"-m", "send", "-s", "-p", "Nowhere", "-l", path("run.log")};
    EXPECT_EQ(run(send), 1);
    const std::size_t size = content("run.log").size();
    EXPECT_EQ(run(send), 1);
    EXPECT_EQ(content("run.log").size(), size);
}

TEST_F(RunModes, a_send_that_fails_exits_0_and_leaves_no_document_behind)
{
    installPrinter();
    write("document.pdf", "%PDF");
    EXPECT_EQ(run({"-m", "send", "-s", "-p", "Office", "-f", path("document.pdf"), "-l", path("run.log")}),
              0);
    EXPECT_FALSE(std::filesystem::exists(path("document.pdf")));
    EXPECT_THAT(content("run.log"), HasSubstr("\r\nGet parameters from server directory\r\n"));
}

TEST_F(RunModes, a_document_is_kept_with_k)
{
    installPrinter();
    write("document.pdf", "%PDF");
    EXPECT_EQ(run({"-m", "send", "-s", "-k", "-p", "Office", "-f", path("document.pdf")}), 0);
    EXPECT_TRUE(std::filesystem::exists(path("document.pdf")));
}

TEST_F(RunModes, configure_shows_the_dialog_and_exits_0_however_it_is_left)
{
    installPrinter("[Printer]\nTitle=Office printer\n[DlgConfig]\nTitle=Office settings\n");
    for (const char *key : {"Return", "Escape", "alt+F4"}) {
        RunningProgram program = start({"-m", "configure", "-p", "Office"});
        program.press(program.window("Office settings"), key);
        EXPECT_EQ(program.exitStatus(), 0) << key;
    }
}

TEST_F(RunModes, help_opens_the_page_of_the_user_before_that_of_the_machine)
{
    installPrinter("[Help]\nMain=\"http://localhost/machine?a=1&b=2\"\n");
    std::filesystem::create_directory(path("bin"));
    write("bin/xdg-open",
          "#!/bin/sh\nprintf '%s' \"$1\" >\"$HOME/part\" && mv \"$HOME/part\" \"$HOME/opened\"\n");
    std::filesystem::permissions(path("bin/xdg-open"), std::filesystem::perms::owner_all);
    const Variables browser{{"PATH", path("bin") + ":/usr/bin:/bin"}, {"QT_QPA_PLATFORM", "xcb"}};
    const auto openedPage = [&] {
        for (int i = 0; i < 500 && !std::filesystem::exists(path("opened")); ++i) {
            usleep(10000);
        }
        std::string page = content("opened");
        std::filesystem::remove(path("opened"));
        return page;
    };
    EXPECT_EQ(run({"-m", "help", "-p", "Office"}, browser), 0);
    EXPECT_EQ(openedPage(), "http://localhost/machine?a=1&b=2");
    SettingsFolder::write(m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), true),
                          "[Help]\nMain=http://localhost/user\n");
    EXPECT_EQ(run({"-m", "help", "-p", "Office"}, browser), 0);
    EXPECT_EQ(openedPage(), "http://localhost/user");
}

TEST_F(RunModes, options_of_the_toolkit_are_none_of_the_program)
{
    installPrinter();
    EXPECT_EQ(run({"-m", "help", "-p", "Office", "-platform", "nosuchplatform"}), 0);
    EXPECT_EQ(run({"-m", "help", "-p", "Office", "-platform", "offscreen"},
                  {{"DISPLAY", ""}, {"QT_QPA_PLATFORM", "xcb"}}),
              1);
}

TEST_F(RunModes, a_desktops_folder_before_that_of_the_system_holds_no_settings_of_the_machine)
{
    installPrinter();
    const std::string folder = m_settings.folder(false).toStdString();
    const Arguments help{"-m", "help", "-s", "-p", "Office"};
    EXPECT_EQ(run(help, {{"XDG_CONFIG_DIRS", folder}}), 0);
    EXPECT_EQ(run(help, {{"XDG_CONFIG_DIRS", folder + ":/etc/xdg"}}), 1);
}

TEST_F(RunModes, the_toolkit_is_given_a_fixed_name_instead_of_the_arguments)
{
    RunningProgram program = start({"-m", "version", "-name", "another"});
    const std::string window = program.window("Varek Printer");
    EXPECT_EQ(program.windowClass(window), "WM_CLASS(STRING) = \"vrp.exe\", \"Varek Printer\"");
    program.press(window, "Return");
    EXPECT_EQ(program.exitStatus(), 0);
}

TEST_F(RunModes, help_without_a_page_succeeds)
{
    installPrinter();
    EXPECT_EQ(run({"-m", "help", "-p", "Office"}), 0);
    EXPECT_EQ(m_output, "");
}

TEST_F(RunModes, a_crash_could_not_leave_passwords_in_a_core_file)
{
    RunningProgram program = start({"-m", "version"});
    const std::string window = program.window("Varek Printer");
    EXPECT_THAT(fileBytes("/proc/" + std::to_string(program.id()) + "/limits"),
                testing::ContainsRegex("Max core file size +0 +0 +bytes"));
    program.press(window, "Return");
    EXPECT_EQ(program.exitStatus(), 0);
}

} // namespace
