// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/ContentsReader.h"

#include "platform/Clipboard.h"

#include <utility>

namespace platform {

ContentsReader::ContentsReader()
{
    connect(&pipe, &PipeBytes::arrived, this, &ContentsReader::take);
    connect(&pipe, &PipeBytes::ended, this, [this](bool isWhole) {
        unread.removeFirst();
        if (isWhole) {
            readNext();
        } else {
            finish(false);
        }
    });
}

/// Reports from the event loop also if nothing has to be read.
void ContentsReader::start(const QByteArrayList &types, Ask askOwner)
{
    stop();
    ask = std::move(askOwner);
    const auto kept = typesToKeep(types);
    unread = kept.value_or(QByteArrayList());
    QMetaObject::invokeMethod(
        &pipe,
        [this, canBeKept = kept.has_value(), number = starts] {
            if (number != starts) {
                return;
            }
            if (canBeKept) {
                readNext();
            } else {
                finish(false);
            }
        },
        Qt::QueuedConnection);
}

void ContentsReader::stop()
{
    ++starts;
    pipe.stop();
    unread.clear();
    read.clear();
    size = 0;
}

void ContentsReader::readNext()
{
    if (unread.isEmpty()) {
        finish(true);
        return;
    }
    const QByteArray type = unread.first();
    read.insert(type, {});
    ask(type, [this, number = starts](Descriptor end) {
        if (number == starts && !pipe.start(std::move(end))) {
            finish(false);
        }
    });
}

void ContentsReader::take(QByteArrayView bytes)
{
    size += bytes.size();
    if (size > maximumClipboardText) {
        finish(false);
    } else {
        read[unread.first()].append(bytes);
    }
}

/// A plain text comes back under all of its types.
void ContentsReader::finish(bool isWhole)
{
    Contents contents = std::exchange(read, {});
    stop();
    if (const auto text = textTypeOf(contents.keys())) {
        const QByteArray bytes = contents.value(*text);
        for (const QByteArray &type : contentsOf(QString()).keys()) {
            contents.insert(type, bytes);
        }
    }
    emit finished(isWhole ? std::optional(std::move(contents)) : std::nullopt);
}

} // namespace platform
