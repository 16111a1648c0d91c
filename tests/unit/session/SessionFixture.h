// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "doubles/RecordingClipboard.h"
#include "doubles/RecordingDesktopInput.h"
#include "doubles/RecordingScreens.h"
#include "session/SessionDoor.h"
#include "session/SessionServices.h"
#include "support/MessageRecorder.h"
#include "support/protocol/SessionClient.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

/// The socket of sessions over doubles, in a directory of its own, afresh for each function.
class SessionFixture : public QObject
{
    Q_OBJECT

protected:
    QString path() const { return runtime.path() + u"/vornaserver/_7.socket"_s; }

    /// Opens the door again, with what has been changed in these services.
    void restart()
    {
        door = std::make_unique<SessionDoor>(services);
        door->open(runtime.path());
    }

    /// The error of the answer to these fields.
    static QString errorOf(SessionClient &client, const QString &request,
                           const QByteArray &fields = "{}")
    {
        const SessionMessage answer = client.ask(request, QJsonDocument::fromJson(fields).object());
        return answer.isOk() ? u"ok"_s : answer.error();
    }

    QTemporaryDir runtime;
    QTemporaryDir downloads;
    DesktopInputRecord record;
    RecordingDesktopInput input{record};
    RecordingClipboard clipboard;
    RecordingScreens screens;
    QStringList log; ///< What the server was asked for.
    SessionReply openingReply;
    bool isListening = true;
    bool accepts = true;
    bool decidesLater = false;
    std::vector<std::function<void(bool)>> undecided;
    bool hasDescriptors = true;
    SessionServices services{
        input,
        clipboard,
        screens,
        [] { return u"den"_s; },
        [] { return quint16(49'152); },
        [this] { return isListening; },
        [this](const std::optional<QString> &address) {
            log.append(u"listen "_s + address.value_or(u"-"_s));
            return SessionReply::done({{u"address"_s, u"127.0.0.1"_s}});
        },
        [this](const QString &address) {
            log.append(u"open "_s + address);
            return openingReply;
        },
        [] {
            return QStringList{u"Player"_s, u"Editor"_s};
        },
        [this](const QString &name) {
            log.append(u"start "_s + name);
            return SessionReply::done();
        },
        [this](const QString &device, const QString &name,
               const std::function<void(bool)> &decided) {
            log.append(u"decide "_s + device + u" "_s + name);
            if (decidesLater) {
                undecided.push_back(decided);
            } else {
                decided(accepts);
            }
        },
        [this](const QString &name) { log.append(u"connected "_s + name); },
        [this](const QString &name) { log.append(u"disconnected "_s + name); },
        [this] { return downloads.path(); },
        [this](const QUrl &file) {
            log.append(u"open "_s + file.toString());
            return true;
        },
        [this] { return hasDescriptors ? std::make_shared<int>(0) : nullptr; },
        [this] { return hasDescriptors ? std::make_shared<int>(0) : nullptr; },
    };
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<SessionDoor> door;

private slots:
    void init()
    {
        qputenv("DISPLAY", ":7.0");
        messages = std::make_unique<MessageRecorder>();
        record = {};
        log.clear();
        QDir(downloads.path()).removeRecursively();
        QDir().mkpath(downloads.path());
        openingReply = {};
        isListening = true;
        accepts = true;
        decidesLater = false;
        undecided.clear();
        hasDescriptors = true;
        clipboard = RecordingClipboard();
        screens.screens = {{u"left"_s, QRect(0, 0, 101, 101), 1},
                           {u"right"_s, QRect(101, 0, 201, 51), 1}};
        services.holdingTime = std::chrono::seconds(10);
        restart();
    }

    void cleanup()
    {
        door.reset();
        messages.reset();
    }
};
