// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/TerminationSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr std::array handledSignals = {SIGTERM, SIGINT, SIGHUP};

/// Written to by the signal handler, in which little else is allowed.
std::atomic<int> wakeUpDescriptor = -1;

void wakeUp(int)
{
    const int savedError = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUpDescriptor, &byte, 1);
    errno = savedError;
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

} // namespace

struct TerminationSignals::Private
{
    std::array<int, 2> pipe = {-1, -1};
    std::unique_ptr<QSocketNotifier> notifier;
};

TerminationSignals::TerminationSignals() : d(std::make_unique<Private>())
{
    if (pipe(d->pipe.data()) != 0) {
        return;
    }
    for (const int end : d->pipe) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    d->notifier = std::make_unique<QSocketNotifier>(d->pipe[0], QSocketNotifier::Read);
    // exit() and not quit(): a window that wants to stay open has no say.
    QObject::connect(d->notifier.get(), &QSocketNotifier::activated,
                     [] { QCoreApplication::exit(0); });
    wakeUpDescriptor = d->pipe[1];
    for (const int signal : handledSignals) {
        handle(signal, wakeUp);
    }
}

TerminationSignals::~TerminationSignals()
{
    for (const int signal : handledSignals) {
        handle(signal, SIG_DFL);
    }
    d->notifier.reset();
    for (const int end : d->pipe) {
        close(end);
    }
}

} // namespace platform
