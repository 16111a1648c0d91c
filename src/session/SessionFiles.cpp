// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionFiles.h"

#include "loop/Turns.h"
#include "session/SessionFields.h"
#include "session/SessionFrames.h"
#include "session/SessionJson.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QPointer>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;
using platform::Folder;

namespace {

SessionReply fileFailure(const QString &error, const char *sentence)
{
    return SessionReply::refused(error, QCoreApplication::translate("Session", sentence));
}

SessionReply badRequest(const char *sentence)
{
    return fileFailure(u"bad-request"_s, sentence);
}

SessionReply noTransfer()
{
    return fileFailure(u"not-found"_s, QT_TRANSLATE_NOOP("Session", "There is no such transfer."));
}

SessionReply noDescriptor()
{
    return fileFailure(u"too-much"_s,
                       QT_TRANSLATE_NOOP("Session", "Too many files are open. Try again later."));
}

SessionReply failed(const QString &reason)
{
    return SessionReply::refused(u"failed"_s, reason);
}

QByteArray nameIn(SessionFields &fields)
{
    const QByteArray name = fields.text("name"_L1, 0, SessionFrames::longest).toUtf8();
    if (!Folder::isName(name)) {
        fields.refuse(QCoreApplication::translate(
            "Session", "\"name\" must be the name of a file, without a folder and control "
                       "characters, and not one of the server's own."));
    }
    return name;
}

/// The number of a transfer.
qint64 numberIn(SessionFields &fields)
{
    return fields.whole("file"_L1, 0, SessionJson::largestNumber);
}

QString textOf(const QByteArray &name)
{
    return SessionJson::textOf(name).value_or(QString());
}

QJsonObject describe(const Folder::Entry &file)
{
    return {{u"name"_s, textOf(file.name)}, {u"size"_s, file.size}, {u"modified"_s, file.modified}};
}

SessionReply described(const Folder::Listing &listing)
{
    QJsonArray files;
    for (const Folder::Entry &file : listing.entries()) {
        files.append(describe(file));
    }
    QJsonObject fields{{u"files"_s, files}};
    if (listing.hasMore()) {
        fields.insert(u"more"_s, true);
    }
    return SessionReply::done(fields);
}

} // namespace

/// A file that arrives. The members go in the reverse order: the descriptors are given back last.
struct SessionFiles::Transfer
{
    explicit Transfer(SharedAmount &transfers) : share(transfers) {}

    SharedAmount::Share share;
    std::vector<std::shared_ptr<void>> permissions; // For the directory and the file.
    QString directory;
    QByteArray name;
    qint64 size = 0;
    bool mustOpen = false;
    qint64 received = 0;
    std::optional<SessionReply> failure;
    std::unique_ptr<Folder::Draft> draft;
};

struct SessionFiles::Listing
{
    std::shared_ptr<void> permission;
    std::unique_ptr<Folder::Listing> listing;
    SessionAnswer answer;
};

SessionFiles::SessionFiles(FileServices fileServices) : services(std::move(fileServices)) {}

SessionFiles::~SessionFiles() = default;

void SessionFiles::removeAbandonedDrafts(const QString &directory, Turns &turns, QObject *worker)
{
    QString reason;
    const auto folder = Folder::open(directory, reason);
    if (const std::shared_ptr cleaning = folder ? folder->cleaning() : nullptr) {
        turns.enter(worker, [cleaning] { return cleaning->step(); });
    }
}

void SessionFiles::put(const SessionRequest &request, const SessionAnswer &answer)
{
    answer(request.fields.contains(u"file"_s) ? append(request) : begin(request));
}

SessionReply SessionFiles::begin(const SessionRequest &request)
{
    SessionFields fields(request.fields);
    const QByteArray name = nameIn(fields);
    const qint64 size = fields.whole("size"_L1, 0, SessionJson::largestNumber);
    const bool mustOpen = fields.yesOrNo("open"_L1, false);
    if (request.body) {
        fields.refuse(QCoreApplication::translate("Session", "A transfer begins without a body."));
    }
    return fields.isGood() ? beginTransfer(name, size, mustOpen) : fields.reply();
}

SessionReply SessionFiles::beginTransfer(const QByteArray &name, qint64 size, bool mustOpen)
{
    auto transfer = std::make_unique<Transfer>(services.transfers);
    if (!transfer->share.resize(1)) {
        return fileFailure(u"too-much"_s,
                           QT_TRANSLATE_NOOP("Session",
                                             "Too many files are on their way. Try again "
                                             "later."));
    }
    transfer->permissions = {services.descriptor(), services.descriptor()};
    if (!transfer->permissions.front() || !transfer->permissions.back()) {
        return noDescriptor();
    }
    QString reason;
    transfer->directory = services.directory();
    const auto folder = Folder::open(transfer->directory, reason);
    transfer->draft = folder ? folder->draft(reason) : nullptr;
    if (!transfer->draft) {
        return failed(reason);
    }
    transfer->name = name;
    transfer->size = size;
    transfer->mustOpen = mustOpen;
    transfers.emplace(++lastNumber, std::move(transfer));
    return SessionReply::done({{u"file"_s, lastNumber}});
}

