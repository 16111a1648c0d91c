// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionClipboard.h"

#include "doubles/RecordingClipboard.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mebibyte = 1024 * 1024;

QString error(const std::optional<SessionReply> &reply)
{
    return reply ? reply->error : u"no answer"_s;
}

} // namespace

class tst_SessionClipboard : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void textsPassExactly_data();
    void textsPassExactly();
    void halfOfAPairIsNoText();
    void bytesThatAreNotUnicodeAreNoText_data();
    void bytesThatAreNotUnicodeAreNoText();
    void aTextMayComeInPieces();
    void theLongestTextIsSetAndReadBack();
    void aLongerTextIsRefusedToItsLastPiece();
    void requestsOfAnotherFormAreRefused_data();
    void requestsOfAnotherFormAreRefused();

    void theTextIsFetchedOnceForAllItsPieces();
    void withoutATextThereIsNothingToGoOnWith();
    void aTextThatBecomesTooLongIsNotGiven();
    void anAnswerWaitsForTheOwner();
    void nobodyIsAnsweredAfterTheSessionsEnd();
    void textsOnTheirWayCountOverAllSessions();
    void changesAreReportedWhileTheyAreWatched();
    void whatTheDesktopCannotDoIsUnsupported();

private:
    using Request = void (SessionClipboard::*)(const SessionRequest &, const SessionAnswer &);

    std::unique_ptr<SessionClipboard> makeSession()
    {
        return std::make_unique<SessionClipboard>(
            clipboard, *texts, *watch, [this](const QJsonObject &event) { events.append(event); });
    }
    static std::optional<SessionReply> ask(SessionClipboard &session, Request request,
                                           const QJsonObject &fields,
                                           const std::optional<QByteArray> &body = {})
    {
        std::optional<SessionReply> reply;
        (session.*request)({1, {}, fields, body},
                           [&](const SessionReply &given) { reply = given; });
        return reply;
    }
    QString set(const QByteArray &body, bool hasMore = false)
    {
        return error(ask(*session, &SessionClipboard::set, {{u"more"_s, hasMore}}, body));
    }
    std::optional<SessionReply> get(qint64 offset = 0)
    {
        return ask(*session, &SessionClipboard::get, {{u"offset"_s, offset}});
    }

    RecordingClipboard clipboard;
    std::unique_ptr<SharedAmount> texts;
    std::unique_ptr<SharedWatch> watch;
    std::unique_ptr<SessionClipboard> session;
    QList<QJsonObject> events;
};

void tst_SessionClipboard::init()
{
    session.reset();
    clipboard = RecordingClipboard();
    events.clear();
    texts = std::make_unique<SharedAmount>(SessionClipboard::textsOfAllSessions);
    watch = std::make_unique<SharedWatch>(
        [this](std::function<void()> changed) { clipboard.watch(std::move(changed)); });
    session = makeSession();
}

void tst_SessionClipboard::textsPassExactly_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << u"hello"_s;
    QTest::newRow("empty") << u""_s;
    QTest::newRow("lines") << u"a\nb\r\nc\rd\te\u2028f"_s;
    QTest::newRow("controls") << u"a\u0001\u001b[0m\u007f\u0085"_s;
    QTest::newRow("zero") << u"a\0b"_s;
    QTest::newRow("marks of the byte order") << u"\ufeffa\ufeff"_s;
    QTest::newRow("replacement") << u"\ufffd"_s;
    QTest::newRow("no characters") << u"\ufffe\uffff"_s;
    QTest::newRow("second plane") << u"\U00010000\U0001f600"_s;
    QTest::newRow("last plane") << u"\U0010ffff"_s;
}

void tst_SessionClipboard::textsPassExactly()
{
    QFETCH(QString, text);
    QCOMPARE(set(text.toUtf8()), QString());
    QCOMPARE(clipboard.content, text);
    QCOMPARE(get()->body, std::optional(text.toUtf8()));
    QCOMPARE(get()->fields.value(u"size"_s), QJsonValue(text.toUtf8().size()));

    clipboard.content.reset();
    QCOMPARE(error(ask(*session, &SessionClipboard::set, {{u"text"_s, text}})), QString());
    QCOMPARE(clipboard.content, text);
}

void tst_SessionClipboard::halfOfAPairIsNoText()
{
    const QJsonObject fields = QJsonDocument::fromJson(R"({"text":"a\ud83d"})").object();
    QCOMPARE(error(ask(*session, &SessionClipboard::set, fields)), u"bad-text"_s);
    QCOMPARE(clipboard.timesSet, 0);
}

