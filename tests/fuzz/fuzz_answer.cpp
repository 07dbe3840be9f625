// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "vrc/AnswerReader.h"
#include "vrc/Failure.h"
#include "wire/limits.h"

#include <algorithm>
#include <string_view>

namespace {

vrc::Expectation expectationOf(std::uint8_t choice)
{
    vrc::Expectation expectation;
    expectation.isHello = (choice & 1) != 0;
    expectation.isQuery = (choice & 2) != 0;
    expectation.mayTravel = (choice & 4) != 0;
    expectation.fetchedName = (choice & 8) != 0 ? "F" : "";
    expectation.firstNumber = 1;
    expectation.lastNumber = 3;
    expectation.waiting = 3;
    return expectation;
}

void decodeObjects(const vrc::Answer &answer)
{
    for (const vrc::ReceivedObject &object : answer.objects) {
        const auto value = wire::decodeValue(object.type, object.bytes);
        if (value) {
            ensure(wire::isWithinLimits(*value));
        }
    }
}

} // namespace

/// The first byte says what the request had asked for, the second how long the pieces are, the rest is the
/// answer.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    const std::size_t pieceBytes = data[1] + std::size_t{1};
    std::string_view body(reinterpret_cast<const char *>(data + 2), size - 2);
    vrc::AnswerReader reader(expectationOf(data[0]));
    try {
        while (!body.empty()) {
            const std::string_view piece = body.substr(0, pieceBytes);
            body.remove_prefix(piece.size());
            reader.take(piece);
        }
        reader.finish();
        ensure(reader.answer().isComplete);
    } catch (const vrc::Failure &failure) {
        const std::uint32_t code = failure.error().code;
        ensure(code == wire::errors::strangeAnswer.code || code == wire::errors::network.code);
    }
    ensure(reader.answer().acknowledged <= 3);
    decodeObjects(reader.answer());
    return 0;
}
