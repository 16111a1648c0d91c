// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace quillmote {

/// The text as one word for a POSIX shell; in quotes only if it needs them.
QString quotedForShell(QString text);

} // namespace quillmote
