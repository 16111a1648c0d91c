// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <QByteArrayView>
#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace platform {

struct PipeEnds
{
    Descriptor reading{-1};
    Descriptor writing{-1};
};
/// Not open if there is no descriptor left. Whoever writes waits when the pipe is full.
PipeEnds openPipe();

/// Gets the end of a pipe from which it can be read.
using PipeReceiver = std::function<void(Descriptor end)>;

/// Reads what another program writes into a pipe, step by step from the event loop.
class PipeBytes : public QObject
{
    Q_OBJECT

public:
    /// Begins with the end of another pipe, or of a socket, whatever becomes of the one before.
    /// False if it is something else, or not open: reading that might wait.
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
