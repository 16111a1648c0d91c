// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

namespace platform {

/// The trays of the StatusNotifierItem protocol, known by a watcher on the session bus.
class StatusNotifierHosts : public QObject
{
    Q_OBJECT

public:
    StatusNotifierHosts();

    /// True when the watcher says that a host shows items.
    bool hasHost() const;

signals:
    /// The watcher, or a host of it, has appeared.
    void appeared();
};

} // namespace platform
