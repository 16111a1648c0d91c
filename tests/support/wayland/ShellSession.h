// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/UserSession.h"

#include <QDBusConnection>
#include <QImage>
#include <QRect>

#include <optional>

/// A large desktop of Wayland without a screen, devices or Xwayland: GNOME Shell or KWin of Plasma,
/// with its portal, buses of its own and one output. It refuses root, so tests that use it are
/// declared with WAYLAND in CMake and started through ctest.
class ShellSession : public UserSession
{
public:
    enum class Shell { Gnome, Plasma };
    enum Part {
        NoParts = 0,
        Tray = 1, ///< GNOME's own: its extension for icons, and its notifications.
    };
    Q_DECLARE_FLAGS(Parts, Part)

    static constexpr QSize OutputSize{1280, 720};

    /// Starts every part and waits until each is there; problem() reports those that are not.
    explicit ShellSession(Shell which, Parts parts = NoParts);
    ~ShellSession() override;

    Shell shell() const { return kind; }
    QString display() const override { return u"wayland-9"_s; }
    /// The same as a path, for programs with another runtime directory.
    QString displayPath() const { return runtimeDirectory() + u'/' + display(); }
    bool isRunning() const { return compositor.state() == QProcess::Running; }
    qint64 processId() const { return compositor.processId(); }

    /// Answers for the user what the portal asks, once it asks; false if it does not. Plasma 5 asks
    /// only programs that it knows, so there is nothing to do.
    bool consent() const;
    bool refuse() const;

    /// Leaves the overview of all windows, with which GNOME begins.
    bool dismissOverview() const;

    /// What GNOME Shell makes of a JavaScript expression, as JSON; nothing if it throws.
    std::optional<QByteArray> evaluate(const QString &expression) const;
    /// The place of that process's window on GNOME, once it has the keys and the pointer finds it.
    std::optional<QRect> frontWindow(qint64 process) const;
    /// What GNOME's output shows.
    QImage picture() const;

    /// The processes that belong to this session, whoever has started them.
    QList<qint64> processes() const;

private:
    void describeDisplay(QProcessEnvironment &environment) const override;
    bool writeSettings(Parts parts) const;
    QByteArray offer(const QStringList &services) const;
    void startCompositor();
    bool hasStarted() const;
    void endOtherProcesses() const;
    bool pressInDialog(const QStringList &deeds) const;
    QString connectionName() const { return busAddress() + u"#shell"_s; }

    const Shell kind;
    ChildProcess systemBus;
    ChildProcess compositor;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ShellSession::Parts)
