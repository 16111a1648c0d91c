// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/process/ChildProcess.h"

#include <QString>
#include <QStringList>

#include <functional>

/// A host on a network of its own: what a process of it sees of the network, of the host's name and
/// of /run is the host's and not the machine's.
class NetworkHost
{
public:
    NetworkHost(QString name, QString address);

    /// The name that it began with, and its IPv4 address.
    QString name() const { return firstName; }
    QString address() const { return ipAddress; }

    /// Starts the process that keeps the host, inside of another host where given, since only hosts
    /// of one user can be joined. False when this machine allows no namespaces.
    bool start(const NetworkHost *inside = nullptr);

    /// What makes a process one of this host (see ChildProcess::setLastPreparation); it begins in
    /// the root folder. The program does not start where that fails, so nothing meant for the host
    /// reaches the real network.
    std::function<void()> entry() const;

    /// Runs a program of this host to its end; false when it is missing or failed.
    bool run(const QString &program, const QStringList &arguments) const;

    bool joinTo(const NetworkHost &other) const;
    /// Gives the host another name, one that is refused elsewhere too; at most 64 bytes.
    bool setName(const QString &name) const;

private:
    bool bringUp() const;

    QString firstName;
    QString ipAddress;
    ChildProcess keeperProcess;
};

/// Two hosts joined by a cable that leads nowhere else. Neither needs to be made by root, and both
/// are gone with their last process, however the test ends.
class NetworkNamespaces
{
public:
    NetworkNamespaces();

    /// Why they cannot be used; empty when they can.
    QByteArray problem() const { return failure; }

    const NetworkHost &server() const { return serverHost; }
    const NetworkHost &handheld() const { return handheldHost; }

    /// The one network device that each host has besides its loopback.
    static QString device();

private:
    NetworkHost serverHost;
    NetworkHost handheldHost;
    QByteArray failure;
};
