// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

/// Lets one process of this program at a time write a store, by a lock on a file of its own beside the store,
/// which goes with the lock. The lock of a process that was killed is free. After two seconds, and where no
/// file can be created, the writer goes on without it.
///
/// Not the toolkit's QLockFile: that waits for the disk each time, and a print writes some twenty values.
class StoreLock
{
public:
    explicit StoreLock(QByteArray path);
    ~StoreLock();
    StoreLock(const StoreLock &) = delete;
    StoreLock &operator=(const StoreLock &) = delete;

    [[nodiscard]] bool isHeld() const { return m_descriptor >= 0; }

private:
    QByteArray m_path;
    int m_descriptor;
};
