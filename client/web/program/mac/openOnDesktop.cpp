// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/OwnPage.h"

#include <QProcess>

using namespace Qt::StringLiterals;

bool quillmote::openOnDesktop(const QString &path)
{
    return QProcess::startDetached(u"/usr/bin/open"_s, {path});
}
