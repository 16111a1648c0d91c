// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QString>

#include <optional>

/// Where the server listens for the network, as the setting "listenAddress" says it.
namespace ListenAddress {

/// All IPv4 addresses for the empty text; none if the text is no numeric address.
std::optional<QHostAddress> of(const QString &text);
/// The setting for an address.
QString settingFor(const QHostAddress &address);

/// Whether it is all IPv4 addresses, or one that this computer has now. Asks the system: binding a
/// socket would succeed for broadcast addresses, too.
bool isOurs(const QHostAddress &address);
/// Whether a server that listens there accepts a connection to this address.
bool admits(const QHostAddress &listening, const QHostAddress &connectedTo);

} // namespace ListenAddress
