// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/UserSession.h"

#include <QJsonDocument>
#include <QRect>

#include <optional>

/// A desktop of Wayland: sway without a screen or devices, with one output, and with a session bus
/// where wanted. It has no Xwayland. sway refuses root, so tests that use it are declared with
/// WAYLAND in CMake and started through ctest.
class SwaySession : public UserSession
{
public:
    enum Part { NoParts = 0, SessionBus = 1 };
    Q_DECLARE_FLAGS(Parts, Part)

    static constexpr QSize OutputSize{1280, 720};

    /// Starts every part and waits until each is there; problem() reports those that are not.
    explicit SwaySession(Parts parts = NoParts);
    ~SwaySession() override;

    /// The value of WAYLAND_DISPLAY; empty until sway has come up once.
    QString display() const override { return displayName; }
    bool isRunning() const { return sway.state() == QProcess::Running; }
    qint64 processId() const { return sway.processId(); }

    /// Sends sway a command, such as "input type:keyboard xkb_layout de", or a question, such as
    /// Question::Tree.
    /// \return whether each command succeeded
    bool command(const QString &text) const;
    enum class Question { Outputs = 3, Tree = 4, Inputs = 100, Seats = 101 };
    /// sway's answer; null when it does not come.
    QJsonDocument ask(Question question) const;

    /// The place of that process's window on the output, once it has the keys.
    std::optional<QRect> frontWindow(qint64 process) const;

    /// Ends sway while its clients are connected.
    void end();
    /// Starts it again after end(), with the same display; whether it came up.
    bool restart();

    /// While halted sway takes no request and gives no answer; its clients notice nothing else.
    void halt() const;
    void resume() const;

private:
    void describeDisplay(QProcessEnvironment &environment) const override;
    bool writeSettings() const;
    bool start();
    void send(int signal) const;

    QString displayName;
    ChildProcess sway;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(SwaySession::Parts)
