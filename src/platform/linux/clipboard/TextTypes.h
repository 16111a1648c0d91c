// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace platform {

/// The types of plain text, the best first; all of them are UTF-8. By design: a list of files is no
/// text.
constexpr std::array textTypes = {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "STRING",
                                  "TEXT"};

/// The place in the list; its size for other types.
inline std::size_t rankOf(std::string_view type)
{
    return static_cast<std::size_t>(std::ranges::find(textTypes, type) - textTypes.begin());
}

} // namespace platform
