// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace quillmote {

/// While it lives, the terminal gives each key at once and unechoed, tells what the mouse does, and
/// shows a screen of its own. It is put back however the program ends, by a signal too. At most one
/// may exist.
class RawTerminal
{
public:
    /// Changes nothing if standard input is not a terminal.
    RawTerminal();
    ~RawTerminal();
    RawTerminal(const RawTerminal &) = delete;
    RawTerminal &operator=(const RawTerminal &) = delete;

private:
    bool active = false;
};

} // namespace quillmote
