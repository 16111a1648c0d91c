// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The minimum cost of a remote key through the desktop's RemoteDesktop portal: makes a session,
// which somebody has to allow, then reads bytes from a local socket of the path that it is given,
// and for each one presses and releases the key with that keysym. Writes a line to standard output
// when it listens.

#include "FloorSocket.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QEventLoop>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace {

constexpr uint KeyboardType = 1;

QDBusMessage callOf(const QString &method, const QVariantList &arguments)
{
    auto call = QDBusMessage::createMethodCall(u"org.freedesktop.portal.Desktop"_s,
                                               u"/org/freedesktop/portal/desktop"_s,
                                               u"org.freedesktop.portal.RemoteDesktop"_s, method);
    call.setArguments(arguments);
    return call;
}

/// Waits for the answers of a portal's requests, which are signals.
class Requests : public QObject
{
    Q_OBJECT

public:
    /// The results of a request; empty if it failed.
    QVariantMap ask(const QString &method, const QVariantList &arguments, QVariantMap options)
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        const QString token = u"floor%1"_s.arg(++count);
        const QString sender = bus.baseService().mid(1).replace(u'.', u'_');
        bus.connect(u"org.freedesktop.portal.Desktop"_s,
                    u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token),
                    u"org.freedesktop.portal.Request"_s, u"Response"_s, this,
                    SLOT(take(uint, QVariantMap)));
        options.insert(u"handle_token"_s, token);
        if (bus.call(callOf(method, arguments + QVariantList{options})).type() ==
            QDBusMessage::ErrorMessage) {
            return {};
        }
        loop.exec();
        return latest;
    }

public slots:
    void take(uint /*code*/, const QVariantMap &results)
    {
        latest = results;
        loop.quit();
    }

private:
    int count = 0;
    QVariantMap latest;
    QEventLoop loop;
};

QString openSession()
{
    Requests requests;
    const QString session =
        requests.ask(u"CreateSession"_s, {}, {{u"session_handle_token"_s, u"floor"_s}})
            .value(u"session_handle"_s)
            .toString();
    const QVariant path = QVariant::fromValue(QDBusObjectPath(session));
    requests.ask(u"SelectDevices"_s, {path}, {{u"types"_s, KeyboardType}});
    const QVariantMap started = requests.ask(u"Start"_s, {path, QString()}, {});
    return started.contains(u"devices"_s) ? session : QString();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QString session = openSession();
    if (argc < 2 || session.isEmpty()) {
        return 1;
    }
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const int client = FloorSocket::acceptAt(argv[1]);
    unsigned char key = 0;
    while (recv(client, &key, 1, 0) == 1) {
        for (const uint state : {1U, 0U}) {
            bus.call(
                callOf(u"NotifyKeyboardKeysym"_s, {QVariant::fromValue(QDBusObjectPath(session)),
                                                   QVariantMap(), static_cast<int>(key), state}));
        }
    }
    return 0;
}

#include "portal_floor.moc"
