// SPDX-License-Identifier: MIT
#include "tests/torture/SendModel.h"

#include "tests/torture/send_replies.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

constexpr int standardMode = 1;
constexpr int asyncMode = 2;
constexpr int tunnelMode = 4;
constexpr int blockSize = 65536;
constexpr char closeSession[] = "VR_CLOSE_SESSION=|YES|";

std::string getData(const std::string &directory, const std::string &key, const std::string &entries)
{
    return "VR_PROC=|GetData| DIRECTORY=|" + directory + "| KEY=|" + key + "| ENTRIES=|" + entries + "|";
}

int number(const std::string &text)
{
    return std::atoi(text.c_str());
}

/// A step that ends the send.
struct Ended
{};

class Model
{
public:
    Model(const SendSetup &setup, std::string document, Fault fault, int failing, const SendOutcome &before)
        : m_setup(setup), m_document(std::move(document)), m_fault(fault), m_failing(failing),
          m_script(sendScript(setup))
    {
        m_out.lastDirectory = before.lastDirectory;
        m_out.help = before.help;
        m_out.directories = before.directories;
        if (m_out.directories.empty()) {
            m_out.directories = {firstDirectory, secondDirectory};
        }
    }

    SendOutcome run()
    {
        try {
            readDirectory();
            upload();
            if (m_setup.printMode == standardMode && m_setup.opensPortal) {
                openPortal();
            }
        } catch (const Ended &) {
            m_out.result = 1;
        }
        return m_out;
    }

private:
    // The library, and the one repetition of the command channel.

    Reply answerOnce(const std::string &text)
    {
        m_out.commands.push_back(text);
        const int at = static_cast<int>(m_out.commands.size());
        if (at == m_failing || (at == m_failing + 1 && m_fault == Fault::networkTwice)) {
            return faulty(m_fault);
        }
        return {Error::none, scripted(text)};
    }

    std::string scripted(const std::string &text)
    {
        if (text == "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|") {
            return std::to_string(++m_sizesAsked == 1 ? sentCompressedBytes : sentPlainBytes);
        }
        for (auto rule = m_script.rbegin(); rule != m_script.rend(); ++rule) {
            if (text.starts_with(rule->first)) {
                return rule->second;
            }
        }
        return {};
    }

    Reply send(const std::string &text)
    {
        Reply reply = answerOnce(text);
        return reply.error == Error::network ? answerOnce(text) : reply;
    }

    bool run(const std::string &text) { return send(text).succeeded(); }

    std::string ask(const std::string &text) { return send(text).text; }

    [[noreturn]] void fail(const std::string &box)
    {
        show(box);
        throw Ended();
    }

    [[noreturn]] void closeAndFail(const std::string &box)
    {
        run(closeSession);
        fail(box);
    }

    void show(const std::string &box)
    {
        if (!m_setup.silent) {
            m_out.boxes += box + "\n";
        }
    }

    // Connecting. Without a stored proxy there is nothing to fall back to.

    Error connectOnce(const std::string &login)
    {
        for (;;) {
            const Reply reply = send("VR_CMD=|MISC:NOP|" + login);
            if (reply.error != Error::proxyCredentials) {
                return reply.error;
            }
            ++m_out.proxyQuestions; // and the user answers
        }
    }

    /// A refusal is final; everything else is tried once more.
    Error connect(const std::string &login)
    {
        const Error first = connectOnce(login);
        const bool final = first == Error::none || first == Error::badUser || first == Error::badPassword;
        return final ? first : connectOnce(login);
    }

    void logIn()
    {
        const Error error = connect(" POD_USER=|ident| POD_PASSWORD=|ident-secret|");
        if (error == Error::none) {
            return;
        }
        m_out.passwordForgotten = true;
        if (error == Error::badUser) {
            m_out.remarks += "Bad user\n";
            fail("Bad user name.");
        }
        if (error == Error::badPassword) {
            m_out.remarks += "Bad password\n";
            fail("Bad password.");
        }
        fail("Cannot connect the server.");
    }

    // The directory.

