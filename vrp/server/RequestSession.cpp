// SPDX-License-Identifier: MIT
#include "vrp/server/RequestSession.h"

#include "vrp/core/VrpMain.h"
#include "vrp/platform/keyword.h"
#include "vrp/server/command_channel.h"
#include "vrp/server/connection.h"
#include "vrp/server/server_error.h"

#include <vrc.h>

#include <utility>

namespace {

constexpr int answerCapacity = 8192; ///< characters
constexpr int errorDetailBytes = 2048;
constexpr int maximumEntries = 10'000;

} // namespace

RequestSession::RequestSession(std::int64_t connection) : m_request(VrpsRequestOf(connection))
{}

RequestSession::RequestSession(RequestSession &&other) noexcept
    : m_request(std::exchange(other.m_request, nullptr))
{}

RequestSession &RequestSession::operator=(RequestSession &&other) noexcept
{
    std::swap(m_request, other.m_request);
    return *this;
}

RequestSession::~RequestSession()
{
    release();
}

bool RequestSession::run(const std::wstring &command)
{
    return VrpsVrCommand(m_request, command, nullptr, 0, nullptr) == commandSucceeded;
}

RequestSession::Answer RequestSession::ask(const std::wstring &command)
{
    wchar_t buffer[answerCapacity] = L"";
    const int status = VrpsVrCommand(m_request, command, buffer, answerCapacity, nullptr);
    return {status == commandSucceeded, buffer};
}

std::wstring RequestSession::errorDetail(const wchar_t *field)
{
    return keyword(askErrorInfo(m_request, field, errorDetailBytes));
}

void RequestSession::end()
{
    run(L"VR_CLOSE_SESSION=|YES|");
}

void RequestSession::release()
{
    if (m_request) {
        VrCloseRequest(std::exchange(m_request, nullptr));
    }
}

void RequestSession::close()
{
    if (m_request) {
        end();
        release();
    }
}

void RequestSession::readStringList(const std::wstring &name, const EntryReader &read)
{
    const int count = entryCount(ask(L"VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|" + name + L"|"));
    for (int index = 1; index <= count; ++index) {
        read(ask(L"VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|" + name + L"| INDEX=|" +
                 std::to_wstring(index) + L"|"));
    }
}

int RequestSession::entryCount(const Answer &answer)
{
    const int count = decimalPrefix(answer.text);
    if (count > maximumEntries) {
        VrpsGetMain()->log.WriteLn((L"The list has " + std::to_wstring(count) + L" entries, only the first " +
                                    std::to_wstring(maximumEntries) + L" are read")
                                       .c_str());
        return maximumEntries;
    }
    return count < 0 ? 0 : count;
}
