// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace quillmote {
struct CommandEntry;
}

/// The help texts, made from the tables of commands and options.
namespace quillmote::Help {

/// The program's own help.
QString overview();

/// The help of one command.
QString of(const CommandEntry &command);

/// "Usage: quillmote ..." in one line, without a line break.
QString usage(const CommandEntry &command);

} // namespace quillmote::Help
