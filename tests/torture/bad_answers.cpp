// SPDX-License-Identifier: MIT
#include "tests/torture/bad_answers.h"

namespace {

constexpr char frames[] = "Content-Type: application/vnd.varek.frames\r\n";
constexpr char page[] = "<html><body><form action=\"/login\">Who are you?</form></body></html>";

std::string length(std::size_t bytes)
{
    return "Content-Length: " + std::to_string(bytes) + "\r\n";
}

/// Says no more until the other side goes.
bool fallSilent(const LoopbackSocket &socket)
{
    while (!socket.receive().empty()) {
    }
    return false;
}

/// The same bytes until the other side goes.
bool repeat(const LoopbackSocket &socket, const std::string &bytes)
{
    while (socket.send(bytes)) {
    }
    return false;
}

class Table
{
public:
    /// A whole answer, on a connection that is kept.
    void whole(const std::string &className, const std::string &name, const std::string &text)
    {
        m_rows.push_back(
            {className, name, [text](const LoopbackSocket &socket) { return socket.send(text); }});
    }

    /// Bytes, and the end of the connection.
    void cut(const std::string &className, const std::string &name, const std::string &text)
    {
        m_rows.push_back({className, name, [text](const LoopbackSocket &socket) {
                              socket.send(text);
                              return false;
                          }});
    }

    void silent(const std::string &className, const std::string &name, const std::string &text)
    {
        m_rows.push_back({className, name, [text](const LoopbackSocket &socket) {
                              return socket.send(text) && fallSilent(socket);
                          }});
    }

    void endless(const std::string &className, const std::string &name, const std::string &start,
                 const std::string &piece)
    {
        m_rows.push_back({className, name, [start, piece](const LoopbackSocket &socket) {
                              return socket.send(start) && repeat(socket, piece);
                          }});
    }

