// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitClipboard.h"

namespace platform {

// The pasteboard server holds the text, so reading it does not wait for another program.
std::unique_ptr<Clipboard> makeClipboard()
{
    return std::make_unique<ToolkitClipboard>();
}

} // namespace platform
