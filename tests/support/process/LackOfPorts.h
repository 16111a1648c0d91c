// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// A network namespace in which the system has not one port to give out.
namespace LackOfPorts {

/// Moves the calling process, which then runs another program, into such a namespace. The program
/// inherits the socket that holds the only port there is.
void bring();

/// Gives the process's namespace more ports; false when that fails.
bool end(qint64 processId);

} // namespace LackOfPorts
