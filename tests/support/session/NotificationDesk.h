// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

using namespace Qt::StringLiterals;

/// A message as the server hands it to the desktop.
struct Notification
{
    QString title;
    QString body;
    int milliseconds = 0;

    bool operator==(const Notification &) const = default;
};

/// One item of a menu as the server publishes it.
struct PublishedItem
{
    int number = 0;
    QString label;
    bool isCheckable = false;
    bool isChecked = false;
    bool isSeparator = false;

    bool operator==(const PublishedItem &) const = default;
};

/// The parts of a newer desktop's panel that a tray icon deals with on the session bus: it takes
/// in icons and messages, and reads and uses the menus of the icons.
class NotificationDesk : public QObject
{
    Q_OBJECT

public:
    /// Takes the panel's names on the session bus at that address.
    explicit NotificationDesk(const QString &busAddress);
    ~NotificationDesk() override;

    bool isReady() const { return hasNames; }

    /// The bus names of the icons, in the order in which they registered.
    QStringList icons() const { return registeredIcons; }
    QList<Notification> notifications() const { return shownNotifications; }

    /// The capabilities that the desk reports; at first only "body".
    void setCapabilities(const QStringList &capabilities) { offeredCapabilities = capabilities; }
    /// Takes messages and questions from now on, and leaves them without an answer, as a halted
    /// daemon does.
    void haltNotifications() { isHalted = true; }
    /// Answers all of them.
    void resumeNotifications();
    /// Gives up the name of the notification daemon and takes it again as another daemon.
    bool replaceNotifications();

    /// The tool tip's title of the icon.
    QString toolTip(const QString &icon) const;
    /// Whether the icon calls for the user's attention, as panels show by another picture.
    bool needsAttention(const QString &icon) const;
    QList<PublishedItem> menu(const QString &icon) const;
    /// Uses an item as a click in the panel does.
    void click(const QString &icon, int itemNumber) const;

private:
    friend class WatcherAdaptor;
    friend class NotificationsAdaptor;

    QVariant property(const QString &icon, const QString &name) const;
    QString menuPath(const QString &icon) const;

    QDBusConnection bus;
    bool hasNames = false;
    QStringList registeredIcons;
    /// Keeps the answer back while the desk is halted.
    void leaveUnanswered(const QDBusMessage &call, const QVariant &answer);

    QList<Notification> shownNotifications;
    QStringList offeredCapabilities{u"body"_s};
    bool isHalted = false;
    QList<QDBusMessage> lateAnswers;
};
