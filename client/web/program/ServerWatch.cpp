// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/ServerWatch.h"

#include "lib/SessionPath.h"

#include <QDir>
#include <QFileInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

using namespace std::chrono_literals;

/// A socket appears shortly before its server listens.
constexpr auto pauseBeforeNextTry = 500ms;

} // namespace

ServerWatch::ServerWatch(QString socketPath, QObject *parent)
    : QObject(parent)
    , path(std::move(socketPath))
{
    again.setSingleShot(true);
    again.setInterval(pauseBeforeNextTry);
    connect(&again, &QTimer::timeout, this, &ServerWatch::look);
    connect(&watcher, &QFileSystemWatcher::directoryChanged, this, &ServerWatch::look);
    look();
}

QString ServerWatch::name() const
{
    return isRunning() ? link->greeting().name : QString();
}

void ServerWatch::look()
{
    watchFolder();
    if (link || again.isActive()) {
        return;
    }
    if (!QFileInfo::exists(path)) {
        if (!std::exchange(whyNot, QString()).isEmpty()) {
            emit changed();
        }
        return;
    }
    const QString reason = SessionPlace::reasonAgainst(path);
    if (!reason.isEmpty()) {
        whyNot = reason;
        emit changed();
        return;
    }
    link = std::make_unique<SessionConnection>();
    connect(link.get(), &SessionConnection::opened, this, &ServerWatch::greet);
    connect(link.get(), &SessionConnection::lost, this, &ServerWatch::lose);
    link->open(path);
}

/// The server makes the folder, so until then its parent shows the change.
void ServerWatch::watchFolder()
{
    if (path.isEmpty()) {
        return;
    }
    const QString folder = QFileInfo(path).path();
    for (const QString &wanted : {folder, QFileInfo(folder).path()}) {
        if (!watcher.directories().contains(wanted) && QFileInfo(wanted).isDir()) {
            watcher.addPath(wanted);
        }
    }
}

void ServerWatch::greet()
{
    whyNot.clear();
    link->send(SessionMessage::listen(), [this](const SessionOutcome &outcome) {
        // A server that does not know the request has nothing to be switched.
        address = outcome.isDone() ? outcome.fields.value("address"_L1).toString(u""_s) : QString();
        emit changed();
    });
    emit changed();
}

void ServerWatch::lose(const QString &problem)
{
    // It is emitting the signal.
    link.release()->deleteLater();
    whyNot = QFileInfo::exists(path) ? problem : QString();
    address = QString();
    again.start();
    emit changed();
}

void ServerWatch::listenAt(const QString &wanted, std::function<void(const QString &)> done)
{
    if (!isRunning()) {
        done(u"VornaServer is not running."_s);
        return;
    }
    link->send(SessionMessage::listen(wanted),
               [this, wanted, done = std::move(done)](const SessionOutcome &outcome) {
                   if (outcome.isDone()) {
                       address = outcome.fields.value("address"_L1).toString(u""_s);
                       emit changed();
                   }
                   done(outcome.problem);
               });
}

} // namespace quillmote