    [[nodiscard]] std::vector<BadAnswer> take() { return std::move(m_rows); }

private:
    std::vector<BadAnswer> m_rows;
};

std::string statusAnswer(int status, const std::string &header, const std::string &body)
{
    return "HTTP/1.1 " + std::to_string(status) + " Strange\r\n" + header + length(body.size()) + "\r\n" +
           body;
}

void addStatuses(Table &table)
{
    for (const int status : {300, 301, 302, 303, 304, 305, 306, 307, 308}) {
        table.whole("3xx, redirect loop", std::to_string(status),
                    statusAnswer(status, "Location: /vrc\r\n", status == 304 ? "" : page));
    }
    for (const int status : {400, 401, 402, 403, 404, 405, 406, 407, 408, 409, 410, 411, 412, 413, 414,
                             415, 416, 417, 418, 421, 422, 423, 424, 425, 426, 428, 429, 431, 451, 499}) {
        const std::string realm = status == 401   ? "WWW-Authenticate: Basic realm=\"x\"\r\n"
                                  : status == 407 ? "Proxy-Authenticate: Basic realm=\"x\"\r\n"
                                                  : "";
        table.whole(status == 407 ? "407" : "4xx", std::to_string(status), statusAnswer(status, realm, page));
    }
    for (const int status : {500, 501, 502, 503, 504, 505, 506, 507, 508, 510, 511, 599, 600, 999}) {
        table.whole("5xx", std::to_string(status), statusAnswer(status, "", page));
    }
    for (const int status : {201, 202, 203, 204, 205, 206, 226}) {
        table.whole("2xx", std::to_string(status), statusAnswer(status, frames, ""));
    }
    for (const char *type : {"text/html", "application/octet-stream", "application/vnd.varek.frames2", ""}) {
        const std::string header = *type == '\0' ? "" : std::string("Content-Type: ") + type + "\r\n";
        table.whole("200, login page", *type == '\0' ? "no type" : type, statusAnswer(200, header, page));
    }
}

void addInformation(Table &table)
{
    const std::string next = "HTTP/1.1 100 Continue\r\n\r\n";
    table.endless("1xx", "endless 100", "", next);
    table.endless("1xx", "endless 103", "", "HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n");
    table.silent("1xx", "100 and silence", next);
    table.cut("1xx", "100 and the end", next);
    table.silent("1xx", "101 and silence", "HTTP/1.1 101 Switching\r\nUpgrade: x\r\n\r\n");
    table.cut("1xx", "101 and the end", "HTTP/1.1 101 Switching\r\nUpgrade: x\r\n\r\n");
    table.whole("1xx", "102 and a page",
                "HTTP/1.1 102 Processing\r\n\r\n" + statusAnswer(200, "Content-Type: text/html\r\n", page));
}

void addBodies(Table &table)
{
    const auto body = [](const std::string &bytes) { return statusAnswer(200, frames, bytes); };
    const std::string complete = std::string("Z") + std::string("\0\0\0\x08", 4) + std::string(8, '\0');
    table.whole("200, other frames", "nothing", body(""));
    table.whole("200, other frames", "a page", body(page));
    table.whole("200, other frames", "zeros", body(std::string(1000, '\0')));
    table.whole("200, other frames", "the end twice", body(complete + complete));
    table.whole("200, other frames", "half a frame", body(complete.substr(0, 7)));
    table.whole("200, other frames", "a frame of 4 GiB", body("R" + std::string(4, '\xff')));
    table.whole("200, other frames", "a result of number 0",
                body(std::string("R\0\0\0\x08", 5) + std::string(8, '\0') + complete));
    table.endless("200, other frames", "zeros without end",
                  "HTTP/1.1 200 OK\r\n" + std::string(frames) + "\r\n", std::string(65536, '\0'));
    table.endless("200, other frames", "a result without end",
                  "HTTP/1.1 200 OK\r\n" + std::string(frames) + "\r\nR" + std::string("\0\x1f\xff\xff", 4),
                  std::string(65536, 'x'));
}

void addLengths(Table &table)
{
    const std::string start = std::string("HTTP/1.1 200 OK\r\n") + frames;
    table.cut("wrong length", "too long, then the end", start + length(1000) + "\r\nZ");
    table.silent("wrong length", "too long, then silence", start + length(1000) + "\r\nZ");
    table.whole("wrong length", "too short", start + length(1) + "\r\nZ and more");
    table.whole("wrong length", "negative", start + "Content-Length: -5\r\n\r\nhello");
    table.whole("wrong length", "no number", start + "Content-Length: many\r\n\r\nhello");
    table.whole("wrong length", "2^64", start + "Content-Length: 18446744073709551616\r\n\r\nhello");
    table.whole("wrong length", "two of them", start + length(1) + length(5) + "\r\nhello");
    table.cut("wrong length", "none", start + "\r\nhello");
    table.silent("wrong length", "none, then silence", start + "\r\n");
    const std::string chunked = start + "Transfer-Encoding: chunked\r\n\r\n";
    table.whole("wrong length", "a chunk of nonsense", chunked + "nonsense\r\n");
    table.whole("wrong length", "a chunk of 2^64", chunked + "10000000000000000\r\nhello");
    table.cut("wrong length", "a chunk cut off", chunked + "100\r\nhello");
    table.silent("wrong length", "no last chunk", chunked + "1\r\nZ\r\n");
    table.endless("wrong length", "a trailer without end", chunked + "0\r\n", "X-Trailer: 1\r\n");
    table.whole("wrong length", "compressed", start + "Content-Encoding: gzip\r\n" + length(5) + "\r\nhello");
}

void addHeaders(Table &table)
{
    const std::string status = "HTTP/1.1 200 OK\r\n";
    table.endless("header", "lines without end", status, "X-Line: 0123456789\r\n");
    table.endless("header", "a line without end", status + "X-Line: ", std::string(65536, 'x'));
    table.endless("header", "a status without end", "HTTP/1.1 200 ", std::string(65536, 'x'));
    table.whole("header", "a line of 4 MiB",
                status + "X-Line: " + std::string(std::size_t{4} << 20U, 'x') + "\r\n" + frames + length(0) +
                    "\r\n");
    table.whole(
        "header", "100 KiB of lines", status + [] {
            std::string lines;
            while (lines.size() < 100 * 1024) {
                lines += "X-Line: 0123456789\r\n";
            }
            return lines;
        }() + length(0) + "\r\n");
    table.whole("header", "zeros", status + std::string(100, '\0') + "\r\n" + length(0) + "\r\n");
    table.whole("header", "no colon", status + "nonsense\r\n" + frames + length(0) + "\r\n");
    table.whole("header", "another protocol", "SSH-2.0-OpenSSH_9.2\r\n\r\n");
    table.whole("header", "version 9.9", "HTTP/9.9 200 OK\r\n" + length(0) + "\r\n");
    table.whole("header", "no status", std::string("HTTP/1.1\r\n") + frames + length(0) + "\r\n");
    table.cut("header", "nothing", "");
    table.silent("header", "silence", "");
    table.cut("header", "cut off", status + "Content-Ty");
    table.silent("header", "silence in a line", status + "Content-Ty");
    table.cut("header", "a page alone", page);
}

} // namespace

std::vector<BadAnswer> badAnswers()
{
    Table table;
    addInformation(table);
    addStatuses(table);
    addBodies(table);
    addLengths(table);
    addHeaders(table);
    return table.take();
}
