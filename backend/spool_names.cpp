// SPDX-License-Identifier: MIT
#include "backend/spool_names.h"

#include <array>
#include <cstdio>

namespace backend {
namespace {

constexpr std::size_t maxStemBytes = 100;

bool isStem(std::string_view text)
{
    constexpr std::string_view allowed = "0123456789-abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return !text.empty() && text.size() <= maxStemBytes && text.front() != '-' &&
           text.find_first_not_of(allowed) == std::string_view::npos;
}

} // namespace

std::string jobStem(std::int64_t nanoseconds, std::string_view jobId, std::size_t index)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%019lld-%.10s-%04zu", static_cast<long long>(nanoseconds),
                  std::string(jobId).c_str(), index % 10000);
    return text.data();
}

std::string_view stemOf(std::string_view fileName, std::string_view suffix)
{
    if (!fileName.ends_with(suffix)) {
        return {};
    }
    const std::string_view stem = fileName.substr(0, fileName.size() - suffix.size());
    return isStem(stem) ? stem : std::string_view();
}

} // namespace backend
