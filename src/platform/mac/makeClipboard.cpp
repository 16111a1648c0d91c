// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitClipboard.h"

namespace platform {

// The pasteboard server holds the text, so reading it does not wait for another program. It reports
// no changes; the toolkit looks for them only when the program becomes active.
std::unique_ptr<Clipboard> makeClipboard()
{
    return std::make_unique<ToolkitClipboard>(
        ToolkitClipboard::Reach{.isReadable = true, .isWatchable = false});
}

} // namespace platform
