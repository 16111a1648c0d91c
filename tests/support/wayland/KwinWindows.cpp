// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/KwinWindows.h"

#include "support/Folders.h"

#include <QDBusMessage>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

const QString BusName = u"kwin-windows"_s;

const char Script[] = R"(
function tell(method, numbers) {
    callDBus("RECEIVER", "/windows", "vornaserver.test.Windows", method, JSON.stringify(numbers));
}
function tellOf(window) {
    if (window === workspace.activeClient) {
        const place = window ? window.frameGeometry : {x: 0, y: 0, width: 0, height: 0};
        tell("activated", [window ? window.pid : 0, place.x, place.y, place.width, place.height]);
    }
}
workspace.clientAdded.connect(window =>
    window.frameGeometryChanged.connect(() => tellOf(window)));
workspace.clientActivated.connect(tellOf);
workspace.cursorPosChanged.connect(() =>
    tell("pointed", [workspace.cursorPos.x, workspace.cursorPos.y]));
)";

QJsonArray numbersOf(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).array();
}

} // namespace

KwinWindows::KwinWindows(const ShellSession &session)
    : bus(QDBusConnection::connectToBus(session.busAddress(), BusName))
{
    const QString script = session.path(u"windows.js"_s);
    isRunning = bus.registerObject(u"/windows"_s, this, QDBusConnection::ExportAllSlots) &&
                Folders::write(
                    script, QByteArray(Script).replace("RECEIVER", bus.baseService().toUtf8())) &&
                run(script);
}

KwinWindows::~KwinWindows()
{
    QDBusConnection::disconnectFromBus(BusName);
}

bool KwinWindows::run(const QString &script)
{
    const auto call = [this](const QString &method, const QVariantList &arguments) {
        auto message = QDBusMessage::createMethodCall(u"org.kde.KWin"_s, u"/Scripting"_s,
                                                      u"org.kde.kwin.Scripting"_s, method);
        message.setArguments(arguments);
        return bus.call(message).type() == QDBusMessage::ReplyMessage;
    };
    return call(u"loadScript"_s, {script}) && call(u"start"_s, {});
}

std::optional<QRect> KwinWindows::frontWindow(qint64 process) const
{
    return process != 0 && process == active && window.isValid() ? std::optional(window)
                                                                 : std::nullopt;
}

void KwinWindows::activated(const QString &processAndPlace)
{
    const QJsonArray numbers = numbersOf(processAndPlace);
    active = numbers.at(0).toInteger();
    window = QRectF(numbers.at(1).toDouble(), numbers.at(2).toDouble(), numbers.at(3).toDouble(),
                    numbers.at(4).toDouble())
                 .toRect();
}

void KwinWindows::pointed(const QString &newPlace)
{
    const QJsonArray numbers = numbersOf(newPlace);
    place = {numbers.at(0).toInt(), numbers.at(1).toInt()};
}
