// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <QByteArrayView>
#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace platform {

/// Reads what another program writes into a pipe, step by step from the event loop.
class PipeBytes : public QObject
{
    Q_OBJECT

public:
    /// Opens another pipe, whatever becomes of the one before, and returns its end for the writer,
    /// which waits when the pipe is full. Not open if there is no descriptor left.
    Descriptor start();
    /// The same with the end of a pipe, or a socket, that another program has made for us. False if
    /// it is something else: reading that might wait.
    bool start(Descriptor end);
    /// Closes the pipe without a report.
    void stop();

signals:
    // From the event loop.
    void arrived(QByteArrayView bytes);
    /// All its writers have closed the pipe; or, not whole, it cannot be read, or there is more
    /// than maximumClipboardText. The pipe is closed.
    void ended(bool isWhole);

private:
    void read();
    void finish(bool isWhole);

    Descriptor pipe{-1};
    std::unique_ptr<QSocketNotifier> readable;
    qsizetype received = 0;
};

} // namespace platform