void tst_SessionClipboard::bytesThatAreNotUnicodeAreNoText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("Latin-1") << QByteArray("\xe4");
    QTest::newRow("cut off") << QByteArray("a\xe2\x82");
    QTest::newRow("overlong") << QByteArray("\xc0\xaf");
    QTest::newRow("half of a pair") << QByteArray("\xed\xa0\xbd");
    QTest::newRow("beyond Unicode") << QByteArray("\xf4\x90\x80\x80");
}

void tst_SessionClipboard::bytesThatAreNotUnicodeAreNoText()
{
    QFETCH(QByteArray, bytes);
    QCOMPARE(set(bytes), u"bad-text"_s);
    QCOMPARE(clipboard.timesSet, 0);
    QCOMPARE(set("next"), QString());
    QCOMPARE(clipboard.content, u"next"_s);
}

void tst_SessionClipboard::aTextMayComeInPieces()
{
    // Cut within a character.
    QCOMPARE(set("a\xe2", true), QString());
    QCOMPARE(set("", true), QString());
    QCOMPARE(clipboard.timesSet, 0);
    QCOMPARE(set("\x82\xac"), QString());
    QCOMPARE(clipboard.content, u"a\u20ac"_s);
    QCOMPARE(set("new"), QString());
    QCOMPARE(clipboard.content, u"new"_s);
    QCOMPARE(texts->total(), 0);
}

void tst_SessionClipboard::theLongestTextIsSetAndReadBack()
{
    const QByteArray piece = QByteArray("\xe2\x82\xac").repeated(mebibyte / 3) + 'x';
    QCOMPARE(piece.size(), mebibyte);
    QByteArray whole;
    for (int i = 1; i <= 16; ++i) {
        QCOMPARE(set(piece, i < 16), QString());
        whole += piece;
    }
    QCOMPARE(clipboard.content, QString::fromUtf8(whole));
    QByteArray given;
    do {
        const auto reply = get(given.size());
        QCOMPARE(error(reply), QString());
        QCOMPARE(reply->fields.value(u"size"_s), QJsonValue(whole.size()));
        QVERIFY(reply->body->size() <= mebibyte);
        given += *reply->body;
    } while (given.size() < whole.size());
    QCOMPARE(given, whole);
    QCOMPARE(texts->total(), 0);
}

void tst_SessionClipboard::aLongerTextIsRefusedToItsLastPiece()
{
    const QByteArray piece(mebibyte, 'a');
    for (int i = 1; i <= 16; ++i) {
        QCOMPARE(set(piece, true), QString());
    }
    QCOMPARE(set("b", true), u"too-long"_s);
    QCOMPARE(texts->total(), 0);
    // What follows is not a text of its own.
    QCOMPARE(set("c", true), u"too-long"_s);
    QCOMPARE(set("d"), u"too-long"_s);
    QCOMPARE(clipboard.timesSet, 0);
    QCOMPARE(set("e"), QString());
    QCOMPARE(clipboard.content, u"e"_s);
}

void tst_SessionClipboard::requestsOfAnotherFormAreRefused_data()
{
    QTest::addColumn<QJsonObject>("fields");
    QTest::addColumn<bool>("hasBody");
    QTest::newRow("nothing") << QJsonObject() << false;
    QTest::newRow("both") << QJsonObject{{u"text"_s, u"a"_s}} << true;
    QTest::newRow("number") << QJsonObject{{u"text"_s, 1}} << false;
    QTest::newRow("null") << QJsonObject{{u"text"_s, QJsonValue()}} << false;
    QTest::newRow("text and more") << QJsonObject{{u"text"_s, u"a"_s}, {u"more"_s, true}} << false;
    QTest::newRow("more is a text") << QJsonObject{{u"more"_s, u"true"_s}} << true;
}

void tst_SessionClipboard::requestsOfAnotherFormAreRefused()
{
    QFETCH(QJsonObject, fields);
    QFETCH(bool, hasBody);
    const auto body = hasBody ? std::optional(QByteArray("a")) : std::nullopt;
    QCOMPARE(error(ask(*session, &SessionClipboard::set, fields, body)), u"bad-request"_s);
    for (const QJsonValue &offset : QJsonArray{-1, 0.5, u"0"_s, 1e300, QJsonValue()}) {
        QCOMPARE(error(ask(*session, &SessionClipboard::get, {{u"offset"_s, offset}})),
                 u"bad-request"_s);
    }
    QCOMPARE(error(ask(*session, &SessionClipboard::watch, {{u"on"_s, u"no"_s}})),
             u"bad-request"_s);
    QCOMPARE(clipboard.timesSet + clipboard.timesAsked, 0);
}

