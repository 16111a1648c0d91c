// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SignalWatch.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace quillmote {
namespace {

constexpr std::array watchedSignals = {SIGINT, SIGTERM, SIGHUP};

/// A pipe from the handler to the event loop: its end for reading, and its end for writing.
std::array<int, 2> channel = {-1, -1};

/// Makes only calls that are allowed in a signal handler.
void forward(int signal)
{
    const int savedError = errno;
    const auto byte = static_cast<char>(signal);
    [[maybe_unused]] const ssize_t written = write(channel[1], &byte, 1);
    errno = savedError;
}

/// A signal that is ignored from the start stays ignored, as nohup requires.
void setHandler(int signal, void (*handler)(int))
{
    struct sigaction current = {};
    sigaction(signal, nullptr, &current);
    if (current.sa_handler != SIG_IGN) {
        struct sigaction wanted = {};
        wanted.sa_handler = handler;
        wanted.sa_flags = SA_RESTART;
        sigaction(signal, &wanted, nullptr);
    }
}

} // namespace

SignalWatch::SignalWatch(std::function<void(int)> whenCaught) : callback(std::move(whenCaught))
{
    if (pipe(channel.data()) != 0) {
        return; // without free descriptors the signals end the program as usual
    }
    for (const int end : channel) {
        fcntl(end, F_SETFL, O_NONBLOCK);
        fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    notifier = std::make_unique<QSocketNotifier>(channel[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this] { take(); });
    for (const int signal : watchedSignals) {
        setHandler(signal, forward);
    }
}

SignalWatch::~SignalWatch()
{
    if (!notifier) {
        return;
    }
    for (const int signal : watchedSignals) {
        setHandler(signal, SIG_DFL);
    }
    notifier.reset();
    for (int &end : channel) {
        close(end);
        end = -1;
    }
}

void SignalWatch::take()
{
    char byte = 0;
    while (read(channel[0], &byte, 1) == 1) {
        first = first == 0 ? byte : first;
        if (callback) {
            callback(byte);
        }
    }
}

void SignalWatch::dieOf(int signal)
{
    std::signal(signal, SIG_DFL);
    raise(signal);
    // Reached only if the signal is blocked.
    std::_Exit(128 + signal);
}

} // namespace quillmote
