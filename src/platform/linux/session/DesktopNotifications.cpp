// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/DesktopNotifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

QString service()
{
    return u"org.freedesktop.Notifications"_s;
}

} // namespace

DesktopNotifications::DesktopNotifications(std::function<void()> readyAgain)
    : ready(std::move(readyAgain))
    , owners(service(), QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange)
{
    QObject::connect(&owners, &QDBusServiceWatcher::serviceOwnerChanged, &owners, [this] {
        forget();
        ready();
    });
}

DesktopNotifications::~DesktopNotifications()
{
    delete question;
}

bool DesktopNotifications::takesOneMore()
{
    if (!isKnown) {
        ask();
    }
    return isKnown && onTheWay < maximumOnTheWay;
}

QString DesktopNotifications::asPlainText(const QString &text) const
{
    if (!readsMarkup) {
        return text;
    }
    QString escaped = text;
    return escaped.replace(u'&', u"&amp;"_s).replace(u'<', u"&lt;"_s).replace(u'>', u"&gt;"_s);
}

void DesktopNotifications::hasOneMore()
{
    attention.end();
    ++onTheWay;
    ask();
}

/// Without a time limit: a daemon that is suspended has only this one question to answer later, and
/// not one more every half minute.
void DesktopNotifications::ask()
{
    if (!question.isNull()) {
        return;
    }
    const auto call = QDBusMessage::createMethodCall(service(), u"/org/freedesktop/Notifications"_s,
                                                     service(), u"GetCapabilities"_s);
    constexpr int forEver = std::numeric_limits<int>::max();
    question = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, forEver));
    QObject::connect(question, &QDBusPendingCallWatcher::finished, question,
                     [this, handedBefore = onTheWay](QDBusPendingCallWatcher *answered) {
                         answered->deleteLater();
                         question = nullptr;
                         takeAnswer(*answered, handedBefore);
                     });
}

/// An error is an answer too: either there is no daemon, or it does not report its capabilities. To
/// be safe, it is then assumed to read markup.
void DesktopNotifications::takeAnswer(const QDBusPendingCall &answer, int handedBefore)
{
    const QDBusPendingReply<QStringList> capabilities = answer;
    readsMarkup = capabilities.isError() || capabilities.value().contains(u"body-markup"_s);
    isKnown = true;
    onTheWay -= handedBefore;
    if (onTheWay > 0) {
        ask();
    }
    ready();
}

void DesktopNotifications::forget()
{
    delete question;
    onTheWay = 0;
    isKnown = false;
}

} // namespace platform
