// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/X11Clipboard.h"

#include <QClipboard>
#include <QGuiApplication>

#include <utility>

namespace platform {

X11Clipboard::X11Clipboard()
{
    QObject::connect(&reader, &X11SelectionReader::finished, &reader,
                     [this](const std::optional<QString> &text) { deliver(text); });
}

void X11Clipboard::setText(const QString &text)
{
    ownText.setText(text);
}

void X11Clipboard::requestText(TextReceiver receiver)
{
    if (QGuiApplication::clipboard()->ownsClipboard()) {
        ownText.requestText(std::move(receiver));
        return;
    }
    waiting.push_back(std::move(receiver));
    if (served.empty()) {
        served.swap(waiting);
        reader.start();
    }
}

/// The toolkit learns every new owner from the server (XFIXES), whoever has the focus.
void X11Clipboard::watch(std::function<void()> changed)
{
    ownText.watch(std::move(changed));
}

void X11Clipboard::deliver(const std::optional<QString> &text)
{
    const std::vector<TextReceiver> receivers = std::exchange(served, std::exchange(waiting, {}));
    if (!served.empty()) {
        reader.start();
    }
    for (const TextReceiver &receiver : receivers) {
        receiver(text);
    }
}

} // namespace platform
