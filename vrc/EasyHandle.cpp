// SPDX-License-Identifier: MIT
#include "vrc/EasyHandle.h"

#include "vrc/Failure.h"

#include <new>

namespace vrc {

void startTransportLibrary()
{
    static const CURLcode status = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (status != CURLE_OK) {
        fail(wire::errors::outOfMemory, "the transport library does not start");
    }
}

EasyHandle::EasyHandle()
{
    startTransportLibrary();
    m_easy.reset(curl_easy_init());
    if (!m_easy) {
        throw std::bad_alloc();
    }
}

void EasyHandle::requireSet(CURLcode status)
{
    if (status == CURLE_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    if (status != CURLE_OK) {
        fail(wire::errors::cannotConnect,
             std::string("the transport cannot be set up: ") + curl_easy_strerror(status));
    }
}

} // namespace vrc
