// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QStringDecoder>

#include <memory>
#include <optional>

namespace platform {

/// Reads the text (UTF-8) that another program writes into a pipe, step by step from the event
/// loop.
class PipeReader : public QObject
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
    /// The text, once all its writers have closed the pipe; none if it is longer than
    /// maximumClipboardText. From the event loop. The pipe is closed.
    void finished(const std::optional<QString> &text);

private:
    void read();
    void finish(std::optional<QString> text);

    Descriptor pipe{-1};
    std::unique_ptr<QSocketNotifier> readable;
    qsizetype receivedBytes = 0;
    QStringDecoder decoder;
    QString received;
};

} // namespace platform
