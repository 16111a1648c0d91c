// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/DataLoan.h"

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// How long the owners of what is there may take for everything.
constexpr auto ownerPatience = 1s;

} // namespace

DataLoan::DataLoan(DataSelections &selectionsOfSession) : selections(selectionsOfSession)
{
    ownerTime.setSingleShot(true);
    connect(&ownerTime, &QTimer::timeout, this, &DataLoan::lose);
    connect(&reader, &ContentsReader::finished, this, [this](const auto &contents) {
        if (contents) {
            before.at(reading) = *contents;
            keepFrom(reading + 1);
        } else {
            lose();
        }
    });
    connect(&selections, &DataSelections::changed, this, [this] {
        if (borrower != nullptr && stage == Stage::Keeping) {
            keepAnew();
        }
    });
    connect(&selections, &DataSelections::replaced, this, [this] {
        if (isLent()) {
            lose();
        }
    });
    connect(&selections, &DataSelections::wasRead, this, [this](const QByteArray &type) {
        if (isLent() && textTypeOf({type})) {
            borrower->textRead();
        }
    });
    connect(&selections, &DataSelections::lost, this, [this] {
        quietChanges = 0;       // They are reported no more.
        stage = Stage::Keeping; // There is nothing to give back to.
        lose();
    });
}

void DataLoan::begin(const QString &newText, ClipboardBorrower &newBorrower)
{
    text = newText;
    if (isLent()) {
        lendNow();
        return;
    }
    borrower = &newBorrower;
    stage = Stage::Keeping;
    ownerTime.start(selections.isThere() ? ownerPatience : 0s);
    keepAnew();
}

/// What the compositor has reported so far may be read late, so it is asked first.
void DataLoan::keepAnew()
{
    reader.stop();
    before.fill(std::nullopt);
    selections.afterEverything([this, number = ++steps] {
        if (number == steps) {
            keepFrom(0);
        }
    });
}

void DataLoan::keepFrom(std::size_t index)
{
    for (reading = index; reading < bothSelections.size(); ++reading) {
        const Selection selection = bothSelections.at(reading);
        const QByteArrayList types = selections.types(selection);
        if (const auto &own = selections.own(selection)) {
            before.at(reading) = own;
        } else if (!types.isEmpty()) {
            reader.start(types,
                         [this, selection](const QByteArray &type, const Descriptor &target) {
                             selections.receive(selection, type, target);
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

void DataLoan::lendNow()
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

void DataLoan::end()
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

void DataLoan::giveBack()
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

void DataLoan::lose()
{
    ClipboardBorrower *told = borrower;
    end();
    if (told != nullptr) {
        told->loanLost();
    }
}

const std::optional<Contents> &DataLoan::kept(Selection selection) const
{
    return before.at(static_cast<std::size_t>(selection));
}

void DataLoan::replaceKept(const Contents &contents)
{
    before.at(static_cast<std::size_t>(Selection::Clipboard)) = contents;
    isKeptReplaced = true;
}

bool DataLoan::explainsChange() const
{
    constexpr Selection clipboard = Selection::Clipboard;
    const bool isOurs = selections.own(clipboard) || selections.types(clipboard).isEmpty();
    return isOurs && (isLent() || quietChanges > 0);
}

} // namespace platform
