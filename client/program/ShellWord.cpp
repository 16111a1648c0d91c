// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ShellWord.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace quillmote {

QString quotedForShell(QString text)
{
    static const QRegularExpression plain(u"^[A-Za-z0-9._/-]+$"_s);
    return plain.match(text).hasMatch() ? text : u'\'' + text.replace(u'\'', "'\\''"_L1) + u'\'';
}

} // namespace quillmote
