// SPDX-License-Identifier: MIT
#include "appserver/VrServer.h"
#include "appserver/admin_commands.h"
#include "appserver/secrets.h"
#include "appserver/server_options.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <ctime>
#include <iostream>
#include <stdexcept>
#include <vector>

namespace {

using appserver::ServerOptions;

constexpr time_t tidySeconds = 60;

/// Passwords and documents pass through the memory: it must not end up in a core file.
void forbidCoreFiles()
{
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
}

/// A connection takes a descriptor, and so does a long file of a session.
void allowManyDescriptors()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

sigset_t blockSignals()
{
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signals, number);
    }
    // Threads inherit this: signals reach nobody but the waiting loop.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

int serve(const ServerOptions &options)
{
    allowManyDescriptors();
    const sigset_t signals = blockSignals();
    appserver::VrServer server(options);
    server.announce(std::cout);
    for (;;) {
        const timespec wait{tidySeconds, 0};
        const int number = sigtimedwait(&signals, nullptr, &wait);
        if (number == SIGHUP) {
            server.reload();
        } else if (number == SIGTERM || number == SIGINT) {
            server.stop();
            return 0;
        }
        server.tidyUp();
    }
}

/// A list that nobody got is no success.
int afterOutput(int status)
{
    if (!std::cout.flush()) {
        throw std::runtime_error("the output cannot be written");
    }
    return status;
}

int run(const ServerOptions &options)
{
    switch (options.action) {
    case ServerOptions::Action::help:
        std::cout << appserver::usageText();
        return afterOutput(0);
    case ServerOptions::Action::version:
        std::cout << "vrserver " << VAREK_VERSION << '\n';
        return afterOutput(0);
    case ServerOptions::Action::user:
        return afterOutput(appserver::administerUsers(options));
    case ServerOptions::Action::documents:
        return afterOutput(appserver::listDocuments(options));
    case ServerOptions::Action::serve:
        break;
    }
    return serve(options);
}

} // namespace

int main(int argc, char **argv)
{
    ::umask(077); // everything in the data folder is private
    forbidCoreFiles();
    try {
        appserver::initialiseSecrets();
        const std::vector<std::string_view> arguments(argv + 1, argv + argc);
        return run(appserver::parseServerOptions(arguments));
    } catch (const appserver::UsageError &error) {
        std::cerr << "vrserver: " << error.what() << '\n' << appserver::usageText();
        return 2;
    } catch (const std::exception &error) {
        std::cerr << "vrserver: " << error.what() << '\n';
        return 1;
    }
}
