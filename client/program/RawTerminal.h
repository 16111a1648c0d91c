// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace quillmote {

/// While it lives, the terminal delivers each key at once and without echo, reports the mouse, and
/// shows a separate screen. The terminal is restored however the program ends, also after a signal.
/// At most one may exist.
class RawTerminal
{
public:
    /// What the terminal reports beside plain keys.
    enum class Reports {
        Mouse,
        MouseAndAllKeys, ///< pastes as such, and every key with its modifiers where it can
    };

    /// Changes nothing if standard input is not a terminal.
    explicit RawTerminal(Reports reports = Reports::Mouse);
    ~RawTerminal();
    RawTerminal(const RawTerminal &) = delete;
    RawTerminal &operator=(const RawTerminal &) = delete;

private:
    bool active = false;
};

} // namespace quillmote
