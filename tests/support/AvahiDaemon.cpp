// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "AvahiDaemon.h"

#include "Waiting.h"

#include <QFile>

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

AvahiDaemon::AvahiDaemon(const NetworkHost &host) : m_host(host)
{
    if (!writeFile(path("bus.conf"), QString(BusConfiguration).arg(busAddress())) ||
        !writeFile(path("daemon.conf"),
                   QString(DaemonConfiguration).arg(m_host.name(), NetworkNamespaces::device())))
        m_problem = "no configuration files for avahi-daemon";
    else
        startBus();
}

QString AvahiDaemon::busAddress() const
{
    return "unix:path=" + path("bus");
}

void AvahiDaemon::startBus()
{
    m_bus.setLastPreparation(m_host.entry());
    m_bus.setStandardErrorFile(path("bus.log"));
    m_bus.start("dbus-daemon",
                {"--config-file=" + path("bus.conf"), "--nofork", "--nopidfile", "--nosyslog"});
    if (!waitUntil([this] { return QFile::exists(path("bus")); }))
        m_problem = "did not start: dbus-daemon";
}

bool AvahiDaemon::start()
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", busAddress());
    m_daemon = std::make_unique<ChildProcess>();
    m_daemon->setProcessEnvironment(environment);
    m_daemon->setLastPreparation(m_host.entry());
    m_daemon->setProcessChannelMode(QProcess::MergedChannels);
    m_daemon->start("avahi-daemon", {"--file=" + path("daemon.conf"), "--no-drop-root",
                                     "--no-chroot", "--no-rlimits"});
    QByteArray output;
    return waitUntil([&] {
        output += m_daemon->readAll();
        return output.contains("Server startup complete");
    });
}

void AvahiDaemon::stop()
{
    m_daemon.reset();
}

void AvahiDaemon::crash()
{
    if (m_daemon)
        m_daemon->kill();
    m_daemon.reset();
}