SessionReply SessionFiles::append(const SessionRequest &request)
{
    SessionFields fields(request.fields);
    const qint64 number = numberIn(fields);
    if (!request.body) {
        fields.refuse(QCoreApplication::translate("Session", "A piece of a file has a body."));
    }
    if (!fields.isGood()) {
        return fields.reply();
    }
    const auto found = transfers.find(number);
    if (found == transfers.end()) {
        return noTransfer();
    }
    appendTo(*found->second, *request.body);
    return replyAfter(found);
}

/// Written as it comes: gathering it first would keep the sender waiting.
void SessionFiles::takePart(const SessionRequest &request, const QByteArray &bytes)
{
    SessionFields fields(request.fields);
    const auto found = transfers.find(numberIn(fields));
    if (fields.isGood() && found != transfers.end()) {
        appendTo(*found->second, bytes);
    }
}

void SessionFiles::appendTo(Transfer &transfer, const QByteArray &bytes)
{
    QString reason;
    if (bytes.size() > transfer.size - transfer.received) {
        transfer.failure =
            badRequest(QT_TRANSLATE_NOOP("Session", "More has come than \"size\" said."));
    } else if (!transfer.draft->append(bytes, reason)) {
        transfer.failure = failed(reason);
    } else {
        transfer.received += bytes.size();
    }
}

/// A transfer ends with its last piece, and with one that fails: those that follow would not fit.
SessionReply SessionFiles::replyAfter(Transfers::iterator found)
{
    Transfer &transfer = *found->second;
    const bool isComplete = transfer.received == transfer.size;
    SessionReply reply = SessionReply::done();
    if (transfer.failure) {
        reply = *transfer.failure;
    } else {
        if (isComplete) {
            reply = complete(transfer);
        }
        reply.fields.insert(u"received"_s, transfer.received);
    }
    if (transfer.failure || isComplete) {
        transfers.erase(found);
    }
    return reply;
}

SessionReply SessionFiles::complete(Transfer &transfer)
{
    QString reason;
    const auto name = transfer.draft->publish(transfer.name, reason);
    if (!name) {
        return failed(reason);
    }
    QJsonObject fields{{u"complete"_s, true}, {u"name"_s, textOf(*name)}};
    if (transfer.mustOpen) {
        const QString path = transfer.directory + u'/' + textOf(*name);
        // The path as it is, whatever signs of addresses it has.
        fields.insert(u"opened"_s, services.open(QUrl::fromLocalFile(path)));
    }
    return SessionReply::done(fields);
}

void SessionFiles::cancel(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const qint64 number = numberIn(fields);
    if (!fields.isGood()) {
        answer(fields.reply());
    } else {
        answer(transfers.erase(number) == 1 ? SessionReply::done() : noTransfer());
    }
}

void SessionFiles::list(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const QByteArray after = fields.has("after"_L1)
                                 ? fields.text("after"_L1, 0, SessionFrames::longest).toUtf8()
                                 : QByteArray();
    if (!fields.isGood()) {
        answer(fields.reply());
        return;
    }
    auto listing = std::make_shared<Listing>(Listing{services.descriptor(), {}, answer});
    SessionReply problem = noDescriptor();
    const auto folder = listing->permission ? openFolder(problem) : nullptr;
    if (folder) {
        QString reason;
        listing->listing = folder->list(after, longestList, reason);
        problem = failed(reason);
    }
    if (listing->listing) {
        continueList(listing);
    } else {
        answer(problem);
    }
}

/// One step per round of the event loop.
void SessionFiles::continueList(const std::shared_ptr<Listing> &listing)
{
    if (!listing->listing->step()) {
        listing->answer(described(*listing->listing));
        return;
    }
    QMetaObject::invokeMethod(
        this, [this, listing] { continueList(listing); }, Qt::QueuedConnection);
}

void SessionFiles::get(const SessionRequest &request, const SessionAnswer &answer)
{
    answer(read(request));
}

SessionReply SessionFiles::read(const SessionRequest &request)
{
    SessionFields fields(request.fields);
    const QByteArray name = nameIn(fields);
    const qint64 offset = fields.whole("offset"_L1, 0, SessionJson::largestNumber, 0);
    const qint64 length = fields.whole("length"_L1, 0, longestPiece, longestPiece);
    if (!fields.isGood()) {
        return fields.reply();
    }
    const std::array permissions{services.descriptor(), services.descriptor()};
    SessionReply problem = noDescriptor();
    const auto folder = permissions.back() ? openFolder(problem) : nullptr;
    if (!folder) {
        return problem;
    }
    auto piece = folder->read(name, offset, length);
    if (!piece) {
        return fileFailure(u"not-found"_s,
                           QT_TRANSLATE_NOOP("Session", "There is no such file that can be read."));
    }
    SessionReply reply = SessionReply::done({{u"size"_s, piece->size}});
    reply.body = std::move(piece->bytes);
    return reply;
}

std::unique_ptr<Folder> SessionFiles::openFolder(SessionReply &problem)
{
    QString reason;
    auto folder = Folder::open(services.directory(), reason);
    problem = failed(reason);
    return folder;
}