    std::string findDirectory()
    {
        std::vector<std::string> entries = m_out.directories;
        if (!m_out.lastDirectory.empty()) {
            entries.insert(entries.begin(), m_out.lastDirectory);
        }
        for (const std::string &entry : entries) {
            std::string directory = entry.substr(entry.rfind(':') + 1);
            const Error error = connect({});
            if (error == Error::badUser) {
                m_out.remarks += "Bad user\n";
            } else if (error == Error::badPassword) {
                m_out.remarks += "Bad password\n";
            }
            if (error != Error::none) {
                continue;
            }
            if (run(getData(directory, "Settings", "Parameters"))) {
                m_out.lastDirectory = entry;
                return directory;
            }
            run(closeSession);
        }
        fail("Cannot connect the server.");
    }

    std::vector<std::string> list(const std::string &directory, const std::string &key,
                                  const std::string &entries, const std::string &object)
    {
        std::vector<std::string> found;
        if (!run(getData(directory, key, entries)) || !run(command("OBJECT:GET", "NAME=|" + object + "|"))) {
            return found;
        }
        const int count = number(ask(command("LOCAL:OBJECT:STRINGLIST_GET_SIZE", "NAME=|" + object + "|")));
        for (int i = 1; i <= count; ++i) {
            const Reply entry = send(command("LOCAL:OBJECT:STRINGLIST_GET_VALUE",
                                             "NAME=|" + object + "| INDEX=|" + std::to_string(i) + "|"));
            if (entry.succeeded()) {
                found.push_back(entry.text);
            }
        }
        return found;
    }

    void readParameters()
    {
        const int count = number(ask(command("LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE", "NAME=|parameters|")));
        for (int i = 1; i <= count; ++i) {
            const Reply key = send(command("LOCAL:OBJECT:INDSTRINGLIST_GET_KEY",
                                           "NAME=|parameters| INDEX=|" + std::to_string(i) + "|"));
            if (!key.succeeded()) {
                continue;
            }
            const Reply value = send(
                command("LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE", "NAME=|parameters| KEY=|" + key.text + "|"));
            if (value.succeeded()) {
                m_parameters[key.text] = value.text;
            }
        }
    }

    void readDirectory()
    {
        const std::string directory = findDirectory();
        if (!run(command("OBJECT:GET", "NAME=|parameters|"))) {
            closeAndFail("Cannot get parameters from directory the server.");
        }
        readParameters();
        const auto directories = list(directory, "Directories", "Directories", "directories");
        if (!directories.empty()) {
            m_out.directories.clear();
            for (const std::string &entry : directories) {
                if (!entry.empty()) {
                    m_out.directories.push_back(entry);
                }
            }
        }
        const auto topics = list(directory, "Help", "Topics", "Topics");
        if (!topics.empty()) {
            m_out.help.clear();
        }
        for (const std::string &topic : topics) {
            if (topic.starts_with("Main=")) {
                m_out.help = topic.substr(5);
            }
        }
        run(closeSession);
    }

    // The upload.

    std::string fromProfile(const std::string &name, const std::string &modifier = {})
    {
        run(command("OBJECT:GET", "NAME=|" + name + "| VR_CONTAINER=|" +
                                      m_parameters["SERVER_UPLOAD_PROFILE_CONTAINER"] + "|" + modifier));
        return "NAME=|" + name + "|" + modifier;
    }

    void chooseMode()
    {
        fromProfile("PRINTING_MODES");
        const int count = number(ask(command("LOCAL:OBJECT:STRINGLIST_GET_SIZE", "NAME=|PRINTING_MODES|")));
        bool any = false;
        bool wanted = false;
        for (int i = 1; i <= count; ++i) {
            const std::string mode = ask(command("LOCAL:OBJECT:STRINGLIST_GET_VALUE",
                                                 "NAME=|PRINTING_MODES| INDEX=|" + std::to_string(i) + "|"));
            const int value = mode == "STANDARD" ? standardMode
                              : mode == "ASYNC"  ? asyncMode
                              : mode == "TUNNEL" ? tunnelMode
                                                 : 0;
            any = any || value != 0;
            wanted = wanted || value == m_setup.printMode;
        }
        if (!any) {
            closeAndFail("You are not authorized to perform the operation.");
        }
        if (!wanted) { // the user gives up
            run(closeSession);
            throw Ended();
        }
    }

