// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Should this process crash, its memory is not written to a file: it holds what was typed and
/// copied.
///
/// Programs that it starts inherit the limit and may raise it again, as `ulimit -c` does: the hard
/// limit stays as it is.
void forbidCoreDumps();

} // namespace platform
