// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHostAddress>

namespace quillmote {

/// The address itself: one that IPv6 sockets show for IPv4 (RFC 4291, section 2.5.5.2) is IPv4
/// again, and no interface is behind it.
QHostAddress plainAddress(const QHostAddress &address);

/// The computer that has the address, as far as that can be told: an IPv6 address stands for its
/// network of 64 bits, since one computer has all of it.
QByteArray computerOf(const QHostAddress &address);

} // namespace quillmote
