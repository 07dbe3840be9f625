// SPDX-License-Identifier: MIT
#include "backend/job_mapping.h"

#include "backend/backend_failure.h"
#include "backend/descriptor_io.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <ostream>
#include <sstream>

namespace backend {
namespace {

/// "USER@HOST": the host begins behind the last "@", since user names of a domain hold one.
bool splitPattern(const std::string &pattern, MappingRule &rule)
{
    const std::size_t at = pattern.rfind('@');
    if (at == std::string::npos || at == 0 || at + 1 == pattern.size()) {
        return false;
    }
    rule.user = pattern.substr(0, at);
    rule.host = pattern.substr(at + 1);
    return true;
}

bool parseRule(const std::string &line, MappingRule &rule)
{
    std::istringstream words(line);
    std::string keyword;
    std::string pattern;
    std::string rest;
    return words >> keyword >> pattern >> rule.account && !(words >> rest) && keyword == "map" &&
           splitPattern(pattern, rule);
}

/// A file that others can write could send anybody's documents to them.
bool isTrustworthy(int fd)
{
    struct stat status
    {};

    if (::fstat(fd, &status) != 0) {
        throw systemFailure("Cannot examine the configuration of the backend");
    }
    return S_ISREG(status.st_mode) && (status.st_uid == 0 || status.st_uid == ::geteuid()) &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

std::string readWhole(int fd)
{
    const auto text = readText(fd, maxMappingBytes + 1);
    if (!text) {
        throw systemFailure("Cannot read the configuration of the backend");
    }
    if (text->size() > maxMappingBytes) {
        throw BackendFailure(ExitCode::hold, "The configuration of the backend is longer than 64 KiB");
    }
    return *text;
}

} // namespace

std::vector<MappingRule> parseMapping(std::string_view text, std::vector<std::string> &problems)
{
    std::vector<MappingRule> rules;
    std::istringstream lines{std::string(text)};
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        MappingRule rule;
        if (parseRule(line, rule)) {
            rules.push_back(rule);
        } else {
            problems.push_back("line " + std::to_string(number) +
                               " is not of the form 'map USER@HOST ACCOUNT'");
        }
    }
    return rules;
}

std::vector<MappingRule> readMapping(const std::string &file, std::ostream &messages)
{
    const FileDescriptor fd(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!fd.isOpen() && errno == ENOENT) {
        return {};
    }
    if (!fd.isOpen() && errno != ELOOP) {
        throw systemFailure("Cannot open the configuration of the backend");
    }
    if (!fd.isOpen() || !isTrustworthy(fd.get())) {
        messages << "ERROR: " << file << " is ignored: it must be a file, no link, that root alone can write"
                 << std::endl;
        return {};
    }
    std::vector<std::string> problems;
    std::vector<MappingRule> rules = parseMapping(readWhole(fd.get()), problems);
    for (const std::string &problem : problems) {
        messages << "WARNING: " << file << ": " << problem << std::endl;
    }
    return rules;
}

} // namespace backend
