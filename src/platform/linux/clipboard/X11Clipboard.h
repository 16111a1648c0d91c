// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ToolkitClipboard.h"
#include "platform/linux/clipboard/TextRequests.h"
#include "platform/linux/clipboard/X11SelectionReader.h"

#include <QTimer>

namespace platform {

/// The clipboard of an X11 session. The toolkit would wait up to five seconds for the program that
/// owns the text; here another program's text is read from the event loop.
class X11Clipboard : public Clipboard
{
public:
    X11Clipboard();

    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    bool isReadable() const override { return true; }
    bool isWatchable() const override { return true; }
    void watch(std::function<void()> changed) override;

private:
    void setAgain();

    ToolkitClipboard ownText;
    X11SelectionReader reader;
    TextRequests requests;
    // A text that the server has not taken yet.
    QString refusedText;
    QTimer nextAttempt;
    int attemptsLeft = 0;
};

} // namespace platform
