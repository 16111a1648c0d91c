// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/TerminationSignals.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr std::array handledSignals = {SIGTERM, SIGINT, SIGHUP};

// Used by the signal handlers, in which little is allowed.
std::atomic<int> wakeUpDescriptor = -1;
volatile std::sig_atomic_t signalHasCome = 0;

void leave(int)
{
    _exit(EXIT_SUCCESS);
}

void wakeUp(int)
{
    const int savedError = errno;
    signalHasCome = 1;
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

void handleAll(void (*handler)(int))
{
    for (const int signal : handledSignals) {
        handle(signal, handler);
    }
}

void letThrough()
{
    sigset_t signalSet;
    sigemptyset(&signalSet);
    for (const int signal : handledSignals) {
        sigaddset(&signalSet, signal);
    }
    sigprocmask(SIG_UNBLOCK, &signalSet, nullptr);
}

} // namespace

struct TerminationSignals::Private
{
    std::array<int, 2> pipe = {-1, -1};
    QPointer<QSocketNotifier> notifier; // Owned by the application; may be destroyed first.
};

TerminationSignals::TerminationSignals() : d(std::make_unique<Private>())
{
    handleAll(leave);
    letThrough();
}

TerminationSignals::~TerminationSignals()
{
    handleAll(SIG_DFL);
    delete d->notifier;
    for (const int end : d->pipe) {
        close(end);
    }
}

void TerminationSignals::endEventLoops()
{
    if (pipe(d->pipe.data()) != 0) {
        return;
    }
    for (const int end : d->pipe) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    d->notifier =
        new QSocketNotifier(d->pipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    // exit() and not quit(), which a window may refuse. Nobody reads the byte, so this is called
    // again in every loop that is entered later, for which the call of exit() does not count.
    QObject::connect(d->notifier, &QSocketNotifier::activated, [] { QCoreApplication::exit(0); });
    wakeUpDescriptor = d->pipe[1];
    signalHasCome = 0;
    handleAll(wakeUp);
}

bool TerminationSignals::haveCome() const
{
    return signalHasCome != 0;
}

} // namespace platform
