// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/ProcessTables.h"

#include "support/process/SocketDiagnosis.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QSet>

#include <ctime>

using namespace Qt::StringLiterals;

namespace ProcessTables {

namespace {

struct Socket
{
    quint16 localPort = 0;
    quint16 remotePort = 0;
    int state = 0;
    qint64 unread = 0;
    QByteArray inode;
};

constexpr int Listening = 0x0A;

quint16 portOf(const QByteArray &address)
{
    return address.mid(address.indexOf(':') + 1).toUShort(nullptr, 16);
}

// Columns of a row: number, local, remote, state, tx:rx queue, timer, retransmits, uid, timeout,
// inode (proc(5), /proc/net/tcp).
std::optional<Socket> readRow(const QByteArray &row)
{
    const QList<QByteArray> columns = row.simplified().split(' ');
    if (columns.size() < 10 || !columns[1].contains(':')) {
        return std::nullopt;
    }
    return Socket{portOf(columns[1]), portOf(columns[2]), columns[3].toInt(nullptr, 16),
                  columns[4].mid(columns[4].indexOf(':') + 1).toLongLong(nullptr, 16), columns[9]};
}

/// The IPv4 sockets of the network namespace in which the process lives.
QList<Socket> socketsSeenBy(const QString &process)
{
    QList<Socket> sockets;
    QFile file(u"/proc/%1/net/tcp"_s.arg(process));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    for (const QByteArray &row : file.readAll().split('\n')) {
        if (const auto socket = readRow(row)) {
            sockets.append(*socket);
        }
    }
    return sockets;
}

QSet<QByteArray> socketInodesOf(const QString &process)
{
    QSet<QByteArray> inodes;
    const QDir descriptors(u"/proc/%1/fd"_s.arg(process));
    for (const QString &name : descriptors.entryList(QDir::System | QDir::Files)) {
        const QByteArray target =
            QFile::symLinkTarget(descriptors.filePath(name)).section(u'/', -1).toLatin1();
        if (target.startsWith("socket:[")) {
            inodes.insert(target.mid(8).chopped(1));
        }
    }
    return inodes;
}

} // namespace

std::optional<quint16> listeningPort(qint64 processId)
{
    const QString process = QString::number(processId);
    const QSet<QByteArray> inodes = socketInodesOf(process);
    for (const Socket &socket : socketsSeenBy(process)) {
        if (socket.state == Listening && inodes.contains(socket.inode)) {
            return socket.localPort;
        }
    }
    return std::nullopt;
}

std::optional<qint64> unreadBytes(quint16 localPort, quint16 remotePort)
{
    if (const auto unread = SocketDiagnosis::unreadBytes(localPort, remotePort)) {
        return unread;
    }
    for (const Socket &socket : socketsSeenBy(u"self"_s)) {
        if (socket.localPort == localPort && socket.remotePort == remotePort) {
            return socket.unread;
        }
    }
    return std::nullopt;
}

std::chrono::nanoseconds processorTime(qint64 processId)
{
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(static_cast<pid_t>(processId), &clock) != 0 ||
        clock_gettime(clock, &time) != 0) {
        return {};
    }
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

bool catches(qint64 processId, int signal)
{
    QFile file(u"/proc/%1/status"_s.arg(processId));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    // A mask in which the lowest bit stands for signal 1 (proc(5)).
    const QByteArray field = "SigCgt:";
    const QByteArray text = file.readAll();
    const QByteArray mask = text.mid(text.indexOf(field) + field.size()).trimmed().left(16);
    return (mask.toULongLong(nullptr, 16) >> (signal - 1)) & 1U;
}

} // namespace ProcessTables
