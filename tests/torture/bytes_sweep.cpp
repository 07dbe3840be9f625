// SPDX-License-Identifier: MIT

// Every byte of an upload, either way, is the last one that passes: the connection is reset, closed or falls
// silent there, and with TLS one bit of the next byte is turned. The library gets over one lost connection;
// whatever it says must be true.

#include "tests/support/FaultRelay.h"
#include "tests/support/PrivateLibrary.h"
#include "tests/torture/SweepTable.h"
#include "tests/torture/UploadBed.h"
#include "tests/torture/conversation_layout.h"

namespace {

constexpr std::size_t largeBytes = std::size_t{8} * 1024 * 1024;
constexpr std::size_t brokenConnections = 64; ///< "every one" of an upload

struct Kind
{
    const char *name;
    Fault::Kind kind;
    bool isForTlsAlone;
    unsigned workers; ///< those that wait for silence cost nothing meanwhile
};

constexpr Kind kinds[] = {{"reset", Fault::Kind::reset, false, 6},
                          {"close", Fault::Kind::cut, false, 6},
                          {"stall", Fault::Kind::stall, false, 40},
                          {"bit", Fault::Kind::corrupt, true, 6}};

struct Document
{
    const char *name;
    std::string text;
    std::size_t stride;   ///< of the payload's bytes
    std::size_t selected; ///< positions of a class without --every
};

using Positions = std::vector<std::uint64_t>;

class BytesSweep
{
public:
    BytesSweep(UploadBed &bed, SweepTable &table) : m_bed(bed), m_table(table) {}

    void run()
    {
        const Document small = {"1 KiB", UploadBed::document(1024), 1, 14};
        const Document middle = {"200 KiB", UploadBed::document(std::size_t{200} * 1024), 97, 7};
        const Document large = {"8 MiB", UploadBed::document(largeBytes), 0, 2};
        for (const bool isTls : {false, true}) {
            for (const Document *document : {&small, &middle}) {
                sweepBytes(*document, isTls);
            }
            sweepBoundaries(middle, isTls);
            sweepLarge(large, isTls);
        }
    }

private:
    struct Layouts
    {
        ConversationLayout toServer;
        ConversationLayout toClient;
    };

    Layouts record(const Document &document, bool isTls)
    {
        FaultRelay relay(portOf(isTls), {});
        relay.record();
        const Verdict verdict = m_bed.upload(relay.port(), isTls, document.text);
        if (!verdict.isCompleted || !verdict.violations.empty() || relay.connections() != 1) {
            m_table.violation(document.name, "an upload without a fault fails");
        }
        const auto layout = isTls ? layoutOfTls : layoutOfPlain;
        return {layout(relay.recorded(Fault::Way::toServer)), layout(relay.recorded(Fault::Way::toClient))};
    }

    [[nodiscard]] int portOf(bool isTls) const
    {
        return isTls ? m_bed.server().port() : m_bed.server().plainPort();
    }

    [[nodiscard]] Positions selection(const Positions &all, const Document &document) const
    {
        return m_table.options().isEvery ? all : spread(all, document.selected);
    }

    void sweepBytes(const Document &document, bool isTls)
    {
        const Layouts layouts = record(document, isTls);
        const std::string what = std::string(document.name) + (isTls ? ", TLS" : ", plain");
        for (const Kind &kind : kinds) {
            std::vector<SweepCase> cases;
            add(cases, what, kind, Fault::Way::toServer,
                selection(layouts.toServer.positions(document.stride), document), document, isTls, 1);
            add(cases, what, kind, Fault::Way::toClient,
                selection(layouts.toClient.positions(document.stride), document), document, isTls, 1);
            m_table.run(cases, kind.workers);
        }
    }

    /// Between two frames, or TLS records: on the first connection, and on every one. Between two frames of
    /// the first connection also without --every: there the library goes on, and there are few of them.
    void sweepBoundaries(const Document &document, bool isTls)
    {
        const Layouts layouts = record(document, isTls);
        for (const std::size_t connections : {std::size_t{1}, brokenConnections}) {
            const std::string what = std::string(isTls ? "TLS record" : "frame") + " boundary, " +
                                     (connections == 1 ? "first connection" : "every connection");
            const auto chosen = [&](const Positions &all) {
                return !isTls && connections == 1 ? all : selection(all, document);
            };
            for (const Kind &kind : kinds) {
                std::vector<SweepCase> cases;
                add(cases, what, kind, Fault::Way::toServer, chosen(layouts.toServer.boundaries), document,
                    isTls, connections);
                add(cases, what, kind, Fault::Way::toClient, chosen(layouts.toClient.boundaries), document,
                    isTls, connections);
                m_table.run(cases, kind.workers);
            }
        }
    }

    void sweepLarge(const Document &document, bool isTls)
    {
        Positions positions;
        for (std::uint64_t at = 65536; at < largeBytes; at += 65536) {
            positions.push_back(at);
        }
        for (const Kind &kind : kinds) {
            std::vector<SweepCase> cases;
            add(cases, std::string(document.name) + (isTls ? ", TLS" : ", plain"), kind, Fault::Way::toServer,
                selection(positions, document), document, isTls, 1);
            m_table.run(cases, std::min(kind.workers, 8U));
        }
    }

    void add(std::vector<SweepCase> &cases, const std::string &what, const Kind &kind, Fault::Way way,
             const Positions &positions, const Document &document, bool isTls, std::size_t connections)
    {
        if (kind.isForTlsAlone && !isTls) {
            return;
        }
        const std::string wayName = way == Fault::Way::toServer ? "to the server " : "to the client ";
        for (const std::uint64_t at : positions) {
            const auto mask = static_cast<unsigned char>(1U << at % 8);
            const std::vector<Fault> faults(connections, Fault{kind.kind, way, at, 0, mask});
            cases.push_back(
                {what + ", " + kind.name, wayName + std::to_string(at), [this, isTls, faults, &document] {
                     FaultRelay relay(portOf(isTls), faults);
                     return m_bed.uploadTwice(relay.port(), isTls, document.text);
                 }});
        }
    }

    UploadBed &m_bed;
    SweepTable &m_table;
};

} // namespace

int main(int argc, char **argv)
{
    SweepTable table(SweepOptions::parse(argc, argv));
    if (PrivateLibrary::folder() == nullptr) {
        return PrivateLibrary::runAgain(argv);
    }
    enterFastPlace();
    loseSilentServersSoon();
    UploadBed bed;
    BytesSweep(bed, table).run();
    return bed.conclude(table);
}
