// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/wayland/ShellSession.h"

#include <QDBusConnection>
#include <QObject>
#include <QPoint>
#include <QRect>

#include <optional>

/// What KWin tells a script of its own of the windows and the pointer.
class KwinWindows : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "vornaserver.test.Windows")

public:
    /// Runs the script in the session.
    explicit KwinWindows(const ShellSession &session);
    ~KwinWindows() override;

    bool isReady() const { return isRunning; }
    /// The place of that process's window, once it has the keys.
    std::optional<QRect> frontWindow(qint64 process) const;
    QPoint pointer() const { return place; }

public slots:
    // Called by the script, with lists of numbers as JSON.
    void activated(const QString &processAndPlace);
    void pointed(const QString &newPlace);

private:
    bool run(const QString &script);

    QDBusConnection bus;
    bool isRunning = false;
    qint64 active = 0; ///< The process of the window that has the keys.
    QRect window;
    QPoint place;
};
