// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <chrono>
#include <optional>

/// What the kernel reports about other processes, most of it read from /proc.
namespace ProcessTables {

/// The IPv4 TCP port that the process listens on; nothing while it listens on none.
std::optional<quint16> listeningPort(qint64 processId);

/// How many bytes wait unread at the end `localPort` of the connection from `remotePort`; nothing
/// when there is no such connection.
std::optional<qint64> unreadBytes(quint16 localPort, quint16 remotePort);

/// Processor time that all threads of the process have used; 0 if there is no such process.
std::chrono::nanoseconds processorTime(qint64 processId);

/// Whether the process has a handler for the signal, so that the signal does not simply end it.
bool catches(qint64 processId, int signal);

} // namespace ProcessTables
