// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/SwayPanel.h"

#include "support/Waiting.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>

namespace {

const QString Watcher = u"org.kde.StatusNotifierWatcher"_s;

const char BarSettings[] =
    R"({"layer": "top", "position": "bottom", "height": 24, "modules-right": ["tray"],
"tray": {"icon-size": 20}})";
const char BarStyle[] = "* { font-family: DejaVu Sans; } window#waybar { background: #202020; }";

bool store(const QString &path, const char *text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) > 0;
}

/// A member of what makoctl writes.
QString member(const QJsonValue &balloon, const QString &name)
{
    return balloon[name][u"data"_s].toString();
}

} // namespace

SwayPanel::SwayPanel(const SwaySession &session)
    : sway(session)
    , bus(QDBusConnection::connectToBus(session.busAddress(), session.busAddress()))
{
    startBar();
    daemon.setProcessEnvironment(sway.environment());
    daemon.setStandardErrorFile(sway.path(u"mako.log"_s));
    daemon.start(u"mako"_s, {});
    isThere =
        waitUntil([this] { return owns(Watcher) && owns(u"org.freedesktop.Notifications"_s); });
}

SwayPanel::~SwayPanel()
{
    QDBusConnection::disconnectFromBus(sway.busAddress());
}

void SwayPanel::startBar()
{
    const QString settings = sway.path(u"waybar.json"_s);
    const QString style = sway.path(u"waybar.css"_s);
    store(settings, BarSettings);
    store(style, BarStyle);
    auto environment = sway.environment();
    // It asks no bus for settings or for what reads the screen aloud.
    environment.insert(u"GSETTINGS_BACKEND"_s, u"memory"_s);
    environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
    bar.setProcessEnvironment(environment);
    bar.setStandardOutputFile(sway.path(u"waybar.log"_s));
    bar.setStandardErrorFile(sway.path(u"waybar.log"_s), QIODevice::Append);
    bar.start(u"waybar"_s, {u"--config"_s, settings, u"--style"_s, style});
}

bool SwayPanel::owns(const QString &name) const
{
    return bus.interface()->isServiceRegistered(name);
}

QStringList SwayPanel::icons() const
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        Watcher, u"/StatusNotifierWatcher"_s, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question << Watcher << u"RegisteredStatusNotifierItems"_s;
    const QVariantList answer = bus.call(question).arguments();
    QStringList owners;
    if (!answer.isEmpty()) {
        for (const QString &item : answer.first().value<QDBusVariant>().variant().toStringList()) {
            owners.append(item.section(u'/', 0, 0));
        }
    }
    return owners;
}

qint64 SwayPanel::ownerProcess(const QString &name) const
{
    return bus.interface()->servicePid(name).value();
}

QList<SwayPanel::Balloon> SwayPanel::balloons() const
{
    QList<Balloon> shown;
    ChildProcess question;
    question.setProcessEnvironment(sway.environment());
    question.start(u"makoctl"_s, {u"list"_s});
    question.waitForFinished();
    for (const auto &group :
         QJsonDocument::fromJson(question.readAllStandardOutput())[u"data"_s].toArray()) {
        for (const auto &balloon : group.toArray()) {
            shown.append({member(balloon, u"summary"_s), member(balloon, u"body"_s)});
        }
    }
    return shown;
}

QRect SwayPanel::iconPlace()
{
    constexpr int Size = 20;
    const QSize output = SwaySession::OutputSize;
    const int gap = (BarHeight - Size) / 2;
    return {output.width() - Size, output.height() - Size - gap, Size, Size};
}
