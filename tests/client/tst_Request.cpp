// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Request.h"
#include "lib/RequestWriter.h"
#include "net/TokenText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

/// The bytes of each command, and how the connection waits for its answer.
class tst_Request : public QObject
{
    Q_OBJECT

private slots:
    void everyCommandHasItsForm_data();
    void everyCommandHasItsForm();
    void everyCharacterIsCarriedOrRefused();
    void aRefusalShowsTheBeginningOfTheText();
};

void tst_Request::everyCommandHasItsForm_data()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QByteArray>("rest");
    QTest::addColumn<bool>("isAnswered");
    QTest::addColumn<bool>("asksUser");
    QTest::addColumn<bool>("isRepeatable");
    QTest::newRow("info") << Request::serverInfo() << QByteArray("SERVER_INFO; }") << true << false
                          << true;
    QTest::newRow("pair") << Request::pair(u"id"_s, u"Ada"_s)
                          << QByteArray("SERVER_PAIR; cmdParameters = ( \"id\", \"Ada\" ); }")
                          << true << true << false;
    QTest::newRow("open") << Request::openUrl(u"http://x"_s)
                          << QByteArray("URL_OPEN; fncCommand = \"http://x\"; }") << true << false
                          << false;
    QTest::newRow("copy") << Request::copy(u"a;b"_s)
                          << QByteArray("TEXT_TRANSFER_AND_OPEN; fncCommand = "
                                        "\"[[[IGNORE]]]a;b[[[ENDIGNORE]]]\"; }")
                          << true << false << true;
    QTest::newRow("paste") << Request::paste() << QByteArray("SERVER_CLIPBOARD_REQUEST; }") << true
                           << false << true;
    QTest::newRow("key") << Request::key(u"Cmd+Q"_s)
                         << QByteArray("KEYBOARD_CMD; fncCommand = \"Cmd+Q\"; }") << false << false
                         << false;
    QTest::newRow("left") << Request::click(Button::Left)
                          << QByteArray("MOUSE_CMD; fncCommand = \"0\"; }") << false << false
                          << false;
    QTest::newRow("right") << Request::click(Button::Right)
                           << QByteArray("MOUSE_CMD; fncCommand = \"1\"; }") << false << false
                           << false;
    QTest::newRow("middle") << Request::click(Button::Center)
                            << QByteArray("MOUSE_CMD; fncCommand = \"2\"; }") << false << false
                            << false;
    QTest::newRow("move") << Request::move(-3, 4)
                          << QByteArray("MOUSE_CMD; cmdParameters = ( \"-3\", \"4\" ); "
                                        "fncCommand = \"4\"; }")
                          << false << false << false;
    QTest::newRow("file") << Request::sendFile(u"a.txt"_s, 84)
                          << QByteArray("FILE_TRANSFER_AND_OPEN; "
                                        "cmdParameters = ( \"a.txt\", \"84\" ); }")
                          << true << false << false;
}

void tst_Request::everyCommandHasItsForm()
{
    QFETCH(Request, request);
    QFETCH(QByteArray, rest);
    QCOMPARE(writeRequest(request, 7).bytes, "{ quillmote = 7; cmdType = " + rest);
    QTEST(request.isAnswered, "isAnswered");
    QTEST(request.asksUser, "asksUser");
    QTEST(request.isRepeatable, "isRepeatable");
}

/// All of Latin-1 except quotes and white space.
void tst_Request::everyCharacterIsCarriedOrRefused()
{
    const QList<int> refused{'\0', '"', 0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x85, 0xa0};
    for (int code = 0; code <= 0x100; ++code) {
        const QString text = u"a"_s + QChar(code) + u'b';
        const auto written = writeRequest(Request::copy(text), 1);
        QVERIFY2(written.isRefused() == (refused.contains(code) || code > 0xff),
                 qPrintable(QString::number(code, 16)));
        TokenMap stored;
        if (!written.isRefused()) {
            TokenText::read(written.bytes, [&](const QString &key, const QVariant &value) {
                stored.insert(key, value);
            });
            QCOMPARE(stored.value(u"fncCommand"_s).toString(), text);
        }
    }
}

void tst_Request::aRefusalShowsTheBeginningOfTheText()
{
    const QString fitting = u"\""_s + QString(39, u'x');
    QVERIFY(writeRequest(Request::copy(fitting), 1).refusal.contains(u'"' + fitting + u'"'));
    const QString longer = fitting + u'y';
    QVERIFY(writeRequest(Request::copy(longer), 1).refusal.contains(u'"' + fitting + u"…\""_s));
}

QTEST_GUILESS_MAIN(tst_Request)
#include "tst_Request.moc"
