// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/CommandRunner.h"
#include "appserver/RequestAnswer.h"
#include "appserver/ServerSession.h"
#include "wire/FrameReader.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace appserver {

class AppServices;
class ClientConnection;

/// Carries the frames of one request out as they arrive, and collects the answer. Memory does not grow with
/// the length of the request.
class RequestProcessor
{
public:
    /// The connection may be null: then nobody can cut this request off.
    RequestProcessor(AppServices &services, ClientConnection *connection, std::string remoteAddress);

    RequestProcessor(const RequestProcessor &) = delete;
    RequestProcessor &operator=(const RequestProcessor &) = delete;

    /// Asked for the user whom a ticket proves, when the request opens a session with single sign-on.
    using TicketReader = std::function<std::optional<std::string>()>;

    void setTicketReader(TicketReader reader) { m_ticketReader = std::move(reader); }

    /// The next bytes of the body, of any number. False: nothing more is read of this request.
    [[nodiscard]] bool take(std::string_view piece);
    /// The body has ended, or take() said false. Call it once.
    [[nodiscard]] RequestAnswer &finish();

    [[nodiscard]] bool isMalformed() const { return m_malformed; }

    /// Single sign-on without a good ticket: nothing has been carried out.
    [[nodiscard]] bool wantsTicket() const { return m_wantsTicket; }

private:
    void takeFrame();
    void onFrame(wire::FrameType type, std::string_view payload);
    void onHello(std::string_view payload);
    void onSession(std::string_view payload);
    void onCommand(std::string_view payload);
    void onObject(std::string_view payload);
    void onData(std::string_view payload);
    void onQuery(std::string_view payload);
    void onEnd();

    [[nodiscard]] bool takeTicket(const wire::HelloFrame &hello, std::string &person);
    void openSession(const wire::HelloFrame &hello);
    void use(const std::shared_ptr<ServerSession> &session);
    void completePending();

    AppServices &m_services;
    ClientConnection *m_connection;
    std::string m_remoteAddress;
    TicketReader m_ticketReader;
    wire::FrameReader m_reader;
    RequestAnswer m_answer;
    std::shared_ptr<ServerSession> m_session;
    ServerSession::Use m_use;
    std::optional<CommandRunner> m_runner;         ///< of that session
    std::optional<PendingCommand> m_pending;       ///< whose object has not arrived yet
    std::optional<wire::ErrorInfo> m_requestError; ///< of the request as a whole: what follows is dropped
    bool m_started = false;                        ///< H or S has come
    bool m_hasCommands = false;
    bool m_ended = false; ///< Q or E has come: nothing may follow
    bool m_superseded = false;
    bool m_malformed = false;
    bool m_wantsTicket = false;
};

} // namespace appserver
