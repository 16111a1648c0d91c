// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/ChildProcess.h"

#include <sys/prctl.h>

#include <csignal>

namespace {
constexpr int PatienceMilliseconds = 10'000;
}

ChildProcess::ChildProcess()
{
    setLastPreparation([] {});
}

ChildProcess::~ChildProcess()
{
    if (state() == NotRunning) {
        return;
    }
    terminate();
    if (waitForFinished(PatienceMilliseconds)) {
        return;
    }
    kill();
    waitForFinished(PatienceMilliseconds);
}

void ChildProcess::setLastPreparation(std::function<void()> preparation)
{
    setChildProcessModifier([preparation = std::move(preparation)] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        preparation();
    });
}
