// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalRequest.h"

#include <QRandomGenerator>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {

namespace {

/// The call itself is answered at once; only its response may wait for the user.
constexpr auto requestLimit = 25s;

QString requestInterface()
{
    return u"org.freedesktop.portal.Request"_s;
}

} // namespace

/// The signal is subscribed to before the call: it may come before the call's own reply.
PortalRequest::PortalRequest(const PortalBus &portalOnBus, const QString &method,
                             const QVariantList &arguments, QVariantMap options, Answer toAnswer)
    : portal(portalOnBus)
    , answer(std::move(toAnswer))
{
    const QString handle =
        u"vornaserver%1"_s.arg(QRandomGenerator::global()->generate(), 8, 16, QChar(u'0'));
    path = PortalBus::path() + "/request/"_L1 + portal.sender() + u'/' + handle;
    watch(true);
    options.insert(u"handle_token"_s, handle);
    const QDBusMessage call =
        portal.call(PortalBus::path(), u"org.freedesktop.portal.RemoteDesktop"_s, method,
                    QVariantList(arguments) << options);
    callLater(portal.bus, call, requestLimit, this, [this](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            finish(Outcome::Failed, {});
        }
    });
}

PortalRequest::~PortalRequest()
{
    if (!path.isEmpty()) {
        watch(false);
        portal.bus.send(portal.call(path, requestInterface(), u"Close"_s, {}));
    }
}

void PortalRequest::respond(uint code, const QVariantMap &results)
{
    const bool isKnown = code <= static_cast<uint>(Outcome::Cancelled);
    finish(isKnown ? static_cast<Outcome>(code) : Outcome::Failed, results);
}

void PortalRequest::finish(Outcome outcome, const QVariantMap &results)
{
    if (path.isEmpty()) {
        return;
    }
    watch(false);
    path.clear();
    // It may destroy this object.
    const Answer toCall = std::exchange(answer, {});
    toCall(outcome, results);
}

bool PortalRequest::watch(bool isWatched)
{
    const QString signal = u"Response"_s;
    const char *slot = SLOT(respond(uint, QVariantMap));
    return isWatched
               ? portal.bus.connect(portal.owner, path, requestInterface(), signal, this, slot)
               : portal.bus.disconnect(portal.owner, path, requestInterface(), signal, this, slot);
}

} // namespace platform
