// SPDX-License-Identifier: MIT
#include "vrc/compress.h"

#include "vrc/Failure.h"
#include "vrc/file_access.h"
#include "wire/limits.h"

#include <unistd.h>
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <memory>
#include <string>

namespace vrc {
namespace {

using namespace std::string_view_literals;

constexpr std::uint64_t blockBytes = 65536;
constexpr std::uint64_t parallelBytes = 4 * 1024 * 1024; ///< shorter files gain nothing from a second core
constexpr int jobBytes = 512 * 1024;                     ///< the shortest there is: memory goes with it
constexpr int workers = 2;
constexpr int windowLog = 19; ///< 512 KiB: what each worker holds besides its job

/// An empty skippable frame: magic number and length, little-endian.
constexpr std::string_view skippableFrame = "\x50\x2a\x4d\x18\0\0\0\0"sv;

struct FreeContext
{
    void operator()(ZSTD_CCtx *context) const { ZSTD_freeCCtx(context); }
};

using Context = std::unique_ptr<ZSTD_CCtx, FreeContext>;

void check(std::size_t status)
{
    if (ZSTD_isError(status) != 0U) {
        const bool isMemory = ZSTD_getErrorCode(status) == ZSTD_error_memory_allocation;
        fail(isMemory ? wire::errors::outOfMemory : wire::errors::fileWrite,
             std::string("the file cannot be compressed: ") + ZSTD_getErrorName(status));
    }
}

Context makeContext(std::uint64_t sourceBytes)
{
    Context context(ZSTD_createCCtx());
    if (!context) {
        fail(wire::errors::outOfMemory, {});
    }
    check(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_compressionLevel, ZSTD_CLEVEL_DEFAULT));
    check(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_checksumFlag, 1));
    if (sourceBytes >= parallelBytes) {
        check(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_nbWorkers, workers));
        check(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_jobSize, jobBytes));
        check(ZSTD_CCtx_setParameter(context.get(), ZSTD_c_windowLog, windowLog));
    }
    check(ZSTD_CCtx_setPledgedSrcSize(context.get(), sourceBytes));
    return context;
}

class Compressor
{
public:
    Compressor(const FileReader &source, FileWriter &target)
        : m_source(source), m_target(target), m_context(makeContext(source.size())),
          m_out(ZSTD_CStreamOutSize(), '\0')
    {}

    void run()
    {
        std::string piece;
        std::uint64_t done = 0;
        do {
            const std::uint64_t rest = m_source.size() - done;
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(rest, ZSTD_CStreamInSize()));
            m_source.read(done, piece, count);
            done += count;
            feed(piece, done == m_source.size() ? ZSTD_e_end : ZSTD_e_continue);
        } while (done < m_source.size());
        if (m_written % blockBytes == 0) {
            put(skippableFrame);
        }
    }

private:
    void feed(std::string_view piece, ZSTD_EndDirective directive)
    {
        ZSTD_inBuffer in = {piece.data(), piece.size(), 0};
        for (bool isDone = false; !isDone;) {
            ZSTD_outBuffer out = {m_out.data(), m_out.size(), 0};
            const std::size_t rest = ZSTD_compressStream2(m_context.get(), &out, &in, directive);
            check(rest);
            put(std::string_view(m_out.data(), out.pos));
            isDone = directive == ZSTD_e_end ? rest == 0 : in.pos == in.size;
        }
    }

    void put(std::string_view bytes)
    {
        m_written += bytes.size();
        if (m_written > wire::maxFileBytes) {
            fail(wire::errors::limitExceeded, "the compressed file is too long: 2 GiB or more");
        }
        m_target.write(bytes);
    }

    const FileReader &m_source;
    FileWriter &m_target;
    Context m_context;
    std::string m_out;
    std::uint64_t m_written = 0;
};

} // namespace

void compressFile(const LocalFile &source, LocalFile &target)
{
    (void)source.size(); // refuses what is too long
    const FileReader reader(source.path());
    refuseToOverwrite(reader, target.path());
    target.forgetOrigin();
    FileWriter writer(target.path());
    try {
        Compressor(reader, writer).run();
        writer.close();
    } catch (const Failure &) {
        unlink(target.path().c_str());
        throw;
    }
}

} // namespace vrc
