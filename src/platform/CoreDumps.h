// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// If this process crashes, its memory is not written to a file, because it holds what was typed
/// and copied.
///
/// Programs that it starts inherit the limit and may raise it again, as `ulimit -c` does: the hard
/// limit is not changed.
void forbidCoreDumps();

} // namespace platform