    std::string tunnelRow()
    {
        fromProfile("TUNNEL_SERVICES");
        const int rows = number(ask(command("LOCAL:OBJECT:TABLE_GET_NUM_ROWS", "NAME=|TUNNEL_SERVICES|")));
        std::vector<std::string> services;
        for (int i = 1; i <= rows; ++i) {
            const std::string row =
                ask(command("LOCAL:OBJECT:TABLE_GET_ROW",
                            "NAME=|TUNNEL_SERVICES| ROW=|" + std::to_string(i) + "| MODE=|STRING|"));
            if (!row.empty()) {
                services.push_back(row);
            }
        }
        return services.empty() ? "" : services.front(); // the only one, or the user takes the first
    }

    void chooseService()
    {
        const std::string mode = fromProfile("TUNNEL_MODE", " VR_NO_ERROR=|YES|");
        if (ask(command("LOCAL:OBJECT:STRING_GET_VALUE", mode)) == "MULTIPLE") {
            const std::string row = tunnelRow();
            const auto first = row.find(';');
            if (first != row.npos) {
                m_service = row.substr(0, first);
                const auto second = row.find(';', first + 1);
                m_profile = second == row.npos ? "" : row.substr(second + 1);
            }
        } else {
            m_service = ask(command("LOCAL:OBJECT:STRING_GET_VALUE", fromProfile("TUNNEL_SERVICE_NAME")));
            m_profile = ask(command("LOCAL:OBJECT:STRING_GET_VALUE", fromProfile("TUNNEL_SERVICE_PROFILE")));
        }
        if (m_service.empty() && m_profile.empty()) {
            closeAndFail("No service name or profile has been defined for the tunnel mode.");
        }
    }

    void createFile(const std::string &name, const std::string &persist, const std::string &suffix)
    {
        run(command("LOCAL:OBJECT:CREATE", "TYPE=|FILE| NAME=|" + name + "| PERSIST=|" + persist +
                                               "| FILENAME=|" + m_document + suffix + "|"));
    }

    int localSize(const std::string &name)
    {
        return number(ask(command("LOCAL:OBJECT:FILE_GET_SIZE", "NAME=|" + name + "|")));
    }

    void sendBlocks(int compressed)
    {
        for (int offset = 0; offset < compressed; offset += blockSize) {
            const int bytes = std::min(blockSize, compressed - offset);
            const bool sent =
                run(command("LOCAL:OBJECT:COPY", "NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| OFFSET=|" +
                                                     std::to_string(offset) + "| NUM_BYTES=|" +
                                                     std::to_string(bytes) + "|")) &&
                run(command("OBJECT:REMOVE", "NAME=|BLOCK_FILE|")) &&
                run(command("OBJECT:SEND", "NAME=|BLOCK_FILE|")) &&
                run(command("OBJECT:FILE_APPEND", "NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|"));
            if (!sent) {
                closeAndFail("Error sending file to server.");
            }
        }
    }

    void compareSize(const std::string &file, int expected)
    {
        const std::string name = "NAME=|SERVER_FILE_SIZE|";
        run(command("OBJECT:CREATE", "TYPE=|INTEGER| " + name + " REPLACE=|YES|"));
        run(command("OBJECT:FILE_GET_SIZE", "NAME=|" + file + "| VR_VAR=|SERVER_FILE_SIZE|"));
        run(command("OBJECT:INTEGER_SET_VALUE", name + " VALUE=|##SERVER_FILE_SIZE| VR_KEEP_VAR=|YES|"));
        run(command("OBJECT:GET", name));
        run(command("OBJECT:REMOVE", name));
        if (number(ask(command("LOCAL:OBJECT:INTEGER_GET_VALUE", name))) != expected) {
            closeAndFail("Error sending file to server.");
        }
    }

    void describe(const std::string &key, const std::string &value)
    {
        run(command("LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE",
                    "NAME=|FILE_INFO| KEY=|" + key + "| VALUE=|" + value + "|"));
    }

