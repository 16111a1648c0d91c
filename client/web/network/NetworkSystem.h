// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QList>

namespace quillmote {

/// A descriptor, not blocking, that becomes readable when addresses or routes of this computer may
/// have changed; -1 if the system does not offer one. What can be read there is of no interest.
int openNetworkNews();

/// The IPv6 addresses of this computer that change after hours (RFC 8981), or that are not to be
/// used for new connections any more.
QList<QHostAddress> temporaryAddresses();

} // namespace quillmote
