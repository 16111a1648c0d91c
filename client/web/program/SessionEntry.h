// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Whether quillmote-web starts with the user's session. Of the system.
namespace quillmote::SessionEntry {

bool exists();
/// \return why it cannot be changed; empty if it was
QString set(bool isWanted);

} // namespace quillmote::SessionEntry
