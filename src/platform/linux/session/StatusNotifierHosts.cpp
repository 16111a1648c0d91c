// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/StatusNotifierHosts.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

QString watcherName()
{
    return u"org.kde.StatusNotifierWatcher"_s;
}

QString watcherPath()
{
    return u"/StatusNotifierWatcher"_s;
}

/// In milliseconds; a watcher that hangs must not delay the start.
constexpr int answerTime = 1'000;

} // namespace

StatusNotifierHosts::StatusNotifierHosts()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    auto *watcher = new QDBusServiceWatcher(watcherName(), bus,
                                            QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &StatusNotifierHosts::appeared);
    bus.connect(watcherName(), watcherPath(), watcherName(), u"StatusNotifierHostRegistered"_s,
                this, SIGNAL(appeared()));
}

bool StatusNotifierHosts::hasTray() const
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        watcherName(), watcherPath(), u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question.setAutoStartService(false);
    question << watcherName() << u"IsStatusNotifierHostRegistered"_s;
    const QDBusReply<QDBusVariant> reply =
        QDBusConnection::sessionBus().call(question, QDBus::Block, answerTime);
    return reply.isValid() && reply.value().variant().toBool();
}

} // namespace platform
