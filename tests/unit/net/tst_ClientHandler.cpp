// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/ClientHandler.h"

#include "doubles/MemorySocket.h"
#include "net/ConnectionResources.h"
#include "support/MessageRecorder.h"
#include "support/protocol/Delivery.h"
#include "support/protocol/SocketPair.h"
#include "support/session/PrivateHome.h"

#include <QDir>
#include <QEventLoop>
#include <QMetaMethod>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <memory>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// While it lives, no file of this process grows beyond the size, in bytes.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t size)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit lowered{size, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lowered);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit before{};
};

/// A request of exactly 40 bytes.
QByteArray fortyByteRequest()
{
    return "{ cmdType = FILE_TRANSFER_AND_OPEN;    }";
}

constexpr qsizetype mebibyte = 1024 * 1024;

} // namespace

class tst_ClientHandler : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void theMetaObjectListsSignalsAndSlotsInTheirOrder();
    void startsEmpty();

    void aChunkThatIsATokenIsStoredAndAnnouncedOnce();
    void twoTokensInOneChunkAreAnnouncedOnce();
    void eachChunkIsAToken();
    void aTokenInTwoHalvesIsLost();
    void aTokenInSingleBytesIsLost();
    void aKeySentAgainOverwritesAndOthersStay();
    void anythingElseIsDroppedWithoutAWord_data();
    void anythingElseIsDroppedWithoutAWord();
    void aReversedTokenIsReported();
    void aPrefixIsReported();
    void bracesWithoutAnythingToCutAreNotReported();
    void whatALeavingPeerSentLastIsRead();
    void aTokenMayEndTheHandler();

    void aTokenOfOneReadIsReadWhole_data();
    void aTokenOfOneReadIsReadWhole();
    void aTokenBeyondOneReadIsLost();
    void whatArrivesTogetherIsOneRead();
    void othersAreReadWhileALongTokenIsTakenApart();
    void aLongTokenOfALeavingPeerIsReadToItsEnd();
    void aLongTokenIsWrittenToTheFileThatItAnnounces();
    void nothingIsReadWhileReadingIsPaused();
    void whatALeavingPeerSentDuringAPauseIsRead();
    void aSocketThatIsClosedHereEndsAPause();

    void theAnswerIsTheWholeMapAndNothingElse();
    void anAnswerIsOneByteACharacter();
    void anAnswerToAPeerThatHasLeftGoesNowhere();
    void acceptingAPairPutsNothingOnTheWire();
    void moreThanFourMebibytesOfUnreadAnswersEndTheConnection();
    void aLongAnswerArrivesWhole();
    void aLongAnswerLeavesTheOthersTheirTurns();
    void aLongAnswerThatNobodyReadsWaits();
    void aPeerThatLeavesALongAnswerIsNoticed();
    void aLongAnswerEndsWithAConnectionThatIsClosedHere();

    void theConnectionThatHoldsMostGoes();
    void shortItemsCountAsTheyAreInMemory();

    void aMapOfTheMostKeysIsServed();
    void oneKeyMoreEndsTheConnection();
    void moreThanSixteenMebibytesEndTheConnection();
    void whatTheServerStoresDoesNotCount();

    void theFileIsNamedInAMessage();
    void theRequestStandsAtTheHeadOfTheFile();
    void theTransferEndsOnlyBeyondTheAnnouncedSize();
    void everyFurtherChunkGoesIntoTheFile();
    void aLastChunkIsWrittenWhole();
    void bytesOfAFileMayComeSingly();
    void anExistingFileIsExtended();
    void theCompletionAnswerCarriesTheWholeMap();
    void afterTheFileTokensAreReadAgain();
    void anotherFileMayFollow();
    void aSecondAnnouncementTakesTheFirstOnesPlace();
    void aSecondAnnouncementThatIsRefusedEndsTheFirst();
    void withoutASettingFilesGoToTheDesktop();
    void theSettingIsReadAtEachAnnouncement();
    void aMissingDirectoryIsNotMade();
    void aTransferThatCannotBeOpenedNeverEnds_data();
    void aTransferThatCannotBeOpenedNeverEnds();
    void aPipeThatIsReadGetsNothing();
    void withoutAFullPathNothingIsSavedAndTheUserIsWarned_data();
    void withoutAFullPathNothingIsSavedAndTheUserIsWarned();
    void aTransferHoldsOneDescriptor();
    void aFailedWriteRaisesTheCount();
    void aSizeBeyondTheRangeOfTheCountEndsAtOnce_data();
    void aSizeBeyondTheRangeOfTheCountEndsAtOnce();
    void aFileThatCannotBeOpenedEndsInSilenceToo();
    void theLargestCountStaysWhereItIs();
    void aPeerThatLeavesDuringATransferLeavesWhatItSent();

    void aPeerThatLeavesIsReportedAndEndsTheHandler();
    void aBrokenConnectionIsReportedTwiceAndEndsTheHandlerOnce();
    void anErrorAloneEndsNothing();
    void theSocketIsLeftToItsOwner();

private:
    /// Sends the bytes and waits until the handler has taken them.
    void deliver(const QByteArray &bytes);
    /// What the peer has received once nothing more is on its way.
    QByteArray answers();
    QString received(const QString &name) const { return home->path(u"received/"_s + name); }

    std::unique_ptr<PrivateHome> home;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<SocketPair> sockets;
    QPointer<ClientHandler> handler;
    std::unique_ptr<QSignalSpy> tokens;
    std::unique_ptr<QSignalSpy> files;
};

void tst_ClientHandler::initTestCase()
{
    QCOMPARE(fortyByteRequest().size(), 40);
}

