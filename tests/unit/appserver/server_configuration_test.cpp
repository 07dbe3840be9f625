// SPDX-License-Identifier: MIT
#include "appserver/DataFolder.h"
#include "appserver/TlsSettings.h"
#include "appserver/VrServer.h"
#include "appserver/default_configuration.h"
#include "appserver/portal_pages.h"
#include "appserver/server_log.h"
#include "appserver/server_options.h"
#include "tests/unit/appserver/AppServerTest.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

namespace appserver {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

std::string errorOf(const std::string &text)
{
    try {
        static_cast<void>(ServerConfiguration::parse(text));
    } catch (const ConfigurationError &error) {
        return error.what();
    }
    return "accepted";
}

ServerOptions optionsOf(const std::vector<std::string_view> &arguments)
{
    return parseServerOptions(arguments);
}

} // namespace

TEST(ServerIni, values_reach_to_the_end_of_the_line_and_lose_blanks_and_quotes)
{
    const auto sections =
        parseIni("; comment\n# another\n[ One ]\r\nA = x ; y \nB=\" z \"\nA=2\n\n[Two]\nC=\n[One]\nD==1");
    ASSERT_EQ(sections.size(), 2U);
    EXPECT_EQ(sections[0].name, "One");
    EXPECT_THAT(sections[0].values("A"), ElementsAre("x ; y", "2"));
    EXPECT_EQ(sections[0].value("A"), "2");
    EXPECT_EQ(sections[0].value("B"), " z ");
    EXPECT_EQ(sections[0].value("D"), "=1");
    EXPECT_EQ(sections[1].value("C", "fallback"), "");
    EXPECT_EQ(sections[1].value("E", "fallback"), "fallback");
}

TEST(ServerIni, a_wrong_line_is_named)
{
    EXPECT_EQ(errorOf("[Server]\nPort\n"), "line 2: a setting is written Key=value");
    EXPECT_EQ(errorOf("Port=1\n"), "line 1: a setting stands before the first section");
    EXPECT_EQ(errorOf("[Server\n"), "line 1: a section is written [Name]");
}

TEST(Configuration, mistakes_are_errors_that_name_the_setting)
{
    EXPECT_THAT(errorOf("[Server]\nPort=99999\n"), HasSubstr("[Server] Port"));
    EXPECT_THAT(errorOf("[Server]\nPort=12x\n"), HasSubstr("'12x'"));
    EXPECT_THAT(errorOf("[Server]\nListen=\n"), HasSubstr("[Server] Listen"));
    EXPECT_THAT(errorOf("[Server]\nPrt=1082\n"), HasSubstr("no such setting"));
    EXPECT_THAT(errorOf("[Limits]\nFileBytes=2147483648\n"), HasSubstr("FileBytes"));
    EXPECT_THAT(errorOf("[Portal]\nColour=perhaps\n"), HasSubstr("yes or no"));
    EXPECT_THAT(errorOf("[Directory d]\nTopic=no address\n"), HasSubstr("name=address"));
    EXPECT_THAT(errorOf("[Profile p]\nTunnelService=a;b\n"), HasSubstr("name;label;profile"));
    EXPECT_THAT(errorOf("[Nonsense]\n"), HasSubstr("no section [Nonsense]"));
}

TEST(Configuration, the_default_one_is_valid_and_keeps_the_addresses_of_the_first_start)
{
    ListenSettings listen;
    listen.address = "0.0.0.0";
    listen.port = 4711;
    const ServerConfiguration configuration = ServerConfiguration::parse(defaultConfiguration(listen));
    EXPECT_EQ(configuration.listen.address, "0.0.0.0");
    EXPECT_EQ(configuration.listen.port, 4711);
    EXPECT_FALSE(configuration.listen.publicName.empty());
    EXPECT_NE(configuration.listen.publicName, "0.0.0.0");
    EXPECT_GE(configuration.limits.sessionIdle, std::chrono::minutes(30));
    EXPECT_TRUE(configuration.applications.at("upload").loginWanted);
    EXPECT_FALSE(configuration.applications.at("directory").loginWanted);
    EXPECT_THAT(configuration.containers.at("demo").printingModes,
                ElementsAre("STANDARD", "ASYNC", "TUNNEL"));
}

