// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/HttpReader.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_HttpReader : public QObject
{
    Q_OBJECT

private slots:
    void aBrowsersRequestIsRead();
    void requestsAreReadOrRefused_data();
    void requestsAreReadOrRefused();
    void anUpgradeIsReadOrRefused_data();
    void anUpgradeIsReadOrRefused();
    void compressionIsTakenWhereItIsAllowed_data();
    void compressionIsTakenWhereItIsAllowed();
    void aHeadHasALargestSize();
    void whatIsBehindTheHeadIsNotRead();
};

namespace {

/// The reading of each beginning until one is done, which has to be that of all bytes.
HttpReading readGrowing(const QByteArray &bytes)
{
    for (qsizetype size = 0; size <= bytes.size(); ++size) {
        const HttpReading reading = readHttp(QByteArrayView(bytes).first(size));
        if (reading.isDone()) {
            return reading;
        }
    }
    return {};
}

} // namespace

void tst_HttpReader::aBrowsersRequestIsRead()
{
    const QByteArray bytes = "GET /touchpad.js?x=1 HTTP/1.1\r\n"
                             "Host: 192.168.1.20:8642\r\n"
                             "Connection: keep-alive\r\n"
                             "User-Agent: Mozilla/5.0 (Linux; Android 14)\r\n"
                             "Accept: */*\r\n"
                             "origin:\thttp://192.168.1.20:8642 \r\n"
                             "Accept-Encoding: gzip, deflate\r\n"
                             "Cookie: name=J\xc3\xbcrgen\r\n"
                             "Upgrade: h2c\r\n"
                             "Content-Length: 0\r\n"
                             "\r\n";
    HttpRequest expected;
    expected.path = "/touchpad.js";
    expected.host = "192.168.1.20:8642";
    expected.origin = "http://192.168.1.20:8642";
    expected.takesDeflate = true;
    const HttpReading reading = readHttp(bytes);
    QCOMPARE(reading.refusal, 0);
    QVERIFY(reading.request == expected);
    QCOMPARE(reading.size, bytes.size());
    QVERIFY(readGrowing(bytes) == reading);
}

void tst_HttpReader::requestsAreReadOrRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("refusal"); // -1: not complete

    const auto row = [](const char *bytes, int refusal) {
        QTest::addRow("%s", QByteArray(bytes).toPercentEncoding(" /:.").constData())
            << QByteArray(bytes) << refusal;
    };
    row("", -1);
    row("G", -1);
    row("GET", -1);
    row("HEAD / HTTP/1.1\r\nHost: a\r\n\r", -1);
    row("GET / HTTP/1.1\r\nHost: a\r\n\r\n", 0);
    row("HEAD / HTTP/1.1\r\nHost:a\r\n\r\n", 0);
    row("GET / HTTP/1.1\r\nHost: a\r\nX:\r\n\r\n", 0);
    row("GET / HTTP/1.1\r\nHost: a\r\nContent-Length: 0\r\n\r\n", 0);

    row("P", 405);
    row("POST / HTTP/1.1\r\nHost: a\r\n\r\n", 405);
    row("get / HTTP/1.1\r\nHost: a\r\n\r\n", 405);
    row("GETS", 405);
    row("\x16\x03\x01", 400); // TLS
    row("\r\nGET / HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row(" GET", 400);
    row("GET\t", 400);
    row("GET  / HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET /  HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET /\tHTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET / x HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET /\r\nHost: a\r\n\r\n", 400);
    row("GET http://a/ HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET * HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET x HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET /#x HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET /\xc3\xa4 HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET /\x7f HTTP/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET / HTTP/1.0\r\nHost: a\r\n\r\n", 505);
    row("GET / HTTP/2.0\r\nHost: a\r\n\r\n", 505);
    row("GET / HTTP/1.1 \r\nHost: a\r\n\r\n", 400);
    row("GET / http/1.1\r\nHost: a\r\n\r\n", 400);
    row("GET / HTTP/11\r\nHost: a\r\n\r\n", 400);
    row("GET / HTTP/1.1\nHost: a\n\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\r\n\r\n", 400);
    row("GET / HTTP/1.1\rHost: a\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\x01\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost:\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nHost: a\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nhOST: b\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nOrigin: b\r\nOrigin: b\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost : a\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\n: a\r\nHost: a\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nX: 1\r\n folded\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\n Host: a\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nContent-Length: 5\r\n\r\nhello", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nContent-Length: -1\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n", 400);
    row("GET / HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: identity\r\n\r\n", 400);
}

void tst_HttpReader::requestsAreReadOrRefused()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, refusal);
    const HttpReading reading = readHttp(bytes);
    QCOMPARE(reading.isDone(), refusal >= 0);
    QCOMPARE(reading.refusal, std::max(refusal, 0));
    QCOMPARE(reading.request.has_value(), refusal == 0);
    if (reading.request) {
        QCOMPARE(reading.request->isHead, bytes.startsWith("HEAD"));
        QCOMPARE(reading.request->path, QByteArray("/"));
        QCOMPARE(reading.request->host, QByteArray("a"));
    }
    QVERIFY(readGrowing(bytes) == reading);
}

