// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace quillmote {

/// Permanently gives up what this program never needs: core dumps, which would hold the typed text,
/// and on systems that support it, gaining privileges by starting another program. A server that
/// could take over this program would get no more power than the rest.
void takeLeastPower();

} // namespace quillmote
