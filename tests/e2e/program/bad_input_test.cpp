// SPDX-License-Identifier: MIT
#include "tests/e2e/program/ProgramTest.h"

#include <sys/resource.h>

#include <chrono>

namespace {

using testing::EndsWith;
using testing::HasSubstr;

class BadInput : public ProgramTest
{
protected:
    const Arguments m_send{"-m", "send", "-s", "-p", "Office", "-f", "none.pdf", "-l", "run.log"};
};

TEST_F(BadInput, an_option_without_its_value_is_ignored)
{
    installPrinter();
    EXPECT_EQ(run({"-m", "send", "-s", "-l", "run.log", "-p"}), 1);
    EXPECT_THAT(content("run.log"), EndsWith("Error: Printer not installed\r\n"));
    EXPECT_EQ(run({"-m", "send", "-s", "-p", "Office", "-l"}), 0);
    EXPECT_EQ(run({"-m", "help", "-s", "-p"}), 1);
}

TEST_F(BadInput, an_empty_printer_name_is_no_printer)
{
    EXPECT_EQ(run({"-m", "help", "-s", "-p", ""}), 1);
    EXPECT_EQ(run({"-m", "send", "-s", "-p", ""}), 1);
}

TEST_F(BadInput, an_argument_in_invalid_utf8_is_taken_as_far_as_it_goes)
{
    EXPECT_EQ(run({"-m", "send", "-s", "-p", "\xff\xfe\x80Office\xc3", "-l", "run.log"}), 1);
    EXPECT_THAT(content("run.log"), HasSubstr("Office"));
    EXPECT_THAT(content("run.log"), EndsWith("Error: Printer not installed\r\n"));
}

TEST_F(BadInput, five_thousand_arguments_are_taken)
{
    Arguments arguments(5000, "-x");
    arguments.insert(arguments.end(), {"-s", "-m", "send", "-p", "Nowhere"});
    EXPECT_EQ(run(arguments), 1);
    EXPECT_EQ(m_output, "");
}

TEST_F(BadInput, an_argument_of_131000_bytes_is_taken)
{
    const std::string printer(131000, 'p');
    EXPECT_EQ(run({"-m", "send", "-s", "-p", printer, "-l", "run.log"}), 1);
    EXPECT_THAT(content("run.log"), HasSubstr("\t" + printer + "\r\n"));
}

TEST_F(BadInput, a_log_that_cannot_be_opened_is_done_without)
{
    installPrinter();
    for (const char *log : {"/nonexistent/run.log", "/", "", ";", ";;", "\xff"}) {
        EXPECT_EQ(run({"-m", "send", "-s", "-p", "Office", "-l", log}), 0) << log;
        EXPECT_EQ(m_output, "") << log;
    }
}

TEST_F(BadInput, a_binary_bootstrap_store_knows_no_printer)
{
    QByteArray binary;
    for (int i = 0; i < 20000; ++i) {
        binary.append(static_cast<char>(i * 31 + i / 128));
    }
    SettingsFolder::write(m_settings.bootstrapFile(), binary);
    EXPECT_EQ(run(m_send), 1);
    EXPECT_EQ(m_output, "");
}

TEST_F(BadInput, a_bootstrap_store_cut_anywhere_does_no_harm)
{
    const QByteArray whole = "[Printers]\nOffice\\Company=Acme\nOffice\\Software=Print\n";
    for (int length = 0; length <= whole.size(); length += 4) {
        SettingsFolder::write(m_settings.bootstrapFile(), whole.left(length));
        const int status = run(m_send);
        // A name that is cut is a shorter name.
        EXPECT_EQ(status, length > whole.indexOf("Software=") + 9 ? 0 : 1) << length;
    }
}

TEST_F(BadInput, binary_stores_give_the_default_texts)
{
    installPrinterWithStore(QByteArray(5000, '\x81'));
    SettingsFolder::write(m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), true),
                          QByteArray(5000, '\0'));
    RunningProgram program = start({"-m", "configure", "-p", "Office"});
    program.press(program.window("Varek print - configuration"), "Escape");
    EXPECT_EQ(program.exitStatus(), 0);
}

TEST_F(BadInput, a_store_that_cannot_be_written_loses_what_was_configured)
{
    installPrinter();
    // A file stands where the folder of the store would be: not even root gets past it.
    SettingsFolder::write(m_settings.folder(true) + QStringLiteral("/Acme"), "");
    RunningProgram program = start({"-m", "configure", "-p", "Office"});
    program.press(program.window("Varek print - configuration"), "Return");
    EXPECT_EQ(program.exitStatus(), 0);
}

TEST_F(BadInput, a_store_with_markup_formats_and_megabytes_does_no_harm)
{
    const QByteArray large(20'000'000, 'x');
    installPrinter("[Printer]\nTitle=\"<h1>%s%n</h1>" + large +
                   "\"\n[Help]\nMain=-option\n[MessageWindow]\nWidht=9223372036854775808\nFontSize=%n\n"
                   "Font=\"x; } * { color: red\"\n[Errors]\nCannotConnectServer=\"%s%n%d" +
                   large + "\"\n");
    const auto start = std::chrono::steady_clock::now();
    write("document", "text");
    EXPECT_EQ(run({"-m", "send", "-s", "-p", "Office", "-f", path("document"), "-l", path("run.log")}), 0);
    EXPECT_EQ(run({"-m", "help", "-p", "Office"}), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    rusage usage = {};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    EXPECT_LT(usage.ru_maxrss, 2 * 1024 * 1024) << "KiB";
    EXPECT_THAT(content("run.log"), HasSubstr("Mode=Send\r\n"));
}

} // namespace
