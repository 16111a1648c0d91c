// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <initializer_list>

/// The texts that go through the toolkit's message channel: warnings are meant for the user (the
/// tray shows them), debug messages are diagnostics.
///
/// A message is a row of items, each followed by one blank, the last one too. Users' notes and
/// translations know the texts in this form, so it is written here and not left to the debug
/// stream, which drops the last blank and escapes what it quotes.
namespace Messages {

/// The items as one text: item, blank, item, blank.
QString streamed(std::initializer_list<QString> items);

/// The text in double quotes, nothing escaped.
QString quoted(const QString &text);

void warning(std::initializer_list<QString> items);
void debug(std::initializer_list<QString> items);

} // namespace Messages
