// SPDX-License-Identifier: MIT
#include "appserver/decompression.h"

#include "appserver/FileObject.h"

#include <zstd.h>

#include <memory>
#include <new>
#include <string>

namespace appserver {

namespace {

constexpr int windowLogMax = 23;

struct StreamReleaser
{
    void operator()(ZSTD_DCtx *context) const { ZSTD_freeDCtx(context); }
};

class Decompressor
{
public:
    Decompressor(FileObject &target, std::uint64_t maxBytes)
        : m_context(ZSTD_createDCtx()), m_target(target), m_room(maxBytes),
          m_output(ZSTD_DStreamOutSize(), '\0')
    {
        if (!m_context ||
            ZSTD_isError(ZSTD_DCtx_setParameter(m_context.get(), ZSTD_d_windowLogMax, windowLogMax)) != 0) {
            throw std::bad_alloc();
        }
    }

    /// False when nothing more is wanted; status() says why.
    bool take(std::string_view piece)
    {
        ZSTD_inBuffer input{piece.data(), piece.size(), 0};
        bool moreOutput = false;
        while (input.pos < input.size || moreOutput) {
            ZSTD_outBuffer output{m_output.data(), m_output.size(), 0};
            m_missing = ZSTD_decompressStream(m_context.get(), &output, &input);
            if (ZSTD_isError(m_missing) != 0) {
                m_status = Decompression::damaged;
                return false;
            }
            if (output.pos > m_room) {
                m_status = Decompression::tooLong;
                return false;
            }
            m_room -= output.pos;
            m_target.append(std::string_view(m_output.data(), output.pos));
            // After the end of a frame another call would begin the next one.
            moreOutput = output.pos == output.size && m_missing != 0;
        }
        return true;
    }

    [[nodiscard]] Decompression finish() const
    {
        // Anything missing: the data ends inside a frame.
        return m_status == Decompression::done && m_missing != 0 ? Decompression::damaged : m_status;
    }

private:
    std::unique_ptr<ZSTD_DCtx, StreamReleaser> m_context;
    FileObject &m_target;
    std::uint64_t m_room;
    std::string m_output;
    std::size_t m_missing = 1; ///< nothing at all is no frame
    Decompression m_status = Decompression::done;
};

} // namespace

Decompression decompress(const FileObject &source, FileObject &target, std::uint64_t maxBytes)
{
    Decompressor decompressor(target, maxBytes);
    forEachPiece(source, [&](std::string_view piece) { return decompressor.take(piece); });
    target.startWriting(); // while the client asks for the size: it is stored next
    return decompressor.finish();
}

} // namespace appserver
