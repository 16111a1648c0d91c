// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Asker.h"

#include "support/protocol/Handheld.h"

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

Asker::Asker(quint16 port, milliseconds pace) : worker([this, port, pace] { run(port, pace); }) {}

const Sample &Asker::stop()
{
    isOver = true;
    if (worker.joinable()) {
        worker.join();
    }
    return times;
}

void Asker::run(quint16 port, milliseconds pace)
{
    Handheld handheld(port);
    const QByteArray question = serverInfo();
    while (!isOver) {
        const auto start = steady_clock::now();
        if (!handheld.ask(question)) {
            isAnswered = false;
            return;
        }
        times.add(duration<double, std::milli>(steady_clock::now() - start).count());
        ++answerCount;
        std::this_thread::sleep_until(start + pace);
    }
}
