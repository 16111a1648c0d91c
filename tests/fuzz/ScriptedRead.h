// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>

/// A part of an input: what arrives in one read, and what the target does before it.
struct ScriptedRead
{
    /// The bytes behind the 0xff in front of this read. The first read has '|' in place of each.
    QByteArray control;
    QByteArray bytes;
};

/// Divides an input into reads. The byte 0xff ends a read, and the given number of control bytes
/// follows it; an end with fewer is cut off.
inline QList<ScriptedRead> scriptedReads(const QByteArray &input, qsizetype controlSize)
{
    QList<ScriptedRead> reads;
    QByteArray control(controlSize, '|');
    for (qsizetype begin = 0; begin <= input.size();) {
        const qsizetype found = input.indexOf('\xff', begin);
        const qsizetype end = found == -1 ? input.size() : found;
        reads.append({control, input.mid(begin, end - begin)});
        control = input.mid(end + 1, controlSize);
        begin = end + 1 + controlSize;
    }
    return reads;
}
