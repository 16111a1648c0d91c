// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/QrRows.h"

#include <qrcodegen/qrcodegen.hpp>

using namespace Qt::StringLiterals;

namespace quillmote {

QStringList qrRows(const QString &text)
{
    const auto code =
        qrcodegen::QrCode::encodeText(text.toUtf8().constData(), qrcodegen::QrCode::Ecc::MEDIUM);
    QStringList rows;
    for (int y = 0; y < code.getSize(); ++y) {
        QString row;
        for (int x = 0; x < code.getSize(); ++x) {
            row += code.getModule(x, y) ? u'1' : u'0';
        }
        rows += row;
    }
    return rows;
}

QString qrForTerminal(const QStringList &rows)
{
    QString drawn;
    for (const QString &row : rows) {
        for (const QChar module : row) {
            drawn += module == u'1' ? u"  "_s : u"██"_s;
        }
        drawn += u'\n';
    }
    return drawn;
}

} // namespace quillmote
