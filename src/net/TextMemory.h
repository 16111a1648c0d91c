// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QChar>
#include <QtGlobal>

/// What the allocator and the toolkit add to the characters of a text, in bytes.
constexpr qsizetype textOverhead = 32;

/// An estimate of the memory that a text of that length takes, in bytes.
constexpr qsizetype textMemory(qsizetype characters)
{
    return textOverhead + characters * qsizetype(sizeof(QChar));
}
