// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/SelectionLoan.h"

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// How long the owners of what is there may take for everything.
constexpr auto keepingPatience = 1s;

} // namespace

SelectionLoan::SelectionLoan(Selections &selectionsOfSession) : selections(selectionsOfSession)
{
    ownerTime.setSingleShot(true);
    connect(&ownerTime, &QTimer::timeout, this, &SelectionLoan::lose);
    connect(&reader, &ContentsReader::finished, this, [this](const auto &contents) {
        if (contents) {
            before.at(reading) = *contents;
            keepFrom(reading + 1);
        } else {
            lose();
        }
    });
    connect(&selections, &Selections::changed, this, [this] {
        if (borrower != nullptr && stage == Stage::Keeping) {
            keepAnew();
        }
    });
    connect(&selections, &Selections::replaced, this, [this] {
        if (isLent()) {
            lose();
        }
    });
    connect(&selections, &Selections::wasRead, this, [this](const QByteArray &type) {
        if (isLent() && textTypeOf({type})) {
            borrower->textRead();
        }
    });
    connect(&selections, &Selections::lost, this, [this] {
        quietChanges = 0;       // They are reported no more.
        stage = Stage::Keeping; // There is nothing to give back to.
        lose();
    });
}

void SelectionLoan::begin(const QString &newText, ClipboardBorrower &newBorrower)
{
    text = newText;
    if (isLent()) {
        lendNow();
        return;
    }
    borrower = &newBorrower;
    stage = Stage::Keeping;
    ownerTime.start(selections.isThere() ? keepingPatience : 0s);
    keepAnew();
}

/// What has happened so far may be read late, so the desktop is asked first.
void SelectionLoan::keepAnew()
{
    reader.stop();
    before.fill(std::nullopt);
    selections.afterEverything([this, number = ++steps] {
        if (number == steps) {
            keepFrom(0);
        }
    });
}

void SelectionLoan::keepFrom(std::size_t index)
{
    for (reading = index; reading < bothSelections.size(); ++reading) {
        const Selection selection = bothSelections.at(reading);
        const QByteArrayList types = selections.types(selection);
        if (const auto &own = selections.own(selection)) {
            before.at(reading) = own;
        } else if (!types.isEmpty()) {
            reader.start(types,
                         [this, selection](const QByteArray &type, const PipeReceiver &receiver) {
                             selections.receive(selection, type, receiver);
                         });
            return;
        }
    }
    // An owner that goes away has not written everything; the change comes before this.
    selections.afterEverything([this, number = ++steps] {
        if (number == steps) {
            ownerTime.stop();
            stage = Stage::Lent;
            isKeptReplaced = false;
            lendNow();
        }
    });
}

void SelectionLoan::lendNow()
{
    const Contents contents = passingContentsOf(text);
    for (const Selection selection : bothSelections) {
        if (selections.has(selection)) {
            selections.put(selection, contents);
        }
    }
    selections.afterEverything([this, number = ++steps] {
        if (number == steps) {
            borrower->textLent();
        }
    });
}

void SelectionLoan::end()
{
    if (isLent()) {
        giveBack();
    }
    borrower = nullptr;
    ++steps;
    reader.stop();
    ownerTime.stop();
    text.clear();
    before.fill(std::nullopt);
}

void SelectionLoan::giveBack()
{
    for (const Selection selection : bothSelections) {
        if (selections.own(selection)) {
            selections.put(selection, kept(selection));
        }
    }
    if (!isKeptReplaced) {
        ++quietChanges;
        selections.afterEverything([this] { --quietChanges; });
    }
}

void SelectionLoan::lose()
{
    ClipboardBorrower *told = borrower;
    end();
    if (told != nullptr) {
        told->loanLost();
    }
}

const std::optional<Contents> &SelectionLoan::kept(Selection selection) const
{
    return before.at(static_cast<std::size_t>(selection));
}

void SelectionLoan::replaceKept(const Contents &contents)
{
    before.at(static_cast<std::size_t>(Selection::Clipboard)) = contents;
    isKeptReplaced = true;
}

bool SelectionLoan::explainsChange() const
{
    constexpr Selection clipboard = Selection::Clipboard;
    const bool isOurs = selections.own(clipboard) || selections.types(clipboard).isEmpty();
    return isOurs && (isLent() || quietChanges > 0);
}

} // namespace platform
