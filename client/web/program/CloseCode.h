// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace quillmote {

/// Why a connection of a browser is closed, as the page learns it; see docs/handshake.md.
enum class CloseCode {
    GoingAway = 1001,     ///< the program ends, or the phone was silent for too long
    BrokenMessage = 4000, ///< not a message of ours, or out of order
    UnknownSecret = 4001, ///< the phone was removed, or the code is used up or too old
    ShutOut = 4002,       ///< too many wrong secrets; the reason has the seconds to wait
    TooMany = 4003,       ///< more connections or requests than are served
    Removed = 4004,       ///< the user has removed the phone
    Refused = 4005,       ///< the user has refused the phone
    Elsewhere = 4006,     ///< the phone has connected again, and this is its old connection
};

} // namespace quillmote
