// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/TrayAttention.h"

#include "platform/linux/applications/XdgDirectories.h"

#include <QCoreApplication>
#include <QDBusConnection>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

/// The toolkit gives each icon a connection of its own, and a number. It takes numbers, too, to
/// find out whether there is a tray.
QObject *itemOfToolkit()
{
    constexpr int MaximumNumber = 32;
    QObject *found = nullptr;
    for (int number = 1; number <= MaximumNumber && found == nullptr; ++number) {
        const QString name = u"org.kde.StatusNotifierItem-%1-%2"_s.arg(
            QString::number(QCoreApplication::applicationPid()), QString::number(number));
        found = QDBusConnection(name).objectRegisteredAt(u"/StatusNotifierItem"_s);
    }
    return found;
}

} // namespace

TrayAttention::TrayAttention()
    : isVisible(XdgDirectories::fromEnvironment().desktops.contains("GNOME"_L1))
{
}

void TrayAttention::end()
{
    if (!isVisible) {
        return;
    }
    if (item.isNull()) {
        item = itemOfToolkit();
    }
    // What a missing slot made the toolkit say would be a balloon.
    if (!item.isNull() && item->metaObject()->indexOfSlot("attentionTimerExpired()") >= 0) {
        QMetaObject::invokeMethod(item, "attentionTimerExpired", Qt::DirectConnection);
    }
}

} // namespace platform
