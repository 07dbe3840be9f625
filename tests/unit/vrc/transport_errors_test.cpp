// SPDX-License-Identifier: MIT
#include "vrc/transport_errors.h"

#include <gtest/gtest.h>

namespace {

using vrc::ExchangeEnd;

ExchangeEnd ended(CURLcode code, const std::string &detail = {})
{
    ExchangeEnd end;
    end.code = code;
    end.detail = detail;
    return end;
}

/// An HTTP answer with this status that is none of the server's own.
ExchangeEnd answered(long status)
{
    ExchangeEnd end;
    end.status = status;
    end.isConnected = true;
    end.isHeaderComplete = true;
    return end;
}

template <typename Change>
ExchangeEnd with(ExchangeEnd end, Change change)
{
    change(end);
    return end;
}

struct EndCase
{
    std::string name;
    ExchangeEnd end;
    int code;
    std::string description; ///< a part of it
};

std::vector<EndCase> ends()
{
    const auto connected = [](ExchangeEnd &end) { end.isConnected = true; };
    return {
        {"proxy_wants_credentials", answered(407), 113, "the proxy wants credentials"},
        {"proxy_wants_credentials_for_a_tunnel",
         with(ended(CURLE_RECV_ERROR), [](ExchangeEnd &end) { end.connectStatus = 407; }), 113,
         "the proxy wants credentials"},
        {"sign_on_is_refused", with(answered(401), [](ExchangeEnd &end) { end.isSingleSignOn = true; }), 132,
         "the server refuses it"},
        {"credentials_that_nobody_asked_for", answered(401), 131, "HTTP status 401"},
        {"bad_gateway_at_first", answered(502), 103, "cannot be reached"},
        {"unavailable_at_first", answered(503), 103, "cannot be reached"},
        {"gateway_time_out_at_first", answered(504), 103, "cannot be reached"},
        {"gateway_time_out_later", with(answered(504), [](ExchangeEnd &end) { end.isSessionOpen = true; }),
         104, "cannot be reached"},
        {"forbidden_by_a_proxy", with(answered(403), [](ExchangeEnd &end) { end.usesProxy = true; }), 103,
         "the proxy refuses"},
        {"forbidden_without_a_proxy", answered(403), 131, "HTTP status 403"},
        {"a_page_instead_of_frames", answered(200), 131, "HTTP status 200"},
        {"a_body_that_was_not_wanted",
         with(answered(200), [](ExchangeEnd &end) { end.code = CURLE_WRITE_ERROR; }), 131, "HTTP status 200"},
        {"a_header_cut_off", with(answered(200), [](ExchangeEnd &end) { end.isHeaderComplete = false; }), 104,
         "cut off in its header"},
        {"a_header_without_end", with(answered(200), [](ExchangeEnd &end) { end.hasAnswerTooLong = true; }),
         131, "header lines without end"},
        {"another_certificate", ended(CURLE_PEER_FAILED_VERIFICATION, "expired"), 120,
         "does not verify: expired"},
        {"an_unreadable_authority", ended(CURLE_SSL_CACERT_BADFILE), 120, "does not verify"},
        {"no_memory", ended(CURLE_OUT_OF_MEMORY), 133, "out of memory"},
        {"nobody_listens", ended(CURLE_COULDNT_CONNECT, "refused"), 103, "cannot connect: refused"},
        {"a_handshake_that_the_system_breaks",
         with(ended(CURLE_SSL_CONNECT_ERROR), [](ExchangeEnd &end) { end.systemError = 104; }), 103,
         "no secure connection"},
        {"a_handshake_that_is_reset", ended(CURLE_SSL_CONNECT_ERROR, "Connection reset by peer"), 103,
         "no secure connection"},
        {"a_handshake_that_breaks_off",
         ended(CURLE_SSL_CONNECT_ERROR, "OpenSSL SSL_connect: SSL_ERROR_SYSCALL"), 103,
         "no secure connection"},
        {"a_handshake_that_ends", ended(CURLE_SSL_CONNECT_ERROR, "unexpected eof while reading"), 103,
         "no secure connection"},
        {"a_handshake_that_is_none", ended(CURLE_SSL_CONNECT_ERROR, "wrong version number"), 131,
         "no secure connection could be made: wrong version number"},
        {"nonsense_in_place_of_http", with(ended(CURLE_WEIRD_SERVER_REPLY, "?"), connected), 131,
         "the answer makes no sense: ?"},
        {"a_coding_of_its_own", with(ended(CURLE_BAD_CONTENT_ENCODING), connected), 131,
         "the answer makes no sense"},
        {"a_lost_connection", with(ended(CURLE_RECV_ERROR, "lost"), connected), 104, "network error: lost"},
        {"a_time_out", with(ended(CURLE_OPERATION_TIMEDOUT), connected), 104, "network error"},
    };
}

class EndOfExchange : public testing::TestWithParam<EndCase>
{};

} // namespace

TEST_P(EndOfExchange, has_its_documented_error)
{
    const wire::ErrorInfo error = vrc::errorOf(GetParam().end);
    EXPECT_EQ(error.service + "/" + error.errorClass, "LOCAL/REQUEST");
    EXPECT_EQ(error.code, GetParam().code) << error.description;
    EXPECT_NE(error.description.find(GetParam().description), std::string::npos) << error.description;
}

INSTANTIATE_TEST_SUITE_P(Table, EndOfExchange, testing::ValuesIn(ends()),
                         [](const auto &end) { return end.param.name; });

TEST(Exchange, is_answered_by_frames_alone_where_frames_are_needed)
{
    ExchangeEnd frames = answered(200);
    frames.isAnswerOfServer = true;
    EXPECT_TRUE(vrc::isAnswered(frames, true));
    EXPECT_TRUE(vrc::isAnswered(frames, false));
    EXPECT_FALSE(vrc::isAnswered(answered(200), true)) << "a page";
    EXPECT_TRUE(vrc::isAnswered(answered(200), false));
    frames.isHeaderComplete = false;
    EXPECT_FALSE(vrc::isAnswered(frames, true));
    EXPECT_FALSE(vrc::isAnswered(frames, false));
    EXPECT_FALSE(vrc::isAnswered(with(frames, [](ExchangeEnd &end) { end.code = CURLE_RECV_ERROR; }), true));
}

TEST(Exchange, is_answered_by_any_status_of_the_server_where_that_is_enough)
{
    for (const long status : {204L, 302L, 404L, 405L, 500L}) {
        EXPECT_TRUE(vrc::isAnswered(answered(status), false)) << status;
    }
    for (const long status : {0L, 401L, 407L, 502L, 503L, 504L}) {
        EXPECT_FALSE(vrc::isAnswered(answered(status), false)) << status;
    }
    ExchangeEnd cut = answered(200);
    cut.code = CURLE_WRITE_ERROR; // nobody wanted the body
    EXPECT_TRUE(vrc::isAnswered(cut, false));
    cut.hasAnswerTooLong = true;
    EXPECT_FALSE(vrc::isAnswered(cut, false));
    cut.code = CURLE_PARTIAL_FILE;
    EXPECT_FALSE(vrc::isAnswered(cut, false));
}

TEST(Exchange, bodies_are_refused_for_their_length_or_the_lack_of_one)
{
    EXPECT_TRUE(vrc::isBodyRefused(answered(411)));
    EXPECT_TRUE(vrc::isBodyRefused(answered(413)));
    EXPECT_FALSE(vrc::isBodyRefused(answered(412)));
}
