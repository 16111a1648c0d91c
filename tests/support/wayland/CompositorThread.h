// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/wayland/StandInCompositor.h"

#include <QEventLoop>
#include <QSemaphore>
#include <QThread>

#include <memory>

/// A StandInCompositor that answers even while this thread waits for it.
class CompositorThread
{
public:
    explicit CompositorThread(StandInCompositor::Offer offer)
    {
        thread.reset(QThread::create([this, offer] {
            const StandInCompositor compositor(offer);
            isRunning = compositor.isRunning();
            ready.release();
            QEventLoop().exec();
        }));
        thread->start();
        ready.acquire();
    }
    ~CompositorThread()
    {
        thread->quit();
        thread->wait();
    }
    CompositorThread(const CompositorThread &) = delete;
    CompositorThread &operator=(const CompositorThread &) = delete;

    bool isRunning = false;

private:
    QSemaphore ready;
    std::unique_ptr<QThread> thread;
};
