// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/process/ChildProcess.h"

#include <QMap>
#include <QProcessEnvironment>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

/// What a user's programs run in: a fresh home, folders of its own and, where wanted, a session
/// bus. Nothing in it reaches the machine's own session, nor its system bus. Derived classes bring
/// the display.
class UserSession
{
public:
    UserSession();
    virtual ~UserSession() = default;
    UserSession(const UserSession &) = delete;
    UserSession &operator=(const UserSession &) = delete;

    /// Why the session cannot be used; empty when it can.
    QByteArray problem() const { return failures; }

    /// The name of the display, as programs find it in their environment.
    virtual QString display() const = 0;

    /// Ends the bus while programs still use it.
    void endSessionBus();
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
    /// XDG_RUNTIME_DIR; nobody else may use it.
    QString runtimeDirectory() const { return path(u"run"_s); }
    /// The server's settings file.
    QString settingsFile() const;
    /// Where programs of the user reach the server.
    QString serverSocket() const;

protected:
    /// Sets the variables by which programs find the display.
    virtual void describeDisplay(QProcessEnvironment &environment) const = 0;

    /// Starts the session bus. It starts no program but those whose services `further` names in the
    /// language of the bus's settings.
    void startBus(const QByteArray &further = {});
    /// Starts another bus, which listens at run/NAME. Returns its address.
    QString startBus(ChildProcess &process, const QString &name, const QByteArray &further = {});
    /// Notes a part that is not there.
    void require(bool isThere, const QByteArray &what);

private:
    void makeFolders();

    QTemporaryDir privateFolder;
    QByteArray failures;
    QString sessionBusAddress;
    QString systemBusAddress;
    QMap<QString, QString> variables; ///< Added by the test.
    ChildProcess bus;
};