void tst_SessionClipboard::theTextIsFetchedOnceForAllItsPieces()
{
    clipboard.content = QString(mebibyte + 1, u'a');
    QCOMPARE(get()->body->size(), mebibyte);
    clipboard.content = u"other"_s;
    QCOMPARE(get(mebibyte + 1)->body, std::optional(QByteArray()));
    QCOMPARE(error(get(mebibyte)), u"not-found"_s);
    QCOMPARE(get()->body, std::optional(QByteArray("other")));
    QCOMPARE(clipboard.timesAsked, 2);
}

void tst_SessionClipboard::withoutATextThereIsNothingToGoOnWith()
{
    QCOMPARE(error(get()), u"not-found"_s);
    QCOMPARE(error(get(1)), u"not-found"_s);
    clipboard.content = QString(2 * mebibyte, u'a');
    QCOMPARE(error(get()), QString());
    QCOMPARE(error(get(2 * mebibyte + 1)), u"not-found"_s);
    // That changes nothing.
    QCOMPARE(get(1)->body->size(), mebibyte);
}

void tst_SessionClipboard::aTextThatBecomesTooLongIsNotGiven()
{
    clipboard.content = QString(SessionClipboard::longestText / 2, u'\u00e4');
    QCOMPARE(error(get()), QString());
    clipboard.content->append(u'a');
    QCOMPARE(error(get()), u"not-found"_s);
    QCOMPARE(texts->total(), 0);
}

void tst_SessionClipboard::anAnswerWaitsForTheOwner()
{
    clipboard.isSlow = true;
    std::optional<SessionReply> reply;
    session->get({}, [&](const SessionReply &given) { reply = given; });
    QVERIFY(!reply);
    clipboard.waiting.front()(u"late"_s);
    QCOMPARE(reply->body, std::optional(QByteArray("late")));
}

void tst_SessionClipboard::nobodyIsAnsweredAfterTheSessionsEnd()
{
    clipboard.isSlow = true;
    bool isAnswered = false;
    session->get({}, [&](const SessionReply &) { isAnswered = true; });
    session.reset();
    clipboard.waiting.front()(u"late"_s);
    QVERIFY(!isAnswered);
}

void tst_SessionClipboard::textsOnTheirWayCountOverAllSessions()
{
    session.reset();
    texts = std::make_unique<SharedAmount>(10);
    session = makeSession();
    auto other = makeSession();
    QCOMPARE(error(ask(*other, &SessionClipboard::set, {{u"more"_s, true}}, QByteArray("1234567"))),
             QString());
    QCOMPARE(set("1234", true), u"too-much"_s);
    QCOMPARE(set("", false), u"too-much"_s);
    clipboard.content = u"1234"_s;
    QCOMPARE(error(get()), u"too-much"_s);
    other.reset();
    QCOMPARE(set("1234"), QString());
    QCOMPARE(error(get()), QString());
    QCOMPARE(texts->total(), 0);
}

void tst_SessionClipboard::changesAreReportedWhileTheyAreWatched()
{
    set("a");
    QCOMPARE(events.size(), 0);
    QCOMPARE(error(ask(*session, &SessionClipboard::watch, {})), QString());
    set("b");
    clipboard.changed();
    QCOMPARE(events, QList<QJsonObject>(2, {{u"event"_s, u"clipboard"_s}}));
    QCOMPARE(error(ask(*session, &SessionClipboard::watch, {{u"on"_s, false}})), QString());
    QVERIFY(!clipboard.changed);
    QCOMPARE(error(ask(*session, &SessionClipboard::watch, {})), QString());
    session.reset();
    QVERIFY(!clipboard.changed);
}

void tst_SessionClipboard::whatTheDesktopCannotDoIsUnsupported()
{
    clipboard.canBeRead = false;
    clipboard.canBeWatched = false;
    QCOMPARE(error(get()), u"unsupported"_s);
    QCOMPARE(error(ask(*session, &SessionClipboard::watch, {})), u"unsupported"_s);
    QCOMPARE(set("a"), QString());
}

QTEST_GUILESS_MAIN(tst_SessionClipboard)
#include "tst_SessionClipboard.moc"
