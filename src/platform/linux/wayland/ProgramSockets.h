// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace platform {

/// For each connection of a program to the compositor, by the system's number for it: the bytes of
/// the system's memory that hold what the program has not read yet. A socket has 208 KiB of it,
/// unless the system was configured otherwise.
using UnreadEvents = std::map<std::uint32_t, std::uint32_t>;

/// Tells which programs do not read what the compositor sends to them, by the system's list of
/// sockets (sock_diag(7)), which every user may read.
class ProgramSockets
{
public:
    /// \param name that of the compositor's socket, a path, as programs connect to it
    explicit ProgramSockets(QByteArray name) : socketName(std::move(name)) {}
    /// The socket that WAYLAND_DISPLAY names; empty if it names none.
    static QByteArray nameFromEnvironment();

    /// Those that have not read everything. Waits for nobody; takes some two milliseconds where the
    /// machine has a thousand sockets.
    /// \return nothing if the system does not tell
    std::optional<UnreadEvents> unread() const;

private:
    QByteArray socketName;
};

} // namespace platform
