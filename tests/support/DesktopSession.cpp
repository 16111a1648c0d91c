// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "DesktopSession.h"

#include <QDir>

namespace {

const QString DeadBus = QStringLiteral("unix:path=/nonexistent");

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
    {QStringLiteral("HOME"), QStringLiteral("home")},
    {QStringLiteral("XDG_CONFIG_HOME"), QStringLiteral("config")},
    {QStringLiteral("XDG_DATA_HOME"), QStringLiteral("data")},
    {QStringLiteral("XDG_CACHE_HOME"), QStringLiteral("cache")},
    {QStringLiteral("XDG_STATE_HOME"), QStringLiteral("state")},
    {QStringLiteral("XDG_RUNTIME_DIR"), QStringLiteral("run")},
};

} // namespace

DesktopSession::DesktopSession(Parts parts) : m_busAddress(DeadBus), m_systemBusAddress(DeadBus)
{
    makeFolders();
    require(m_xServer.isRunning(), "Xvfb");
    if (!m_problem.isEmpty())
        return;
    m_view = std::make_unique<DesktopView>(display());
    m_user = std::make_unique<DesktopUser>(display());
    if (parts.testFlag(SessionBus))
        startBus();
    startWindowManager();
    if (parts.testFlag(Tray))
        require(startTray(), "trayer");
}

void DesktopSession::require(bool isThere, const QByteArray &what)
{
    if (!isThere)
        m_problem += "did not start: " + what + "\n";
}

void DesktopSession::makeFolders()
{
    for (const auto &[variable, folder] : PrivateFolders)
        QDir().mkpath(path(folder));
    QFile::setPermissions(path(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void DesktopSession::startBus()
{
    const QString address = QStringLiteral("unix:path=") + path(QStringLiteral("run/bus"));
    QFile settings(path(QStringLiteral("bus.conf")));
    require(settings.open(QIODevice::WriteOnly) && settings.write(BusSettings) > 0, "bus.conf");
    settings.close();
    m_bus.setProcessEnvironment(environment());
    m_bus.setStandardErrorFile(path(QStringLiteral("bus.log")));
    m_bus.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--config-file=") + settings.fileName(), QStringLiteral("--nofork"),
                 QStringLiteral("--nopidfile"), QStringLiteral("--address=") + address});
    require(waitUntil([this] { return QFile::exists(path(QStringLiteral("run/bus"))); }),
            "dbus-daemon");
    m_busAddress = address;
}

void DesktopSession::startWindowManager()
{
    m_windowManager.setProcessEnvironment(environment());
    m_windowManager.setStandardErrorFile(path(QStringLiteral("openbox.log")));
    m_windowManager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    require(waitUntil([this] { return m_view->hasWindowManager(); }), "openbox");
    // It announces itself before it listens, and overlooks what happens in between.
    require(waitUntil([this] { return windowManagerAnswers(); }), "answers of openbox");
}

bool DesktopSession::windowManagerAnswers() const
{
    ChildProcess request;
    request.setProcessEnvironment(environment());
    request.start(QStringLiteral("xdotool"),
                  {QStringLiteral("set_num_desktops"), QStringLiteral("1"),
                   QStringLiteral("get_num_desktops")});
    return request.waitForFinished() && request.readAllStandardOutput().trimmed() == "1";
}

bool DesktopSession::startTray()
{
    m_tray.setProcessEnvironment(environment());
    m_tray.setStandardErrorFile(path(QStringLiteral("trayer.log")));
    m_tray.start(QStringLiteral("trayer"),
                 {QStringLiteral("--edge"), QStringLiteral("bottom"), QStringLiteral("--align"),
                  QStringLiteral("right"), QStringLiteral("--widthtype"), QStringLiteral("request"),
                  QStringLiteral("--height"), QStringLiteral("24")});
    return waitUntil([this] { return m_view->hasTray(); });
}

void DesktopSession::endTray()
{
    m_tray.kill();
    m_tray.waitForFinished();
}

void DesktopSession::endSessionBus()
{
    m_bus.kill();
    m_bus.waitForFinished();
}

void DesktopSession::endDisplay()
{
    m_xServer.end();
}

QString DesktopSession::display() const
{
    return m_xServer.display();
}

QProcessEnvironment DesktopSession::environment() const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto &[variable, folder] : PrivateFolders)
        environment.insert(variable, path(folder));
    environment.insert(QStringLiteral("DISPLAY"), display());
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_busAddress);
    environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), m_systemBusAddress);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    for (const char *variable : {"WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE",
                                 "QT_QPA_PLATFORMTHEME", "QT_STYLE_OVERRIDE", "SESSION_MANAGER"})
        environment.remove(QLatin1String(variable));
    for (const auto &[name, value] : m_variables.asKeyValueRange())
        environment.insert(name, value);
    return environment;
}

QString DesktopSession::settingsFile() const
{
    return path(QStringLiteral("config/Ostrovane/VornaServer.conf"));
}
