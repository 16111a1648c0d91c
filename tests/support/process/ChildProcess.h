// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>

#include <functional>

/// A process that ends with its owner: asked to end when the owner is destroyed, killed when it
/// does not, and killed by the kernel when the test itself dies.
class ChildProcess : public QProcess
{
public:
    ChildProcess();
    ~ChildProcess() override;

    /// What the child does last before the program runs; only system calls are safe in it.
    void setLastPreparation(std::function<void()> preparation);
};
