// SPDX-License-Identifier: MIT
#include "vrp/server/directory_parameters.h"

#include "vrp/core/resource_table.h"
#include "vrp/server/RequestSession.h"
#include "vrp/server/cancel_request.h"
#include "vrp/server/connection.h"
#include "vrp/server/directory_entry.h"
#include "vrp/server/session_exits.h"
#include "vrp/settings/settings_store.h"
#include "vrp/ui/progress.h"

#include <utility>
#include <vector>

namespace {

using List = std::vector<std::wstring>;

/// A directory that has answered, or none.
struct DirectoryConnection
{
    RequestSession session;
    std::wstring entry;
    std::wstring directory;
    bool cancelled = false; ///< the user gave up while connecting
};

/// The last directory that answered, then the user's list, then the machine's. Duplicates stay.
List directoryList()
{
    List list;
    const std::wstring last = lastServerDirectory();
    if (!last.empty()) {
        list.push_back(last);
    }
    VrpsGetServerDirectoriesFromRegistry(list, true);
    VrpsGetServerDirectoriesFromRegistry(list, false);
    return list;
}

/// Has the directory's values of one kind made ready for fetching.
bool getData(RequestSession &session, const std::wstring &directory, const wchar_t *key,
             const wchar_t *entries)
{
    return session.run(L"VR_PROC=|GetData| DIRECTORY=|" + directory + L"| KEY=|" + key + L"| ENTRIES=|" +
                       entries + L"|");
}

std::int64_t connectTo(const DirectoryAddress &address)
{
    ConnectionParameters parameters;
    parameters.server = address.server;
    parameters.port = address.port;
    parameters.application = address.application;
    return connectWithRetry(parameters);
}

DirectoryConnection connectToFirstThatAnswers()
{
    DirectoryConnection found;
    DirectoryAddress address;
    for (const std::wstring &entry : directoryList()) {
        takeDirectoryEntry(entry, address);
        RefreshMessageWindow();
        if (!address.isComplete()) {
            continue;
        }
        const std::int64_t outcome = connectTo(address);
        logRefusal(outcome);
        if (outcome == connectionCancelled) {
            found.cancelled = true;
            break;
        }
        RequestSession session(outcome);
        if (session.isOpen() && getData(session, address.directory, L"Settings", L"Parameters")) {
            found.session = std::move(session);
            found.entry = entry;
            found.directory = address.directory;
            break;
        }
        session.close();
    }
    return found;
}

int endWithoutDirectory(DirectoryConnection &connection)
{
    if (connection.cancelled) {
        CloseMessageWindow();
        return 1;
    }
    return failWith(connection.session, resource::errorsCannotConnectServer);
}

/// The next run tries this directory first.
void rememberDirectory(const std::wstring &entry)
{
    VrpsSetCompanyRegistryKey(settingsGroup, setting::lastDirectory, entry.c_str(), true);
    VrpsSetCompanyRegistryKey(settingsGroup, setting::lastDirectory, entry.c_str(), false);
}

/// A key or value that cannot be read is left out.
void readParameter(RequestSession &session, int index, ParameterMap &parameters)
{
    const RequestSession::Answer key =
        session.ask(L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|" +
                    std::to_wstring(index) + L"|");
    if (!key.succeeded) {
        return;
    }
    const RequestSession::Answer value = session.ask(
        L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|" + key.text + L"|");
    if (value.succeeded) {
        parameters[key.text] = value.text;
    }
}

void readParameters(RequestSession &session, ParameterMap &parameters)
{
    parameters.clear();
    const int count = RequestSession::entryCount(
        session.ask(L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE| NAME=|parameters|"));
    for (int index = 1; index <= count; ++index) {
        readParameter(session, index, parameters);
    }
}

/// A list that the directory holds; empty also when it cannot be had.
List fetchList(DirectoryConnection &connection, const wchar_t *key, const wchar_t *entries,
               const std::wstring &object)
{
    List list;
    RequestSession &session = connection.session;
    if (!getData(session, connection.directory, key, entries) ||
        !session.run(L"VR_CMD=|OBJECT:GET| NAME=|" + object + L"|")) {
        return list;
    }
    session.readStringList(object, [&](const RequestSession::Answer &value) {
        if (value.succeeded) {
            list.push_back(value.text);
        }
    });
    return list;
}

void refreshDirectories(DirectoryConnection &connection)
{
    const List list = fetchList(connection, L"Directories", L"Directories", L"directories");
    if (!list.empty()) {
        VrpsWriteServerDirectoriesToRegistry(list, true);
        VrpsWriteServerDirectoriesToRegistry(list, false);
    }
}

/// Machine-wide first, unlike the directories; kept so.
void refreshHelpTopics(DirectoryConnection &connection)
{
    const List list = fetchList(connection, L"Help", L"Topics", L"Topics");
    if (!list.empty()) {
        VrpsWriteHelpToRegistry(list, false);
        VrpsWriteHelpToRegistry(list, true);
    }
}

} // namespace

int VrpsGetParametersFromServerDirectory(ParameterMap &parameters)
{
    VrpsSetMessageWindow(resource::messagesConnectingDirectory, -1);
    VrpsSetMessageWindowOnTop();
    DirectoryConnection connection = connectToFirstThatAnswers();
    RequestSession &session = connection.session;
    if (cancelRequested()) {
        return endCancelled(session);
    }
    if (!session.isOpen()) {
        return endWithoutDirectory(connection);
    }
    rememberDirectory(connection.entry);
    VrpsSetMessageWindow(resource::messagesGetDirectoryParam, -1);
    if (!session.run(L"VR_CMD=|OBJECT:GET| NAME=|parameters|")) {
        return failWith(session, resource::errorsCannotGetDirectoryParameters);
    }
    if (cancelRequested()) {
        return endCancelled(session);
    }
    readParameters(session, parameters);
    refreshDirectories(connection);
    if (cancelRequested()) {
        return endCancelled(session);
    }
    refreshHelpTopics(connection);
    session.close();
    if (cancelRequested()) {
        return endCancelled(session);
    }
    HideMessageWindow();
    return 0;
}
