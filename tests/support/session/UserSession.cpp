// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/UserSession.h"

#include "support/Folders.h"
#include "support/Waiting.h"

#include <QDir>
#include <QLocalSocket>

namespace {

const QString DeadBus = u"unix:path=/nonexistent"_s;

/// A session bus that starts no program of the machine's own.
const char BusSettings[] =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  FURTHER
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

UserSession::UserSession() : sessionBusAddress(DeadBus), systemBusAddress(DeadBus)
{
    makeFolders();
}

void UserSession::require(bool isThere, const QByteArray &what)
{
    if (!isThere) {
        failures += "did not start: " + what + "\n";
    }
}

void UserSession::makeFolders()
{
    for (const auto &[variable, folder] : PrivateFolders) {
        QDir().mkpath(path(folder));
    }
    QFile::setPermissions(runtimeDirectory(),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void UserSession::beginAnew()
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

void UserSession::startBus(const QByteArray &further)
{
    sessionBusAddress = startBus(bus, u"bus"_s, further);
}

QString UserSession::startBus(ChildProcess &process, const QString &name, const QByteArray &further)
{
    const QString socket = path(u"run/"_s + name);
    const QString address = u"unix:path="_s + socket;
    const QString settings = path(name + u".conf"_s);
    require(Folders::write(settings, QByteArray(BusSettings).replace("FURTHER", further)),
            "the settings of a bus");
    process.setProcessEnvironment(environment());
    process.setStandardErrorFile(path(name + u".log"_s));
    process.start(u"dbus-daemon"_s, {u"--config-file="_s + settings, u"--nofork"_s,
                                     u"--nopidfile"_s, u"--address="_s + address});
    // The file is there a moment before anybody can connect.
    require(waitUntil([&] {
                QLocalSocket client;
                client.connectToServer(socket);
                return client.waitForConnected();
            }),
            "dbus-daemon");
    return address;
}

void UserSession::endSessionBus()
{
    bus.kill();
    bus.waitForFinished();
}

QProcessEnvironment UserSession::environment() const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto &[variable, folder] : PrivateFolders) {
        environment.insert(variable, path(folder));
    }
    for (const char *variable :
         {"DISPLAY", "WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE",
          "QT_QPA_PLATFORMTHEME", "QT_STYLE_OVERRIDE", "SESSION_MANAGER"}) {
        environment.remove(QLatin1String(variable));
    }
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, sessionBusAddress);
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, systemBusAddress);
    describeDisplay(environment);
    for (const auto &[name, value] : variables.asKeyValueRange()) {
        environment.insert(name, value);
    }
    return environment;
}

QString UserSession::serverSocket() const
{
    return path(u"run/vornaserver/"_s + display().replace(u':', u'_') + u".socket"_s);
}

QString UserSession::settingsFile() const
{
    return path(u"config/Ostrovane/VornaServer.conf"_s);
}
