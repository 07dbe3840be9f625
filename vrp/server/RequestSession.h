// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <string>

/// A connected request with the session that it opened on its server. The request is closed with this object;
/// the session on the server ends only by close() or end().
class RequestSession
{
public:
    RequestSession() = default;

    /// Takes over a handle that VrpsConnectVarek has returned; a ConnectionOutcome gives no session.
    explicit RequestSession(std::int64_t connection);
    RequestSession(RequestSession &&other) noexcept;
    RequestSession &operator=(RequestSession &&other) noexcept;
    ~RequestSession();

    [[nodiscard]] bool isOpen() const { return m_request != nullptr; }

    /// Carries out a command whose result is not read; true for success.
    bool run(const std::wstring &command);

    struct Answer
    {
        bool succeeded;
        std::wstring text; ///< at most 8191 characters; what the library left there also after a failure
    };

    Answer ask(const std::wstring &command);

    /// One detail of the last error, in the form in which keywords are compared.
    std::wstring errorDetail(const wchar_t *field);

    /// Ends the session on the server.
    void end();
    /// Closes the request and leaves the session on the server alone.
    void release();
    /// Ends the session and closes the request; nothing without one.
    void close();

    using EntryReader = std::function<void(const Answer &)>;

    /// Reads the entries of a fetched STRINGLIST, the ones that could not be read included.
    void readStringList(const std::wstring &name, const EntryReader &read);

    /// The number of entries that an answer tells: never negative and never more than a list may hold, which
    /// is logged.
    static int entryCount(const Answer &answer);

private:
    void *m_request = nullptr;
};
