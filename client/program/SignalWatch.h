// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace quillmote {

/// While it lives, SIGINT, SIGTERM and SIGHUP end nothing: the event loop is told instead, so that
/// the program can say what it leaves behind. At most one may exist.
class SignalWatch
{
public:
    /// The callback gets the number of each signal, from the event loop. Without one the signals
    /// are only remembered.
    explicit SignalWatch(std::function<void(int)> whenCaught = {});
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    /// The first one so far; 0 for none.
    int caught() const { return first; }

    /// Ends the process as the signal does where nobody catches it. A shell sees 128 + the number,
    /// and ends its loops.
    [[noreturn]] static void dieOf(int signal);

private:
    void take();

    std::function<void(int)> callback;
    std::unique_ptr<QSocketNotifier> notifier;
    int first = 0;
};

} // namespace quillmote