    void describeDocument(int plain)
    {
        run(command("LOCAL:OBJECT:CREATE", "TYPE=|INDSTRINGLIST| NAME=|FILE_INFO| REPLACE=|YES|"));
        describe("PRINT_MODE", m_setup.printMode == asyncMode ? "ASYNC" : "STANDARD");
        if (m_setup.printMode == tunnelMode) {
            describe("PRINT_MODE", "TUNNEL");
        }
        describe("PRINTER_NAME", "Queue");
        describe("FILE_NAME", "Title");
        describe("FILE_SIZE", std::to_string(plain));
        describe("WIN_MACHINE", "machine");
        describe("WIN_USER", "login");
        describe("TUNNEL_SERVICE", m_service);
        describe("TUNNEL_PROFILE", m_profile);
        run(command("OBJECT:SEND", "NAME=|FILE_INFO|"));
    }

    void transfer()
    {
        createFile("SEND_FILE", "-1", "");
        const int plain = localSize("SEND_FILE");
        createFile("COMPRESSED_FILE", "0", ".tmpc");
        run(command("LOCAL:OBJECT:FILE_COMPRESS", "NAME=|SEND_FILE| DNAME=|COMPRESSED_FILE|"));
        const int compressed = localSize("COMPRESSED_FILE");
        if (compressed < 1) {
            closeAndFail("Bad file.");
        }
        createFile("BLOCK_FILE", "0", ".tmp");
        run(command("OBJECT:CREATE", "TYPE=|FILE| NAME=|RECEIVED_FILE| REPLACE=|YES|"));
        run(command("OBJECT:CREATE", "TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE| REPLACE=|YES|"));
        sendBlocks(compressed);
        compareSize("RECEIVED_COMPRESSED_FILE", compressed);
        run(command("OBJECT:FILE_DECOMPRESS", "NAME=|RECEIVED_COMPRESSED_FILE| DNAME=|RECEIVED_FILE|"));
        for (const char *scope : {"LOCAL:OBJECT:REMOVE", "OBJECT:REMOVE"}) {
            const bool local = scope[0] == 'L';
            run(command(scope, "NAME=|BLOCK_FILE|"));
            run(command(scope, local ? "NAME=|COMPRESSED_FILE|" : "NAME=|RECEIVED_COMPRESSED_FILE|"));
        }
        compareSize("RECEIVED_FILE", plain);
        describeDocument(plain);
    }

    void process()
    {
        const Reply reply = send("VR_PROC=|" + m_parameters["SERVER_UPLOAD_PROCEDURE"] + "| " +
                                 m_parameters["SERVER_UPLOAD_PARAM"]);
        if (reply.error == Error::badFormat) {
            closeAndFail("Invalid format file.");
        }
        if (!reply.succeeded()) {
            closeAndFail("Error processing sent file.");
        }
        run(command("OBJECT:GET", "NAME=|FILE_ID|"));
        m_fileId = ask(command("LOCAL:OBJECT:STRING_GET_VALUE", "NAME=|FILE_ID|"));
        if (m_fileId.empty()) {
            closeAndFail("Cannot get the file identifier.");
        }
    }

    void upload()
    {
        logIn();
        chooseMode();
        if (m_setup.printMode == tunnelMode) {
            chooseService();
        }
        transfer();
        if (!m_setup.testMode) {
            process();
        }
        run(closeSession);
    }

    // The portal.

    void openPortal()
    {
        const std::string url = m_parameters["PORTAL_URL"];
        if (url.empty()) {
            return;
        }
        logIn();
        const std::string session = ask("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|");
        if (session.empty()) {
            closeAndFail("Cannot connect the server.");
        }
        run(command("LOCAL:OBJECT:CREATE", "TYPE=|STRING| NAME=|FILE_ID| REPLACE=|YES|"));
        run(command("LOCAL:OBJECT:STRING_SET_VALUE", "NAME=|FILE_ID| VALUE=|" + m_fileId + "|"));
        run(command("OBJECT:SEND", "NAME=|FILE_ID|"));
        m_out.browser = url + "&VR_SESSION_ID=" + session + "&CTRL=";
    }

    const SendSetup &m_setup;
    std::string m_document;
    Fault m_fault;
    int m_failing;
    SendScript m_script;
    SendOutcome m_out;
    std::map<std::string, std::string> m_parameters;
    std::string m_service;
    std::string m_profile;
    std::string m_fileId;
    int m_sizesAsked = 0;
};

} // namespace

SendOutcome predictSend(const SendSetup &setup, const std::string &document, Fault fault, int number,
                        const SendOutcome &before)
{
    return Model(setup, document, fault, number, before).run();
}
