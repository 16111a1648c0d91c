// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/Paster.h"

#include <utility>

namespace platform {

Paster::Paster(Clipboard *lendingClipboard, PasteKey pasteKey)
    : clipboard(lendingClipboard)
    , pressKey(std::move(pasteKey))
{
    limit.setSingleShot(true);
    resting.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &limit, [this] { finish(isRead); });
    QObject::connect(&resting, &QTimer::timeout, &resting, [this] { finish(true); });
}

Paster::~Paster()
{
    end();
}

void Paster::paste(const QString &text, std::function<void(bool)> done)
{
    stage = Stage::Lending;
    isRead = false;
    whenDone = std::move(done);
    clipboard->lend(text, *this);
}

void Paster::textLent()
{
    if (stage != Stage::Lending) {
        return;
    }
    stage = Stage::Reading;
    limit.start(patience);
    if (!pressKey()) {
        finish(false);
    }
}

/// Nobody has been asked to paste before the key; that was for a history.
void Paster::textRead()
{
    if (stage == Stage::Reading) {
        isRead = true;
        resting.start(rest);
    }
}

void Paster::loanLost()
{
    if (isPasting()) {
        finish(isRead);
    }
}

void Paster::finish(bool wasRead)
{
    stage = Stage::Idle;
    limit.stop();
    resting.stop();
    std::exchange(whenDone, {})(wasRead);
}

void Paster::end()
{
    stage = Stage::Idle;
    limit.stop();
    resting.stop();
    whenDone = {};
    if (clipboard != nullptr) {
        clipboard->endLoan();
    }
}

} // namespace platform
