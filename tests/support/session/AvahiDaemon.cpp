// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/AvahiDaemon.h"

#include "support/Waiting.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

/// A bus that trusts everyone on the host (dbus-daemon(1)).
const char BusConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
)";

const char DaemonConfiguration[] = R"([server]
host-name=%1
use-ipv4=yes
use-ipv6=no
allow-interfaces=%2
[wide-area]
enable-wide-area=no
[publish]
publish-hinfo=no
publish-workstation=no
publish-aaaa-on-ipv4=no
)";

bool writeFile(const QString &path, const QString &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) != -1;
}

} // namespace

AvahiDaemon::AvahiDaemon(const NetworkHost &host) : machine(host)
{
    if (!writeFile(path("bus.conf"), QString::fromLatin1(BusConfiguration).arg(busAddress())) ||
        !writeFile(path("daemon.conf"), QString::fromLatin1(DaemonConfiguration)
                                            .arg(machine.name(), NetworkNamespaces::device()))) {
        failure = "no configuration files for avahi-daemon";
    } else {
        startBus();
    }
}

QString AvahiDaemon::busAddress() const
{
    return u"unix:path="_s + path("bus");
}

void AvahiDaemon::startBus()
{
    bus.setLastPreparation(machine.entry());
    bus.setStandardErrorFile(path("bus.log"));
    bus.start(u"dbus-daemon"_s, {u"--config-file="_s + path("bus.conf"), u"--nofork"_s,
                                 u"--nopidfile"_s, u"--nosyslog"_s});
    if (!waitUntil([this] { return QFile::exists(path("bus")); })) {
        failure = "did not start: dbus-daemon";
    }
}

bool AvahiDaemon::start()
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, busAddress());
    daemon = std::make_unique<ChildProcess>();
    daemon->setProcessEnvironment(environment);
    daemon->setLastPreparation(machine.entry());
    daemon->setProcessChannelMode(QProcess::MergedChannels);
    daemon->start(u"avahi-daemon"_s, {u"--file="_s + path("daemon.conf"), u"--no-drop-root"_s,
                                      u"--no-chroot"_s, u"--no-rlimits"_s});
    QByteArray output;
    return waitUntil([&] {
        output += daemon->readAll();
        return output.contains("Server startup complete");
    });
}

void AvahiDaemon::stop()
{
    daemon.reset();
}

void AvahiDaemon::crash()
{
    if (daemon) {
        daemon->kill();
    }
    daemon.reset();
}
