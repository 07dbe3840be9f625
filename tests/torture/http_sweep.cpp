// SPDX-License-Identifier: MIT

// Something on the way answers in the server's place, at each request of an upload: once or from then on,
// instead of the server or after the server has carried the commands out, or before the request was read.

#include "tests/support/PrivateLibrary.h"
#include "tests/torture/SweepTable.h"
#include "tests/torture/UploadBed.h"
#include "tests/torture/bad_answers.h"

namespace {

constexpr std::size_t selected = 300;
constexpr std::size_t documentBytes = std::size_t{200} * 1024;

std::vector<SweepCase> makeCases(UploadBed &bed, const std::vector<BadAnswer> &answers, std::size_t requests,
                                 const std::string &document)
{
    std::vector<SweepCase> cases;
    for (const BadAnswer &bad : answers) {
        for (const Manner &manner : manners) {
            for (std::size_t position = 1; position <= requests; ++position) {
                const std::string name =
                    bad.name + ", " + manner.name + ", request " + std::to_string(position);
                cases.push_back({bad.className, name, [&bed, &bad, &manner, position, &document] {
                                     const BadGateway gateway(bed.server().plainPort(), position, manner,
                                                              &bad);
                                     Verdict verdict = bed.uploadTwice(gateway.port(), false, document);
                                     if (verdict.error == "LOCAL/REQUEST/133") {
                                         verdict.violations.emplace_back("taken for a lack of memory");
                                     }
                                     return verdict;
                                 }});
            }
        }
    }
    return cases;
}

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
    const std::string document = UploadBed::document(documentBytes);
    const BadGateway harmless(bed.server().plainPort(), 0, manners[0], nullptr);
    if (!bed.upload(harmless.port(), false, document).isCompleted) {
        table.violation("no fault", "an upload through a harmless gateway fails");
    }
    const std::vector<BadAnswer> answers = badAnswers();
    const std::vector<SweepCase> cases = makeCases(bed, answers, harmless.requests(), document);
    table.run(table.options().isEvery ? cases : spread(cases, selected), 12);
    return bed.conclude(table);
}
