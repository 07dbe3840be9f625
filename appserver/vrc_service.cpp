// SPDX-License-Identifier: MIT
#include "appserver/vrc_service.h"

#include "appserver/AppServices.h"
#include "appserver/ClientConnection.h"
#include "appserver/RequestProcessor.h"
#include "appserver/single_sign_on.h"
#include "wire/limits.h"

#include <memory>

namespace appserver {

namespace {

/// The content provider of the HTTP library asks for piece after piece.
void setAnswer(httplib::Response &response, const std::shared_ptr<RequestProcessor> &processor)
{
    RequestAnswer &answer = processor->finish();
    response.status = 200;
    response.set_header("Cache-Control", "no-store");
    if (processor->isMalformed()) {
        response.set_header("Connection", "close");
        ClientConnection::current()->closeAfterAnswer();
    }
    if (!answer.holdsFiles()) {
        response.set_content(answer.takeText(), wire::mediaType);
        return;
    }
    // The processor keeps the session to itself until the files are sent.
    response.set_chunked_content_provider(wire::mediaType, [processor, &answer, part = std::size_t{0}](
                                                               std::size_t, httplib::DataSink &sink) mutable {
        const auto write = [&sink](std::string_view bytes) { return sink.write(bytes.data(), bytes.size()); };
        if (answer.writePart(part, write)) {
            ++part;
            return true;
        }
        if (!sink.is_writable()) {
            return false;
        }
        sink.done();
        return true;
    });
}

void servePost(AppServices &services, const httplib::Request &request, const httplib::ContentReader &reader,
               httplib::Response &response)
{
    ClientConnection *connection = ClientConnection::current();
    const std::uint64_t maxBytes = services.configuration()->limits.requestBytes;
    const auto processor =
        std::make_shared<RequestProcessor>(services, connection, connection->remoteAddress());
    processor->setTicketReader([&] { return personOf(request, services); });
    std::uint64_t bytes = 0;
    const bool complete = reader([&](const char *data, std::size_t count) {
        bytes += count;
        return bytes <= maxBytes && processor->take({data, count});
    });
    if (bytes > maxBytes) {
        refuse(response, 413);
    } else if (processor->wantsTicket()) {
        demandTicket(response);
    } else if (!complete && !processor->isMalformed()) {
        // Cut off, too slow or superseded. An answer of any kind would tell a client that can still read that
        // the server does not understand it.
        refuse(response, 400);
        connection->abort();
    } else {
        setAnswer(response, processor);
    }
}

bool isTooLong(const httplib::Request &request, std::uint64_t maxBytes)
{
    const std::string length = request.get_header_value("Content-Length");
    // 18 digits fit, more are too many for every limit.
    return length.size() > 18 || (!length.empty() && std::stoull(length) > maxBytes);
}

} // namespace

void addVrcService(HttpSite &site, AppServices &services)
{
    site.Get(wire::resourcePath, [&services](const httplib::Request &request, httplib::Response &response) {
        answerGreeting(request, response, services);
    });
    site.Post(wire::resourcePath, [&services](const httplib::Request &request, httplib::Response &response,
                                              const httplib::ContentReader &reader) {
        if (isTooLong(request, services.configuration()->limits.requestBytes)) {
            return refuse(response, 413);
        }
        if (request.get_header_value("Content-Type") != wire::mediaType) {
            return refuse(response, 415);
        }
        servePost(services, request, reader, response);
    });
}

bool isVrcPath(std::string_view path)
{
    return path == wire::resourcePath;
}

} // namespace appserver
