// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/PipeBytes.h"

#include "platform/Clipboard.h"

#include <QByteArray>

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace platform {

namespace {

/// How many bytes are read before other parts of the program have their turn: what a pipe holds.
constexpr qsizetype readSize = 64 * 1024;

bool isStream(const Descriptor &end)
{
    struct stat status = {};
    return fstat(end.get(), &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

} // namespace

PipeEnds openPipe()
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

/// Only our end never waits: many programs do not expect that of the end that they write to.
bool PipeBytes::start(Descriptor end)
{
    stop();
    if (!isStream(end)) {
        return false;
    }
    pipe = std::move(end);
    fcntl(pipe.get(), F_SETFL, O_NONBLOCK);
    readable = std::make_unique<QSocketNotifier>(pipe.get(), QSocketNotifier::Read);
    connect(readable.get(), &QSocketNotifier::activated, this, &PipeBytes::read);
    return true;
}

/// May be called by the notifier, which must live until it has returned.
void PipeBytes::stop()
{
    if (readable) {
        readable->setEnabled(false);
        readable.release()->deleteLater();
    }
    pipe = Descriptor(-1);
    received = 0;
}

void PipeBytes::read()
{
    QByteArray bytes(readSize, Qt::Uninitialized);
    const ssize_t count = ::read(pipe.get(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (count < 0) {
        if (errno != EAGAIN && errno != EINTR) {
            finish(false);
        }
        return;
    }
    received += count;
    if (received > maximumClipboardText) {
        finish(false);
    } else if (count == 0) {
        finish(true);
    } else {
        emit arrived(QByteArrayView(bytes.constData(), count));
    }
}

void PipeBytes::finish(bool isWhole)
{
    stop();
    emit ended(isWhole);
}

} // namespace platform
