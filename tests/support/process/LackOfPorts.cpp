// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/LackOfPorts.h"

#include <QProcess>

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

using namespace Qt::StringLiterals;

namespace LackOfPorts {

namespace {

constexpr quint16 OnlyPort = 40'000;
constexpr char RangeFile[] = "/proc/sys/net/ipv4/ip_local_port_range";
constexpr char OnlyPortRange[] = "40000 40000";

[[noreturn]] void giveUp(const char *what)
{
    constexpr int CannotPrepare = 125;
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, what, std::strlen(what));
    ::_exit(CannotPrepare);
}

// A namespace of one's own needs root, or a user namespace in which one is root.
void enterNamespace()
{
    if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        giveUp("no network namespace\n");
    }
}

void leaveOnePort()
{
    const int file = ::open(RangeFile, O_WRONLY | O_CLOEXEC);
    if (::write(file, OnlyPortRange, sizeof OnlyPortRange - 1) < 0) {
        giveUp("no range of ports\n");
    }
    ::close(file);
}

// Bound without address reuse, so that no other socket can have the port; it needs not listen.
void takePort()
{
    const int holder = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(OnlyPort);
    if (::bind(holder, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        giveUp("the port is taken\n");
    }
}

} // namespace

void bring()
{
    enterNamespace();
    leaveOnePort();
    takePort();
}

bool end(qint64 processId)
{
    QStringList arguments{u"--target"_s, QString::number(processId), u"--net"_s};
    if (::geteuid() != 0) {
        arguments += {u"--user"_s, u"--preserve-credentials"_s};
    }
    arguments += {u"sh"_s, u"-c"_s, u"echo 40000 40100 > "_s + QLatin1String(RangeFile)};
    return QProcess::execute(u"nsenter"_s, arguments) == 0;
}

} // namespace LackOfPorts
