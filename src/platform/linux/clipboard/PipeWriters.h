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

    /// Called once, when the pipe is closed: whether all was written, which its reader may still be
    /// reading then. Do not write from it.
    using Done = std::function<void(bool isWhole)>;

    /// Begins to write all of it. If its reader does not read for some seconds, the pipe is closed,
    /// and so is the oldest one if there are too many. What is no pipe is closed at once.
    void write(const Descriptor &target, const QByteArray &bytes, Done done = {});

private:
    class Writer;

    QObject writers; // The parent of those that have not ended.
};

} // namespace platform
