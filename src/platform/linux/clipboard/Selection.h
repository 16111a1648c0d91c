// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <array>

namespace platform {

/// What programs copy and paste, and what they select and paste with the middle button.
enum class Selection { Clipboard, Primary };
inline constexpr std::array bothSelections = {Selection::Clipboard, Selection::Primary};

/// How many types of a selection are known.
constexpr qsizetype mostSelectionTypes = 200;

} // namespace platform
