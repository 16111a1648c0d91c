// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <utility>

using namespace Qt::StringLiterals;

namespace platform {

void ToolkitClipboard::setText(const QString &text)
{
    QGuiApplication::clipboard()->setText(text, QClipboard::Clipboard);
}

void ToolkitClipboard::requestText(TextReceiver receiver)
{
    const QMimeData *data = QGuiApplication::clipboard()->mimeData(QClipboard::Clipboard);
    // By design: not hasText(), for which a list of files is text too.
    const bool hasText = data != nullptr && data->hasFormat(u"text/plain"_s);
    receiver(hasText ? std::optional(data->text()) : std::nullopt);
}

/// Queued, for the toolkit reports our own texts while they are being set.
void ToolkitClipboard::watch(std::function<void()> changed)
{
    watching.reset();
    if (changed) {
        watching = std::make_unique<QObject>();
        QObject::connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, watching.get(),
                         std::move(changed), Qt::QueuedConnection);
    }
}

} // namespace platform
