// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Flooder.h"
#include "support/session/ClipboardOwner.h"
#include "support/session/ServerScene.h"
#include "support/x11/PiecewiseOwner.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace {

/// How long the owner of the clipboard may be silent before the device gets its answer.
constexpr milliseconds Patience = 1s;

const char *inMilliseconds(milliseconds time)
{
    static QByteArray text;
    text = QByteArray::number(qint64(time.count())) + " ms";
    return text.constData();
}

QByteArray sentText(const QString &text)
{
    return commandText(u"TEXT_TRANSFER_AND_OPEN"_s, {{u"fncCommand"_s, text}});
}

} // namespace

/// Text to and from the clipboard that the session's other programs use.
class tst_Clipboard : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void textOfAnotherProgramIsSent_data();
    void textOfAnotherProgramIsSent();
    void emptyTextIsOneEmptyItem();
    void longTextIsSentWhole();
    void clipboardWithoutPlainTextIsAnErrorAndKeepsTheParameters_data();
    void clipboardWithoutPlainTextIsAnErrorAndKeepsTheParameters();
    void clipboardThatNobodyOwnsIsAnError();
    void othersAreServedWhileTheOwnerIsSilent();
    void silentOwnerIsGivenUpDuringAFlood();
    void clipboardIsReadAgainAfterASilentOwner();
    void lateAnswerOfAnEarlierOwnerIsNotTaken();
    void ownerThatIsKilledIsAnError();
    void ownerThatVanishesInTheMiddleOfATextIsAnError();
    void textMayComePieceByPiece();
    void ownerHasASecondInAll();
    void endlessTextIsAnError();
    void deviceThatLeftMeanwhileIsForgotten();
    void lateTextIsAnsweredBeforeTheNextCommand();

    void sentTextIsReadByOtherPrograms_data();
    void sentTextIsReadByOtherPrograms();
    void sentTextIsReadBack();
    void longSentTextIsReadByOtherPrograms();
    void otherProgramsTakeTheClipboardOver();

private:
    const DesktopSession &session() const { return scene->session(); }
    QList<milliseconds> serveUntilAnswered(Handheld &waiting) const;

    std::unique_ptr<ServerScene> scene;
};

void tst_Clipboard::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    QVERIFY(scene->start());
}

void tst_Clipboard::cleanup()
{
    QCOMPARE(scene->problemSoFar(), QByteArray());
}

void tst_Clipboard::cleanupTestCase()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

void tst_Clipboard::textOfAnotherProgramIsSent_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("sent");
    const QString utf8;
    QTest::newRow("plain") << QByteArray("hello world") << utf8 << "hello world";
    QTest::newRow("several lines") << QByteArray("one\ntwo\n") << utf8 << "one\ntwo\n";
    QTest::newRow("Latin-1 letters") << QByteArray("Gr\xc3\xbc\xc3\x9f"
                                                   "e")
                                     << utf8
                                     << QString::fromLatin1("Gr\xfc\xdf"
                                                            "e");
    QTest::newRow("Latin-1 letters of an old program") << QByteArray("Gr\xfc\xdf"
                                                                     "e")
                                                       << "STRING"
                                                       << QString::fromLatin1("Gr\xfc\xdf"
                                                                              "e");
    QTest::newRow("beyond Latin-1")
        << QByteArray("5 \xe2\x82\xac, \xce\xb1\xce\xb2") << utf8 << "5 ?, ??";
    QTest::newRow("mark of the byte order") << QByteArray("\xef\xbb\xbf"
                                                          "az")
                                            << utf8 << "az";
    QTest::newRow("beyond the basic plane") << QByteArray("a\xf0\x9f\x98\x80z") << utf8 << "a??z";
}

void tst_Clipboard::textOfAnotherProgramIsSent()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, target);
    QFETCH(QString, sent);
    const ClipboardOwner owner(session(), content, target);
    QVERIFY(owner.isServing());
    Handheld handheld(scene->port());
    QCOMPARE(handheld.ask(clipboardRequest()),
             std::optional(QVariantMap{{u"cmdType"_s, u"SERVER_CLIPBOARD_REQUEST"_s},
                                       {u"cmdParameters"_s, QStringList{sent}},
                                       {u"serverResponse"_s, u"OK"_s}}));
}

