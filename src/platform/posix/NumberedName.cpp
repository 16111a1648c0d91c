// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/NumberedName.h"

namespace platform {
namespace {

/// In bytes, with the dot. What is longer, or has a blank, is part of a sentence.
constexpr qsizetype longestSuffix = 16;

/// How many bytes the suffix of the name has. A dot at the beginning is that of a hidden file.
qsizetype suffixOf(const QByteArray &name)
{
    const qsizetype dot = name.lastIndexOf('.');
    const qsizetype size = name.size() - dot;
    return dot > 0 && size <= longestSuffix && name.indexOf(' ', dot) == -1 ? size : 0;
}

qsizetype wholeSuffixOf(const QByteArray &name)
{
    const QByteArray archive = ".tar";
    const qsizetype size = suffixOf(name);
    const QByteArray rest = name.chopped(size);
    const bool isArchive = size > 0 && rest.size() > archive.size() && rest.endsWith(archive);
    return isArchive ? size + archive.size() : size;
}

bool isWithinCharacter(const QByteArray &text, qsizetype place)
{
    return place < text.size() && (static_cast<unsigned char>(text.at(place)) & 0xc0) == 0x80;
}

} // namespace

QByteArray numberedName(const QByteArray &name, int number)
{
    const QByteArray suffix = name.last(wholeSuffixOf(name));
    const QByteArray end = " (" + QByteArray::number(number) + ')' + suffix;
    qsizetype kept = name.size() - suffix.size();
    while (kept + end.size() > longestFileName || isWithinCharacter(name, kept)) {
        --kept;
    }
    return name.first(kept) + end;
}

} // namespace platform
