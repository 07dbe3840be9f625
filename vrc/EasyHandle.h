// SPDX-License-Identifier: MIT
#pragma once

#include <curl/curl.h>

#include <memory>

namespace vrc {

/// Starts the transport library (libcurl), once in a process. What is static and is made behind the first
/// call can use it until the process has ended. Throws Failure (LOCAL/REQUEST/133).
void startTransportLibrary();

/// A transfer of libcurl, with its options and what is known of it. Throws std::bad_alloc where there is no
/// memory.
class EasyHandle
{
public:
    EasyHandle();

    [[nodiscard]] CURL *get() const { return m_easy.get(); }

    /// Throws Failure (LOCAL/REQUEST/103) for an option that the library does not take.
    template <class Value>
    void set(CURLoption option, Value value) const
    {
        requireSet(curl_easy_setopt(m_easy.get(), option, value));
    }

    /// Zero or null for what is not known; the type is that of curl_easy_getinfo(3).
    template <class Value>
    [[nodiscard]] Value info(CURLINFO what) const
    {
        Value value = {};
        curl_easy_getinfo(m_easy.get(), what, &value);
        return value;
    }

private:
    struct FreeEasy
    {
        void operator()(CURL *easy) const { curl_easy_cleanup(easy); }
    };

    static void requireSet(CURLcode status);

    std::unique_ptr<CURL, FreeEasy> m_easy;
};

} // namespace vrc
