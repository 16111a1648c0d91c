// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/NetworkNamespaces.h"

#include "support/Waiting.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int CannotEnter = 125;

/// A host's own /run, and on it the accounts that its daemons ask for. There is but one user in a
/// user namespace that was made without root's help, so that is who they all are.
const char KeeperScript[] = R"(
set -e
mount -t tmpfs tmpfs /run
echo 'root:x:0:0::/:/bin/sh
avahi:x:0:0::/:/bin/sh' >/run/passwd
echo 'root:x:0:
avahi:x:0:' >/run/group
mount --bind /run/passwd /etc/passwd
mount --bind /run/group /etc/group
echo ready
exec sleep infinity
)";

/// Only system calls, and little of the stack: this runs between the fork and the program.
void enter(pid_t keeper)
{
    const auto host = static_cast<int>(::syscall(SYS_pidfd_open, keeper, 0));
    if (::setns(host, CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS | CLONE_NEWUTS) != 0) {
        ::_exit(CannotEnter);
    }
    ::close(host);
}

bool runTool(std::function<void()> preparation, const QString &program,
             const QStringList &arguments)
{
    ChildProcess process;
    process.setLastPreparation(std::move(preparation));
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace

NetworkHost::NetworkHost(QString name, QString address)
    : firstName(std::move(name))
    , ipAddress(std::move(address))
{
}

bool NetworkHost::start(const NetworkHost *inside)
{
    QStringList namespaces{u"--net"_s, u"--mount"_s, u"--uts"_s};
    if (inside != nullptr) {
        keeperProcess.setLastPreparation(inside->entry());
    } else {
        namespaces += {u"--user"_s, u"--map-root-user"_s};
    }
    keeperProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    keeperProcess.start(
        u"unshare"_s, namespaces + QStringList{u"sh"_s, u"-c"_s, QLatin1StringView(KeeperScript)});
    waitUntil([this] {
        return keeperProcess.canReadLine() || keeperProcess.state() == QProcess::NotRunning;
    });
    return keeperProcess.readLine() == "ready\n" && setName(firstName);
}

std::function<void()> NetworkHost::entry() const
{
    return [keeper = static_cast<pid_t>(keeperProcess.processId())] { enter(keeper); };
}

bool NetworkHost::run(const QString &program, const QStringList &arguments) const
{
    return runTool(entry(), program, arguments);
}

bool NetworkHost::joinTo(const NetworkHost &other) const
{
    const QString device = NetworkNamespaces::device();
    return run(u"ip"_s, {u"link"_s, u"add"_s, device, u"type"_s, u"veth"_s, u"peer"_s, u"name"_s,
                         device, u"netns"_s, QString::number(other.keeperProcess.processId())}) &&
           bringUp() && other.bringUp();
}

bool NetworkHost::bringUp() const
{
    const QString device = NetworkNamespaces::device();
    return run(u"ip"_s, {u"link"_s, u"set"_s, u"lo"_s, u"up"_s}) &&
           run(u"ip"_s, {u"address"_s, u"add"_s, ipAddress + u"/24"_s, u"dev"_s, device}) &&
           run(u"ip"_s, {u"link"_s, u"set"_s, device, u"up"_s});
}

bool NetworkHost::setName(const QString &name) const
{
    // Not by hostname(1), which refuses some names.
    const auto rename = [enterHost = entry(), bytes = name.toUtf8()] {
        enterHost();
        if (::sethostname(bytes.constData(), static_cast<size_t>(bytes.size())) != 0) {
            ::_exit(CannotEnter);
        }
    };
    return runTool(rename, u"true"_s, {});
}

NetworkNamespaces::NetworkNamespaces()
    : serverHost(u"desk"_s, u"10.77.0.1"_s)
    , handheldHost(u"pocket"_s, u"10.77.0.2"_s)
{
    if (!serverHost.start() || !handheldHost.start(&serverHost)) {
        failure = "This machine does not let the test make namespaces of user, network, mounts "
                  "and host name (unshare --user --net --mount --uts).";
    } else if (!serverHost.joinTo(handheldHost)) {
        failure = "The two hosts could not be joined by a network (ip link add type veth).";
    }
}

QString NetworkNamespaces::device()
{
    return u"cable"_s;
}