void tst_Clipboard::emptyTextIsOneEmptyItem()
{
    const ClipboardOwner owner(session(), QByteArray());
    QVERIFY(owner.isServing());
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(clipboardRequest());
    QCOMPARE(response(answer), u"OK"_s);
    QCOMPARE(parameters(answer), QStringList{QString()});
}

/// More than one property of the X server can hold, so the owner sends it in pieces.
void tst_Clipboard::longTextIsSentWhole()
{
    constexpr int Lines = 3 * 1024 * 1024 / 16;
    QByteArray content;
    for (int line = 0; line < Lines; ++line) {
        content += QByteArray::number(line).rightJustified(15, '.') + '\n';
    }
    const ClipboardOwner owner(session(), content);
    QVERIFY(owner.isServing());
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(clipboardRequest());
    QCOMPARE(response(answer), u"OK"_s);
    QVERIFY(parameters(answer) == QStringList{QString::fromLatin1(content)});
}

void tst_Clipboard::clipboardWithoutPlainTextIsAnErrorAndKeepsTheParameters_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("target");
    QTest::newRow("HTML only") << QByteArray("<b>bold</b>") << "text/html";
    QTest::newRow("a list of files")
        << QByteArray("file:///etc/hostname\r\nfile:///etc/hosts\r\n") << "text/uri-list";
    QTest::newRow("an image") << QByteArray("\x89PNG\r\n\x1a\n and so on") << "image/png";
}

void tst_Clipboard::clipboardWithoutPlainTextIsAnErrorAndKeepsTheParameters()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, target);
    const ClipboardOwner owner(session(), content, target);
    QVERIFY(owner.isServing());
    Handheld handheld(scene->port());
    const QStringList kept{u"what"_s, u"was"_s, u"here"_s};
    const auto answer = handheld.ask(clipboardRequest({{u"cmdParameters"_s, kept}}));
    QCOMPARE(response(answer), u"ERROR"_s);
    QCOMPARE(parameters(answer), kept);
}

void tst_Clipboard::clipboardThatNobodyOwnsIsAnError()
{
    {
        const ClipboardOwner last(session(), "gone with its owner");
        QVERIFY(last.isServing());
    }
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(clipboardRequest());
    QCOMPARE(response(answer), u"ERROR"_s);
    QVERIFY(!answer->contains(u"cmdParameters"_s));
}

/// How long each question of another device took until the waiting one had its answer.
QList<milliseconds> tst_Clipboard::serveUntilAnswered(Handheld &waiting) const
{
    QList<milliseconds> times;
    Handheld other(scene->port());
    while (!waiting.hasUnreadAnswer() && times.size() < 100'000) {
        QElapsedTimer time;
        time.start();
        if (!other.ask(serverInfo())) {
            return {};
        }
        times.append(milliseconds(time.elapsed()));
    }
    return times;
}

void tst_Clipboard::othersAreServedWhileTheOwnerIsSilent()
{
    ClipboardOwner owner(session(), "never told");
    QVERIFY(owner.isServing());
    owner.halt();
    Handheld handheld(scene->port());
    QElapsedTimer time;
    time.start();
    QVERIFY(handheld.send(clipboardRequest()));
    QList<milliseconds> times = serveUntilAnswered(handheld);
    const milliseconds answered(time.elapsed());
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
    // Neither early nor late, with some room for a busy machine.
    QVERIFY2(answered > Patience * 9 / 10 && answered < Patience * 2, inMilliseconds(answered));

    QVERIFY(!times.isEmpty());
    std::sort(times.begin(), times.end());
    QVERIFY2(times[times.size() / 2] < 100ms, inMilliseconds(times.last()));
    // Had the server waited for the owner, one of them would have taken all the time.
    QVERIFY2(times.last() < Patience / 2, inMilliseconds(times.last()));
}

void tst_Clipboard::silentOwnerIsGivenUpDuringAFlood()
{
    ClipboardOwner owner(session(), "never told");
    QVERIFY(owner.isServing());
    owner.halt();
    Handheld handheld(scene->port());
    QVERIFY(handheld.isServed());
    Flooder flooder(scene->port(), serverInfo());
    QElapsedTimer time;
    time.start();
    const auto answer = handheld.ask(clipboardRequest());
    const milliseconds answered(time.elapsed());
    QVERIFY(flooder.stop() > 0);
    QCOMPARE(response(answer), u"ERROR"_s);
    QVERIFY2(answered < Patience * 3 / 2, inMilliseconds(answered));
}

