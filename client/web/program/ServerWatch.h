// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionConnection.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>

namespace quillmote {

/// Whether the server of this desktop runs. It has a session of its own, which asks for nothing on
/// the desktop, and so it notices at once when the server comes and goes.
class ServerWatch : public QObject
{
    Q_OBJECT

public:
    /// \param path the session socket; empty if there can be none
    explicit ServerWatch(QString path, QObject *parent = nullptr);

    bool isRunning() const { return link && link->isOpen(); }
    const QString &socketPath() const { return path; }
    /// As the network finds it; empty while it does not run.
    QString name() const;
    /// The address that the server listens at for handhelds of the network, empty for all of them;
    /// null if it is not known.
    QString listenAddress() const { return address; }
    /// Why the server cannot be used though its socket is there; empty otherwise.
    QString problem() const { return whyNot; }

    /// Has the server listen at another address.
    /// \param done gets an empty text, or the reason why not
    void listenAt(const QString &wanted, std::function<void(const QString &problem)> done);

signals:
    /// It came, went, or listens at another address.
    void changed();

private:
    void look();
    void watchFolder();
    void greet();
    void lose(const QString &problem);

    QString path;
    QString address;
    QString whyNot;
    QFileSystemWatcher watcher;
    QTimer again; // a socket that was there and did not answer
    std::unique_ptr<SessionConnection> link;
};

} // namespace quillmote
