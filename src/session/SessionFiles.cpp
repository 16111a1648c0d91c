// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionFiles.h"

#include "session/RequestFields.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QPointer>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;
using platform::Folder;

namespace {

SessionReply failure(const QString &error, const char *sentence)
{
    return SessionReply::refused(error, QCoreApplication::translate("Session", sentence));
}

SessionReply badRequest(const char *sentence)
{
    return failure(u"bad-request"_s, sentence);
}

SessionReply badName()
{
    return badRequest(QT_TRANSLATE_NOOP("Session", "\"name\" must be the name of a file, without "
                                                   "a folder and control characters, and not one "
                                                   "of the server's own."));
}

SessionReply noTransfer()
{
    return failure(u"not-found"_s, QT_TRANSLATE_NOOP("Session", "There is no such transfer."));
}

SessionReply noDescriptor()
{
    return failure(u"too-much"_s,
                   QT_TRANSLATE_NOOP("Session", "Too many files are open. Try again later."));
}

SessionReply failed(const QString &reason)
{
    return SessionReply::refused(u"failed"_s, reason);
}

/// Nothing if the field is no file's name.
std::optional<QByteArray> fileName(const SessionRequest &request)
{
    const auto name = RequestFields::utf8(request.fields.value(u"name"_s));
    return name && Folder::isName(*name) ? name : std::nullopt;
}

QString textOf(const QByteArray &name)
{
    return RequestFields::textOf(name).value_or(QString());
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

void SessionFiles::removeAbandonedDrafts(const QString &directory)
{
    QString reason;
    if (const auto folder = Folder::open(directory, reason)) {
        folder->removeAbandonedDrafts();
    }
}

void SessionFiles::put(const SessionRequest &request, const SessionAnswer &answer)
{
    answer(request.fields.contains(u"file"_s) ? append(request) : begin(request));
}

SessionReply SessionFiles::begin(const SessionRequest &request)
{
    const auto name = fileName(request);
    const auto size = RequestFields::wholeNumber(request.fields, u"size"_s);
    const auto mustOpen = RequestFields::yesOrNo(request.fields, u"open"_s, false);
    if (!name) {
        return badName();
    }
    if (!size || !mustOpen || request.body) {
        return badRequest(QT_TRANSLATE_NOOP("Session", "A transfer begins with \"name\", \"size\" "
                                                       "and \"open\", without a body."));
    }
    return beginTransfer(*name, *size, *mustOpen);
}

SessionReply SessionFiles::beginTransfer(const QByteArray &name, qint64 size, bool mustOpen)
{
    auto transfer = std::make_unique<Transfer>(services.transfers);
    if (!transfer->share.resize(1)) {
        return failure(u"too-much"_s,
                       QT_TRANSLATE_NOOP("Session", "Too many files are on their way. Try again "
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
    const auto number = RequestFields::wholeNumber(request.fields, u"file"_s);
    if (!number || !request.body) {
        return badRequest(QT_TRANSLATE_NOOP("Session", "A piece of a file has \"file\", the number "
                                                       "of its transfer, and a body."));
    }
    const auto found = transfers.find(*number);
    return found == transfers.end() ? noTransfer() : appendTo(found, *request.body);
}

/// A transfer ends with its last piece, and with one that fails: those that follow would not fit.
SessionReply SessionFiles::appendTo(Transfers::iterator found, const QByteArray &bytes)
{
    Transfer &transfer = *found->second;
    QString reason;
    SessionReply reply;
    if (bytes.size() > transfer.size - transfer.received) {
        reply = badRequest(QT_TRANSLATE_NOOP("Session", "More has come than \"size\" said."));
    } else if (!transfer.draft->append(bytes, reason)) {
        reply = failed(reason);
    } else {
        transfer.received += bytes.size();
        const bool isComplete = transfer.received == transfer.size;
        reply = isComplete ? complete(transfer) : SessionReply::done();
        reply.fields.insert(u"received"_s, transfer.received);
        if (!isComplete) {
            return reply;
        }
    }
    transfers.erase(found);
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
    const auto number = RequestFields::wholeNumber(request.fields, u"file"_s);
    if (!number) {
        answer(
            badRequest(QT_TRANSLATE_NOOP("Session", "\"file\" must be the number of a transfer.")));
    } else {
        answer(transfers.erase(*number) == 1 ? SessionReply::done() : noTransfer());
    }
}

void SessionFiles::list(const SessionRequest &request, const SessionAnswer &answer)
{
    const QJsonValue given = request.fields.value(u"after"_s);
    const auto after = given.isUndefined() ? QByteArray() : RequestFields::utf8(given);
    if (!after) {
        answer(badRequest(QT_TRANSLATE_NOOP("Session", "\"after\" must be the name of a file.")));
        return;
    }
    auto listing = std::make_shared<Listing>(Listing{services.descriptor(), {}, answer});
    SessionReply problem = noDescriptor();
    const auto folder = listing->permission ? openFolder(problem) : nullptr;
    if (folder) {
        QString reason;
        listing->listing = folder->list(*after, longestList, reason);
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
    const auto name = fileName(request);
    const auto offset =
        RequestFields::wholeNumber(request.fields, u"offset"_s, 0, 0, RequestFields::largestNumber);
    const auto length =
        RequestFields::wholeNumber(request.fields, u"length"_s, longestPiece, 0, longestPiece);
    if (!name) {
        return badName();
    }
    if (!offset || !length) {
        return badRequest(QT_TRANSLATE_NOOP("Session", "\"offset\" and \"length\" must be numbers "
                                                       "of bytes, \"length\" up to 1,048,576."));
    }
    const std::array permissions{services.descriptor(), services.descriptor()};
    SessionReply problem = noDescriptor();
    const auto folder = permissions.back() ? openFolder(problem) : nullptr;
    if (!folder) {
        return problem;
    }
    auto piece = folder->read(*name, *offset, *length);
    if (!piece) {
        return failure(u"not-found"_s,
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
