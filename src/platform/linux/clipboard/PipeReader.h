// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/PipeBytes.h"

#include <QObject>
#include <QString>
#include <QStringDecoder>

#include <optional>

namespace platform {

/// Reads the text (UTF-8) that another program writes into a pipe, step by step from the event
/// loop.
class PipeReader : public QObject
{
    Q_OBJECT

public:
    PipeReader();

    /// As PipeBytes::start().
    bool start(Descriptor end);
    /// Closes the pipe without a report.
    void stop();

signals:
    /// The text, once all its writers have closed the pipe; none if it is longer than
    /// maximumClipboardText. From the event loop. The pipe is closed.
    void finished(const std::optional<QString> &text);

private:
    PipeBytes pipe;
    QStringDecoder decoder;
    QString received;
};

} // namespace platform
