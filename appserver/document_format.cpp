// SPDX-License-Identifier: MIT
#include "appserver/document_format.h"

#include "appserver/FileObject.h"

#include <algorithm>
#include <array>

namespace appserver {

namespace {

using namespace std::string_view_literals;

struct FormatRow
{
    DocumentFormat format;
    std::string_view name;
    std::string_view media;
};

constexpr std::array formats{
    FormatRow{DocumentFormat::pdf, "pdf", "application/pdf"},
    FormatRow{DocumentFormat::postScript, "ps", "application/postscript"},
    FormatRow{DocumentFormat::png, "png", "image/png"},
    FormatRow{DocumentFormat::jpeg, "jpg", "image/jpeg"},
    FormatRow{DocumentFormat::text, "txt", "text/plain"},
};

const FormatRow &rowOf(DocumentFormat format)
{
    return *std::ranges::find(formats, format, &FormatRow::format);
}

/// Viewers accept a PDF header that stands a little behind the beginning.
constexpr std::size_t pdfHeaderWithin = 1024;
constexpr std::size_t headBytes = 4096;
constexpr std::size_t textSampleBytes = 1024 * 1024;

std::optional<DocumentFormat> formatByMagic(std::string_view head)
{
    if (head.starts_with("%!PS") || head.starts_with("\x04%!PS") ||
        (head.starts_with("\x1B%-12345X@PJL") && head.find("%!PS") != std::string_view::npos)) {
        return DocumentFormat::postScript;
    }
    if (head.starts_with("\x89PNG\r\n\x1A\n")) {
        return DocumentFormat::png;
    }
    if (head.starts_with("\xFF\xD8\xFF")) {
        return DocumentFormat::jpeg;
    }
    if (head.substr(0, pdfHeaderWithin).find("%PDF-") != std::string_view::npos) {
        return DocumentFormat::pdf;
    }
    return std::nullopt;
}

/// Text in UTF-8 or in a Latin encoding: no zero bytes and no control characters but those that lay out a
/// page.
bool isTextByte(char c)
{
    constexpr std::string_view layout = "\t\n\v\f\r\b\x1A"sv;
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte != 0x7F) || layout.find(c) != std::string_view::npos;
}

/// What can be told apart from text only by what it is for.
bool isOtherLanguage(std::string_view head)
{
    constexpr std::array<std::string_view, 4> magics{"{\\rtf", "<?xml", "<!DOCTYPE", "<html"};
    return std::ranges::any_of(magics, [head](std::string_view magic) { return head.starts_with(magic); });
}

bool isText(const FileObject &file)
{
    bool text = file.size() > 0;
    std::size_t seen = 0;
    forEachPiece(file, [&](std::string_view piece) {
        text = text && std::ranges::all_of(piece, isTextByte);
        seen += piece.size();
        return text && seen < textSampleBytes;
    });
    return text;
}

} // namespace

std::optional<DocumentFormat> recogniseFormat(const FileObject &file)
{
    const std::string head = file.read(0, headBytes);
    if (const auto format = formatByMagic(head)) {
        return format;
    }
    if (!isOtherLanguage(head) && isText(file)) {
        return DocumentFormat::text;
    }
    return std::nullopt;
}

std::string_view formatName(DocumentFormat format)
{
    return rowOf(format).name;
}

std::optional<DocumentFormat> formatFromName(std::string_view name)
{
    const auto *found = std::ranges::find(formats, name, &FormatRow::name);
    return found == formats.end() ? std::nullopt : std::optional(found->format);
}

std::string_view mediaType(DocumentFormat format)
{
    return rowOf(format).media;
}

} // namespace appserver
