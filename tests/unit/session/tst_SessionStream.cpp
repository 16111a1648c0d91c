// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionStream.h"

#include "platform/SessionHost.h"
#include "support/Waiting.h"

#include <QTest>

#include <array>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

class tst_SessionStream : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void messagesThatWaitAreSentTogether();
    void aLongMessageThatWaitsIsNotCopied();

private:
    /// Writes this message until the system takes no more, and then as many times again.
    void fillAndWrite(const QByteArray &message, int count);
    /// Reads until nothing is left, and returns what came, piece by piece as it was sent.
    std::vector<QByteArray> readAll();

    std::unique_ptr<SessionStream> stream;
    int peer = -1;
    int written = 0; // messages
};

void tst_SessionStream::init()
{
    // Keeps what is sent at once apart.
    std::array<int, 2> ends{};
    QCOMPARE(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends.data()), 0);
    stream = std::make_unique<SessionStream>(std::make_unique<platform::LocalStream>(ends[0]));
    peer = ends[1];
    written = 0;
}

void tst_SessionStream::cleanup()
{
    stream.reset();
    ::close(peer);
}

void tst_SessionStream::fillAndWrite(const QByteArray &message, int count)
{
    while (stream->unsent() == 0) {
        stream->write(message);
        ++written;
    }
    for (int i = 0; i < count; ++i) {
        stream->write(message);
        ++written;
    }
}

std::vector<QByteArray> tst_SessionStream::readAll()
{
    std::vector<QByteArray> pieces;
    QByteArray piece(2'000'000, '\0');
    const bool isAllSent = waitUntil([&] {
        const bool isLast = stream->unsent() == 0;
        ssize_t size = 0;
        while ((size = ::recv(peer, piece.data(), static_cast<size_t>(piece.size()), 0)) > 0) {
            pieces.push_back(piece.first(size));
        }
        return isLast;
    });
    return isAllSent ? pieces : std::vector<QByteArray>();
}

void tst_SessionStream::messagesThatWaitAreSentTogether()
{
    const QByteArray message = "{\"id\":1,\"ok\":true}\n";
    fillAndWrite(message, 0);
    const auto taken = static_cast<size_t>(written);
    fillAndWrite(message, 10'000);
    const std::vector<QByteArray> pieces = readAll();
    QByteArray all;
    for (const QByteArray &piece : pieces) {
        all += piece;
        QVERIFY(piece.size() <= 16 * 1024);
    }
    QVERIFY(all == message.repeated(written));
    QVERIFY2(pieces.size() < taken + 20, qPrintable(QString::number(pieces.size())));
}

/// Bodies would be moved about in memory otherwise.
void tst_SessionStream::aLongMessageThatWaitsIsNotCopied()
{
    const QByteArray body(100'000, 'x');
    fillAndWrite(body, 3);
    for (const QByteArray &piece : readAll()) {
        QCOMPARE(piece.size(), body.size());
    }
    QVERIFY(body.isDetached());
}

QTEST_GUILESS_MAIN(tst_SessionStream)
#include "tst_SessionStream.moc"
