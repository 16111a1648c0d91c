// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/NotificationDesk.h"

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString ItemPath = u"/StatusNotifierItem"_s;
const QString ItemInterface = u"org.kde.StatusNotifierItem"_s;
const QString MenuInterface = u"com.canonical.dbusmenu"_s;

/// An item and those below it, as com.canonical.dbusmenu lays them out: (ia{sv}av).
struct LayoutItem
{
    int number = 0;
    QVariantMap properties;
    QVariantList children;
};

LayoutItem readLayout(const QDBusArgument &argument)
{
    LayoutItem item;
    argument.beginStructure();
    argument >> item.number >> item.properties >> item.children;
    argument.endStructure();
    return item;
}

PublishedItem publishedItem(const LayoutItem &item)
{
    const QVariantMap &properties = item.properties;
    return {item.number, properties.value(u"label"_s).toString(),
            properties.value(u"toggle-type"_s) == u"checkmark"_s,
            properties.value(u"toggle-state"_s).toInt() == 1,
            properties.value(u"type"_s) == u"separator"_s};
}

} // namespace

/// Where icons register; the toolkit first asks whether a host shows them.
class WatcherAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

public:
    explicit WatcherAdaptor(NotificationDesk *desk) : QDBusAbstractAdaptor(desk), panel(desk) {}

    bool isHostRegistered() const { return true; }
    QStringList items() const { return panel->icons(); }
    int protocolVersion() const { return 0; }

public slots:
    void RegisterStatusNotifierItem(const QString &service)
    {
        panel->registeredIcons.append(service);
    }

private:
    NotificationDesk *panel;
};

/// The desktop notifications' interface, as its specification names the parameters.
class NotificationsAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit NotificationsAdaptor(NotificationDesk *desk) : QDBusAbstractAdaptor(desk), panel(desk)
    {
    }

public slots:
    uint Notify(const QString &, uint, const QString &, const QString &summary, const QString &body,
                const QStringList &, const QVariantMap &, int timeout, const QDBusMessage &call)
    {
        panel->shownNotifications.append({summary, body, timeout});
        const auto number = uint(panel->shownNotifications.size());
        panel->leaveUnanswered(call, number);
        return number;
    }

    QStringList GetCapabilities(const QDBusMessage &call) const
    {
        panel->leaveUnanswered(call, panel->offeredCapabilities);
        return panel->offeredCapabilities;
    }

private:
    NotificationDesk *panel;
};

NotificationDesk::NotificationDesk(const QString &busAddress)
    : bus(QDBusConnection::connectToBus(busAddress, busAddress))
{
    new WatcherAdaptor(this);
    new NotificationsAdaptor(this);
    hasNames = bus.registerObject(u"/StatusNotifierWatcher"_s, this) &&
               bus.registerObject(u"/org/freedesktop/Notifications"_s, this) &&
               bus.registerService(u"org.freedesktop.Notifications"_s) &&
               bus.registerService(u"org.kde.StatusNotifierWatcher"_s);
}

NotificationDesk::~NotificationDesk()
{
    QDBusConnection::disconnectFromBus(bus.name());
}

void NotificationDesk::leaveUnanswered(const QDBusMessage &call, const QVariant &answer)
{
    if (isHalted) {
        call.setDelayedReply(true);
        lateAnswers.append(call.createReply(answer));
    }
}

void NotificationDesk::resumeNotifications()
{
    isHalted = false;
    for (const QDBusMessage &answer : std::exchange(lateAnswers, {})) {
        bus.send(answer);
    }
}

bool NotificationDesk::replaceNotifications()
{
    isHalted = false;
    lateAnswers.clear();
    const QString name = u"org.freedesktop.Notifications"_s;
    return bus.unregisterService(name) && bus.registerService(name);
}

QVariant NotificationDesk::property(const QString &icon, const QString &name) const
{
    auto call = QDBusMessage::createMethodCall(icon, ItemPath, u"org.freedesktop.DBus.Properties"_s,
                                               u"Get"_s);
    call << ItemInterface << name;
    const QDBusMessage reply = bus.call(call);
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

QString NotificationDesk::menuPath(const QString &icon) const
{
    return property(icon, u"Menu"_s).value<QDBusObjectPath>().path();
}

bool NotificationDesk::needsAttention(const QString &icon) const
{
    return property(icon, u"Status"_s) != u"Active"_s;
}

QString NotificationDesk::toolTip(const QString &icon) const
{
    const QVariant value = property(icon, u"ToolTip"_s);
    if (!value.canConvert<QDBusArgument>()) {
        return {};
    }
    // An icon's name, its pictures (width, height, bytes), the title and a description.
    const auto argument = value.value<QDBusArgument>();
    QString iconName;
    QString title;
    argument.beginStructure();
    argument >> iconName;
    argument.beginArray();
    while (!argument.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        argument.beginStructure();
        argument >> width >> height >> pixels;
        argument.endStructure();
    }
    argument.endArray();
    QString description;
    argument >> title >> description;
    argument.endStructure();
    return title;
}

QList<PublishedItem> NotificationDesk::menu(const QString &icon) const
{
    auto call = QDBusMessage::createMethodCall(icon, menuPath(icon), MenuInterface, u"GetLayout"_s);
    call << 0 << -1 << QStringList();
    const QVariant layout = bus.call(call).arguments().value(1);
    QList<PublishedItem> items;
    if (!layout.canConvert<QDBusArgument>()) {
        return items;
    }
    for (const QVariant &child : readLayout(layout.value<QDBusArgument>()).children) {
        items.append(publishedItem(readLayout(child.value<QDBusArgument>())));
    }
    return items;
}

void NotificationDesk::click(const QString &icon, int itemNumber) const
{
    auto call = QDBusMessage::createMethodCall(icon, menuPath(icon), MenuInterface, u"Event"_s);
    call << itemNumber << u"clicked"_s << QVariant::fromValue(QDBusVariant(0)) << 0U;
    bus.call(call, QDBus::NoBlock);
}

#include "NotificationDesk.moc"
