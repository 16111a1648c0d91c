// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/PipeWriters.h"

#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

using namespace std::chrono_literals;

namespace platform {

namespace {

constexpr qsizetype mostWriters = 8;

/// How long a reader may leave its pipe full.
constexpr auto readerPatience = 5s;

/// How many bytes are written before other parts of the program have their turn.
constexpr qsizetype writeSize = 256 * 1024;

/// The same pipe, opened anew: whether writing waits would be shared with everybody who has the
/// descriptor, and they could change it at any time. Not open if it is no pipe.
Descriptor withoutWaiting(const Descriptor &shared)
{
    struct stat status = {};
    if (fstat(shared.get(), &status) != 0 || !S_ISFIFO(status.st_mode)) {
        return Descriptor(-1);
    }
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(shared.get());
    return Descriptor(open(path.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
}

} // namespace

/// Ends itself.
class PipeWriters::Writer : public QObject
{
public:
    Writer(Descriptor target, QByteArray bytes, std::function<void()> callAtEnd, QObject *parent)
        : QObject(parent)
        , pipe(std::move(target))
        , unwritten(std::move(bytes))
        , written(std::move(callAtEnd))
        , writable(pipe.get(), QSocketNotifier::Write)
    {
        patience.setSingleShot(true);
        patience.setInterval(readerPatience);
        patience.start();
        connect(&patience, &QTimer::timeout, this, [this] { end(); });
        connect(&writable, &QSocketNotifier::activated, this, [this] { write(); });
    }

private:
    void write()
    {
        const auto size = static_cast<std::size_t>(std::min(unwritten.size() - offset, writeSize));
        const ssize_t count = ::write(pipe.get(), unwritten.constData() + offset, size);
        if (count > 0) {
            offset += count;
            patience.start();
        }
        const bool isBroken = count < 0 && errno != EAGAIN && errno != EINTR;
        const bool isWritten = !isBroken && offset == unwritten.size();
        if (isBroken || isWritten) {
            end();
        }
        if (isWritten) {
            written();
        }
    }

    void end()
    {
        writable.setEnabled(false);
        pipe = Descriptor(-1);
        deleteLater();
    }

    Descriptor pipe;
    QByteArray unwritten;
    std::function<void()> written;
    qsizetype offset = 0;
    QSocketNotifier writable;
    QTimer patience;
};

/// A reader that goes away must not end the program. The toolkit does the same for its sockets.
PipeWriters::PipeWriters()
{
    std::signal(SIGPIPE, SIG_IGN);
}

void PipeWriters::write(const Descriptor &target, const QByteArray &bytes,
                        std::function<void()> written)
{
    Descriptor pipe = withoutWaiting(target);
    if (!pipe.isOpen()) {
        return;
    }
    if (writers.children().size() >= mostWriters) {
        delete writers.children().constFirst();
    }
    new Writer(std::move(pipe), bytes, std::move(written), &writers);
}

} // namespace platform
