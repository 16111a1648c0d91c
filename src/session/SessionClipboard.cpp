// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionClipboard.h"

#include "platform/Clipboard.h"
#include "session/SessionFields.h"
#include "session/SessionJson.h"

#include <QCoreApplication>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// How much of a text one answer has.
constexpr qint64 longestPiece = 1024 * 1024;

SessionReply failure(const QString &error, const char *sentence)
{
    return SessionReply::refused(error, QCoreApplication::translate("Session", sentence));
}

SessionReply notUnicode()
{
    return failure(u"bad-text"_s, QT_TRANSLATE_NOOP("Session", "The text is not Unicode."));
}

SessionReply unsupported()
{
    return failure(u"unsupported"_s,
                   QT_TRANSLATE_NOOP("Session", "This desktop's clipboard cannot do that."));
}

SessionReply noText()
{
    return failure(u"not-found"_s,
                   QT_TRANSLATE_NOOP("Session", "There is no text, or its owner does not give it, "
                                                "or it is too long."));
}

} // namespace

SessionClipboard::SessionClipboard(platform::Clipboard &hostClipboard, SharedAmount &texts,
                                   SharedWatch &watch, Event event)
    : clipboard(hostClipboard)
    , changes(watch)
    , sendEvent(std::move(event))
    , receivedShare(texts)
    , snapshotShare(texts)
{
}

SessionClipboard::~SessionClipboard() = default;

SessionReply SessionClipboard::tooMuchText()
{
    return failure(u"too-much"_s,
                   QT_TRANSLATE_NOOP("Session", "Too much text of all programs is on its way. Try "
                                                "again later."));
}

void SessionClipboard::set(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const bool hasMore = fields.yesOrNo("more"_L1, false);
    const bool hasText = fields.has("text"_L1);
    if (hasText == request.body.has_value() || (hasText && hasMore)) {
        fields.refuse(u"Either \"text\" is needed, or a body and \"more\"."_s);
    }
    if (!fields.isGood()) {
        answer(fields.reply());
    } else {
        answer(hasText ? setWhole(request) : addPiece(*request.body, hasMore));
    }
}

SessionReply SessionClipboard::setWhole(const SessionRequest &request)
{
    const QJsonValue text = request.fields.value(u"text"_s);
    if (!text.isString()) {
        return failure(u"bad-request"_s, QT_TRANSLATE_NOOP("Session", "\"text\" must be a text."));
    }
    if (!SessionJson::isUnicode(text.toString())) {
        return notUnicode();
    }
    clipboard.setText(text.toString());
    return SessionReply::done();
}

/// After a failure the other pieces are refused too: they would be set as a text of their own.
SessionReply SessionClipboard::addPiece(const QByteArray &piece, bool hasMore)
{
    SessionReply reply = refusal ? *refusal : append(piece);
    if (!reply.error.isEmpty()) {
        refusal = reply;
        received = QByteArray();
        receivedShare.resize(0);
    }
    if (!hasMore) {
        if (!std::exchange(refusal, std::nullopt)) {
            reply = setReceived();
        }
    }
    return reply;
}

SessionReply SessionClipboard::append(const QByteArray &piece)
{
    const qint64 size = received.size() + piece.size();
    if (size > longestText) {
        return failure(u"too-long"_s,
                       QT_TRANSLATE_NOOP("Session", "The text is longer than 16 MiB."));
    }
    if (!receivedShare.resize(size)) {
        return tooMuchText();
    }
    received += piece;
    return SessionReply::done();
}

SessionReply SessionClipboard::setReceived()
{
    const auto text = SessionJson::textOf(std::exchange(received, {}));
    receivedShare.resize(0);
    if (!text) {
        return notUnicode();
    }
    clipboard.setText(*text);
    return SessionReply::done();
}

void SessionClipboard::get(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const qint64 offset = fields.whole("offset"_L1, 0, SessionJson::largestNumber, 0);
    if (!fields.isGood()) {
        answer(fields.reply());
    } else if (!clipboard.isReadable()) {
        answer(unsupported());
    } else if (offset == 0) {
        fetch(answer);
    } else {
        answer(pieceFrom(offset));
    }
}

void SessionClipboard::fetch(const SessionAnswer &answer)
{
    snapshot.reset();
    snapshotShare.resize(0);
    const QPointer<SessionClipboard> self(this);
    clipboard.requestText([self, answer](const std::optional<QString> &text) {
        if (self != nullptr) {
            answer(self->keep(text));
        }
    });
}

SessionReply SessionClipboard::keep(const std::optional<QString> &text)
{
    QByteArray bytes = text.value_or(QString()).toUtf8();
    if (!text || bytes.size() > longestText) {
        return noText();
    }
    if (!snapshotShare.resize(bytes.size())) {
        return tooMuchText();
    }
    snapshot = std::move(bytes);
    return pieceFrom(0);
}

SessionReply SessionClipboard::pieceFrom(qint64 offset)
{
    if (!snapshot || offset > snapshot->size()) {
        return failure(u"not-found"_s,
                       QT_TRANSLATE_NOOP("Session", "There is no text to go on with at that "
                                                    "offset."));
    }
    SessionReply reply = SessionReply::done({{u"size"_s, qint64(snapshot->size())}});
    reply.body = snapshot->mid(offset, longestPiece);
    if (offset + reply.body->size() == snapshot->size()) {
        snapshot.reset();
        snapshotShare.resize(0);
    }
    return reply;
}

void SessionClipboard::watch(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const bool isOn = fields.yesOrNo("on"_L1, true);
    if (!fields.isGood()) {
        answer(fields.reply());
        return;
    }
    if (!clipboard.isWatchable()) {
        answer(unsupported());
        return;
    }
    listener.reset();
    if (isOn) {
        listener = std::make_unique<SharedWatch::Listener>(changes, [this] {
            sendEvent({{u"event"_s, u"clipboard"_s}});
        });
    }
    answer(SessionReply::done());
}
