// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitClipboard.h"
#include "platform/linux/clipboard/X11Clipboard.h"

#include <QGuiApplication>

namespace platform {

std::unique_ptr<Clipboard> makeClipboard()
{
    if (QGuiApplication::platformName() == u"xcb") {
        return std::make_unique<X11Clipboard>();
    }
    return std::make_unique<ToolkitClipboard>();
}

} // namespace platform
