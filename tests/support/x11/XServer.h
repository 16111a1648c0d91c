// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>
#include <QSize>
#include <QStringList>

/// An X server without a physical screen (Xvfb), on a display number that it picks itself, so that
/// any number of them live side by side. It ends with this object, or with the test that crashed.
class XServer
{
public:
    /// Starts the server and waits until clients may connect. `arguments` are further ones of Xvfb,
    /// such as {"-extension", "XTEST"}.
    explicit XServer(QSize screen = {1024, 768}, const QStringList &arguments = {});
    ~XServer();
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    /// Whether it came up and is still there; false when Xvfb is missing.
    bool isRunning() const;

    /// The value of DISPLAY, such as ":7"; empty when it did not come up.
    QString display() const { return displayName; }

    qint64 processId() const { return xvfb.processId(); }

    /// This process's environment with this display.
    QProcessEnvironment environment() const;

    /// Runs a program of this display (setxkbmap, xmodmap, ...) to its end; false when it is
    /// missing, failed or took too long.
    bool run(const QString &program, const QStringList &arguments) const;

    /// Ends the server while its clients are connected.
    void end();

    /// While halted the server takes no request and gives no answer; its clients notice nothing
    /// else.
    void halt();
    void resume();

private:
    QProcess xvfb;
    QString displayName;
};
