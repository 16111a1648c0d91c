// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPoint>
#include <QString>
#include <QStringList>

/// The person at the desktop: moves the real pointer and presses real keys, by xdotool.
class DesktopUser
{
public:
    enum class Button { Left = 1, Middle = 2, Right = 3 };

    explicit DesktopUser(QString display);

    /// False when the tool failed or is missing.
    bool moveTo(const QPoint &point) const;
    bool click(const QPoint &point, Button button = Button::Left) const;
    bool doubleClick(const QPoint &point) const;
    /// Presses the main button at one point and lets it go at the other.
    bool drag(const QPoint &from, const QPoint &to) const;
    /// Taps a key by its X11 name, such as "Escape" or "Return", or a shortcut such as "alt+a".
    bool tapKey(const QString &name) const;
    bool holdKey(const QString &name) const;
    bool releaseKey(const QString &name) const;

    bool type(const QString &text) const;

    /// Puts a window, by its number, at that place of the screen.
    bool moveWindow(quint32 window, const QPoint &corner) const;
    /// Takes a window from the screen, as the button in its title bar does.
    bool minimizeWindow(quint32 window) const;

private:
    bool run(const QStringList &arguments) const;

    QString displayName;
};
