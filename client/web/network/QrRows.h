// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

namespace quillmote {

/// The QR code of a text, with error correction of level M: rows of "1" (dark) and "0" (light),
/// without the quiet zone around it. Empty if the text is too long for a code.
QStringList qrRows(const QString &text);

/// The code with its quiet zone for a terminal that knows 256 colours: two rows in each line. It is
/// dark on light, whatever colours the terminal has, since not every camera reads the inverse.
QString qrForTerminal(const QStringList &rows);

} // namespace quillmote
