// SPDX-License-Identifier: MIT
#include "backend/document_copy.h"

#include "backend/backend_failure.h"
#include "backend/cancel_signal.h"
#include "backend/descriptor_io.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>

namespace backend {
namespace {

constexpr std::size_t blockBytes = 65536;

/// The first bytes and the last kilobyte of a document, enough to tell whether a PDF is whole.
class DocumentEnds
{
public:
    void add(std::string_view block)
    {
        m_first += block.substr(0, firstBytes - std::min(firstBytes, m_first.size()));
        m_last += block.substr(block.size() - std::min(lastBytes, block.size()));
        m_last.erase(0, m_last.size() - std::min(lastBytes, m_last.size()));
    }

    [[nodiscard]] bool isWhole() const
    {
        if (m_first.empty()) {
            return false;
        }
        return !m_first.starts_with("%PDF-") || m_last.find("%%EOF") != std::string::npos;
    }

private:
    static constexpr std::size_t firstBytes = 5;
    static constexpr std::size_t lastBytes = 1024;
    std::string m_first;
    std::string m_last;
};

void refuseIfCancelled()
{
    if (isCancelled()) {
        throw BackendFailure(ExitCode::cancel, "The job was cancelled");
    }
}

/// The next block; empty at the end of the document.
std::string_view readBlock(int fd, std::array<char, blockBytes> &buffer)
{
    for (;;) {
        if (!waitReadable(fd, -1)) {
            refuseIfCancelled();
        }
        const ssize_t got = readBytes(fd, buffer);
        if (got >= 0) {
            return {buffer.data(), static_cast<std::size_t>(got)};
        }
        if (errno != EAGAIN) {
            throw systemFailure("Cannot read the document");
        }
    }
}

} // namespace

void copyDocument(const DocumentSource &source, int target)
{
    std::array<char, blockBytes> buffer{};
    DocumentEnds ends;
    for (auto block = readBlock(source.fd.get(), buffer); !block.empty();
         block = readBlock(source.fd.get(), buffer)) {
        ends.add(block);
        if (!writeBytes(target, block)) {
            throw systemFailure("Cannot write to the spool");
        }
    }
    refuseIfCancelled();
    if (source.fromFilters && !ends.isWhole()) {
        throw BackendFailure(ExitCode::cancel, "The document is incomplete: it could not be converted");
    }
}

} // namespace backend
