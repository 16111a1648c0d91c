// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <QByteArray>
#include <QObject>

#include <functional>

namespace platform {

/// Writes texts into the pipes of programs that want them, piece by piece from the event loop, into
/// a few pipes at once.
class PipeWriters
{
public:
    PipeWriters();

    /// Begins to write all of it. If its reader does not read for some seconds, the pipe is closed,
    /// and so is the oldest one if there are too many. What is no pipe is closed at once. Calls
    /// `written` from the event loop when all of it is in the pipe.
    void write(
        const Descriptor &target, const QByteArray &bytes, std::function<void()> written = [] {});

private:
    class Writer;

    QObject writers; // The parent of those that have not ended.
};

} // namespace platform
