// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/Transport.h"

#include <memory>
#include <mutex>
#include <vector>

namespace vrc {

/// The idle transports of this process: a request takes one that an earlier request to the same server left,
/// with its connection and its TLS session. Safe for threads.
class TransportPool
{
public:
    [[nodiscard]] static TransportPool &instance();

    [[nodiscard]] std::unique_ptr<Transport> take(const ConnectionSettings &settings);
    void give(std::unique_ptr<Transport> transport) noexcept;

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Transport>> m_idle; ///< longest idle first
};

} // namespace vrc
