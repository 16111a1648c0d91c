// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/SelectionClipboard.h"

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// How long the owner of the clipboard may take for everything, together with the desktop.
constexpr auto ownerPatience = 1s;

} // namespace

SelectionClipboard::SelectionClipboard(std::unique_ptr<Selections> selectionsOfSession)
    : selections(std::move(selectionsOfSession))
{
    ownerTime.setSingleShot(true);
    QObject::connect(&ownerTime, &QTimer::timeout, &reader, [this] { deliver(std::nullopt); });
    QObject::connect(&reader, &PipeReader::finished, &reader,
                     [this](const std::optional<QString> &text) { deliver(text); });
    QObject::connect(selections.get(), &Selections::replaced, &reader, [this](Selection selection) {
        if (selection == Selection::Clipboard) {
            ownText.reset();
        }
    });
    QObject::connect(selections.get(), &Selections::lost, &reader, [this] { ownText.reset(); });
    QObject::connect(selections.get(), &Selections::changed, &reader, [this](Selection selection) {
        if (selection == Selection::Clipboard && !loan.explainsChange()) {
            reportChange();
        }
    });
}

void SelectionClipboard::setText(const QString &text)
{
    ownText = text;
    if (loan.isLent()) {
        loan.replaceKept(contentsOf(text));
    } else {
        selections->put(Selection::Clipboard, contentsOf(text));
    }
}

void SelectionClipboard::requestText(TextReceiver receiver)
{
    if (requests.add(std::move(receiver))) {
        startTransfer();
    }
}

/// What has happened so far may be read late, so the desktop is asked first.
void SelectionClipboard::startTransfer()
{
    ++transfers;
    ownerTime.start(selections->isConnected() ? ownerPatience : 0s);
    selections->afterEverything([this, number = transfers] {
        if (number == transfers) {
            readContents();
        }
    });
}

void SelectionClipboard::readContents()
{
    constexpr Selection clipboard = Selection::Clipboard;
    if (ownText) {
        deliver(ownText);
        return;
    }
    if (loan.isLent() || selections->own(clipboard)) {
        const auto &known = loan.isLent() ? loan.kept(clipboard) : selections->own(clipboard);
        deliver(known ? textOf(*known) : std::nullopt);
        return;
    }
    const auto type = textTypeOf(selections->types(clipboard));
    if (!type) {
        deliver(std::nullopt);
        return;
    }
    selections->receive(clipboard, *type, [this, number = transfers](Descriptor pipe) {
        if (number == transfers && !reader.start(std::move(pipe))) {
            deliver(std::nullopt);
        }
    });
}

void SelectionClipboard::deliver(const std::optional<QString> &text)
{
    ++transfers;
    ownerTime.stop();
    reader.stop();
    requests.deliver(text, [this] { startTransfer(); });
}

bool SelectionClipboard::canLendPrimary() const
{
    return canLend() && selections->has(Selection::Primary);
}

void SelectionClipboard::lend(const QString &text, ClipboardBorrower &borrower)
{
    loan.begin(text, borrower);
}

void SelectionClipboard::endLoan()
{
    loan.end();
}

void SelectionClipboard::reportChange()
{
    // It may end the watch.
    if (const auto listener = changed) {
        listener();
    }
}

} // namespace platform
