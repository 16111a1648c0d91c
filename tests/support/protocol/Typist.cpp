// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Typist.h"

#include "support/protocol/Handheld.h"

using namespace std::chrono_literals;

Typist::Typist(quint16 port, const QByteArray &token)
    : worker([this, port, token] { run(port, token); })
{
}

void Typist::stop()
{
    isOver = true;
    if (worker.joinable()) {
        worker.join();
    }
}

void Typist::run(quint16 port, const QByteArray &token)
{
    Handheld handheld(port);
    while (!isOver && handheld.send(token)) {
        std::this_thread::sleep_for(100us);
    }
}
