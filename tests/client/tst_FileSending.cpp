// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Connection.h"

#include "client/StandInServer.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace std::chrono_literals;
using Kind = Outcome::Kind;

namespace {

const QByteArray announcement = "{ quillmote = 1; cmdType = FILE_TRANSFER_AND_OPEN; }";
const QByteArray ready = "{quillmote = \"1\";serverResponse = \"START_BINARY_TRANSFER\";}";
const QByteArray stored = "{quillmote = \"1\";serverResponse = \"OK\";}";

/// Takes what arrives, asks for the file, and answers once it has all of it.
class FileServer : public StandInServer
{
public:
    explicit FileServer(qsizetype fileSize) : size(announcement.size() + fileSize)
    {
        onRead = [this](QTcpSocket &, const QByteArray &bytes) { receive(bytes); };
    }

    QByteArray received;
    bool isSilent = false;

private:
    void receive(const QByteArray &bytes)
    {
        received += bytes;
        if (isSilent) {
            return;
        }
        if (!std::exchange(isReady, true)) {
            socket->write(ready);
        }
        if (received.size() >= size) {
            socket->write(stored);
        }
    }

    qsizetype size;
    bool isReady = false;
};

/// A file that cannot be read.
class BrokenFile : public QBuffer
{
public:
    qint64 readData(char *, qint64) override
    {
        setErrorString(u"the disk is gone"_s);
        return -1;
    }
};

} // namespace

/// How a Connection sends a file.
class tst_FileSending : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void theFileFollowsWhenTheServerIsReady_data();
    void theFileFollowsWhenTheServerIsReady();
    void nothingFollowsUntilTheServerIsReady();
    void aRefusalOfTheServerEndsIt();
    void progressIsReportedToTheEnd();
    void aFileThatCannotBeReadEndsTheConnection();
    void cancellingEndsEveryRequest();
    void whatTheServerTakesSlowlyDoesNotTimeOut();

private:
    bool open(const FileServer &server) { return server.isReachedBy(*connection); }
    void send(const std::shared_ptr<QIODevice> &body);

    std::unique_ptr<Connection> connection;
    std::optional<Outcome> outcome;
    std::vector<std::pair<quint64, quint64>> progress;
};

void tst_FileSending::init()
{
    connection = std::make_unique<Connection>();
    connection->setTimeout(5s);
    outcome.reset();
    progress.clear();
}

void tst_FileSending::send(const std::shared_ptr<QIODevice> &body)
{
    connection->sendFile(
        announcement, connection->nextTag(), body, quint64(body->size()),
        [this](quint64 sent, quint64 total) { progress.emplace_back(sent, total); },
        [this](const Outcome &end) { outcome = end; });
}

namespace {

std::shared_ptr<QBuffer> bufferOf(const QByteArray &content)
{
    auto buffer = std::make_shared<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    return buffer;
}

QByteArray contentOf(qsizetype size)
{
    QByteArray content(size, '\0');
    for (qsizetype i = 0; i < size; ++i) {
        content[i] = static_cast<char>(i * 7 + i / 251);
    }
    return content;
}

} // namespace

void tst_FileSending::theFileFollowsWhenTheServerIsReady_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const qsizetype size : {1, 1000, 256 * 1024, 256 * 1024 + 1, 5'000'000}) {
        QTest::addRow("%lld bytes", static_cast<long long>(size)) << size;
    }
}

void tst_FileSending::theFileFollowsWhenTheServerIsReady()
{
    QFETCH(qsizetype, size);
    const QByteArray content = contentOf(size);
    FileServer server(size);
    QVERIFY(open(server));
    send(bufferOf(content));
    QTRY_VERIFY(outcome.has_value());
    QCOMPARE(outcome->kind, Kind::Done);
    QCOMPARE(outcome->answer.response(), u"OK"_s);
    QCOMPARE(outcome->problem, QString());
    QVERIFY(server.received == announcement + content);
}

void tst_FileSending::nothingFollowsUntilTheServerIsReady()
{
    FileServer server(3);
    server.isSilent = true;
    QVERIFY(open(server));
    connection->setTimeout(300ms);
    send(bufferOf("abc"));
    QTRY_VERIFY(outcome.has_value());
    QCOMPARE(outcome->kind, Kind::TimedOut);
    QCOMPARE(server.received, announcement);
    QVERIFY(progress.empty());
}

