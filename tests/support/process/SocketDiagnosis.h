// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <optional>

/// What the kernel says about one socket when it is asked for that one (sock_diag(7)). Its table in
/// /proc lists every connection of the machine, and reading that takes milliseconds.
namespace SocketDiagnosis {

/// How many bytes wait unread at the end `localPort` of the loopback connection from `remotePort`;
/// nothing when there is no such connection, or the kernel does not answer such questions.
std::optional<qint64> unreadBytes(quint16 localPort, quint16 remotePort);

} // namespace SocketDiagnosis
