// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"

#include <QImage>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

/// A window as it stands on the screen, in pixels from the screen's top left corner.
struct SeenWindow
{
    quint32 id = 0;
    QString title;
    QRect place;

    bool operator==(const SeenWindow &) const = default;
};

/// What can be seen on an X11 display, asked of the X server itself and never of the program.
class DesktopView
{
public:
    explicit DesktopView(const QString &display);
    ~DesktopView();
    DesktopView(const DesktopView &) = delete;
    DesktopView &operator=(const DesktopView &) = delete;

    bool isConnected() const;

    bool hasWindowManager() const;
    /// Whether something shows tray icons.
    bool hasTray() const;

    /// The process's windows with a frame, oldest first.
    QList<SeenWindow> dialogs(qint64 processId) const;
    /// The one with that title.
    std::optional<SeenWindow> dialog(qint64 processId, const QString &title) const;
    /// The window that the keyboard goes to; 0 when none.
    quint32 activeWindow() const;
    /// The topmost window with a frame, whichever program's; 0 when none.
    quint32 frontWindow() const;

    /// Where the process's icon stands in the tray.
    std::optional<QRect> trayIcon(qint64 processId) const;
    /// The process's open menu.
    std::optional<SeenWindow> menu(qint64 processId) const;
    /// The process's balloon message.
    std::optional<SeenWindow> balloon(qint64 processId) const;

    QPoint pointer() const;

    /// The colours of that part of the screen; of the whole screen when it is empty.
    QImage picture(const QRect &area = {}) const;

    /// The picture once it has something in it and no longer changes; a null one when the limit
    /// passed first.
    QImage settledPicture(const QRect &area = {},
                          std::chrono::milliseconds limit = GenerousLimit) const;

    /// Writes a settled picture of the whole screen to the folder of screenshots.
    bool saveScreenshot(const QString &name) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
