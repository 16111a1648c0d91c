// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/NoClipboard.h"

#include "messages/Messages.h"

#include <QCoreApplication>

#include <utility>

namespace platform {

void NoClipboard::setText(const QString & /*text*/)
{
    if (!std::exchange(hasWarned, true)) {
        Messages::warning({QCoreApplication::translate(
            "Clipboard", "Text from other devices cannot be put into the clipboard, because this "
                         "Wayland session lets only the program in front do that. Log out, choose "
                         "an X11 (Xorg) session on the login screen and log in again.")});
    }
}

void NoClipboard::requestText(TextReceiver receiver)
{
    receiver(std::nullopt);
}

void NoClipboard::watch(std::function<void()> /*changed*/) {}

} // namespace platform
