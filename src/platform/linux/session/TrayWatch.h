// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

#include <memory>
#include <vector>

namespace platform {

/// Watches for one kind of tray, from its construction on.
class TrayWatch : public QObject
{
    Q_OBJECT

public:
    /// Whether such a tray shows icons now. May ask another process.
    virtual bool hasTray() const = 0;

signals:
    /// A tray may have appeared; ask hasTray().
    void appeared();
};

/// A watch for each kind of tray that the toolkit can show its icon in.
std::vector<std::unique_ptr<TrayWatch>> makeTrayWatches();

} // namespace platform
