// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace quillmote {

/// All of standard input, as UTF-8; empty if it cannot be read.
QString standardInput();

/// The same as bytes; at most so many.
QByteArray standardInputBytes(qint64 most);

} // namespace quillmote
