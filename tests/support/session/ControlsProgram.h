// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/process/ChildProcess.h"
#include "support/session/DesktopSession.h"

#include <QJsonObject>

#include <chrono>
#include <functional>

/// A program of somebody else's making with a text that has the focus, and, unless it is a
/// terminal, a list that scrolls and a slider from 0 to 100 below. It writes their state into a
/// file, so its end of the desktop can be read.
class ControlsProgram
{
public:
    enum class Kind { Gtk, Qt, Terminal, Browser };
    /// The place of a process's window, once it has the keys.
    using Finder = std::function<std::optional<QRect>(qint64)>;

    /// Presses the key Home as the user would; whether that could be done.
    using Tap = std::function<bool()>;

    ControlsProgram(Kind which, const DesktopSession &session);
    /// In a session of any kind. Only a browser needs the key.
    ControlsProgram(Kind which, const UserSession &session, Finder finder, Tap tapOfHome = {});
    ControlsProgram(const ControlsProgram &) = delete;
    ControlsProgram &operator=(const ControlsProgram &) = delete;

    Kind programKind() const { return kind; }

    /// Waits until its window has the keys and has been painted: programs may take no clicks
    /// before.
    bool isReady() const;
    bool hasEnded() const { return process.state() != QProcess::Running; }
    /// Stops it for a while, as if it were busy; false if it could not be stopped.
    bool pause(std::chrono::milliseconds duration) const;
    /// What it lacks for being ready, in a few words.
    QByteArray problem() const;

    QString text() const { return state().value(QStringLiteral("text")).toString(); }
    bool textHasFocus() const { return state().value(QStringLiteral("textHasFocus")).toBool(); }
    /// The first row that is seen, in pixels from the list's beginning.
    double listPosition() const { return state().value(QStringLiteral("list")).toDouble(); }
    double sliderValue() const { return state().value(QStringLiteral("slider")).toDouble(); }

    QPoint middleOfText() const { return middleOfRow(0); }
    QPoint middleOfList() const { return middleOfRow(1); }
    /// Where the knob is at first.
    QPoint middleOfSlider() const { return middleOfRow(2); }
    /// To the right of that, where the value is above 80.
    QPoint nearEndOfSlider() const;

private:
    bool hasTakenKey() const;
    QJsonObject state() const;
    std::optional<QRect> window() const;
    QPoint middleOfRow(int row) const;
    QString errorLog() const { return desktop.path(QStringLiteral("controls.log")); }
    QString record() const { return desktop.path(QStringLiteral("controls")); }

    const Kind kind;
    const UserSession &desktop;
    /// Waits until that part of the screen has been painted; none where the finder does.
    std::function<bool(const QRect &)> isPainted;
    Finder find;
    Tap tapHome;
    ChildProcess process;
};
