// SPDX-License-Identifier: MIT
#include "vrc/TransportPool.h"

#include <algorithm>

namespace vrc {
namespace {

constexpr std::size_t maxIdle = 8;

} // namespace

TransportPool &TransportPool::instance()
{
    startTransportLibrary(); // first: it is still there when the pool goes at exit
    static TransportPool pool;
    return pool;
}

std::unique_ptr<Transport> TransportPool::take(const ConnectionSettings &settings)
{
    const std::string key = Transport::keyOf(settings);
    std::unique_ptr<Transport> transport;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = std::find_if(m_idle.rbegin(), m_idle.rend(),
                                        [&key](const auto &idle) { return idle->key() == key; });
        if (found != m_idle.rend()) {
            transport = std::move(*found);
            m_idle.erase(std::next(found).base());
        }
    }
    if (!transport) {
        return std::make_unique<Transport>(settings);
    }
    transport->setConnectTimeout(settings.connectTimeout);
    return transport;
}

void TransportPool::give(std::unique_ptr<Transport> transport) noexcept
{
    std::unique_ptr<Transport> surplus; // closed outside of the lock
    try {
        transport->abandon();
        const std::lock_guard lock(m_mutex);
        m_idle.push_back(std::move(transport));
        if (m_idle.size() > maxIdle) {
            surplus = std::move(m_idle.front());
            m_idle.erase(m_idle.begin());
        }
    } catch (...) { // no room to keep it: it is closed
    }
}

} // namespace vrc
