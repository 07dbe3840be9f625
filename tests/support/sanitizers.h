// SPDX-License-Identifier: MIT
#pragma once

#include <sys/resource.h>

/// What a test has to know of the sanitizers: they are slow, and keep freed memory for a while.
#if defined(__has_feature)
inline constexpr bool isSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

/// The most memory that this process ever had.
inline long peakKiB()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

/// A limit for what is to be freed again: AddressSanitizer keeps 256 MiB of that.
constexpr long memoryLimitKiB(long ownKiB)
{
    return isSanitized ? ownKiB + 384L * 1024 : ownKiB;
}
