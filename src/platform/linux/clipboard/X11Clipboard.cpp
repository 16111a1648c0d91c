// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/X11Clipboard.h"

#include <QClipboard>
#include <QGuiApplication>

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// How often a text is set again that the server has not taken, and after which time: by then the
/// toolkit has read the server's report.
constexpr int mostAttempts = 10;
constexpr auto timeBetweenAttempts = 10ms;

/// Whether the window is one of the toolkit's connection.
bool isOfToolkit(xcb_window_t window)
{
    const auto *native = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (native == nullptr) {
        return true;
    }
    const auto *setup = xcb_get_setup(native->connection());
    return (window & ~setup->resource_id_mask) == setup->resource_id_base;
}

} // namespace

X11Clipboard::X11Clipboard()
{
    nextAttempt.setSingleShot(true);
    nextAttempt.setInterval(timeBetweenAttempts);
    QObject::connect(&nextAttempt, &QTimer::timeout, &reader, [this] { setAgain(); });
    QObject::connect(&reader, &X11SelectionReader::finished, &reader,
                     [this](const std::optional<QString> &text) {
                         requests.deliver(text, [this] { reader.start(); });
                     });
}

void X11Clipboard::setText(const QString &text)
{
    refusedText = text;
    attemptsLeft = mostAttempts;
    setAgain();
}

/// The toolkit dates its claim by the latest report that it has read. The server ignores a claim
/// that is dated before the present owner's, but the toolkit then takes itself for the owner.
void X11Clipboard::setAgain()
{
    ownText.setText(refusedText);
    if (isOfToolkit(reader.owner()) || --attemptsLeft == 0) {
        refusedText = QString();
        nextAttempt.stop();
    } else {
        nextAttempt.start();
    }
}

void X11Clipboard::requestText(TextReceiver receiver)
{
    if (QGuiApplication::clipboard()->ownsClipboard()) {
        ownText.requestText(std::move(receiver));
        return;
    }
    if (requests.add(std::move(receiver))) {
        reader.start();
    }
}

/// The toolkit learns every new owner from the server (XFIXES), whoever has the focus.
void X11Clipboard::watch(std::function<void()> changed)
{
    ownText.watch(std::move(changed));
}

} // namespace platform
