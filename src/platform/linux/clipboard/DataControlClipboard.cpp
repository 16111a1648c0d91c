// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/DataControlClipboard.h"

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// How long the owner of the clipboard may take for everything, together with the compositor.
constexpr auto ownerPatience = 1s;

} // namespace

DataControlClipboard::DataControlClipboard(std::unique_ptr<WaylandConnection> openConnection)
    : selections(std::move(openConnection))
{
    ownerTime.setSingleShot(true);
    QObject::connect(&ownerTime, &QTimer::timeout, &reader, [this] { deliver(std::nullopt); });
    QObject::connect(&reader, &PipeReader::finished, &reader,
                     [this](const std::optional<QString> &text) { deliver(text); });
    QObject::connect(&selections, &DataSelections::replaced, &reader, [this](Selection selection) {
        if (selection == Selection::Clipboard) {
            ownText.reset();
        }
    });
    QObject::connect(&selections, &DataSelections::lost, &reader, [this] { ownText.reset(); });
    QObject::connect(&selections, &DataSelections::changed, &reader, [this](Selection selection) {
        if (selection == Selection::Clipboard && !loan.explainsChange()) {
            reportChange();
        }
    });
}

void DataControlClipboard::setText(const QString &text)
{
    ownText = text;
    if (loan.isLent()) {
        loan.replaceKept(contentsOf(text));
    } else {
        selections.put(Selection::Clipboard, contentsOf(text));
    }
}

void DataControlClipboard::requestText(TextReceiver receiver)
{
    if (requests.add(std::move(receiver))) {
        startTransfer();
    }
}

/// What the compositor has reported so far may be read late, so it is asked first.
void DataControlClipboard::startTransfer()
{
    ++transfers;
    ownerTime.start(selections.isConnected() ? ownerPatience : 0s);
    selections.afterEverything([this, number = transfers] {
        if (number == transfers) {
            readContents();
        }
    });
}

void DataControlClipboard::readContents()
{
    constexpr Selection clipboard = Selection::Clipboard;
    if (ownText) {
        deliver(ownText);
        return;
    }
    if (loan.isLent() || selections.own(clipboard)) {
        const auto &known = loan.isLent() ? loan.kept(clipboard) : selections.own(clipboard);
        deliver(known ? textOf(*known) : std::nullopt);
        return;
    }
    const auto type = textTypeOf(selections.types(clipboard));
    const Descriptor target = type ? reader.start() : Descriptor(-1);
    if (target.isOpen()) {
        selections.receive(clipboard, *type, target);
    } else {
        deliver(std::nullopt);
    }
}

void DataControlClipboard::deliver(const std::optional<QString> &text)
{
    ++transfers;
    ownerTime.stop();
    reader.stop();
    requests.deliver(text, [this] { startTransfer(); });
}

void DataControlClipboard::watch(std::function<void()> report)
{
    changed = std::move(report);
}

void DataControlClipboard::lend(const QString &text, ClipboardBorrower &borrower)
{
    loan.begin(text, borrower);
}

void DataControlClipboard::endLoan()
{
    loan.end();
}

void DataControlClipboard::reportChange()
{
    // It may end the watch.
    if (const auto listener = changed) {
        listener();
    }
}

} // namespace platform
