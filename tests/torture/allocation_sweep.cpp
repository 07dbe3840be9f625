// SPDX-License-Identifier: MIT

// Every allocation of the client library's own code during an upload fails in turn: alone, and with every one
// behind it in the same call. The caller gets an error and nothing crashes or leaks.

#include "tests/support/FaultRelay.h"
#include "tests/support/PrivateLibrary.h"
#include "tests/torture/SweepTable.h"
#include "tests/torture/UploadBed.h"
#include "tests/torture/failing_new.h"

#include <numeric>

namespace {

constexpr std::size_t selected = 45;         ///< allocations of a class without --every
constexpr std::int64_t harmlessGrowth = 200; ///< blocks: idle transports and an error that are kept

class AllocationSweep
{
public:
    AllocationSweep(UploadBed &bed, SweepTable &table) : m_bed(bed), m_table(table) {}

    void run()
    {
        // The second one: what the library does about an error, and to get over it, needs memory too.
        const std::vector<Fault> lost = {{Fault::Kind::cut, Fault::Way::toServer, 100'000, 0},
                                         {Fault::Kind::cut, Fault::Way::toClient, 0, 0},
                                         {Fault::Kind::cut, Fault::Way::toClient, 0, 0}};
        sweep("plain", {}, false);
        sweep("plain, lost connections", lost, false);
        sweep("TLS", {}, true);
    }

private:
    [[nodiscard]] int portOf(bool isTls) const
    {
        return isTls ? m_bed.server().port() : m_bed.server().plainPort();
    }

    /// Of a whole upload, on a connection of its own; also fills the library's pool.
    std::uint64_t allocations(const std::vector<Fault> &faults, bool isTls)
    {
        std::uint64_t count = 0;
        for (int i = 0; i < 10; ++i) {
            const FaultRelay relay(portOf(isTls), faults);
            failing_new::failAt(0, false);
            const Verdict verdict = m_bed.upload(relay.port(), isTls, m_document);
            if (!verdict.violations.empty() || (faults.empty() && !verdict.isCompleted)) {
                m_table.violation("allocations", "an upload with enough memory fails");
            }
            count = std::max(count, failing_new::counted());
        }
        return count;
    }

    void sweep(const std::string &name, const std::vector<Fault> &faults, bool isTls)
    {
        std::vector<std::uint64_t> numbers(allocations(faults, isTls));
        std::iota(numbers.begin(), numbers.end(), 1);
        if (!m_table.options().isEvery) {
            numbers = spread(numbers, selected);
        }
        std::vector<SweepCase> cases;
        for (const bool isLasting : {false, true}) {
            for (const std::uint64_t number : numbers) {
                cases.push_back({name + (isLasting ? ", one and the rest of the call" : ", one alone"),
                                 std::to_string(number), [this, number, isLasting, isTls, &faults] {
                                     return fail(number, isLasting, isTls, faults);
                                 }});
            }
        }
        const std::int64_t before = failing_new::living();
        m_table.run(cases, 4);
        if (failing_new::living() > before + harmlessGrowth) {
            m_table.violation(name, std::to_string(failing_new::living() - before) + " blocks have leaked");
        }
    }

    Verdict fail(std::uint64_t number, bool isLasting, bool isTls, const std::vector<Fault> &faults)
    {
        const FaultRelay relay(portOf(isTls), faults);
        failing_new::failAt(number, isLasting);
        Verdict verdict =
            m_bed.uploadTwice(relay.port(), isTls, m_document, [] { failing_new::failAt(0, false); });
        failing_new::failAt(0, false);
        return verdict;
    }

    UploadBed &m_bed;
    SweepTable &m_table;
    const std::string m_document = UploadBed::document(std::size_t{150} * 1024);
};

} // namespace

int main(int argc, char **argv)
{
    SweepTable table(SweepOptions::parse(argc, argv));
    if (PrivateLibrary::folder() == nullptr) {
        return PrivateLibrary::runAgain(argv, PrivateLibrary::Program::copied);
    }
    enterFastPlace();
    UploadBed bed;
    AllocationSweep(bed, table).run();
    return bed.conclude(table);
}
