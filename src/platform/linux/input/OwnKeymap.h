// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

namespace platform {

/// A compositor tells every program of the key map in use, us too, whoever brought it. Ours carry a
/// name by which they are known again: that of the section of key codes, which compositors keep
/// when they write a key map anew.
namespace OwnKeymap {

inline constexpr const char *name = "vornaserver";

/// The key map with our name.
QByteArray named(const QByteArray &keymap);
bool isNamed(const QByteArray &keymap);

} // namespace OwnKeymap

} // namespace platform