void tst_ClientHandler::init()
{
    home = std::make_unique<PrivateHome>();
    QSettings().setValue("downloadDirectory", home->subdirectory(u"received"_s));
    messages = std::make_unique<MessageRecorder>();
    sockets = std::make_unique<SocketPair>();
    QVERIFY(sockets->isConnected());
    handler = new ClientHandler(sockets->accepted.get());
    tokens = std::make_unique<QSignalSpy>(handler, &ClientHandler::tokenAvailable);
    files = std::make_unique<QSignalSpy>(handler, &ClientHandler::showFile);
}

void tst_ClientHandler::cleanup()
{
    delete handler;
    files.reset();
    tokens.reset();
    sockets.reset();
    messages.reset();
    QSettings().clear();
    home.reset();
}

void tst_ClientHandler::deliver(const QByteArray &bytes)
{
    sockets->peer.write(bytes);
    QVERIFY(waitUntilTaken(sockets->peer, sockets->accepted.get(), bytes.size()));
}

QByteArray tst_ClientHandler::answers()
{
    // The connection ends after all answers have been sent.
    sockets->accepted->disconnectFromHost();
    waitUntil([&] { return sockets->peer.state() == QAbstractSocket::UnconnectedState; });
    return sockets->peer.readAll();
}

void tst_ClientHandler::theMetaObjectListsSignalsAndSlotsInTheirOrder()
{
    const QMetaObject &meta = ClientHandler::staticMetaObject;
    QList<QByteArray> methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        methods.append(method.methodSignature() + ' ' + method.parameterNames().join(','));
    }
    QCOMPARE(methods, QList<QByteArray>({"tokenAvailable() ", "showFile(QString) filename",
                                         "disconnected() ", "readyRead() ",
                                         "socketError(QAbstractSocket::SocketError) error"}));
}

void tst_ClientHandler::startsEmpty()
{
    QVERIFY(handler->token.isEmpty());
    QVERIFY(handler->deviceName.isEmpty());
    QVERIFY(handler->parent() == nullptr);
    QVERIFY(!handler->parseToken());
    QCOMPARE(handler->packageToken(), u"{}"_s);
}

// ---- What arrives -------------------------------------------------------------------------------

void tst_ClientHandler::aChunkThatIsATokenIsStoredAndAnnouncedOnce()
{
    deliver("{\n    cmdType = \"SERVER_PAIR\";\n    cmdParameters = (\n        \"id\",\n"
            "        name\n    );\n}");
    QCOMPARE(tokens->count(), 1);
    const TokenMap expected = {{u"cmdType"_s, u"SERVER_PAIR"_s},
                               {u"cmdParameters"_s, QStringList{u"id"_s, u"name"_s}}};
    QCOMPARE(handler->token, expected);
    QCOMPARE(messages->all(), QStringList());
    // No part of it is left to be read again.
    QVERIFY(!handler->parseToken());
}

void tst_ClientHandler::twoTokensInOneChunkAreAnnouncedOnce()
{
    deliver("{ a = b; } { c = d; }");
    QCOMPARE(tokens->count(), 1);
    const TokenMap expected = {{u"a"_s, u"b"_s}, {u"} { c"_s, u"d"_s}};
    QCOMPARE(handler->token, expected);
}

void tst_ClientHandler::eachChunkIsAToken()
{
    deliver("{ a = 1; }");
    deliver("{ b = 2; }");
    QCOMPARE(tokens->count(), 2);
    const TokenMap expected = {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}};
    QCOMPARE(handler->token, expected);
}

void tst_ClientHandler::aTokenInTwoHalvesIsLost()
{
    deliver("{ cmdType = SERV");
    deliver("ER_INFO; }");
    QCOMPARE(tokens->count(), 0);
    QVERIFY(handler->token.isEmpty());
    // Neither half is kept for what comes next.
    deliver("{ a = b; }");
    QCOMPARE(handler->token, TokenMap({{u"a"_s, u"b"_s}}));
    QCOMPARE(answers(), QByteArray());
}

void tst_ClientHandler::aTokenInSingleBytesIsLost()
{
    for (const char byte : QByteArray("{ cmdType = SERVER_INFO; }")) {
        deliver(QByteArray(1, byte));
    }
    QCOMPARE(tokens->count(), 0);
    QVERIFY(handler->token.isEmpty());
    QCOMPARE(messages->all(), QStringList());
}

void tst_ClientHandler::aKeySentAgainOverwritesAndOthersStay()
{
    deliver("{ a = 1; b = (x, y); }");
    deliver("{ a = 2; }");
    const TokenMap expected = {{u"a"_s, u"2"_s}, {u"b"_s, QStringList{u"x"_s, u"y"_s}}};
    QCOMPARE(handler->token, expected);
}

void tst_ClientHandler::anythingElseIsDroppedWithoutAWord_data()
{
    QTest::addColumn<QByteArray>("chunk");

    QTest::newRow("blank") << QByteArray(" ");
    QTest::newRow("one brace") << QByteArray("{");
    QTest::newRow("a token as the server writes it") << QByteArray("{serverResponse = \"OK\";}");
    QTest::newRow("nul in front") << QByteArray("\0{ a = b; }", 11);
    QTest::newRow("no end") << QByteArray("{ a = b;");
    QTest::newRow("no beginning") << QByteArray("a = b; }");
    QTest::newRow("all bytes") << [] {
        QByteArray bytes;
        for (int byte = 1; byte < 256; ++byte) {
            bytes.append(static_cast<char>(byte));
        }
        return bytes;
    }();
}

void tst_ClientHandler::anythingElseIsDroppedWithoutAWord()
{
    QFETCH(QByteArray, chunk);
    deliver(chunk);
    QCOMPARE(tokens->count(), 0);
    QVERIFY(handler->token.isEmpty());
    QCOMPARE(messages->all(), QStringList());
    QCOMPARE(answers(), QByteArray());
}