TEST(Configuration, the_default_one_says_what_holds_without_it)
{
    const auto fieldsOf = [](const ServerLimits &limits) {
        return std::make_tuple(limits.requestBytes, limits.fileBytes, limits.sessionFileBytes,
                               limits.sessionMemoryBytes, limits.sessionObjects, limits.sessionVariables,
                               limits.sessions, limits.connections, limits.bodyBytesPerSecond,
                               limits.bodyRateWindow, limits.headerTime, limits.sessionIdle,
                               limits.failedLogins, limits.failedLoginWindow);
    };
    const ServerConfiguration written = ServerConfiguration::parse(defaultConfiguration({}));
    const ServerConfiguration empty = ServerConfiguration::parse("");
    EXPECT_EQ(fieldsOf(written.limits), fieldsOf(empty.limits));
    EXPECT_EQ(written.keepDocumentDays, empty.keepDocumentDays);
    EXPECT_EQ(written.portal.papers, empty.portal.papers);
    EXPECT_EQ(empty.listen.address, "127.0.0.1");
    EXPECT_EQ(empty.listen.port, 1082);
    EXPECT_EQ(empty.listen.portalPort, 1083);
    EXPECT_EQ(empty.listen.plainPort, -1) << "off";
    EXPECT_EQ(empty.listen.plainPortalPort, -1);
    EXPECT_EQ(empty.limits.connections, 1000U);
    EXPECT_EQ(empty.limits.sessionObjects, 64U);
    EXPECT_EQ(empty.limits.sessionVariables, 64U);
    EXPECT_EQ(empty.limits.headerTime, std::chrono::seconds(20));
    EXPECT_EQ(empty.limits.failedLogins, 10);
    EXPECT_EQ(empty.limits.failedLoginWindow, std::chrono::minutes(5));
}

TEST(CommandLine, of_the_server_is_read_with_options_anywhere)
{
    const ServerOptions serve = optionsOf({"--data", "/d", "--port", "0", "--listen", "::1"});
    EXPECT_EQ(serve.action, ServerOptions::Action::serve);
    EXPECT_EQ(serve.port, 0);
    EXPECT_EQ(serve.listen, "::1");
    const ServerOptions user = optionsOf({"user", "--data", "/d", "add", "ada"});
    EXPECT_EQ(user.action, ServerOptions::Action::user);
    EXPECT_THAT(user.words, ElementsAre("add", "ada"));
    EXPECT_THROW(static_cast<void>(optionsOf({})), UsageError);
    EXPECT_THROW(static_cast<void>(optionsOf({"--data"})), UsageError);
    EXPECT_THROW(static_cast<void>(optionsOf({"--data", "/d", "--port", "65536"})), UsageError);
    EXPECT_THROW(static_cast<void>(optionsOf({"--data", "/d", "--port", "-1"})), UsageError);
    EXPECT_THROW(static_cast<void>(optionsOf({"--data", "/d", "dance"})), UsageError);
    EXPECT_THROW(static_cast<void>(optionsOf({"--data", "/d", "--password", "x"})), UsageError);
}

class Directory : public AppServerTest
{};

TEST_F(Directory, hands_out_parameters_directories_and_topics_with_its_own_addresses)
{
    const std::string get = "VR_PROC=|GetData| DIRECTORY=|demo| KEY=";
    const AnswerText answer = ask(RequestText()
                                      .hello("directory")
                                      .command(1, get + "|Settings| ENTRIES=|Parameters|")
                                      .command(2, get + "|Directories| ENTRIES=|Directories|")
                                      .command(3, get + "|Help| ENTRIES=|Topics|"));
    // The objects come with the procedures that made them.
    EXPECT_THAT(answer.lines, ElementsAre("W", "R 1", HasSubstr("O parameters "), "R 2",
                                          HasSubstr("O directories "), "R 3", HasSubstr("O Topics "), "Z 3"));
    EXPECT_THAT(answer.data, HasSubstr("print.example:4711;directory:demo"));
    EXPECT_THAT(answer.data, HasSubstr("https://print.example:4712/portal?client=vrp"));
    EXPECT_THAT(answer.data, HasSubstr("=https://print.example:4712/help"));
    EXPECT_THAT(answer.data, ::testing::Not(HasSubstr("{")));
}

