// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

namespace quillmote {

/// The QR code of the text: a row of "0" and "1" (dark) for each row of modules.
QStringList qrRows(const QString &text);

/// The same as a terminal shows it.
QString qrForTerminal(const QStringList &rows);

} // namespace quillmote
