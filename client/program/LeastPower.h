// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace quillmote {

/// Gives up, for good, what this program never needs: core dumps, which would hold what was typed,
/// and where the system knows such a thing, to gain privileges by starting another program.
/// Whatever a server could make of this program, it has no more power than that.
void takeLeastPower();

} // namespace quillmote
