// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Folder.h"
#include "session/SessionRequest.h"
#include "session/SharedAmount.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>
#include <map>
#include <memory>
#include <vector>

class Turns;

/// What the files of the sessions need from the server.
struct FileServices
{
    /// The directory that the preferences show.
    std::function<QString()> directory;
    /// Permission to have one more descriptor open, for as long as it is held; null if there is
    /// none left.
    std::function<std::shared_ptr<void>()> descriptor;
    /// Opens the file with the desktop's program; whether that could be done.
    std::function<bool(const QUrl &)> open;
    /// The transfers of all sessions that have begun.
    SharedAmount &transfers;
};

/// The requests of one session about files in the download directory. Its transfers end with it.
///
/// An answer that is still to come when this object is destroyed does not come.
class SessionFiles : public QObject
{
public:
    static constexpr qint64 transfersOfAllSessions = 64;
    static constexpr int longestList = 1000;
    static constexpr qint64 longestPiece = 1024 * 1024;

    explicit SessionFiles(FileServices services);
    ~SessionFiles() override;

    void put(const SessionRequest &request, const SessionAnswer &answer);
    /// What has come of the body of a put before the rest of it.
    void takePart(const SessionRequest &request, const QByteArray &bytes);
    void list(const SessionRequest &request, const SessionAnswer &answer);
    void get(const SessionRequest &request, const SessionAnswer &answer);
    void cancel(const SessionRequest &request, const SessionAnswer &answer);

    /// Removes what killed servers have left in the directory, in turns that end with the worker.
    /// To be called at the start.
    static void removeAbandonedDrafts(const QString &directory, Turns &turns, QObject *worker);

private:
    struct Transfer;
    struct Listing;
    using Transfers = std::map<qint64, std::unique_ptr<Transfer>>;

    SessionReply begin(const SessionRequest &request);
    SessionReply beginTransfer(const QByteArray &name, qint64 size, bool mustOpen);
    SessionReply append(const SessionRequest &request);
    static void appendTo(Transfer &transfer, const QByteArray &bytes);
    SessionReply replyAfter(Transfers::iterator found);
    SessionReply complete(Transfer &transfer);
    SessionReply read(const SessionRequest &request);
    void continueList(const std::shared_ptr<Listing> &listing);
    std::unique_ptr<platform::Folder> openFolder(SessionReply &failure);

    FileServices services;
    Transfers transfers;
    qint64 lastNumber = 0;
};
