// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/DesktopSession.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

const QString DeadBus = u"unix:path=/nonexistent"_s;

/// A session bus that starts no program of the machine's own.
const char BusSettings[] =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

/// Variables by which a program finds its private folders.
const QList<std::pair<QString, QString>> PrivateFolders{
    {u"HOME"_s, u"home"_s},
    {u"XDG_CONFIG_HOME"_s, u"config"_s},
    {u"XDG_DATA_HOME"_s, u"data"_s},
    {u"XDG_CACHE_HOME"_s, u"cache"_s},
    {u"XDG_STATE_HOME"_s, u"state"_s},
    {u"XDG_RUNTIME_DIR"_s, u"run"_s},
};

} // namespace

DesktopSession::DesktopSession(Parts parts) : sessionBusAddress(DeadBus), systemBusAddress(DeadBus)
{
    makeFolders();
    require(displayServer.isRunning(), "Xvfb");
    if (!failures.isEmpty()) {
        return;
    }
    screenView = std::make_unique<DesktopView>(display());
    person = std::make_unique<DesktopUser>(display());
    if (parts.testFlag(SessionBus)) {
        startBus();
    }
    startWindowManager();
    if (parts.testFlag(Tray)) {
        require(startTray(), "trayer");
    }
}

void DesktopSession::require(bool isThere, const QByteArray &what)
{
    if (!isThere) {
        failures += "did not start: " + what + "\n";
    }
}

void DesktopSession::makeFolders()
{
    for (const auto &[variable, folder] : PrivateFolders) {
        QDir().mkpath(path(folder));
    }
    QFile::setPermissions(path(u"run"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void DesktopSession::beginAnew()
{
    variables.clear();
    for (const auto &[variable, folder] : PrivateFolders) {
        // The bus listens in this one.
        if (folder != "run"_L1) {
            QDir(path(folder)).removeRecursively();
        }
    }
    QFile::remove(path(u"server.log"_s));
    makeFolders();
}

void DesktopSession::startBus()
{
    const QString address = u"unix:path="_s + path(u"run/bus"_s);
    QFile settings(path(u"bus.conf"_s));
    require(settings.open(QIODevice::WriteOnly) && settings.write(BusSettings) > 0, "bus.conf");
    settings.close();
    bus.setProcessEnvironment(environment());
    bus.setStandardErrorFile(path(u"bus.log"_s));
    bus.start(u"dbus-daemon"_s, {u"--config-file="_s + settings.fileName(), u"--nofork"_s,
                                 u"--nopidfile"_s, u"--address="_s + address});
    require(waitUntil([this] { return QFile::exists(path(u"run/bus"_s)); }), "dbus-daemon");
    sessionBusAddress = address;
}

void DesktopSession::startWindowManager()
{
    windowManager.setProcessEnvironment(environment());
    windowManager.setStandardErrorFile(path(u"openbox.log"_s));
    windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
    require(waitUntil([this] { return screenView->hasWindowManager(); }), "openbox");
    // It announces itself before it listens, and overlooks what happens in between.
    require(waitUntil([this] { return windowManagerAnswers(); }), "answers of openbox");
}

bool DesktopSession::windowManagerAnswers() const
{
    ChildProcess request;
    request.setProcessEnvironment(environment());
    request.start(u"xdotool"_s, {u"set_num_desktops"_s, u"1"_s, u"get_num_desktops"_s});
    return request.waitForFinished() && request.readAllStandardOutput().trimmed() == "1";
}

bool DesktopSession::startTray()
{
    tray.setProcessEnvironment(environment());
    tray.setStandardErrorFile(path(u"trayer.log"_s));
    tray.start(u"trayer"_s, {u"--edge"_s, u"bottom"_s, u"--align"_s, u"right"_s, u"--widthtype"_s,
                             u"request"_s, u"--height"_s, u"24"_s});
    return waitUntil([this] { return screenView->hasTray(); });
}

void DesktopSession::endTray()
{
    tray.kill();
    tray.waitForFinished();
}

void DesktopSession::endSessionBus()
{
    bus.kill();
    bus.waitForFinished();
}

void DesktopSession::endDisplay()
{
    displayServer.end();
}

QString DesktopSession::display() const
{
    return displayServer.display();
}

QProcessEnvironment DesktopSession::environment() const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto &[variable, folder] : PrivateFolders) {
        environment.insert(variable, path(folder));
    }
    environment.insert(u"DISPLAY"_s, display());
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, sessionBusAddress);
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, systemBusAddress);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    for (const char *variable : {"WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE",
                                 "QT_QPA_PLATFORMTHEME", "QT_STYLE_OVERRIDE", "SESSION_MANAGER"}) {
        environment.remove(QLatin1String(variable));
    }
    for (const auto &[name, value] : variables.asKeyValueRange()) {
        environment.insert(name, value);
    }
    return environment;
}

QString DesktopSession::settingsFile() const
{
    return path(u"config/Ostrovane/VornaServer.conf"_s);
}
