// SPDX-License-Identifier: MIT
#include "appserver/portal_file.h"

#include "appserver/portal_answers.h"
#include "appserver/server_files.h"
#include "wire/utf8.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>

namespace appserver {

namespace {

constexpr std::size_t textSampleBytes = 65536;

/// The browser's PDF viewer does not start in a sandbox.
constexpr const char *pdfPolicy = "default-src 'none'; object-src 'self'; style-src 'unsafe-inline'; "
                                  "frame-ancestors 'self'";
constexpr const char *filePolicy = "default-src 'none'; sandbox; frame-ancestors 'self'";

/// Whether a text reads as UTF-8, judged by its beginning.
bool isUtf8(const UniqueFd &file)
{
    std::string sample(textSampleBytes, '\0');
    const ssize_t count = ::pread(file.get(), sample.data(), sample.size(), 0);
    sample.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    // The sample may end inside a character.
    for (int i = 0; i < 3 && sample.size() == textSampleBytes && !wire::isText(sample); ++i) {
        sample.pop_back();
    }
    return wire::isText(sample);
}

std::string mediaTypeOf(DocumentFormat format, const UniqueFd &file)
{
    std::string type(mediaType(format));
    if (format == DocumentFormat::text) {
        type += isUtf8(file) ? "; charset=utf-8" : "; charset=windows-1252";
    }
    return type;
}

std::string dispositionOf(DocumentFormat format)
{
    return format == DocumentFormat::postScript
               ? "attachment; filename=\"document.ps\""
               : "inline; filename=\"document." + std::string(formatName(format)) + '"';
}

} // namespace

void sendFile(const std::filesystem::path &file, const Document &document, httplib::Response &response)
{
    const auto opened = std::make_shared<UniqueFd>(openForReading(file));
    setCommonHeaders(response, document.format == DocumentFormat::pdf ? pdfPolicy : filePolicy);
    response.set_header("X-Frame-Options", "SAMEORIGIN");
    response.set_header("Content-Disposition", dispositionOf(document.format));
    const auto read = [opened](std::size_t offset, std::size_t, httplib::DataSink &sink) {
        std::array<char, 65536> buffer;
        const ssize_t count =
            ::pread(opened->get(), buffer.data(), buffer.size(), static_cast<off_t>(offset));
        return count > 0 && sink.write(buffer.data(), static_cast<std::size_t>(count));
    };
    response.set_content_provider(static_cast<std::size_t>(document.bytes),
                                  mediaTypeOf(document.format, *opened), read);
}

} // namespace appserver
