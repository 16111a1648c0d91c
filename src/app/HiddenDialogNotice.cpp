// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/HiddenDialogNotice.h"

#include "messages/Messages.h"

#include <QEvent>
#include <QWidget>

#include <utility>

HiddenDialogNotice::HiddenDialogNotice(QWidget *dialog, QString text,
                                       std::chrono::milliseconds patience)
    : QObject(dialog)
    , notice(std::move(text))
{
    dialog->installEventFilter(this);
    limit.setSingleShot(true);
    connect(&limit, &QTimer::timeout, this, [this, dialog] {
        if (dialog->isVisible() && !dialog->isActiveWindow()) {
            Messages::warning({notice});
        }
        finish();
    });
    limit.start(patience);
}

/// The user may have gone back to another window by the time limit.
bool HiddenDialogNotice::eventFilter(QObject * /*watched*/, QEvent *event)
{
    if (event->type() == QEvent::WindowActivate) {
        finish();
    }
    return false;
}

void HiddenDialogNotice::finish()
{
    limit.stop();
    deleteLater();
}
