// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"
#include "support/Folders.h"
#include "support/Waiting.h"
#include "support/process/ChildProcess.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QEventLoop>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>

using namespace Qt::StringLiterals;

/// Runs the event loop until the condition holds, without a rest: each event that is posted waits
/// for the one before it.
template <typename Condition> bool eventually(Condition condition)
{
    QEventLoop loop;
    QTimer poll;
    const QDeadlineTimer end(GenerousLimit);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (condition() || end.hasExpired()) {
            loop.quit();
        }
    });
    poll.start(5);
    if (!condition()) {
        loop.exec();
    }
    return condition();
}

/// A session bus of its own with a desktop portal on it. What the desktop would do does a program
/// that writes down what is posted.
class PortalScene
{
public:
    enum class Role {
        Backend, ///< Behind the real portal, which the bus starts when it is called.
        Portal,  ///< In its place.
        PortalWithClipboard,
        None, ///< Nobody.
    };

    explicit PortalScene(Role role = Role::Backend)
    {
        writeFiles(role);
        startBus();
        if (role != Role::None) {
            startDesktop(role);
        }
    }
    ~PortalScene() { QDBusConnection::disconnectFromBus(name); }
    PortalScene(const PortalScene &) = delete;
    PortalScene &operator=(const PortalScene &) = delete;

    bool isReady() const { return isGood; }
    QDBusConnection connection() const { return QDBusConnection(name); }
    QString address() const { return busAddress; }
    QString tokenFile() const { return folder.filePath(u"state/vornaserver/portal-token"_s); }

    /// What was posted and asked up to now, "create" and the like included.
    QStringList record()
    {
        while (desktop.canReadLine()) {
            lines.append(QString::fromUtf8(desktop.readLine()).trimmed());
        }
        return lines;
    }
    bool waitFor(const QStringList &expected)
    {
        return eventually([&] { return record() == expected; });
    }
    bool waitForLine(const QString &line)
    {
        return eventually([&] { return record().contains(line); });
    }
    /// The same without an event loop, as soon as the line is there.
    bool waitForLineAtOnce(const QString &line)
    {
        while (!record().contains(line)) {
            if (!desktop.waitForReadyRead(GenerousMilliseconds)) {
                return false;
            }
        }
        return true;
    }
    void forgetRecord()
    {
        record();
        lines.clear();
    }
    /// Carries out a command of the desktop.
    bool command(const QString &line)
    {
        desktop.write(line.toUtf8() + '\n');
        const QString done = u"done "_s + line.section(u' ', 0, 0);
        const bool isDone = waitForLine(done);
        lines.removeAll(done);
        return isDone;
    }

    /// Ends the real portal, as a crash does.
    void killPortal()
    {
        const uint pid = connection().interface()->servicePid(u"org.freedesktop.portal.Desktop"_s);
        if (pid > 1) {
            kill(static_cast<pid_t>(pid), SIGKILL);
        }
    }

private:
    void writeFiles(Role role)
    {
        QDir(folder.path()).mkpath(u"services"_s);
        Folders::write(folder.filePath(u"bus.conf"_s),
                       QByteArray(busSettings).replace("FOLDER", folder.path().toUtf8()));
        Folders::write(folder.filePath(u"test.portal"_s),
                       "[portal]\nDBusName=org.freedesktop.impl.portal.desktop.test\n"
                       "Interfaces=org.freedesktop.impl.portal.RemoteDesktop;\nUseIn=test\n");
        if (role == Role::Backend) {
            Folders::write(folder.filePath(u"services/org.freedesktop.portal.Desktop.service"_s),
                           "[D-BUS Service]\nName=org.freedesktop.portal.Desktop\n"
                           "Exec=/usr/libexec/xdg-desktop-portal\n");
        }
    }

    QProcessEnvironment environment() const
    {
        auto variables = QProcessEnvironment::systemEnvironment();
        variables.insert(u"XDG_DESKTOP_PORTAL_DIR"_s, folder.path());
        variables.insert(u"XDG_CURRENT_DESKTOP"_s, u"test"_s);
        variables.insert(u"XDG_RUNTIME_DIR"_s, folder.path());
        variables.insert(u"XDG_DATA_HOME"_s, folder.path());
        variables.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, busAddress);
        variables.insert(u"GIO_USE_VFS"_s, u"local"_s);
        variables.insert(u"PYTHONDONTWRITEBYTECODE"_s, u"1"_s);
        return variables;
    }

    void startBus()
    {
        busAddress = u"unix:path="_s + folder.filePath(u"bus"_s);
        bus.setProcessEnvironment(environment());
        bus.setProcessChannelMode(QProcess::MergedChannels);
        bus.start(u"dbus-daemon"_s, {u"--nofork"_s, u"--print-address"_s,
                                     u"--config-file="_s + folder.filePath(u"bus.conf"_s)});
        waitUntil([this] { return bus.canReadLine() || bus.state() == QProcess::NotRunning; });
        static int count = 0;
        name = u"portal-scene-%1"_s.arg(++count);
        isGood = QDBusConnection::connectToBus(busAddress, name).isConnected();
    }

    void startDesktop(Role role)
    {
        desktop.setProcessEnvironment(environment());
        desktop.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        desktop.start(QStringLiteral(PORTAL_STAND_IN), {role == Role::Backend  ? u"backend"_s
                                                        : role == Role::Portal ? u"portal"_s
                                                                               : u"clipboard"_s});
        isGood = isGood && waitForLine(u"ready"_s);
        lines.clear();
    }

    static constexpr char busSettings[] =
        R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=FOLDER/bus</listen>
  <servicedir>FOLDER/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

    QTemporaryDir folder{QDir::tempPath() + "/vorna-portal-XXXXXX"_L1};
    QString busAddress;
    QString name;
    bool isGood = false;
    ChildProcess bus;
    ChildProcess desktop;
    QStringList lines;
};

/// Two screens, the right one higher than the left one.
class TwoScreens : public platform::Screens
{
public:
    QSize desktopSize() override { return {1600, 800}; }
    QList<platform::Screen> all() override
    {
        return {{u"left"_s, {0, 200, 800, 600}, 1}, {u"right"_s, {800, 0, 800, 800}, 1}};
    }
    void watch(std::function<void()> /*changed*/) override {}
};
