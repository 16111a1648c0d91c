// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// A socket of that name to which programs connect, as that of a compositor.
class StandInSocket
{
public:
    explicit StandInSocket(QByteArray path) : socketName(std::move(path))
    {
        const sockaddr_un place = address();
        ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&place), sizeof place);
        ::listen(socket.get(), 1);
    }

    const QByteArray &name() const { return socketName; }
    Descriptor connect() const
    {
        Descriptor connected = newSocket();
        const sockaddr_un place = address();
        ::connect(connected.get(), reinterpret_cast<const sockaddr *>(&place), sizeof place);
        return connected;
    }
    Descriptor accept() const
    {
        return Descriptor(::accept4(socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }

private:
    static Descriptor newSocket()
    {
        return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    }
    sockaddr_un address() const
    {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        std::copy(socketName.begin(), socketName.end(), std::begin(place.sun_path));
        return place;
    }

    QByteArray socketName;
    Descriptor socket = newSocket();
};

/// A program that is connected to such a socket.
class StandInProgram
{
public:
    explicit StandInProgram(const StandInSocket &socket)
        : end(socket.connect())
        , compositorsEnd(socket.accept())
    {
    }

    /// The compositor sends so many bytes to it.
    bool get(int bytes) const
    {
        return ::write(compositorsEnd.get(), QByteArray(bytes, 'x').constData(),
                       static_cast<std::size_t>(bytes)) == bytes;
    }
    bool read(int bytes) const
    {
        QByteArray buffer(bytes, '\0');
        return ::recv(end.get(), buffer.data(), static_cast<std::size_t>(bytes), MSG_WAITALL) ==
               bytes;
    }

private:
    Descriptor end;
    Descriptor compositorsEnd;
};
