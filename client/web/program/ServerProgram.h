// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The program VornaServer, for users who have not started it.
namespace quillmote::ServerProgram {

/// Beside this program, or in PATH; empty if it is in neither.
QString find();
/// \return why it cannot be started; empty if it was
QString start();

} // namespace quillmote::ServerProgram
