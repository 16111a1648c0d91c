// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

namespace platform {

/// The longest name of a file, in bytes.
constexpr qsizetype longestFileName = 255;

/// The name with " (number)" before its suffix, which is ".tar.gz" in "a.tar.gz". What would become
/// too long is cut before that, between two characters.
/// \param name UTF-8 of one component
QByteArray numberedName(const QByteArray &name, int number);

} // namespace platform
