// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVariant>

#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

/// One entry of a token: a string or a string list under a key.
using TokenEntry = std::pair<QString, QVariant>;

/// A token in the form that a handheld sends.
QByteArray tokenText(const std::vector<TokenEntry> &entries);

/// A token of that command with its parameters.
QByteArray commandText(const QString &command, const std::vector<TokenEntry> &entries = {});

/// The question that the server always answers.
QByteArray serverInfo();

/// The command to press that key or shortcut.
QByteArray keyCommand(const QString &shortcut);

/// The command to use the pointer: "0", "1" and "2" click left, right and in the middle, "4" moves
/// by the two parameters.
QByteArray pointerCommand(const QString &code, const QStringList &parameters = {});

/// The text for the clipboard.
QByteArray textTransfer(const QString &text);

/// The request to pair, from a device that calls itself by the name.
QByteArray pairing(const QString &device, const QString &name = u"Anna"_s);

/// The request for the clipboard's text.
QByteArray clipboardRequest(const std::vector<TokenEntry> &entries = {});

/// The announcement of a file. The request itself is the beginning of the file and counts.
QByteArray fileRequest(const QString &name, const QString &size);
QByteArray fileRequest(const QString &name, qint64 size);

/// The announcement with the size that is exceeded by the content's last byte and not before.
QByteArray exactRequest(const QString &name, qint64 contentSize);
