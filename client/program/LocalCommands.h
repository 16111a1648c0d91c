// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Arguments.h"
#include "program/KeyStroke.h"
#include "program/Terminal.h"

#include <vector>

namespace quillmote {

class LocalSession;

/// The commands as the server of this desktop carries them out. Those that networks have too are
/// called by their namesakes in Commands, which have checked the arguments.
namespace LocalCommands {

Terminal::ExitCode info(LocalSession &session, const Arguments &arguments);
Terminal::ExitCode pair(LocalSession &session, const Arguments &arguments);
Terminal::ExitCode key(LocalSession &session, const Arguments &arguments,
                       const std::vector<KeyStroke> &strokes);
Terminal::ExitCode move(LocalSession &session, const Arguments &arguments, double dx, double dy);
/// The button's name, and "click" or "double".
Terminal::ExitCode click(LocalSession &session, const Arguments &arguments, const QString &button,
                         const QString &action);
Terminal::ExitCode open(LocalSession &session, const Arguments &arguments);
Terminal::ExitCode copy(LocalSession &session, const Arguments &arguments);
Terminal::ExitCode paste(LocalSession &session, const Arguments &arguments);
Terminal::ExitCode type(LocalSession &session, const Arguments &arguments, const QString &text);
Terminal::ExitCode send(LocalSession &session, const Arguments &arguments);

} // namespace LocalCommands

} // namespace quillmote
