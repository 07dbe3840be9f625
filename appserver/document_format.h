// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace appserver {

class FileObject;

enum class DocumentFormat
{
    pdf,
    postScript,
    png,
    jpeg,
    text
};

/// Recognises a document by its contents, never by its name. No value for anything that cannot be printed, an
/// empty document included.
[[nodiscard]] std::optional<DocumentFormat> recogniseFormat(const FileObject &file);

[[nodiscard]] std::string_view formatName(DocumentFormat format); ///< "pdf", also the suffix of stored files
[[nodiscard]] std::optional<DocumentFormat> formatFromName(std::string_view name);
[[nodiscard]] std::string_view mediaType(DocumentFormat format);

} // namespace appserver
