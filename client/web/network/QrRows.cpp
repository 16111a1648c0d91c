// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/QrRows.h"

#include <qrcodegen/qrcodegen.hpp>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// Of four modules, as the standard demands (ISO/IEC 18004, section 9.1).
constexpr qsizetype quietZone = 4;

bool isDark(const QStringList &rows, qsizetype x, qsizetype y)
{
    return y >= 0 && y < rows.size() && x >= 0 && x < rows[y].size() && rows[y][x] == u'1';
}

QChar halfBlocks(bool isUpperDark, bool isLowerDark)
{
    if (isUpperDark) {
        return isLowerDark ? u'█' : u'▀';
    }
    return isLowerDark ? u'▄' : u' ';
}

} // namespace

QStringList qrRows(const QString &text)
{
    using qrcodegen::QrCode;
    QStringList rows;
    try {
        const QrCode code = QrCode::encodeText(text.toUtf8().constData(), QrCode::Ecc::MEDIUM);
        for (int y = 0; y < code.getSize(); ++y) {
            QString row;
            for (int x = 0; x < code.getSize(); ++x) {
                row += code.getModule(x, y) ? u'1' : u'0';
            }
            rows += row;
        }
    } catch (const qrcodegen::data_too_long &) {
        return {};
    }
    return rows;
}

QString qrForTerminal(const QStringList &rows)
{
    if (rows.isEmpty()) {
        return {};
    }
    // Black on white by their numbers: the first sixteen colours are the user's.
    const QString begin = u"\x1b[38;5;16;48;5;231m"_s;
    const QString end = u"\x1b[0m\n"_s;
    QString drawing;
    for (qsizetype y = -quietZone; y < rows.size() + quietZone; y += 2) {
        drawing += begin;
        for (qsizetype x = -quietZone; x < rows.first().size() + quietZone; ++x) {
            drawing += halfBlocks(isDark(rows, x, y), isDark(rows, x, y + 1));
        }
        drawing += end;
    }
    return drawing;
}

} // namespace quillmote
