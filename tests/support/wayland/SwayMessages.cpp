// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/SwayMessages.h"

#include "support/Waiting.h"

#include <QLocalSocket>

#include <cstring>

namespace {

const QByteArray Magic = "i3-ipc";

/// What follows the magic, in the byte order of the machine.
struct Header
{
    quint32 size = 0;
    quint32 type = 0;
};

/// That many bytes; fewer if they do not come.
QByteArray read(QLocalSocket &socket, qsizetype size)
{
    QByteArray bytes;
    while (bytes.size() < size) {
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(GenerousMilliseconds)) {
            break;
        }
        bytes += socket.read(size - bytes.size());
    }
    return bytes;
}

} // namespace

QJsonDocument SwayMessages::ask(const QString &socketPath, quint32 type, const QByteArray &payload)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(GenerousMilliseconds)) {
        return {};
    }
    Header header{static_cast<quint32>(payload.size()), type};
    socket.write(Magic + QByteArray(reinterpret_cast<const char *>(&header), sizeof header) +
                 payload);
    const QByteArray answer =
        read(socket, Magic.size() + static_cast<qsizetype>(sizeof header)).mid(Magic.size());
    if (answer.size() < static_cast<qsizetype>(sizeof header)) {
        return {};
    }
    std::memcpy(&header, answer.constData(), sizeof header);
    return QJsonDocument::fromJson(read(socket, header.size));
}
