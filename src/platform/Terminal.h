// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Whether a person can read what is written to standard error: true when that is a terminal.
bool isErrorOutputRead();

} // namespace platform
