// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonDocument>
#include <QString>

/// sway's own socket for commands and questions (sway-ipc(7)).
namespace SwayMessages {

/// Sends a message of that type and waits for its answer; null when none comes.
QJsonDocument ask(const QString &socketPath, quint32 type, const QByteArray &payload = {});

} // namespace SwayMessages