void tst_HttpReader::anUpgradeIsReadOrRefused_data()
{
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<int>("refusal"); // -1: a request like others

    const QByteArray key = "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
    const QByteArray version = "Sec-WebSocket-Version: 13\r\n";
    const QByteArray upgrade = "Upgrade: websocket\r\n";
    const QByteArray connection = "Connection: Upgrade\r\n";
    const QByteArray get = "GET";
    QTest::newRow("whole") << get << upgrade + connection + key + version << 0;
    QTest::newRow("as Firefox writes it")
        << get << "Upgrade: WebSocket\r\nConnection: keep-alive, Upgrade\r\n" + key + version << 0;
    QTest::newRow("no upgrade") << get << connection + key + version << -1;
    QTest::newRow("another upgrade") << get << "Upgrade: h2c\r\n" + connection << -1;
    QTest::newRow("no connection") << get << upgrade + key + version << 400;
    QTest::newRow("another connection")
        << get << upgrade + "Connection: close\r\n" + key + version << 400;
    QTest::newRow("no key") << get << upgrade + connection + version << 400;
    QTest::newRow("a short key") << get
                                 << upgrade + connection + "Sec-WebSocket-Key: dGhl\r\n" + version
                                 << 400;
    QTest::newRow("a key without its end")
        << get << upgrade + connection + "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ\r\n" + version
        << 400;
    QTest::newRow("a key that is none")
        << get << upgrade + connection + "Sec-WebSocket-Key: dGhlIHNhbXBs?SBub25jZQ==\r\n" + version
        << 400;
    QTest::newRow("two keys") << get << upgrade + connection + key + key + version << 400;
    QTest::newRow("no version") << get << upgrade + connection + key << 426;
    QTest::newRow("an old version")
        << get << upgrade + connection + key + "Sec-WebSocket-Version: 8\r\n"
        << 426;
    QTest::newRow("HEAD") << QByteArray("HEAD") << upgrade + connection + key + version << 400;
}

void tst_HttpReader::anUpgradeIsReadOrRefused()
{
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, fields);
    QFETCH(int, refusal);
    const QByteArray bytes = start + " /socket HTTP/1.1\r\nHost: a\r\n" + fields + "\r\n";
    const HttpReading reading = readHttp(bytes);
    QCOMPARE(reading.refusal, std::max(refusal, 0));
    QCOMPARE(reading.request.has_value(), refusal <= 0);
    QCOMPARE(reading.request.value_or(HttpRequest()).wantsSocket, refusal == 0);
    QVERIFY(readGrowing(bytes) == reading);
}

void tst_HttpReader::compressionIsTakenWhereItIsAllowed_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("isTaken");

    const auto row = [](const char *value, bool isTaken) {
        QTest::addRow("\"%s\"", value) << QByteArray(value) << isTaken;
    };
    row("gzip, deflate, br, zstd", true);
    row("Deflate", true);
    row("deflate;q=0.5", true);
    row("gzip,deflate ; q=1", true);
    row("deflate;q=0", false);
    row("deflate;q=0.000", false);
    row("deflate;q=x", false);
    row("deflate;q=inf", false);
    row("deflate;q", false);
    row("deflate;", false);
    row("deflate;x", false);
    row("gzip", false);
    row("deflated", false);
    row("", false);
}

void tst_HttpReader::compressionIsTakenWhereItIsAllowed()
{
    QFETCH(QByteArray, value);
    QFETCH(bool, isTaken);
    const HttpReading reading =
        readHttp("GET / HTTP/1.1\r\nHost: a\r\nAccept-Encoding: " + value + "\r\n\r\n");
    QVERIFY(reading.request);
    QCOMPARE(reading.request->takesDeflate, isTaken);
}

void tst_HttpReader::aHeadHasALargestSize()
{
    const QByteArray start = "GET / HTTP/1.1\r\nHost: a\r\nX: ";
    const auto ofSize = [&](qsizetype size) {
        return start + QByteArray(size - start.size() - 4, 'x') + "\r\n\r\n";
    };
    QVERIFY(readHttp(ofSize(longestHttpHead)).request);
    const HttpReading tooLong = readHttp(ofSize(longestHttpHead + 1));
    QCOMPARE(tooLong.refusal, 431);
    QVERIFY(!readHttp(ofSize(longestHttpHead + 1).first(longestHttpHead - 1)).isDone());
    QVERIFY(readHttp(ofSize(longestHttpHead + 1).first(longestHttpHead)) == tooLong);

    const QByteArray few = "GET / HTTP/1.1\r\nHost: a\r\n" + QByteArray("X: y\r\n").repeated(63);
    QVERIFY(readHttp(few + "\r\n").request);
    QCOMPARE(readHttp(few + "X: y\r\n\r\n").refusal, 431);
}

void tst_HttpReader::whatIsBehindTheHeadIsNotRead()
{
    const QByteArray head = "GET / HTTP/1.1\r\nHost: a\r\n\r\n";
    const HttpReading reading = readHttp(head + "\n\x01 and more");
    QVERIFY(reading.request);
    QCOMPARE(reading.size, head.size());
}

QTEST_GUILESS_MAIN(tst_HttpReader)
#include "tst_HttpReader.moc"
