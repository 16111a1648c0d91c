// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace quillmote {

/// While it lives, SIGINT, SIGTERM and SIGHUP do not end the program but are delivered by the event
/// loop, so that the program can report what it leaves behind. At most one may exist.
class SignalWatch
{
public:
    /// The callback gets the number of each signal, from the event loop. Without a callback the
    /// signals are only remembered.
    explicit SignalWatch(std::function<void(int)> whenCaught = {});
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    /// The first signal so far; 0 if there is none.
    int caught() const { return first; }

    /// Ends the process by the signal, as if it were not caught. A shell sees the status 128 + the
    /// number, and ends its loops.
    [[noreturn]] static void dieOf(int signal);

private:
    void take();

    std::function<void(int)> callback;
    std::unique_ptr<QSocketNotifier> notifier;
    int first = 0;
};

} // namespace quillmote