TEST(HelpTopics, of_a_new_server_are_sections_of_its_help_page_one_for_each_help_button)
{
    const ServerConfiguration configuration = ServerConfiguration::parse(defaultConfiguration({}));
    const std::string page = helpPage(configuration.portal);
    std::vector<std::string> names;
    for (const std::string &topic : configuration.directories.at("demo").topics) {
        const std::size_t equals = topic.find('=');
        names.push_back(topic.substr(0, equals));
        const std::string address = topic.substr(equals + 1);
        EXPECT_THAT(address, StartsWith("{portal}/help"));
        const std::size_t mark = address.find('#');
        if (mark != std::string::npos) {
            EXPECT_THAT(page, HasSubstr("<h2 id=\"" + address.substr(mark + 1) + "\">"));
        }
    }
    EXPECT_THAT(names,
                ElementsAre("Main", "DlgIdent", "DlgProxy", "DlgPrintMode", "DlgService", "DlgConfig"));
}

TEST_F(Directory, fills_in_addresses_that_are_not_configured)
{
    configure("[Directory bare]\n[Parameters bare]\nSERVER_UPLOAD_PORT=\nEXTRA=kept\n");
    const AnswerText answer =
        ask(RequestText()
                .hello("directory")
                .command(1, "VR_PROC=|GetData| DIRECTORY=|bare| KEY=|Settings| ENTRIES=|Parameters|"));
    const auto list = std::get<wire::IndStringList>(
        wire::decodeValue(wire::ObjectType::indStringList, answer.data).value());
    EXPECT_THAT(list, ElementsAre(wire::Field{"SERVER_UPLOAD_PORT", "4711"}, wire::Field{"EXTRA", "kept"},
                                  wire::Field{"SERVER_UPLOAD_ADDRESS", "print.example"},
                                  wire::Field{"SERVER_PORTAL_ADDRESS", "print.example"},
                                  wire::Field{"SERVER_PORTAL_PORT", "4711"}));
}

TEST_F(Directory, single_and_multiple_tunnel_services_come_from_the_profile)
{
    const std::string id = openUpload();
    const auto get = [](const char *name) {
        return std::string("VR_CMD=|OBJECT:GET| NAME=|") + name + "| VR_CONTAINER=|demo|";
    };
    const AnswerText table = ask(RequestText().session(id, 1).command(2, get("TUNNEL_SERVICES")));
    const auto value = std::get<wire::Table>(wire::decodeValue(wire::ObjectType::table, table.data).value());
    EXPECT_EQ(wire::rowText(value, 1), "archive;Archive;long-term");
    EXPECT_EQ(wire::rowText(value, 2), "fax;Fax gateway;standard");
    EXPECT_EQ(ask(RequestText().session(id, 2).command(3, get("TUNNEL_SERVICE_NAME"))).data, "archive");
    EXPECT_EQ(ask(RequestText().session(id, 3).command(4, get("TUNNEL_SERVICE_PROFILE"))).data, "long-term");
    EXPECT_EQ(ask(RequestText().session(id, 4).command(5, get("TUNNEL_MODE"))).data, "MULTIPLE");
}

class DataFolderTest : public AppServerTest
{};

TEST_F(DataFolderTest, keys_and_configuration_are_private_and_made_once)
{
    DataFolder data(folder / "data");
    data.lockForServer();
    EXPECT_TRUE(data.prepare({}));
    data.prepareCertificates({});
    const CertificateFiles files = data.certificates();
    const std::string first = readWholeFile(files.certificate, 65536);
    data.prepareCertificates({});
    EXPECT_EQ(readWholeFile(files.certificate, 65536), first);
    for (const auto &path : {files.key, files.authorityKey, data.configurationFile()}) {
        struct stat status
        {};

        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U) << path;
    }
}

TEST_F(DataFolderTest, a_first_start_is_repeated_until_it_has_ended)
{
    DataFolder data(folder / "data");
    data.lockForServer();
    EXPECT_TRUE(data.prepare({}));
    EXPECT_TRUE(data.prepare({}));
    data.endFirstStart();
    EXPECT_FALSE(data.prepare({}));
}

TEST_F(DataFolderTest, a_password_that_nobody_could_read_is_replaced_and_shown_by_the_next_start)
{
    const ServerOptions options =
        optionsOf({"--data", (folder / "data").c_str(), "--port", "0", "--portal-port", "0"});
    std::ostream nowhere(nullptr);
    EXPECT_THROW(VrServer(options).announce(nowhere), std::runtime_error);
    std::ostringstream second;
    VrServer(options).announce(second);
    EXPECT_THAT(second.str(), HasSubstr("\ndemo password: "));
    std::ostringstream third;
    VrServer(options).announce(third);
    EXPECT_THAT(third.str(), ::testing::Not(HasSubstr("demo password")));
}

