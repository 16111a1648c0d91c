// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/wayland/SwaySession.h"

#include <QDBusConnection>
#include <QStringList>

/// What users of sway have for icons and messages: a bar with a tray at the lower edge (waybar) and
/// a notification daemon (mako).
class SwayPanel
{
public:
    static constexpr int BarHeight = 24;

    /// A message as it stands on the screen.
    struct Balloon
    {
        QString title;
        QString body;

        bool operator==(const Balloon &) const = default;
    };

    /// Starts both in the session, which has a bus, and waits until they answer.
    explicit SwayPanel(const SwaySession &session);
    ~SwayPanel();
    SwayPanel(const SwayPanel &) = delete;
    SwayPanel &operator=(const SwayPanel &) = delete;

    bool isReady() const { return isThere; }

    /// The icons that have been registered, by their owners' names on the bus.
    QStringList icons() const;
    /// The process that has that name on the bus; 0 if none has.
    qint64 ownerProcess(const QString &name) const;
    /// The messages on the screen, the newest first.
    QList<Balloon> balloons() const;

    /// Where the one icon of the tray is.
    static QRect iconPlace();

private:
    void startBar();
    bool owns(const QString &name) const;

    const SwaySession &sway;
    QDBusConnection bus;
    ChildProcess bar;
    ChildProcess daemon;
    bool isThere = false;
};