void tst_Clipboard::clipboardIsReadAgainAfterASilentOwner()
{
    ClipboardOwner silent(session(), "never told");
    QVERIFY(silent.isServing());
    silent.halt();
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(clipboardRequest())), u"ERROR"_s);
    const ClipboardOwner next(session(), "told");
    QVERIFY(next.isServing());
    const auto answer = handheld.ask(clipboardRequest());
    QCOMPARE(response(answer), u"OK"_s);
    QCOMPARE(parameters(answer), QStringList{u"told"_s});
}

void tst_Clipboard::lateAnswerOfAnEarlierOwnerIsNotTaken()
{
    ClipboardOwner late(session(), "<i>late</i>", u"text/html"_s);
    QVERIFY(late.isServing());
    late.halt();
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(clipboardRequest())), u"ERROR"_s);

    PiecewiseOwner next(session().display());
    QVERIFY(handheld.send(clipboardRequest()));
    QVERIFY(handheld.waitUntilRead());
    // It answers what it was asked before, and ends since it owns the clipboard no more.
    QVERIFY(late.resumeUntilItEnds());
    QVERIFY(next.offerText());
    QVERIFY(next.announcePieces());
    QVERIFY(next.sendPiece("in time"));
    QVERIFY(next.sendPiece(QByteArray()));
    const auto answer = handheld.answer();
    QCOMPARE(response(answer), u"OK"_s);
    QCOMPARE(parameters(answer), QStringList{u"in time"_s});
}

void tst_Clipboard::ownerThatIsKilledIsAnError()
{
    ClipboardOwner owner(session(), "never told");
    QVERIFY(owner.isServing());
    owner.halt();
    Handheld handheld(scene->port());
    QVERIFY(handheld.sendAndSettle(clipboardRequest()));
    owner.kill();
    QCOMPARE(response(handheld.answer(Patience * 2)), u"ERROR"_s);
    QCOMPARE(response(handheld.ask(clipboardRequest())), u"ERROR"_s);
}

void tst_Clipboard::ownerThatVanishesInTheMiddleOfATextIsAnError()
{
    PiecewiseOwner owner(session().display());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(clipboardRequest()));
    QVERIFY(owner.offerText());
    QVERIFY(owner.announcePieces());
    QVERIFY(owner.sendPiece("the first half"));
    owner.vanish();
    const auto answer = handheld.answer(Patience * 2);
    QCOMPARE(response(answer), u"ERROR"_s);
    QVERIFY(!answer->contains(u"cmdParameters"_s));
    QCOMPARE(response(handheld.ask(clipboardRequest())), u"ERROR"_s);
}

void tst_Clipboard::textMayComePieceByPiece()
{
    // On a busy machine these steps may take longer than the owner has.
    for (int attempt = 1; attempt <= 5; ++attempt) {
        PiecewiseOwner owner(session().display());
        Handheld handheld(scene->port());
        QVERIFY(handheld.send(clipboardRequest()));
        QVERIFY(owner.offerText() && owner.announcePieces());
        // A letter of two bytes is cut.
        QVERIFY(owner.sendPiece("one \xc3") && owner.sendPiece("\xbc ") && owner.sendPiece("two"));
        QVERIFY(owner.sendPiece(QByteArray()));
        const auto answer = handheld.answer();
        if (response(answer) == u"OK"_s) {
            QCOMPARE(parameters(answer), QStringList{u"one \u00fc two"_s});
            return;
        }
    }
    QFAIL("no text came");
}

void tst_Clipboard::ownerHasASecondInAll()
{
    PiecewiseOwner owner(session().display());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(clipboardRequest()));
    QVERIFY(owner.offerText());
    QVERIFY(owner.announcePieces());
    // It is never silent for long, and never finishes.
    const QDeadlineTimer patience(10 * Patience);
    while (!handheld.hasUnreadAnswer() && !patience.hasExpired()) {
        owner.sendPiece("x");
        waitUntil([&] { return handheld.hasUnreadAnswer(); }, Patience / 5);
    }
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
}

