// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <initializer_list>

/// The texts that go through the toolkit's message channel. Warnings are meant for the user, and
/// the tray shows them; debug messages are diagnostics.
///
/// A message is a sequence of items, each followed by one space, including the last. Users' notes
/// and translations know the texts in this form, so it is written here and not left to the debug
/// stream, which drops the last space and escapes quoted text.
namespace Messages {

/// The items as one text: item, space, item, space.
QString streamed(std::initializer_list<QString> items);

/// The text in double quotes, without escapes.
QString quoted(const QString &text);

void warning(std::initializer_list<QString> items);
void debug(std::initializer_list<QString> items);

} // namespace Messages
