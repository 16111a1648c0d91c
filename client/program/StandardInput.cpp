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

QByteArray standardInputBytes(qint64 most)
{
    QFile input;
    QByteArray bytes;
    if (input.open(stdin, QIODevice::ReadOnly)) {
        while (bytes.size() < most) {
            const QByteArray piece = input.read(most - bytes.size());
            if (piece.isEmpty()) {
                break;
            }
            bytes += piece;
        }
    }
    return bytes;
}

} // namespace quillmote
