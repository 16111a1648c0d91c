// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/PipeWriters.h"

#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
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
    Writer(Descriptor target, QByteArray bytes, Done toCall, QObject *parent)
        : QObject(parent)
        , pipe(std::move(target))
        , unwritten(std::move(bytes))
        , done(std::move(toCall))
        , writable(pipe.get(), QSocketNotifier::Write)
    {
        patience.setSingleShot(true);
        patience.setInterval(readerPatience);
        patience.start();
        connect(&patience, &QTimer::timeout, this, [this] { end(); });
        connect(&writable, &QSocketNotifier::activated, this, [this] { write(); });
    }

    /// Reports the end, once.
    void report()
    {
        if (const Done toCall = std::exchange(done, {})) {
            toCall(offset == unwritten.size());
        }
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
        if (isBroken || offset == unwritten.size()) {
            end();
        }
    }

    void end()
    {
        writable.setEnabled(false);
        pipe = Descriptor(-1);
        deleteLater();
        report();
    }

    Descriptor pipe;
    QByteArray unwritten;
    qsizetype offset = 0;
    Done done;
    QSocketNotifier writable;
    QTimer patience;
};

/// A reader that goes away must not end the program. The toolkit does the same for its sockets.
PipeWriters::PipeWriters()
{
    std::signal(SIGPIPE, SIG_IGN);
}

void PipeWriters::write(const Descriptor &target, const QByteArray &bytes, Done done)
{
    Descriptor pipe = withoutWaiting(target);
    if (!pipe.isOpen()) {
        if (done) {
            done(false);
        }
        return;
    }
    if (writers.children().size() >= mostWriters) {
        const std::unique_ptr<Writer> oldest(
            static_cast<Writer *>(writers.children().constFirst()));
        oldest->report();
    }
    new Writer(std::move(pipe), bytes, std::move(done), &writers);
}

} // namespace platform
