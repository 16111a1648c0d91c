// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Terminal.h"

#include <QString>

namespace quillmote {

class Session;

/// Remembers the text on the server's clipboard, and puts it back later.
class ClipboardKeeper
{
public:
    explicit ClipboardKeeper(Session &server) : session(server) {}

    /// Fails, and reports why, if the text could not be put back exactly.
    Terminal::ExitCode keep();
    Terminal::ExitCode putBack();

private:
    Session &session;
    QString text;
};

} // namespace quillmote
