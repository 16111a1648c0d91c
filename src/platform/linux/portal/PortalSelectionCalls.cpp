// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalSelectionCalls.h"

#include "platform/linux/clipboard/Selection.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QStringList>
#include <QVariantMap>

#include <utility>

#include <fcntl.h>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

/// They are announced as a list. GNOME wraps it into a structure.
QStringList listOf(const QVariant &value)
{
    if (value.userType() != qMetaTypeId<QDBusArgument>()) {
        return value.toStringList();
    }
    QStringList list;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() == "(as)"_L1) {
        argument.beginStructure();
        argument >> list;
        argument.endStructure();
    }
    return list;
}

QByteArrayList typesOf(const QVariant &value)
{
    QByteArrayList types;
    for (const QString &type : listOf(value).mid(0, mostSelectionTypes)) {
        types.append(type.toUtf8());
    }
    return types;
}

/// The descriptor of the reply, apart from the message's own; not open if there is none.
Descriptor descriptorOf(const QDBusMessage &reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "h"_L1) {
        return Descriptor(-1);
    }
    const auto received = reply.arguments().constFirst().value<QDBusUnixFileDescriptor>();
    return Descriptor(fcntl(received.fileDescriptor(), F_DUPFD_CLOEXEC, 0));
}

} // namespace

/// From now on: the first contents may be announced before the session is said to be open.
PortalSelectionCalls::PortalSelectionCalls(RemoteDesktopPortal &portalOfDesktop)
    : portal(portalOfDesktop)
{
    listen(u"SelectionOwnerChanged"_s, SLOT(takeOwner(QDBusMessage)));
    listen(u"SelectionTransfer"_s, SLOT(takeTransfer(QDBusMessage)));
}

/// From whoever sends it: the toolkit would wait for the bus to look up a name, and the portal's
/// own one changes when it is started again. isOurs() looks at the sender.
void PortalSelectionCalls::listen(const QString &signal, const char *slot)
{
    QDBusConnection bus = portal.connection();
    bus.connect(QString(), PortalBus::path(), PortalBus::clipboard(), signal, this, slot);
}

bool PortalSelectionCalls::isOurs(const QDBusMessage &signal, QLatin1String signature) const
{
    const PortalSession *session = portal.session();
    return session != nullptr && signal.service() == session->portal().owner &&
           signal.signature() == signature &&
           signal.arguments().constFirst().value<QDBusObjectPath>().path() == session->path();
}

void PortalSelectionCalls::takeOwner(const QDBusMessage &signal)
{
    if (isOurs(signal, "oa{sv}"_L1)) {
        const auto options = qdbus_cast<QVariantMap>(signal.arguments().at(1));
        emit contentsChanged(options.value(u"session_is_owner"_s).toBool(),
                             typesOf(options.value(u"mime_types"_s)));
    }
}

void PortalSelectionCalls::takeTransfer(const QDBusMessage &signal)
{
    if (isOurs(signal, "osu"_L1) && portal.hasClipboard()) {
        emit contentsWanted(signal.arguments().at(1).toString().toUtf8(),
                            signal.arguments().at(2).toUInt());
    }
}

void PortalSelectionCalls::ask(const QString &method, const QVariantList &arguments,
                               std::function<void(const QDBusMessage &)> answered)
{
    callLater(portal.connection(),
              portal.session()->call(PortalBus::clipboard(), method, arguments),
              PortalBus::callLimit, this, std::move(answered));
}

void PortalSelectionCalls::askNothing(std::function<void()> answered)
{
    callLater(portal.connection(), portal.session()->portal().clipboardVersionCall(),
              PortalBus::callLimit, this,
              [answered = std::move(answered)](const QDBusMessage & /*reply*/) { answered(); });
}

void PortalSelectionCalls::offer(const QByteArrayList &types, std::function<void(bool)> answered)
{
    QStringList offered;
    for (const QByteArray &type : types) {
        offered.append(QString::fromUtf8(type));
    }
    ask(u"SetSelection"_s, {QVariantMap{{u"mime_types"_s, offered}}},
        [answered = std::move(answered)](const QDBusMessage &reply) {
            answered(reply.type() == QDBusMessage::ReplyMessage);
        });
}

void PortalSelectionCalls::receive(const QByteArray &type, const PipeReceiver &receiver)
{
    ask(u"SelectionRead"_s, {QString::fromUtf8(type)},
        [receiver](const QDBusMessage &reply) { receiver(descriptorOf(reply)); });
}

void PortalSelectionCalls::startWriting(uint transfer, const PipeReceiver &receiver)
{
    ask(u"SelectionWrite"_s, {transfer},
        [receiver](const QDBusMessage &reply) { receiver(descriptorOf(reply)); });
}

void PortalSelectionCalls::endWriting(uint transfer, bool isWhole)
{
    const QDBusMessage call = portal.session()->call(PortalBus::clipboard(),
                                                     u"SelectionWriteDone"_s, {transfer, isWhole});
    portal.connection().send(call);
}

} // namespace platform
