// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/StandardInput.h"

#include <QFile>

#include <cstdio>

namespace quillmote {

QString standardInput()
{
    QFile input;
    return input.open(stdin, QIODevice::ReadOnly) ? QString::fromUtf8(input.readAll()) : QString();
}

} // namespace quillmote
