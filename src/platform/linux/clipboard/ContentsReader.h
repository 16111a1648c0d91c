// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/Contents.h"
#include "platform/linux/clipboard/PipeBytes.h"

#include <QObject>

#include <functional>
#include <optional>

namespace platform {

/// Reads the contents of a selection in all its types, one after the other, so that they can be put
/// back later.
class ContentsReader : public QObject
{
    Q_OBJECT

public:
    /// Has the owner write that type into a pipe, as Selections::receive().
    using Ask = std::function<void(const QByteArray &type, const PipeReceiver &receiver)>;

    ContentsReader();

    /// Begins with contents that have these types, whatever becomes of those before.
    void start(const QByteArrayList &types, Ask askOwner);
    /// Ends without a report.
    void stop();

signals:
    /// What puts the contents back; none if not all of it can be read, or if it is longer than
    /// maximumClipboardText. From the event loop.
    void finished(const std::optional<platform::Contents> &contents);

private:
    void readNext();
    void take(QByteArrayView bytes);
    void finish(bool isWhole);

    PipeBytes pipe;
    Ask ask;
    QByteArrayList unread; // The first one is being read.
    Contents read;
    qsizetype size = 0;
    unsigned starts = 0; // Also numbers them.
};

} // namespace platform
