// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionRequest.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

struct SessionCommons;
struct SessionServices;

/// What the requests of one session do, one class for each subject. What they hold, watch and
/// transfer ends with this object.
class SessionRequests : public QObject
{
public:
    using Event = std::function<void(const QJsonObject &)>;

    /// \param peerProgram the name of the session's program for people, or empty
    /// \param event sends an event to the session
    SessionRequests(SessionCommons &commons, const QString &peerProgram, Event event);
    ~SessionRequests() override;

    /// The answer does not come if this object is destroyed first.
    void serve(const SessionRequest &request, const SessionAnswer &answer);
    /// Whether serve() wants all of the body.
    static bool needsWholeBody(const SessionRequest &request);
    /// Takes what has come of the body of a request before serve() gets the rest of it.
    void takePart(const SessionRequest &request, const QByteArray &bytes);

    /// Whether keys or buttons are held for the session, and their release.
    bool isHolding() const;
    void releaseHeld();

    /// The session's first message.
    QJsonObject greeting() const;

private:
    struct Command;
    struct Parts;

    static const Command *commandOf(const QString &name);
    void key(const SessionRequest &request, const SessionAnswer &answer);
    void text(const SessionRequest &request, const SessionAnswer &answer);
    void move(const SessionRequest &request, const SessionAnswer &answer);
    void moveTo(const SessionRequest &request, const SessionAnswer &answer);
    void button(const SessionRequest &request, const SessionAnswer &answer);
    void scroll(const SessionRequest &request, const SessionAnswer &answer);
    void setClipboard(const SessionRequest &request, const SessionAnswer &answer);
    void getClipboard(const SessionRequest &request, const SessionAnswer &answer);
    void watchClipboard(const SessionRequest &request, const SessionAnswer &answer);
    void open(const SessionRequest &request, const SessionAnswer &answer);
    void applications(const SessionRequest &request, const SessionAnswer &answer);
    void putFile(const SessionRequest &request, const SessionAnswer &answer);
    void cancelFile(const SessionRequest &request, const SessionAnswer &answer);
    void listFiles(const SessionRequest &request, const SessionAnswer &answer);
    void getFile(const SessionRequest &request, const SessionAnswer &answer);
    void listScreens(const SessionRequest &request, const SessionAnswer &answer);
    void watchScreens(const SessionRequest &request, const SessionAnswer &answer);
    void pair(const SessionRequest &request, const SessionAnswer &answer);
    void listen(const SessionRequest &request, const SessionAnswer &answer);
    void ping(const SessionRequest &request, const SessionAnswer &answer);

    void paired(bool isAccepted, const QString &name, const SessionAnswer &answer);
    void begin();
    void becomeConnected();

    SessionCommons &commons;
    const SessionServices &services;
    Event sendEvent;
    QString deviceName;
    bool isConnected = false; // counts as a connected device
    bool isRefused = false;
    bool isForDevice = false; // of another person
    std::unique_ptr<Parts> parts;
};
