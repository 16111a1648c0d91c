// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/session/TrayWatch.h"

namespace platform {

/// The trays of the StatusNotifierItem protocol, which a watcher on the session bus knows.
class StatusNotifierHosts final : public TrayWatch
{
    Q_OBJECT

public:
    StatusNotifierHosts();

    /// Whether the watcher on the bus says that a host shows items.
    bool hasTray() const override;
};

} // namespace platform
