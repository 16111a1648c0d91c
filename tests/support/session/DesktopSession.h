// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/process/ChildProcess.h"
#include "support/x11/DesktopUser.h"
#include "support/x11/DesktopView.h"
#include "support/x11/XServer.h"

#include <QMap>
#include <QTemporaryDir>

#include <memory>

using namespace Qt::StringLiterals;

/// A desktop of its own: an X server, a window manager and, where wanted, a tray and a session
/// bus, with a fresh home. Nothing in it reaches the machine's own session, nor its system bus.
class DesktopSession
{
public:
    enum Part { NoParts = 0, Tray = 1, SessionBus = 2 };
    Q_DECLARE_FLAGS(Parts, Part)

    /// Starts every part and waits until each is there; problem() reports those that are not.
    explicit DesktopSession(Parts parts = Tray);

    /// Why the session cannot be used; empty when it can.
    QByteArray problem() const { return failures; }

    /// Starts the tray and waits until it takes icons.
    bool startTray();

    /// Ends that part while programs still use it.
    void endTray();
    void endSessionBus();
    void endDisplay();

    QString display() const;
    /// For tests that halt it for a while.
    XServer &xServer() { return displayServer; }
    const XServer &xServer() const { return displayServer; }
    /// The session bus's address; one that leads nowhere in a session without a bus.
    QString busAddress() const { return sessionBusAddress; }
    /// Empties the home and what programs of the session have stored or logged, and forgets what
    /// was added to their environment; the parts of the session itself run on.
    void beginAnew();

    /// Where programs that are started from now on look for the system bus; by default there is
    /// none.
    void useSystemBus(const QString &address) { systemBusAddress = address; }
    /// Adds to what programs started from now on find in their environment.
    void addVariable(const QString &name, const QString &value) { variables.insert(name, value); }
    /// What a program of this session is started with.
    QProcessEnvironment environment() const;

    /// A file or folder of this session, by its path below the private folder.
    QString path(const QString &relative) const { return privateFolder.filePath(relative); }
    QString home() const { return path(u"home"_s); }
    /// The server's settings file.
    QString settingsFile() const;

    const DesktopView &view() const { return *screenView; }
    const DesktopUser &user() const { return *person; }

private:
    void makeFolders();
    void startBus();
    void startWindowManager();
    bool windowManagerAnswers() const;
    void require(bool isThere, const QByteArray &what);

    QTemporaryDir privateFolder;
    QByteArray failures;
    QString sessionBusAddress;
    QString systemBusAddress;
    QMap<QString, QString> variables; ///< Added by the test.
    // The parts end in the reverse order: what is shown goes before what shows it.
    XServer displayServer;
    ChildProcess bus;
    ChildProcess windowManager;
    ChildProcess tray;
    std::unique_ptr<DesktopView> screenView;
    std::unique_ptr<DesktopUser> person;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(DesktopSession::Parts)