void tst_Clipboard::endlessTextIsAnError()
{
    PiecewiseOwner owner(session().display());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(clipboardRequest()));
    QVERIFY(owner.offerText());
    QVERIFY(owner.announcePieces());
    const QByteArray piece(1024 * 1024, 'x');
    for (int count = 0; count < 17 && !handheld.hasUnreadAnswer(); ++count) {
        QVERIFY(owner.sendPiece(piece) || handheld.hasUnreadAnswer());
    }
    owner.vanish();
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
}

void tst_Clipboard::deviceThatLeftMeanwhileIsForgotten()
{
    PiecewiseOwner owner(session().display());
    Handheld leaving(scene->port());
    QVERIFY(leaving.send(clipboardRequest()));
    QVERIFY(owner.offerText());
    leaving.reset();
    Handheld staying(scene->port());
    QVERIFY(staying.ask(serverInfo()));
    QVERIFY(owner.announcePieces());
    QVERIFY(owner.sendPiece("nobody's"));
    QVERIFY(owner.sendPiece(QByteArray()));
    QVERIFY(staying.ask(serverInfo()));
}

void tst_Clipboard::lateTextIsAnsweredBeforeTheNextCommand()
{
    PiecewiseOwner owner(session().display());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(clipboardRequest()));
    QVERIFY(owner.offerText());
    QVERIFY(handheld.send(serverInfo()));
    Handheld other(scene->port());
    QVERIFY(other.isServed());
    QVERIFY(!waitUntil([&] { return handheld.hasUnreadAnswer(); }, Patience / 2));
    QVERIFY(owner.announcePieces());
    QVERIFY(owner.sendPiece("late"));
    QVERIFY(owner.sendPiece(QByteArray()));

    const auto text = handheld.answer();
    QCOMPARE(text->value(u"cmdType"_s).toString(), u"SERVER_CLIPBOARD_REQUEST"_s);
    QCOMPARE(response(text), u"OK"_s);
    QCOMPARE(parameters(text), QStringList{u"late"_s});
    const auto info = handheld.answer();
    QCOMPARE(info->value(u"cmdType"_s).toString(), u"SERVER_INFO"_s);
    QCOMPARE(parameters(info).size(), 3);
}

void tst_Clipboard::sentTextIsReadByOtherPrograms_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "hello";
    QTest::newRow("Latin-1 letters") << QString::fromLatin1("Gr\xfc\xdf"
                                                            "e, \xbfqu\xe9?");
    QTest::newRow("empty") << QString();
}

void tst_Clipboard::sentTextIsReadByOtherPrograms()
{
    QFETCH(QString, text);
    const ClipboardOwner before(session(), "replaced");
    QVERIFY(before.isServing());
    Handheld handheld(scene->port());
    QCOMPARE(handheld.ask(sentText(text)),
             std::optional(QVariantMap{{u"cmdType"_s, u"TEXT_TRANSFER_AND_OPEN"_s},
                                       {u"fncCommand"_s, QString()},
                                       {u"serverResponse"_s, u"OK"_s}}));
    QCOMPARE(ClipboardOwner::read(session(), u"UTF8_STRING"_s), std::optional(text.toUtf8()));
}

void tst_Clipboard::sentTextIsReadBack()
{
    Handheld handheld(scene->port());
    for (const QString &text : {u"hello"_s, QString(), u"again"_s}) {
        QCOMPARE(response(handheld.ask(sentText(text))), u"OK"_s);
        const auto answer = handheld.ask(clipboardRequest());
        QCOMPARE(response(answer), u"OK"_s);
        QCOMPARE(parameters(answer), QStringList{text});
    }
}

void tst_Clipboard::longSentTextIsReadByOtherPrograms()
{
    // One token must come in one read of the server, which this size on the loopback does.
    const QString text(20'000, QLatin1Char('x'));
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(sentText(text))), u"OK"_s);
    QCOMPARE(ClipboardOwner::read(session()), std::optional(text.toLatin1()));
}

void tst_Clipboard::otherProgramsTakeTheClipboardOver()
{
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(sentText(u"ours"_s))), u"OK"_s);
    const ClipboardOwner other(session(), "theirs");
    QVERIFY(other.isServing());
    const auto answer = handheld.ask(clipboardRequest());
    QCOMPARE(parameters(answer), QStringList{u"theirs"_s});
}

QTEST_GUILESS_MAIN(tst_Clipboard)
#include "tst_Clipboard.moc"
