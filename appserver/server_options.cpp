// SPDX-License-Identifier: MIT
#include "appserver/server_options.h"

#include <charconv>

namespace appserver {

namespace {

int portFrom(std::string_view option, std::string_view text)
{
    int port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port < 0 || port > 65535) {
        throw UsageError(std::string(option) + " wants a port from 0 to 65535, not '" + std::string(text) +
                         "'");
    }
    return port;
}

std::string_view takeValue(std::span<const std::string_view> &arguments, std::string_view option)
{
    if (arguments.empty()) {
        throw UsageError(std::string(option) + " wants a value");
    }
    const std::string_view value = arguments.front();
    arguments = arguments.subspan(1);
    return value;
}

void takeOption(std::string_view option, std::span<const std::string_view> &arguments, ServerOptions &options)
{
    if (option == "--help" || option == "-h") {
        options.action = ServerOptions::Action::help;
    } else if (option == "--version") {
        options.action = ServerOptions::Action::version;
    } else if (option == "--data") {
        options.data = takeValue(arguments, option);
    } else if (option == "--listen") {
        options.listen = takeValue(arguments, option);
    } else if (option == "--port") {
        options.port = portFrom(option, takeValue(arguments, option));
    } else if (option == "--portal-port") {
        options.portalPort = portFrom(option, takeValue(arguments, option));
    } else if (option == "--plain-port") {
        options.plainPort = portFrom(option, takeValue(arguments, option));
    } else if (option == "--plain-portal-port") {
        options.plainPortalPort = portFrom(option, takeValue(arguments, option));
    } else {
        throw UsageError("there is no option " + std::string(option));
    }
}

void chooseAction(ServerOptions &options)
{
    if (options.action != ServerOptions::Action::serve) {
        return;
    }
    if (options.data.empty()) {
        throw UsageError("--data is missing: the folder that holds the server's files");
    }
    if (options.words.empty()) {
        return;
    }
    if (options.words.front() == "user") {
        options.action = ServerOptions::Action::user;
    } else if (options.words.front() == "documents") {
        options.action = ServerOptions::Action::documents;
    } else {
        throw UsageError("there is no command " + options.words.front());
    }
    options.words.erase(options.words.begin());
}

} // namespace

ServerOptions parseServerOptions(std::span<const std::string_view> arguments)
{
    ServerOptions options;
    while (!arguments.empty()) {
        const std::string_view argument = arguments.front();
        arguments = arguments.subspan(1);
        if (argument.starts_with("-")) {
            takeOption(argument, arguments, options);
        } else {
            options.words.emplace_back(argument);
        }
    }
    chooseAction(options);
    return options;
}

std::string_view usageText()
{
    return R"(Usage:
  vrserver --data DIR [--listen ADDRESS] [--port N] [--portal-port N] [--plain-port N] [--plain-portal-port N]
  vrserver user add|passwd NAME --data DIR     the password is read from standard input
  vrserver user remove NAME --data DIR
  vrserver user list --data DIR
  vrserver documents --data DIR                one line for each document, fields separated by tabs

The first start creates everything in DIR. Port 0 takes any free port. SIGTERM ends the server, SIGHUP makes it
read DIR/vrserver.ini again.
)";
}

} // namespace appserver
