// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// In the program that links failing_new.cpp the global operator new counts what the client library allocates
/// on a thread, and fails when told. Only allocations within a call of the library's three functions count;
/// those of the C libraries that it uses are none of operator new's.
namespace failing_new {

/// Of this thread: the n-th allocation from now on fails, and with `isLasting` every one behind it in the
/// same call too. 0: none.
void failAt(std::uint64_t n, bool isLasting);

/// The library's allocations of this thread since failAt() was called last.
[[nodiscard]] std::uint64_t counted();

/// Blocks that the library has allocated, on any thread, and that nobody has freed yet.
[[nodiscard]] std::int64_t living();

} // namespace failing_new
