// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

/// Something of the host that tells one listener about its changes, for all sessions: the host is
/// asked to tell while at least one of them listens.
class SharedWatch : public QObject
{
    Q_OBJECT

public:
    /// How the host is asked to call from now on; by an empty function, to end that.
    using Host = std::function<void(std::function<void()> changed)>;

    /// One listener, until its destruction. May outlive the watch.
    class Listener
    {
    public:
        Listener(SharedWatch &shared, std::function<void()> changed);
        ~Listener();
        Listener(const Listener &) = delete;
        Listener &operator=(const Listener &) = delete;

    private:
        QPointer<SharedWatch> watch;
        QObject receiver; // Its destruction ends the connection.
    };

    explicit SharedWatch(Host watched);

signals:
    void changed();

private:
    void add();
    void remove();

    Host host;
    int listeners = 0;
};
