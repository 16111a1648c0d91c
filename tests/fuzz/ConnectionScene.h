// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "doubles/RecordingHost.h"
#include "fuzz/ConnectionModel.h"
#include "fuzz/DownloadScene.h"
#include "support/MessageRecorder.h"

#include <QGuiApplication>
#include <QPointer>
#include <QStringList>

#include <chrono>
#include <memory>

class ClientHandler;
class MemorySocket;
class Server;

/// What all sessions share; destroyed in the reverse order at the end of the process.
struct World
{
    World(int &argumentCount, char **arguments);
    ~World();
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    QGuiApplication application;
    RecordingHost host;
    DownloadScene scene;
    /// What the opener's clock shows.
    std::chrono::steady_clock::time_point time{};
    /// Lives on from one session to the next, until it knows many devices: its destruction writes
    /// the settings, which takes longer than a session. Which devices it knows makes no difference,
    /// since all are accepted.
    std::unique_ptr<Server> server;
    int knownDevices = 0;
};

/// Handhelds and the server's commands, one connection at a time over a socket in memory, beside
/// the model of it all. After each step both must have done the same.
class ConnectionScene
{
public:
    explicit ConnectionScene(World &sharedWorld);
    ~ConnectionScene();
    ConnectionScene(const ConnectionScene &) = delete;
    ConnectionScene &operator=(const ConnectionScene &) = delete;

    /// Bytes that arrive at once.
    void receive(const QByteArray &bytes);
    /// The handheld leaves, and another one comes.
    void replaceHandheld();
    /// Makes the handheld seem not to read: this many bytes of answers wait.
    void setUnsent(qint64 bytes);
    /// From now on clipboard requests wait until answerWaiting().
    void makeClipboardSlow();
    void answerWaiting();
    void removeDirectories();

    bool isReceivingFile() const { return model.isReceivingFile(); }
    bool hasTouchedFiles() const { return model.hasTouchedFiles() || hasRemovedDirectories; }

private:
    void startServer();
    void begin();
    void leave();
    void deliver(const QByteArray &bytes);
    void compare();
    void compareDeeds();
    void compareConnection();

    World &world;
    MessageRecorder messages;
    ConnectionModel model;
    QPointer<MemorySocket> socket;
    QPointer<ClientHandler> handler;
    int announced = 0;
    QStringList shown;
    bool hasRemovedDirectories = false;
};