void tst_ClientHandler::aReversedTokenIsReported()
{
    deliver("a = \"b\";\n} {\nc");
    QCOMPARE(messages->all(), QStringList{u"debug: Bad token :  \"a = \"b\"; } { c\" "_s});
    QCOMPARE(tokens->count(), 0);
    QVERIFY(handler->token.isEmpty());
}

void tst_ClientHandler::aPrefixIsReported()
{
    deliver("prefix{ a = b; }");
    QCOMPARE(messages->all(), QStringList{u"debug: Fix token... "_s});
    QCOMPARE(tokens->count(), 1);
    QCOMPARE(handler->token, TokenMap({{u"a"_s, u"b"_s}}));
}

void tst_ClientHandler::bracesWithoutAnythingToCutAreNotReported()
{
    deliver("x{ } y{");
    QCOMPARE(messages->all(), QStringList());
    QCOMPARE(tokens->count(), 1);
}

void tst_ClientHandler::whatALeavingPeerSentLastIsRead()
{
    sockets->peer.write("{ a = b; }");
    sockets->peer.disconnectFromHost();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(tokens->count(), 1);
}

void tst_ClientHandler::aTokenMayEndTheHandler()
{
    connect(handler, &ClientHandler::tokenAvailable, this, [&] { delete handler; });
    sockets->peer.write("{ a = b; }");
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(tokens->count(), 1);
}

// ---- Long tokens, and pauses --------------------------------------------------------------------

namespace {

QByteArray tokenOfSize(qsizetype size)
{
    const QByteArray frame = "{ a = ; }";
    return QByteArray(frame).insert(6, QByteArray(size - frame.size(), 'v'));
}

/// Runs the event loop until it has nothing to do.
void processAll()
{
    for (int round = 0; round < 4'000; ++round) {
        QCoreApplication::processEvents();
    }
}

constexpr qsizetype oneRead = 1024 * 1024;

} // namespace

void tst_ClientHandler::aTokenOfOneReadIsReadWhole_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const qsizetype size : {8'191, 8'192, 8'193, 65'536, 65'537, 500'000, 1'048'576}) {
        QTest::addRow("%d bytes", int(size)) << size;
    }
}

void tst_ClientHandler::aTokenOfOneReadIsReadWhole()
{
    QFETCH(qsizetype, size);
    MemorySocket socket;
    ClientHandler reader(&socket);
    QSignalSpy announced(&reader, &ClientHandler::tokenAvailable);
    socket.receive(tokenOfSize(size));
    emit socket.readyRead();
    processAll();
    QCOMPARE(announced.count(), 1);
    QCOMPARE(reader.token.value(u"a"_s).toString().size(), size - 9);
}

void tst_ClientHandler::aTokenBeyondOneReadIsLost()
{
    MemorySocket socket;
    ClientHandler reader(&socket);
    QSignalSpy announced(&reader, &ClientHandler::tokenAvailable);
    socket.receive(tokenOfSize(oneRead + 1));
    emit socket.readyRead();
    processAll();
    emit socket.readyRead();
    processAll();
    QCOMPARE(socket.unread(), 0);
    QCOMPARE(announced.count(), 0);
    QVERIFY(reader.token.isEmpty());
}

