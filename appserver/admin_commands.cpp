// SPDX-License-Identifier: MIT
#include "appserver/admin_commands.h"

#include "appserver/DataFolder.h"
#include "appserver/Database.h"
#include "appserver/DocumentStore.h"
#include "appserver/UserStore.h"
#include "appserver/secrets.h"
#include "appserver/server_log.h"
#include "appserver/server_options.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>
#include <stdexcept>
#include <string>

namespace appserver {

namespace {

/// Typed characters do not show while this lives.
class HiddenInput
{
public:
    HiddenInput()
    {
        m_isTerminal = ::tcgetattr(STDIN_FILENO, &m_before) == 0;
        if (m_isTerminal) {
            termios hidden = m_before;
            hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
        }
    }

    ~HiddenInput()
    {
        if (m_isTerminal) {
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
            std::cerr << '\n';
        }
    }

    HiddenInput(const HiddenInput &) = delete;
    HiddenInput &operator=(const HiddenInput &) = delete;

    [[nodiscard]] bool isTerminal() const { return m_isTerminal; }

private:
    termios m_before{};
    bool m_isTerminal = false;
};

std::string readPassword()
{
    const HiddenInput input;
    if (input.isTerminal()) {
        std::cerr << "Password: " << std::flush;
    }
    std::string password;
    std::getline(std::cin, password);
    return password;
}

std::filesystem::path existingDatabase(const ServerOptions &options)
{
    std::filesystem::path path = databaseFileIn(options.data);
    if (!std::filesystem::exists(path)) {
        throw std::runtime_error(options.data.string() + " is no data folder: start the server once");
    }
    return path;
}

int report(bool done, const std::string &failure)
{
    if (!done) {
        std::cerr << "vrserver: " << failure << '\n';
    }
    return done ? 0 : 1;
}

int setPassword(UserStore &users, const std::string &action, const std::string &name)
{
    std::string password = readPassword();
    const bool done = action == "add" ? users.add(name, password) : users.setPassword(name, password);
    wipe(password);
    return report(done, action == "add" ? "the user exists already" : "there is no such user");
}

} // namespace

int administerUsers(const ServerOptions &options)
{
    const auto &words = options.words;
    const std::string action = words.empty() ? std::string() : words.front();
    Database database(existingDatabase(options));
    UserStore users(database);
    if (action == "list" && words.size() == 1) {
        for (const std::string &name : users.names()) {
            std::cout << name << '\n';
        }
        return 0;
    }
    if (words.size() != 2 || (action != "add" && action != "passwd" && action != "remove")) {
        throw UsageError("user wants: add NAME, passwd NAME, remove NAME or list");
    }
    if (action == "remove") {
        return report(users.remove(words[1]), "there is no such user");
    }
    return setPassword(users, action, words[1]);
}

int listDocuments(const ServerOptions &options)
{
    Database database(existingDatabase(options));
    DocumentStore documents(database, options.data / "documents");
    for (const Document &document : documents.all()) {
        const PrintChoices &choices = document.choices;
        std::cout << document.id << '\t' << document.state << '\t' << forLog(document.owner) << '\t'
                  << forLog(document.printMode) << '\t' << formatName(document.format) << '\t'
                  << document.bytes << '\t' << choices.copies << '\t' << choices.paper << '\t'
                  << choices.colour << '\t' << choices.duplex << '\t' << choices.staple << '\t'
                  << forLog(document.fileName) << '\t' << forLog(choices.note) << '\n';
    }
    return 0;
}

} // namespace appserver