void tst_FileSending::aRefusalOfTheServerEndsIt()
{
    FileServer server(3);
    server.isSilent = true;
    QVERIFY(open(server));
    send(bufferOf("abc"));
    QTRY_COMPARE(server.received, announcement);
    server.socket->write("{quillmote = \"1\";serverResponse = \"ERROR\";}");
    QTRY_VERIFY(outcome.has_value());
    QCOMPARE(outcome->kind, Kind::Done);
    QCOMPARE(outcome->answer.response(), u"ERROR"_s);
    QCOMPARE(server.received, announcement);
}

void tst_FileSending::progressIsReportedToTheEnd()
{
    constexpr quint64 Size = 3'000'000;
    FileServer server(Size);
    QVERIFY(open(server));
    send(bufferOf(contentOf(Size)));
    QTRY_VERIFY(outcome.has_value());
    QVERIFY(progress.size() > 3);
    QVERIFY(progress.front().first < Size);
    QVERIFY(std::ranges::is_sorted(progress));
    QCOMPARE(progress.back(), std::pair(Size, Size));
    for (const auto &[sent, total] : progress) {
        QCOMPARE(total, Size);
    }
}

void tst_FileSending::aFileThatCannotBeReadEndsTheConnection()
{
    const auto broken = std::make_shared<BrokenFile>();
    broken->setData("abc");
    QVERIFY(broken->open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    FileServer server(3);
    QVERIFY(open(server));
    send(broken);
    QTRY_VERIFY(outcome.has_value());
    QCOMPARE(outcome->kind, Kind::Lost);
    QVERIFY2(outcome->problem.contains(u"cannot be read"_s), qPrintable(outcome->problem));
    QVERIFY2(outcome->problem.contains(u"the disk is gone"_s), qPrintable(outcome->problem));
    QVERIFY(!connection->isOpen());
}

/// The current request and those behind it.
void tst_FileSending::cancellingEndsEveryRequest()
{
    FileServer server(3);
    server.isSilent = true;
    QVERIFY(open(server));
    send(bufferOf("abc"));
    std::vector<Kind> behind;
    for (int i = 0; i < 3; ++i) {
        connection->send(Request::serverInfo(),
                         [&](const Outcome &end) { behind.push_back(end.kind); });
    }
    QTRY_COMPARE(server.received, announcement);
    QSignalSpy lost(connection.get(), &Connection::lost);
    connection->cancel();
    QTRY_COMPARE(behind, (std::vector{Kind::Lost, Kind::Lost, Kind::Lost}));
    QCOMPARE(outcome->kind, Kind::Lost);
    QVERIFY(outcome->problem.contains(u"Cancelled"_s));
    QCOMPARE(lost.count(), 1);
    QVERIFY(!connection->isOpen());
    QTRY_COMPARE(server.socket->state(), QAbstractSocket::UnconnectedState);
}

/// The time limit counts only while no bytes leave.
void tst_FileSending::whatTheServerTakesSlowlyDoesNotTimeOut()
{
    constexpr qsizetype Size = 24'000'000;
    FileServer server(Size);
    QVERIFY(open(server));
    connection->setTimeout(1500ms);
    server.isSilent = true;
    send(bufferOf(contentOf(Size)));
    QTRY_COMPARE(server.received, announcement);
    // At most 400 kB each 50 ms, so all of it takes 3 s.
    QTcpSocket &socket = *server.socket;
    socket.disconnect(&server);
    socket.setReadBufferSize(400'000);
    socket.write(ready);
    qsizetype taken = 0;
    while (taken < Size && !outcome) {
        QTest::qWait(50);
        taken += socket.readAll().size();
    }
    QCOMPARE(taken, Size);
    QVERIFY(!outcome);
    socket.write(stored);
    QTRY_VERIFY(outcome.has_value());
    QCOMPARE(outcome->kind, Kind::Done);
}

QTEST_GUILESS_MAIN(tst_FileSending)
#include "tst_FileSending.moc"