/// More than the toolkit's socket holds: the rest is taken from the system in the same read.
void tst_ClientHandler::whatArrivesTogetherIsOneRead()
{
    handler->pauseReading();
    sockets->peer.write(tokenOfSize(30'000));
    QVERIFY(waitUntilArrived(sockets->peer));
    sockets->peer.write(" { b = c; }");
    QVERIFY(waitUntilArrived(sockets->peer));
    handler->resumeReading();
    QVERIFY(waitUntil([&] { return tokens->count() == 1; }));
    QCOMPARE(handler->token.value(u"} { b"_s), QVariant(u"c"_s));
    processAll();
    QCOMPARE(tokens->count(), 1);
}

void tst_ClientHandler::othersAreReadWhileALongTokenIsTakenApart()
{
    ConnectionResources resources;
    MemorySocket longSocket;
    MemorySocket shortSocket;
    ClientHandler longReader(&longSocket, &resources);
    ClientHandler shortReader(&shortSocket, &resources);
    QStringList order;
    connect(&longReader, &ClientHandler::tokenAvailable, this, [&] { order.append(u"long"_s); });
    connect(&shortReader, &ClientHandler::tokenAvailable, this, [&] {
        order.append(u"short"_s);
        if (order.size() < 20) {
            shortSocket.receive("{ a = b; }");
            emit shortSocket.readyRead();
        }
    });
    longSocket.receive("{ " + QByteArray(oneRead - 4, ';') + " }");
    emit longSocket.readyRead();
    shortSocket.receive("{ a = b; }");
    emit shortSocket.readyRead();
    processAll();
    QCOMPARE(order.count(u"long"_s), 1);
    QCOMPARE(order.indexOf(u"long"_s), 20);
}

void tst_ClientHandler::aLongTokenOfALeavingPeerIsReadToItsEnd()
{
    sockets->peer.write("{ " + QByteArray(50'000, ';') + "a = b; }");
    QVERIFY(waitUntilArrived(sockets->peer));
    sockets->peer.disconnectFromHost();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(tokens->count(), 1);
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

void tst_ClientHandler::aLongTokenIsWrittenToTheFileThatItAnnounces()
{
    connect(handler, &ClientHandler::tokenAvailable, this,
            [&] { handler->setFileToTransfer(u"note"_s, 40'000); });
    const QByteArray request = tokenOfSize(30'000);
    deliver(request);
    QCOMPARE(files->count(), 0);
    deliver(QByteArray(20'000, 'f'));
    QCOMPARE(files->count(), 1);
    QCOMPARE(contentOf(received(u"note"_s)), request + QByteArray(20'000, 'f'));
}

void tst_ClientHandler::nothingIsReadWhileReadingIsPaused()
{
    handler->pauseReading();
    sockets->peer.write("{ a = b; }");
    QVERIFY(waitUntilArrived(sockets->peer));
    processAll();
    QCOMPARE(tokens->count(), 0);
    sockets->peer.write("{ c = d; }");
    QVERIFY(waitUntilArrived(sockets->peer));
    handler->resumeReading();
    QCOMPARE(tokens->count(), 0);
    processAll();
    // One read, so one token.
    QCOMPARE(tokens->count(), 1);
    QCOMPARE(handler->token.value(u"}{ c"_s), QVariant(u"d"_s));
}

void tst_ClientHandler::whatALeavingPeerSentDuringAPauseIsRead()
{
    handler->pauseReading();
    sockets->peer.write("{ a = b; }");
    sockets->peer.disconnectFromHost();
    QVERIFY(
        waitUntil([&] { return sockets->accepted->state() == QAbstractSocket::UnconnectedState; }));
    processAll();
    QVERIFY(!handler.isNull());
    QCOMPARE(tokens->count(), 0);
    QCOMPARE(messages->warnings(), QStringList());
    handler->resumeReading();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(tokens->count(), 1);
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

void tst_ClientHandler::aSocketThatIsClosedHereEndsAPause()
{
    handler->pauseReading();
    sockets->accepted->abort();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

// ---- Answers ------------------------------------------------------------------------------------

void tst_ClientHandler::theAnswerIsTheWholeMapAndNothingElse()
{
    deliver("{ cmdType = X; }");
    handler->sendToken();
    QCOMPARE(answers(), QByteArray("{cmdType = \"X\";}"));
}

void tst_ClientHandler::anAnswerIsOneByteACharacter()
{
    handler->token.insert(u"k"_s, u"\u00e9\u00ff\u2603"_s);
    QCOMPARE(handler->packageToken(), u"{k = \"\u00e9\u00ff\u2603\";}"_s);
    handler->sendToken();
    QCOMPARE(answers(), QByteArray("{k = \"\xe9\xff?\";}"));
}

void tst_ClientHandler::anAnswerToAPeerThatHasLeftGoesNowhere()
{
    sockets->accepted->abort();
    handler->sendToken();
    // In particular no complaint of the toolkit, which would reach the user as a balloon.
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

void tst_ClientHandler::acceptingAPairPutsNothingOnTheWire()
{
    handler->acceptPair(true);
    handler->acceptPair(false);
    QVERIFY(handler->token.isEmpty());
    QCOMPARE(messages->all(), QStringList());
    QCOMPARE(answers(), QByteArray());
}

void tst_ClientHandler::moreThanFourMebibytesOfUnreadAnswersEndTheConnection()
{
    // With `{k = "";}` around it the answer has exactly 32 KiB. Nothing is sent as long as the
    // event loop does not run.
    handler->token.insert(u"k"_s, QString(32 * 1024 - 9, u'x'));
    for (int count = 0; count < 128; ++count) {
        handler->sendToken();
    }
    QCOMPARE(sockets->accepted->bytesToWrite(), 4 * mebibyte);
    handler->sendToken();
    QCOMPARE(sockets->accepted->bytesToWrite(), 4 * mebibyte + 32 * 1024);
    QCOMPARE(sockets->accepted->state(), QAbstractSocket::ConnectedState);
    QCOMPARE(messages->all(), QStringList());

    handler->sendToken();
    QCOMPARE(sockets->accepted->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(messages->all(), QStringList({u"debug: The device does not read its answers. "_s,
                                           u"warning: Device Disconnected "_s}));
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
}

void tst_ClientHandler::aLongAnswerArrivesWhole()
{
    QStringList items;
    for (int number = 0; number < 200'000; ++number) {
        items.append(QString::number(number));
    }
    handler->token.insert(u"list"_s, items);
    handler->token.insert(u"text"_s, QString(2 * mebibyte, u'\u00e9'));
    handler->sendToken();
    handler->token.insert(u"later"_s, u"is not in it"_s);
    QByteArray whole = handler->packageToken().toLatin1();
    handler->sendToken();
    QByteArray arrived;
    QVERIFY(waitUntil([&] {
        arrived += sockets->peer.readAll();
        return arrived.endsWith(whole);
    }));
    handler->token.remove(u"later"_s);
    // The map's order may have changed.
    const QByteArray first = arrived.chopped(whole.size());
    QCOMPARE(first.size(), handler->packageToken().size());
    QVERIFY(!first.contains("later"));
}

void tst_ClientHandler::aLongAnswerLeavesTheOthersTheirTurns()
{
    ConnectionResources resources;
    MemorySocket longSocket;
    MemorySocket shortSocket;
    ClientHandler longWriter(&longSocket, &resources);
    ClientHandler shortReader(&shortSocket, &resources);
    qsizetype writtenBefore = 0;
    int count = 0;
    connect(&shortReader, &ClientHandler::tokenAvailable, this, [&] {
        const qsizetype written = longSocket.takeWritten().size();
        writtenBefore += written;
        ++count;
        QVERIFY(written <= 2 * AnswerQueue::pieceSize);
        if (writtenBefore < mebibyte) {
            shortSocket.receive("{ a = b; }");
            emit shortSocket.readyRead();
        }
    });
    longWriter.token.insert(u"k"_s, QString(mebibyte, u'x'));
    longWriter.sendToken();
    shortSocket.receive("{ a = b; }");
    emit shortSocket.readyRead();
    QVERIFY(waitUntil([&] { return writtenBefore >= mebibyte; }));
    QVERIFY2(count >= 8, qPrintable(QString::number(count)));
}

void tst_ClientHandler::aLongAnswerThatNobodyReadsWaits()
{
    // Otherwise the peer's socket reads everything into its own memory.
    sockets->peer.setReadBufferSize(AnswerQueue::pieceSize);
    handler->token.insert(u"k"_s, QString(32 * mebibyte, u'x'));
    handler->sendToken();
    const auto isStuck = [&] {
        const qint64 before = sockets->accepted->bytesToWrite();
        QTest::qWait(50);
        return before > 0 && sockets->accepted->bytesToWrite() == before;
    };
    QVERIFY(waitUntil(isStuck));
    QVERIFY(sockets->accepted->bytesToWrite() < 2 * AnswerQueue::pieceSize);
    // The peer is not read in the meantime; it is again once it has read its answer.
    sockets->peer.write("{ a = b; }");
    QTest::qWait(50);
    QCOMPARE(tokens->count(), 0);
    sockets->peer.setReadBufferSize(0);
    qint64 read = 0;
    QVERIFY(waitUntil([&] {
        read += sockets->peer.readAll().size();
        return tokens->count() == 1;
    }));
    QVERIFY(waitUntil([&] {
        read += sockets->peer.readAll().size();
        return read == 32 * mebibyte + 9;
    }));
}

void tst_ClientHandler::aPeerThatLeavesALongAnswerIsNoticed()
{
    handler->token.insert(u"k"_s, QString(32 * mebibyte, u'x'));
    handler->sendToken();
    QVERIFY(waitUntil([&] { return sockets->peer.bytesAvailable() > 0; }));
    sockets->peer.abort();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

void tst_ClientHandler::aLongAnswerEndsWithAConnectionThatIsClosedHere()
{
    handler->token.insert(u"k"_s, QString(mebibyte, u'x'));
    handler->sendToken();
    // The next piece has its turn already, and takes it before the connection is deleted.
    connect(sockets->accepted.get(), &QIODevice::bytesWritten, this, [this] {
        if (sockets->accepted->bytesToWrite() == 0) {
            sockets->accepted->abort();
        }
    });
    // A loop as in the program: waitUntil() deletes before everything else.
    QEventLoop loop;
    connect(handler, &QObject::destroyed, &loop, &QEventLoop::quit);
    QTimer::singleShot(GenerousLimit, &loop, &QEventLoop::quit);
    loop.exec();
    QVERIFY(handler.isNull());
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

// ---- What all connections may hold --------------------------------------------------------------

void tst_ClientHandler::theConnectionThatHoldsMostGoes()
{
    ConnectionResources resources(mebibyte);
    std::vector<std::unique_ptr<MemorySocket>> peers;
    std::vector<QPointer<ClientHandler>> handlers;
    for (int number = 0; number < 4; ++number) {
        peers.push_back(std::make_unique<MemorySocket>());
        handlers.emplace_back(new ClientHandler(peers.back().get(), &resources));
    }
    // Short tokens, each of which takes some 16 KB.
    const auto store = [&](size_t number, char key, int count) {
        for (int token = 0; token < count && !handlers[number].isNull(); ++token) {
            peers[number]->receive(QByteArray("{ ") + key + QByteArray::number(token) + " = " +
                                   QByteArray(8'000, 'x') + "; }");
            emit peers[number]->readyRead();
            QTRY_VERIFY(
                handlers[number].isNull() ||
                handlers[number]->token.contains(QChar::fromLatin1(key) + QString::number(token)));
        }
    };
    store(0, 'a', 1);
    store(1, 'a', 12);
    store(2, 'a', 24);
    store(3, 'a', 18);
    QVERIFY(resources.memory.total() > 55 * 16'000);
    QCOMPARE(messages->all(), QStringList());
    store(0, 'b', 12);
    processAll();
    QVERIFY(handlers[2].isNull());
    QVERIFY(!handlers[0].isNull() && !handlers[1].isNull() && !handlers[3].isNull());
    QCOMPARE(
        messages->debugs(),
        QStringList{u"All devices together have stored too much, and this one most of it. "_s});
    // The connection that exceeds the limit may be the largest itself, while its token is read.
    store(0, 'c', 100);
    processAll();
    QVERIFY(handlers[0].isNull());
    for (const QPointer<ClientHandler> &living : handlers) {
        delete living;
    }
    QCOMPARE(resources.memory.total(), 0);
}

void tst_ClientHandler::shortItemsCountAsTheyAreInMemory()
{
    ConnectionResources resources(16 * mebibyte);
    MemorySocket peer;
    QPointer<ClientHandler> greedy = new ClientHandler(&peer, &resources);
    peer.receive("{ k = (" + QByteArray("a, ").repeated(340'000) + "a); }");
    emit peer.readyRead();
    processAll();
    QVERIFY(greedy.isNull());
    QCOMPARE(resources.memory.total(), 0);
}

// ---- What a connection may store ----------------------------------------------------------------

namespace {

/// A token that stores keys of these numbers, in one chunk of at most about 30 KB.
QByteArray numberedKeys(int first, int count)
{
    QByteArray text = "{ ";
    for (int key = first; key < first + count; ++key) {
        text += QByteArray::number(key) + " = x;";
    }
    return text + " }";
}

} // namespace

void tst_ClientHandler::aMapOfTheMostKeysIsServed()
{
    for (int key = 0; key < 65'536; key += 2048) {
        deliver(numberedKeys(key, 2048));
    }
    QCOMPARE(tokens->count(), 32);
    QCOMPARE(handler->token.size(), 65'536);
    deliver("{ 0 = y; }");
    QCOMPARE(tokens->count(), 33);
    QCOMPARE(sockets->accepted->state(), QAbstractSocket::ConnectedState);
}

void tst_ClientHandler::oneKeyMoreEndsTheConnection()
{
    for (int key = 0; key < 65'536; key += 2048) {
        deliver(numberedKeys(key, 2048));
    }
    sockets->peer.write(numberedKeys(100'000, 2048));
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(tokens->count(), 32);
    QCOMPARE(messages->all(), QStringList({u"debug: The device has stored too much. "_s,
                                           u"warning: Device Disconnected "_s}));
}

void tst_ClientHandler::moreThanSixteenMebibytesEndTheConnection()
{
    const QByteArray value(32 * 1024, 'x');
    for (int key = 0; key < 511; ++key) {
        deliver("{ " + QByteArray::number(key) + " = " + value + "; }");
    }
    QCOMPARE(tokens->count(), 511);
    QCOMPARE(sockets->accepted->state(), QAbstractSocket::ConnectedState);
    sockets->peer.write("{ last = " + value + "; }");
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(tokens->count(), 511);
    QCOMPARE(messages->debugs(), QStringList{u"The device has stored too much. "_s});
}

void tst_ClientHandler::whatTheServerStoresDoesNotCount()
{
    handler->token.insert(u"cmdParameters"_s, QStringList{QString(20 * mebibyte, u'x')});
    deliver("{ a = b; }");
    QCOMPARE(tokens->count(), 1);
    QCOMPARE(sockets->accepted->state(), QAbstractSocket::ConnectedState);
}

// ---- Files --------------------------------------------------------------------------------------

void tst_ClientHandler::theFileIsNamedInAMessage()
{
    handler->setFileToTransfer(u"a b.txt"_s, 5);
    QCOMPARE(messages->all(),
             QStringList{u"debug: File:  \""_s + received(u"a b.txt"_s) + u"\" "_s});
    QVERIFY(QFile::exists(received(u"a b.txt"_s)));
}

void tst_ClientHandler::theRequestStandsAtTheHeadOfTheFile()
{
    connect(handler, &ClientHandler::tokenAvailable, handler,
            [&] { handler->setFileToTransfer(u"note"_s, 10); });
    deliver(fortyByteRequest());

    QCOMPARE(contentOf(received(u"note"_s)), fortyByteRequest());
    QCOMPARE(files->count(), 1);
    QCOMPARE(files->at(0).at(0).toString(), received(u"note"_s));
    QCOMPARE(handler->token.value(u"serverResponse"_s).toString(), u"OK"_s);
    QVERIFY(answers().contains("serverResponse = \"OK\";"));
}

void tst_ClientHandler::theTransferEndsOnlyBeyondTheAnnouncedSize()
{
    connect(handler, &ClientHandler::tokenAvailable, handler,
            [&] { handler->setFileToTransfer(u"note"_s, 40); });
    deliver(fortyByteRequest());
    QCOMPARE(contentOf(received(u"note"_s)), fortyByteRequest());
    QCOMPARE(files->count(), 0);
    QVERIFY(!handler->token.contains(u"serverResponse"_s));

    deliver("x");
    QCOMPARE(contentOf(received(u"note"_s)), fortyByteRequest() + "x");
    QCOMPARE(files->count(), 1);
}

void tst_ClientHandler::everyFurtherChunkGoesIntoTheFile()
{
    handler->setFileToTransfer(u"note"_s, 10);
    deliver("0123456789");
    QCOMPARE(files->count(), 0);
    QCOMPARE(sockets->peer.bytesAvailable(), 0);
    deliver("{ a = b; }");
    QCOMPARE(files->count(), 1);
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("0123456789{ a = b; }"));
    QCOMPARE(tokens->count(), 0);
    QVERIFY(!handler->token.contains(u"a"_s));
}

void tst_ClientHandler::aLastChunkIsWrittenWhole()
{
    handler->setFileToTransfer(u"note"_s, 3);
    deliver(QByteArray("0123\0"
                       "56789",
                       10));
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("0123\0"
                                                        "56789",
                                                        10));
    QCOMPARE(files->count(), 1);
}

void tst_ClientHandler::bytesOfAFileMayComeSingly()
{
    handler->setFileToTransfer(u"note"_s, 3);
    for (int byte = 0; byte < 3; ++byte) {
        deliver("x");
        QCOMPARE(files->count(), 0);
    }
    deliver("y");
    QCOMPARE(files->count(), 1);
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("xxxy"));
}

void tst_ClientHandler::anExistingFileIsExtended()
{
    QFile earlier(received(u"note"_s));
    QVERIFY(earlier.open(QIODevice::WriteOnly));
    earlier.write("earlier ");
    earlier.close();
    handler->setFileToTransfer(u"note"_s, 0);
    deliver("later");
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("earlier later"));
    QCOMPARE(files->count(), 1);
}

void tst_ClientHandler::theCompletionAnswerCarriesTheWholeMap()
{
    handler->token.insert(u"cmdParameters"_s, QStringList{u"note"_s, u"0"_s});
    handler->token.insert(u"serverResponse"_s, u"START_BINARY_TRANSFER"_s);
    handler->setFileToTransfer(u"note"_s, 0);
    deliver("x");
    const QByteArray parameters = "cmdParameters = (\"note\", \"0\" );";
    const QByteArray response = "serverResponse = \"OK\";";
    const QByteArray answer = answers();
    QVERIFY2(answer == '{' + parameters + response + '}' ||
                 answer == '{' + response + parameters + '}',
             answer.constData());
}

void tst_ClientHandler::afterTheFileTokensAreReadAgain()
{
    handler->setFileToTransfer(u"note"_s, 0);
    deliver("x");
    deliver("{ a = b; }");
    QCOMPARE(tokens->count(), 1);
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("x"));
}

void tst_ClientHandler::anotherFileMayFollow()
{
    handler->setFileToTransfer(u"one"_s, 0);
    deliver("1");
    handler->setFileToTransfer(u"two"_s, 0);
    deliver("2");
    QCOMPARE(contentOf(received(u"one"_s)), QByteArray("1"));
    QCOMPARE(contentOf(received(u"two"_s)), QByteArray("2"));
    QCOMPARE(files->count(), 2);
}

void tst_ClientHandler::aSecondAnnouncementTakesTheFirstOnesPlace()
{
    handler->setFileToTransfer(u"one"_s, 100);
    handler->setFileToTransfer(u"two"_s, 0);
    deliver("2");
    QCOMPARE(contentOf(received(u"one"_s)), QByteArray());
    QCOMPARE(contentOf(received(u"two"_s)), QByteArray("2"));
    QCOMPARE(files->count(), 1);
    QCOMPARE(files->at(0).at(0).toString(), received(u"two"_s));
    QCOMPARE(messages->warnings(), QStringList());
}

void tst_ClientHandler::aSecondAnnouncementThatIsRefusedEndsTheFirst()
{
    handler->setFileToTransfer(u"one"_s, 100);
    handler->setFileToTransfer(u"../two"_s, 0);
    deliver("2");
    QCOMPARE(contentOf(received(u"one"_s)), QByteArray());
    QCOMPARE(files->count(), 0);
}

void tst_ClientHandler::withoutASettingFilesGoToTheDesktop()
{
    QSettings().remove("downloadDirectory");
    const QString desktop = home->subdirectory(u"Desktop"_s);
    handler->setFileToTransfer(u"note"_s, 0);
    deliver("x");
    QCOMPARE(contentOf(desktop + u"/note"_s), QByteArray("x"));
    QCOMPARE(files->count(), 1);
    QCOMPARE(files->at(0).at(0).toString(), desktop + u"/note"_s);
}

void tst_ClientHandler::theSettingIsReadAtEachAnnouncement()
{
    const QString elsewhere = home->subdirectory(u"elsewhere"_s);
    QSettings().setValue("downloadDirectory", elsewhere);
    handler->setFileToTransfer(u"note"_s, 0);
    deliver("x");
    QCOMPARE(contentOf(elsewhere + u"/note"_s), QByteArray("x"));
}

void tst_ClientHandler::aMissingDirectoryIsNotMade()
{
    QSettings().setValue("downloadDirectory", home->path(u"missing"_s));
    handler->setFileToTransfer(u"note"_s, 0);
    deliver("x");
    QVERIFY(!QFile::exists(home->path(u"missing"_s)));
    QCOMPARE(files->count(), 0);
}

void tst_ClientHandler::aTransferThatCannotBeOpenedNeverEnds_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("outside the directory") << "../outside";
    QTest::newRow("outside, by way of a link") << "pictures/../note";
    QTest::newRow("in a directory outside that is linked") << "pictures/note";
    QTest::newRow("a link to a file") << "link";
    QTest::newRow("in a directory that is not there") << "missing/note";
    QTest::newRow("a directory") << "directory";
    QTest::newRow("a device") << "device";
    QTest::newRow("no name") << "";
    QTest::newRow("a name that is too long") << QString(300, u'n');
}

void tst_ClientHandler::aTransferThatCannotBeOpenedNeverEnds()
{
    QFETCH(QString, name);
    home->subdirectory(u"received/directory"_s);
    QVERIFY(QFile::link(u"/dev/full"_s, received(u"device"_s)));
    QVERIFY(QFile::link(u"../outside"_s, received(u"link"_s)));
    QVERIFY(QFile::link(home->subdirectory(u"elsewhere/pictures"_s), received(u"pictures"_s)));
    handler->setFileToTransfer(name, 0);
    QCOMPARE(messages->all(), QStringList{u"debug: File:  \""_s + received(name) + u"\" "_s});
    for (int chunk = 0; chunk < 5; ++chunk) {
        deliver("{ a = b; }");
    }
    // Still in file mode: nothing is read as a token, nothing is answered, nothing is written.
    QCOMPARE(tokens->count(), 0);
    QCOMPARE(files->count(), 0);
    QVERIFY(!QFile::exists(home->path(u"outside"_s)));
    QVERIFY(!QFile::exists(home->path(u"missing"_s)));
    QVERIFY(!QFile::exists(home->path(u"elsewhere/note"_s)));
    QVERIFY(!QFile::exists(home->path(u"elsewhere/pictures/note"_s)));
    QCOMPARE(answers(), QByteArray());
    // The toolkit does not complain of writes to a file that is not open.
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

/// A pipe without a reader could not be opened for writing; this one can.
void tst_ClientHandler::aPipeThatIsReadGetsNothing()
{
    QCOMPARE(mkfifo(qPrintable(received(u"pipe"_s)), 0600), 0);
    const int reader = open(qPrintable(received(u"pipe"_s)), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader != -1);
    handler->setFileToTransfer(u"pipe"_s, 0);
    deliver("content");
    char byte = 0;
    const ssize_t count = read(reader, &byte, 1);
    close(reader);
    QCOMPARE(count, ssize_t(0));
    QCOMPARE(files->count(), 0);
}

void tst_ClientHandler::withoutAFullPathNothingIsSavedAndTheUserIsWarned_data()
{
    QTest::addColumn<QString>("directory");

    QTest::newRow("none") << "";
    QTest::newRow("relative") << "received";
    QTest::newRow("the working directory") << ".";
    QTest::newRow("a home") << "~";
}

void tst_ClientHandler::withoutAFullPathNothingIsSavedAndTheUserIsWarned()
{
    QFETCH(QString, directory);
    QSettings().setValue("downloadDirectory", directory);
    const QString before = QDir::currentPath();
    QDir::setCurrent(home->path());
    const QStringList reported = {u"debug: File:  \""_s + directory + u"/note\" "_s,
                                  u"warning: The file is not saved: the download directory \""_s +
                                      directory +
                                      u"\" is not a full path. Choose a folder in Preferences. "_s};
    handler->setFileToTransfer(u"note"_s, 0);
    QCOMPARE(messages->all(), reported);
    deliver("content");
    deliver("more");
    // Once per file, not once per chunk.
    QCOMPARE(messages->all(), reported);
    handler->setFileToTransfer(u"note"_s, 0);
    QCOMPARE(messages->all(), reported + reported);
    QDir::setCurrent(before);
    QCOMPARE(files->count(), 0);
    QVERIFY(!QFile::exists(home->path(u"note"_s)));
    QVERIFY(!QFile::exists(received(u"note"_s)));
    QVERIFY(!QFile::exists(u"/note"_s));
}

void tst_ClientHandler::aTransferHoldsOneDescriptor()
{
    const auto descriptors = [] {
        return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System).size();
    };
    const auto before = descriptors();
    home->subdirectory(u"received/directory"_s);
    for (const char *name :
         {"../outside", "directory", "directory/../../outside", "missing/note"}) {
        handler->setFileToTransfer(QLatin1StringView(name), 100);
        QCOMPARE(descriptors(), before);
    }
    handler->setFileToTransfer(u"directory/note"_s, 100);
    QCOMPARE(descriptors(), before + 1);
    handler->setFileToTransfer(u"another"_s, 0);
    QCOMPARE(descriptors(), before + 1);
    deliver("x");
    QCOMPARE(files->count(), 1);
    QCOMPARE(descriptors(), before);
}

void tst_ClientHandler::aFailedWriteRaisesTheCount()
{
    handler->setFileToTransfer(u"note"_s, 10);
    deliver("01234567");
    {
        const FileSizeLimit full(8);
        deliver("lost");
    }
    // 2 were missing; the failure made that 3.
    deliver("89a");
    QCOMPARE(files->count(), 0);
    deliver("b");
    QCOMPARE(files->count(), 1);
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("0123456789ab"));
}

void tst_ClientHandler::aSizeBeyondTheRangeOfTheCountEndsAtOnce_data()
{
    QTest::addColumn<quint64>("size");

    // As signed numbers they are all negative; the first one is the smallest there is.
    QTest::newRow("2^63") << (quint64(1) << 63);
    QTest::newRow("2^63 + 1") << (quint64(1) << 63) + 1;
    QTest::newRow("2^64 - 1") << ~quint64(0);
}

void tst_ClientHandler::aSizeBeyondTheRangeOfTheCountEndsAtOnce()
{
    QFETCH(quint64, size);
    handler->setFileToTransfer(u"note"_s, size);
    deliver("content");
    QCOMPARE(files->count(), 1);
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("content"));
}

void tst_ClientHandler::aFileThatCannotBeOpenedEndsInSilenceToo()
{
    handler->setFileToTransfer(u"../outside"_s, quint64(1) << 63);
    messages->clear();
    deliver("lost");
    QCOMPARE(files->count(), 1);
    // In particular no complaint of the toolkit, which would reach the user as a balloon.
    QCOMPARE(messages->all(), QStringList());
    QVERIFY(!QFile::exists(home->path(u"outside"_s)));
}

void tst_ClientHandler::theLargestCountStaysWhereItIs()
{
    handler->setFileToTransfer(u"../outside"_s, (quint64(1) << 63) - 1);
    deliver("lost");
    deliver("{ a = b; }");
    QCOMPARE(files->count(), 0);
    QCOMPARE(tokens->count(), 0);
}

void tst_ClientHandler::aPeerThatLeavesDuringATransferLeavesWhatItSent()
{
    handler->setFileToTransfer(u"note"_s, 100);
    deliver("half");
    sockets->peer.disconnectFromHost();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(contentOf(received(u"note"_s)), QByteArray("half"));
    QCOMPARE(files->count(), 0);
}

// ---- The end ------------------------------------------------------------------------------------

void tst_ClientHandler::aPeerThatLeavesIsReportedAndEndsTheHandler()
{
    const QSignalSpy ends(handler, &QObject::destroyed);
    sockets->peer.disconnectFromHost();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(ends.count(), 1);
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

void tst_ClientHandler::aBrokenConnectionIsReportedTwiceAndEndsTheHandlerOnce()
{
    const QSignalSpy ends(handler, &QObject::destroyed);
    // Closing without lingering resets the connection.
    const linger none{1, 0};
    setsockopt(static_cast<int>(sockets->peer.socketDescriptor()), SOL_SOCKET, SO_LINGER, &none,
               sizeof none);
    sockets->peer.abort();
    QVERIFY(waitUntil([&] { return handler.isNull(); }));
    QCOMPARE(messages->all(),
             QStringList({u"debug: Socket error:  QAbstractSocket::RemoteHostClosedError "_s,
                          u"warning: Device Disconnected "_s}));
    QCOMPARE(ends.count(), 1);
}

void tst_ClientHandler::anErrorAloneEndsNothing()
{
    QMetaObject::invokeMethod(
        handler, "socketError",
        Q_ARG(QAbstractSocket::SocketError, QAbstractSocket::SocketTimeoutError));
    QCOMPARE(messages->all(),
             QStringList{u"debug: Socket error:  QAbstractSocket::SocketTimeoutError "_s});
    deliver("{ a = b; }");
    QCOMPARE(tokens->count(), 1);
}

void tst_ClientHandler::theSocketIsLeftToItsOwner()
{
    const QPointer<QTcpSocket> socket = sockets->accepted.get();
    delete handler;
    QVERIFY(!socket.isNull());
    QCOMPARE(socket->state(), QAbstractSocket::ConnectedState);
}

QTEST_GUILESS_MAIN(tst_ClientHandler)
#include "tst_ClientHandler.moc"