TEST_F(DataFolderTest, a_later_start_that_nobody_is_told_of_fails_and_the_next_one_is_ready)
{
    const ServerOptions options =
        optionsOf({"--data", (folder / "data").c_str(), "--port", "0", "--portal-port", "0"});
    std::ostringstream first;
    VrServer(options).announce(first);
    std::ostream nowhere(nullptr);
    EXPECT_THROW(VrServer(options).announce(nowhere), std::runtime_error);
    std::ostringstream third;
    VrServer(options).announce(third);
    EXPECT_THAT(third.str(), ::testing::EndsWith("\nready\n"));
}

TEST_F(DataFolderTest, a_configuration_that_is_made_anew_is_no_first_start)
{
    DataFolder data(folder / "data");
    data.lockForServer();
    EXPECT_TRUE(data.prepare({}));
    data.endFirstStart();
    const Database database(databaseFileIn(folder / "data"));
    std::filesystem::remove(data.configurationFile());
    EXPECT_FALSE(data.prepare({}));
    EXPECT_TRUE(std::filesystem::exists(data.configurationFile()));
}

TEST_F(DataFolderTest, a_certificate_that_cannot_be_opened_is_named_with_the_reason)
{
    DataFolder data(folder / "data");
    data.lockForServer();
    static_cast<void>(data.prepare({}));
    data.prepareCertificates({});
    const CertificateFiles files = data.certificates();
    std::filesystem::remove(files.certificate);
    try {
        const TlsSettings settings(files);
        ADD_FAILURE() << "no error";
    } catch (const std::runtime_error &error) {
        EXPECT_EQ(error.what(), "TLS: cannot use the certificate " + files.certificate.string() +
                                    ": No such file or directory");
    }
}

TEST_F(DataFolderTest, a_new_name_gets_a_new_certificate_of_the_same_authority)
{
    DataFolder data(folder / "data");
    data.lockForServer();
    static_cast<void>(data.prepare({}));
    data.prepareCertificates({});
    const CertificateFiles files = data.certificates();
    const std::string authority = readWholeFile(files.authority, 65536);
    const std::string certificate = readWholeFile(files.certificate, 65536);
    ListenSettings listen;
    listen.publicName = "print.example";
    data.prepareCertificates(listen);
    EXPECT_EQ(readWholeFile(files.authority, 65536), authority);
    EXPECT_NE(readWholeFile(files.certificate, 65536), certificate);
}

TEST_F(DataFolderTest, serves_one_server_at_a_time)
{
    DataFolder first(folder / "data");
    DataFolder second(folder / "data");
    first.lockForServer();
    EXPECT_THROW(second.lockForServer(), std::runtime_error);
}

TEST_F(DataFolderTest, a_document_file_without_a_row_goes_once_it_is_old)
{
    const auto stray = folder / "documents" / "0123.pdf";
    std::ofstream(stray) << "%PDF";
    services->documents.removeOlderThan(0);
    EXPECT_TRUE(std::filesystem::exists(stray));
    std::filesystem::last_write_time(stray,
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    services->documents.removeOlderThan(0);
    EXPECT_FALSE(std::filesystem::exists(stray));
}

TEST_F(DataFolderTest, users_whose_names_a_client_cannot_send_are_refused)
{
    for (const std::string name : {"", "a|b", "a\nb", "\x7f"}) {
        EXPECT_THROW(services->users.add(name, "password"), std::invalid_argument);
    }
    EXPECT_THROW(services->users.add("name", ""), std::invalid_argument);
    EXPECT_FALSE(services->users.add("ada", "again"));
    EXPECT_TRUE(services->users.remove("ada"));
    EXPECT_FALSE(services->users.remove("ada"));
}

TEST(Log, holds_one_line_whatever_is_logged)
{
    EXPECT_EQ(forLog("a\r\nb\"\\\x1b"), "a\\x0D\\x0Ab\\x22\\x5C\\x1B");
    EXPECT_EQ(forLog(std::string(1000, 'x')).size(), 256U);
}

} // namespace appserver
