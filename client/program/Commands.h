// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Arguments.h"
#include "program/Terminal.h"

/// The subcommands. Each returns its exit code.
namespace quillmote::Commands {

Terminal::ExitCode discover(const Arguments &arguments);
Terminal::ExitCode info(const Arguments &arguments);
Terminal::ExitCode pair(const Arguments &arguments);
Terminal::ExitCode key(const Arguments &arguments);
Terminal::ExitCode move(const Arguments &arguments);
Terminal::ExitCode click(const Arguments &arguments);
Terminal::ExitCode open(const Arguments &arguments);
Terminal::ExitCode copy(const Arguments &arguments);
Terminal::ExitCode paste(const Arguments &arguments);
Terminal::ExitCode send(const Arguments &arguments);
Terminal::ExitCode type(const Arguments &arguments);
Terminal::ExitCode scroll(const Arguments &arguments);
Terminal::ExitCode drag(const Arguments &arguments);
Terminal::ExitCode hold(const Arguments &arguments);
Terminal::ExitCode get(const Arguments &arguments);
Terminal::ExitCode listen(const Arguments &arguments);
Terminal::ExitCode watch(const Arguments &arguments);
Terminal::ExitCode remote(const Arguments &arguments);

} // namespace quillmote::Commands
