// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionRequest.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace platform {
class Clipboard;
class DesktopInput;
class Screens;
} // namespace platform

/// What the sessions need from the server and its host. Everything must outlive them.
struct SessionServices
{
    platform::DesktopInput &input;
    platform::Clipboard &clipboard;
    platform::Screens &screens;

    /// The name by which the network finds the server, and its port.
    std::function<QString()> serverName;
    std::function<quint16()> serverPort;
    /// Whether it listens for the network. Otherwise sessions are served nothing but what can mend
    /// it.
    std::function<bool()> isListening;
    /// Makes it listen at another address, if one is given, and says where it listens.
    std::function<SessionReply(const std::optional<QString> &address)> listen;

    /// Opens an address with the desktop's program.
    std::function<SessionReply(const QString &address)> open;
    /// The names of the applications, and starting one of them.
    std::function<QStringList()> applications;
    std::function<SessionReply(const QString &name)> startApplication;

    /// Calls `decided` once, from the event loop: whether the device may use this computer.
    std::function<void(const QString &device, const QString &name,
                       const std::function<void(bool)> &decided)>
        decidePairing;
    /// A session counts as a connected device from now on, or no longer. The names are for people.
    std::function<void(const QString &name)> deviceConnected;
    std::function<void(const QString &name)> deviceDisconnected;

    /// The directory of the files, as the preferences show it.
    std::function<QString()> fileDirectory;
    /// Opens a file with the desktop's program; whether that could be done.
    std::function<bool(const QUrl &)> openFile;

    /// Permission to have one more descriptor open, for as long as it is held; null if there is
    /// none left for a connection, or for a file.
    std::function<std::shared_ptr<void>()> connectionDescriptor;
    std::function<std::shared_ptr<void>()> fileDescriptor;

    /// After that time without a line, what a session holds is released.
    std::chrono::milliseconds holdingTime = std::chrono::seconds(10);
};
