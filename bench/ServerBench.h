// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/protocol/Handheld.h"
#include "support/session/DesktopSession.h"
#include "support/session/ServerProcess.h"

#include <QCoreApplication>
#include <QSettings>

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

using namespace Qt::StringLiterals;

/// A desktop with the server in it, for programs that measure. If anything is missing, it ends the
/// program.
class ServerBench
{
public:
    /// Runs the measurement, and reports what was missing, if anything was.
    /// \return the program's exit status.
    template <typename Measurement> static int run(Measurement measurement)
    {
        try {
            measurement();
            return 0;
        } catch (const std::runtime_error &error) {
            std::fprintf(stderr, "%s\n", error.what());
            return 1;
        }
    }

    static void require(bool isTrue, const QByteArray &what)
    {
        if (!isTrue) {
            throw std::runtime_error("failed: " + what.toStdString());
        }
    }

    /// Received files go to that folder.
    explicit ServerBench(const QString &downloadFolder)
    {
        require(desktop.problem().isEmpty(), desktop.problem());
        QSettings(desktop.settingsFile(), QSettings::IniFormat)
            .setValue(u"downloadDirectory"_s, downloadFolder);
    }

    /// Must be called before anything below; prepare the session first.
    void start(std::function<void()> lastPreparation = [] {})
    {
        server = std::make_unique<ServerProcess>(desktop, std::move(lastPreparation));
        serverPort = server->port();
        require(serverPort != 0, "start of the server: " + server->errorText());
    }

    const DesktopSession &session() const { return desktop; }
    quint16 port() const { return serverPort; }
    int openDescriptors() const { return server->openDescriptors(); }
    qint64 processId() const { return server->processId(); }
    /// Ends the server in order; returns its exit status, or nothing if it crashed or hung.
    std::optional<int> end() { return server->end(); }

private:
    DesktopSession desktop;
    std::unique_ptr<ServerProcess> server;
    quint16 serverPort = 0;
};
