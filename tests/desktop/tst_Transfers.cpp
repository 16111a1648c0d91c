// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/process/Confinement.h"
#include "support/process/ProcessMemory.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QTest>
#include <QUuid>

#include <atomic>
#include <thread>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

constexpr qsizetype KiB = 1024;
constexpr qsizetype MiB = 1024 * KiB;
/// The most bytes that a test lets wait for the server. The sender's system queues 4 MiB at most.
constexpr qsizetype LargestRead = 2 * MiB;

/// A file name that no earlier run, of a broken server say, can have left in a shared folder.
const QString &nameOfThisRun()
{
    static const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return name;
}

} // namespace

/// Files that a handheld sends: what is stored of them, where, and how a transfer ends.
class tst_Transfers : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void fileBeginsWithItsRequestAndIsOpened_data();
    void fileBeginsWithItsRequestAndIsOpened();
    void fileNotLargerThanItsRequestIsCompleteAtOnce_data();
    void fileNotLargerThanItsRequestIsCompleteAtOnce();
    void exactlyTheAnnouncedBytesDoNotEndTheTransfer();
    void bytesInTheReadOfTheRequestAreAllKept_data();
    void bytesInTheReadOfTheRequestAreAllKept();
    void bytesInTheLastReadAreAllKept_data();
    void bytesInTheLastReadAreAllKept();
    void tokensDuringATransferGoIntoTheFile();
    void filesFollowOneAnotherOnOneConnection();
    void filesOfSeveralDevicesArriveAtOnce();
    void existingFileIsAppendedTo();
    void withoutASettingFilesGoToTheDesktop();
    void largeFileTakesNoMemory();

    void existingFolderInTheNameIsUsed();
    void nameThatCannotBeStoredTakesNothing_data();
    void nameThatCannotBeStoredTakesNothing();
    void aFailedWriteRaisesTheCountByOne();
    void missingDownloadFolderIsNotMade();
    void namedPipeDoesNotStopTheServer();
    void fullDiskKeepsWhatFitted();
    void folderWithoutPermissionTakesNothing();

    void bytesOfADeviceThatLeftAreKept_data();
    void bytesOfADeviceThatLeftAreKept();
    void bytesAreKeptWhenTheServerEnds_data();
    void bytesAreKeptWhenTheServerEnds();

private:
    /// What a server is for that several functions use one after the other. It opens only so many
    /// files in a while, and large reads need many; where none may be opened, no opener of another
    /// function may be late.
    enum class Use { Openings, LargeReads, Refusals };

    bool serve(Use use = Use::Openings);
    bool endSharedServer();
    void makeFolder();
    QString received(const QString &name = {}) const;
    bool beginTransfer(Handheld &handheld, const QByteArray &request) const;
    qsizetype roomFor(Handheld &handheld, qsizetype size) const;
    qint64 mostHeldOfAFile(Handheld &handheld) const;
    bool sendAsOneRead(Handheld &handheld, const QByteArray &bytes) const;
    bool servesOthers() const;

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener;
    std::optional<Use>
        sharedServer; ///< What the server is for that runs from function to function.
};

void tst_Transfers::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    makeFolder();
}

void tst_Transfers::init()
{
    for (const QString &folder : {received(), QString(received() + u"-too"_s)}) {
        QVERIFY(QDir(folder).removeRecursively());
    }
    QVERIFY(QDir().mkpath(received()));
    opener->clear();
}

void tst_Transfers::cleanup()
{
    if (sharedServer) {
        QCOMPARE(scene->problemSoFar(), QByteArray());
    } else {
        QCOMPARE(scene->problemAtEnd(), QByteArray());
    }
}

void tst_Transfers::cleanupTestCase()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

/// What the server needs before it starts.
void tst_Transfers::makeFolder()
{
    opener = std::make_unique<RecordingOpener>(scene->session());
    QDir().mkpath(received());
    scene->storeSetting(u"downloadDirectory"_s, received());
}

/// Keeps the server of the previous functions if it is for the same use, otherwise starts one.
bool tst_Transfers::serve(Use use)
{
    if (sharedServer != use) {
        if (!endSharedServer() || !scene->start()) {
            return false;
        }
        sharedServer = use;
    }
    return true;
}

/// Ends it for a function that starts its own server.
bool tst_Transfers::endSharedServer()
{
    sharedServer.reset();
    const QByteArray problem = scene->problemAtEnd();
    if (!problem.isEmpty()) {
        qWarning("%s", problem.constData());
        return false;
    }
    scene->beginAnew();
    makeFolder();
    return true;
}

/// A path in the download folder.
QString tst_Transfers::received(const QString &name) const
{
    const QString folder = scene->session().home() + u"/received"_s;
    return name.isEmpty() ? folder : folder + QLatin1Char('/') + name;
}

bool tst_Transfers::beginTransfer(Handheld &handheld, const QByteArray &request) const
{
    return response(handheld.ask(request)) == u"START_BINARY_TRANSFER"_s;
}

/// Has the system make room for that many bytes. It lets a connection hold more, the more is
/// taken from it at a time, so the server takes files in bursts until there is room.
/// \return that many, or fewer where a busy system gives no more; 0 when that is less than what
/// the server itself takes at a time.
qsizetype tst_Transfers::roomFor(Handheld &handheld, qsizetype size) const
{
    constexpr int Attempts = 10;
    constexpr qsizetype MostAtATime = 256 * KiB + 1;
    qint64 held = 0;
    for (int attempt = 0; attempt < Attempts && held >= 0 && held < size; ++attempt) {
        held = std::max(held, mostHeldOfAFile(handheld));
    }
    if (held < size) {
        qInfo("The system held %lld bytes", static_cast<long long>(held));
    }
    // Not to the last byte: how the system packs them is not known.
    const qsizetype room = held >= size ? size : static_cast<qsizetype>(held * 3 / 4);
    return room >= std::min(size, MostAtATime) ? room : 0;
}

/// Sends a large file to a server that is halted again and again.
/// \return how many bytes the system has held for it; below zero when the file was not taken.
qint64 tst_Transfers::mostHeldOfAFile(Handheld &handheld) const
{
    constexpr qint64 Size = 64 * MiB;
    if (!beginTransfer(handheld, exactRequest(u"wide"_s, Size))) {
        return -1;
    }
    std::atomic_bool isSent = false;
    std::thread sender([&] {
        handheld.send(QByteArray(Size, 'w'));
        isSent = true;
    });
    qint64 most = 0;
    while (!isSent) {
        scene->server().halt();
        std::this_thread::sleep_for(10ms);
        most = std::max(most, handheld.unreadAtServer());
        scene->server().resume();
        std::this_thread::sleep_for(10ms);
    }
    sender.join();
    return response(handheld.answer()) == u"OK"_s ? most : -1;
}

/// All bytes have arrived before the server reads.
bool tst_Transfers::sendAsOneRead(Handheld &handheld, const QByteArray &bytes) const
{
    scene->server().halt();
    const bool isThere = handheld.send(bytes) &&
                         waitUntil([&] { return handheld.unreadAtServer() == bytes.size(); });
    scene->server().resume();
    return isThere;
}

bool tst_Transfers::servesOthers() const
{
    Handheld other(scene->port());
    return response(other.ask(serverInfo())) == u"OK"_s;
}

void tst_Transfers::fileBeginsWithItsRequestAndIsOpened_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("content");
    QTest::newRow("text") << "photo.txt"
                          << "Some text that is not a token.\n";
    QTest::newRow("one byte") << "one"
                              << "1";
    QTest::newRow("blanks in the name") << "photo of Ann.txt"
                                        << "text";
    QTest::newRow("letters beyond ASCII") << QString::fromLatin1("Gr\xfc\xdf"
                                                                 "e.txt")
                                          << "text";
    QTest::newRow("a token's text") << "token"
                                    << "{ cmdType = \"SERVER_INFO\"; }";
}

void tst_Transfers::fileBeginsWithItsRequestAndIsOpened()
{
    QFETCH(QString, name);
    QFETCH(QString, content);
    QVERIFY(serve());
    const QByteArray request = exactRequest(name, content.size());
    const QString size = QString::number(request.size() + content.size() - 1);
    QVariantMap answer{{u"cmdType"_s, u"FILE_TRANSFER_AND_OPEN"_s},
                       {u"cmdParameters"_s, QStringList{name, size}},
                       {u"serverResponse"_s, u"START_BINARY_TRANSFER"_s}};
    Handheld handheld(scene->port());
    QCOMPARE(handheld.ask(request), std::optional(answer));
    QVERIFY(handheld.send(content.toLatin1()));
    answer[u"serverResponse"_s] = u"OK"_s;
    QCOMPARE(handheld.answer(), std::optional(answer));
    QCOMPARE(Folders::fileBytes(received(name)), request + content.toLatin1());
    QVERIFY(waitUntil([&] { return opener->opened() == QStringList{received(name)}; }));
}

void tst_Transfers::fileNotLargerThanItsRequestIsCompleteAtOnce_data()
{
    QTest::addColumn<QString>("size");
    QTest::newRow("empty") << "0";
    QTest::newRow("one byte less than the request")
        << QString::number(fileRequest(u"small"_s, 10).size() - 1);
    QTest::newRow("not a number") << "abc";
}

void tst_Transfers::fileNotLargerThanItsRequestIsCompleteAtOnce()
{
    QFETCH(QString, size);
    QVERIFY(serve());
    const QByteArray request = fileRequest(u"small"_s, size);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"small"_s)), request);
    QVERIFY(waitUntil([&] { return opener->opened() == QStringList{received(u"small"_s)}; }));
    // Read as a token again.
    QCOMPARE(response(handheld.ask(serverInfo())), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"small"_s)), request);
}

void tst_Transfers::exactlyTheAnnouncedBytesDoNotEndTheTransfer()
{
    QVERIFY(serve());
    const QByteArray request = exactRequest(u"strict"_s, 6);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QVERIFY(handheld.sendAndSettle("12345"));
    QVERIFY(!handheld.hasUnreadAnswer());
    QCOMPARE(Folders::fileBytes(received(u"strict"_s)), request + "12345");
    QVERIFY(opener->opened().isEmpty());

    QVERIFY(handheld.send("6"));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"strict"_s)), request + "123456");
    QVERIFY(waitUntil([&] { return opener->opened().size() == 1; }));
}

void tst_Transfers::bytesInTheReadOfTheRequestAreAllKept_data()
{
    QTest::addColumn<qsizetype>("size");
    QTest::newRow("a little") << qsizetype{1000};
    for (const qsizetype size : {64 * KiB, 256 * KiB}) {
        for (const qsizetype difference : {-1, 0, 1}) {
            QTest::addRow("%lld", static_cast<long long>(size + difference)) << size + difference;
        }
    }
    QTest::newRow("the largest token") << MiB;
}

void tst_Transfers::bytesInTheReadOfTheRequestAreAllKept()
{
    QFETCH(qsizetype, size);
    QVERIFY(serve(Use::LargeReads));
    Handheld handheld(scene->port());
    const qsizetype room = roomFor(handheld, size);
    QVERIFY(room > 0);
    // Behind the last " }" of the read, so they do not disturb the request.
    QByteArray all = fileRequest(u"early"_s, 10);
    all += QByteArray(room - all.size(), 'x');
    QVERIFY(sendAsOneRead(handheld, all));
    QCOMPARE(response(handheld.answer()), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    const QByteArray file = Folders::fileBytes(received(u"early"_s));
    QCOMPARE(file.size(), all.size());
    QVERIFY(file == all);
}

void tst_Transfers::bytesInTheLastReadAreAllKept_data()
{
    QTest::addColumn<qsizetype>("announced");
    QTest::addColumn<qsizetype>("sent");
    QTest::newRow("a little too much") << qsizetype{1000} << qsizetype{1010};
    for (const qsizetype size : {64 * KiB, 256 * KiB, MiB}) {
        QTest::addRow("%lld and one byte", static_cast<long long>(size))
            << qsizetype{10} << size + 1;
    }
    QTest::newRow("2 MiB for 10 bytes") << qsizetype{10} << LargestRead;
    QTest::newRow("2 MiB for 300 KiB") << 300 * KiB << LargestRead;
    QTest::newRow("2 MiB for 1 MiB") << MiB << LargestRead;
}

void tst_Transfers::bytesInTheLastReadAreAllKept()
{
    QFETCH(qsizetype, announced);
    QFETCH(qsizetype, sent);
    QVERIFY(serve(Use::LargeReads));
    Handheld handheld(scene->port());
    sent = roomFor(handheld, sent);
    QVERIFY(sent > 0);
    const QByteArray request = exactRequest(u"late"_s, std::min(announced, sent - 1));
    QVERIFY(beginTransfer(handheld, request));
    // Different bytes everywhere, so that none can stand for another.
    QByteArray content(sent, '\0');
    for (qsizetype i = 0; i < sent; ++i) {
        content[i] = static_cast<char>(i * 7 + i / 251);
    }
    QVERIFY(sendAsOneRead(handheld, content));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    const QByteArray file = Folders::fileBytes(received(u"late"_s));
    QCOMPARE(file.size(), request.size() + sent);
    QVERIFY(file == request + content);
    QCOMPARE(response(handheld.ask(serverInfo())), u"OK"_s);
}

void tst_Transfers::tokensDuringATransferGoIntoTheFile()
{
    QVERIFY(serve());
    const QByteArray token = serverInfo();
    const QByteArray request = exactRequest(u"mixed"_s, token.size() + 1);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QVERIFY(handheld.sendAndSettle(token));
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(handheld.send("!"));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"mixed"_s)), request + token + '!');
    QVERIFY(waitUntil([&] { return opener->opened().size() == 1; }));
}

void tst_Transfers::filesFollowOneAnotherOnOneConnection()
{
    QVERIFY(serve());
    Handheld handheld(scene->port());
    for (const char *name : {"first", "second"}) {
        const QByteArray request = exactRequest(QLatin1String(name), 7);
        QVERIFY(beginTransfer(handheld, request));
        QVERIFY(handheld.send("content"));
        QCOMPARE(response(handheld.answer()), u"OK"_s);
        QCOMPARE(Folders::fileBytes(received(QLatin1StringView(name))), request + "content");
    }
    QVERIFY(waitUntil([&] { return opener->opened().size() == 2; }));
}

void tst_Transfers::filesOfSeveralDevicesArriveAtOnce()
{
    QVERIFY(serve());
    Handheld one(scene->port());
    Handheld two(scene->port());
    const QByteArray requestOne = exactRequest(u"one"_s, 4);
    const QByteArray requestTwo = exactRequest(u"two"_s, 4);
    QVERIFY(beginTransfer(one, requestOne));
    QVERIFY(beginTransfer(two, requestTwo));
    QVERIFY(one.sendAndSettle("11"));
    QVERIFY(two.sendAndSettle("22"));
    QVERIFY(one.send("11"));
    QVERIFY(two.send("22"));
    QCOMPARE(response(one.answer()), u"OK"_s);
    QCOMPARE(response(two.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"one"_s)), requestOne + "1111");
    QCOMPARE(Folders::fileBytes(received(u"two"_s)), requestTwo + "2222");
    QVERIFY(waitUntil([&] { return opener->opened().size() == 2; }));
}

void tst_Transfers::existingFileIsAppendedTo()
{
    QVERIFY(serve());
    QFile existing(received(u"notes"_s));
    QVERIFY(existing.open(QIODevice::WriteOnly));
    QVERIFY(existing.write("what was there\n") > 0);
    existing.close();
    const QByteArray request = exactRequest(u"notes"_s, 3);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QVERIFY(handheld.send("new"));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"notes"_s)), "what was there\n" + request + "new");
    QVERIFY(waitUntil([&] { return opener->opened().size() == 1; }));
}

/// Until the preferences are closed for the first time, although they show another folder.
void tst_Transfers::withoutASettingFilesGoToTheDesktop()
{
    QVERIFY(endSharedServer());
    QVERIFY(QFile::remove(scene->session().settingsFile()));
    const QString desktop = scene->session().home() + u"/Desktop"_s;
    QVERIFY(QDir().mkpath(desktop));
    QVERIFY(scene->start());
    const QByteArray request = exactRequest(u"plain"_s, 2);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QVERIFY(handheld.send("ok"));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(desktop + u"/plain"_s), request + "ok");
}

/// On the disk of the build folder, since /tmp may be memory itself.
void tst_Transfers::largeFileTakesNoMemory()
{
    QVERIFY(endSharedServer());
    constexpr qint64 Chunks = 256;
    constexpr qint64 MostGrowth = 16 * MiB;
    const QTemporaryDir folder(QFileInfo(qEnvironmentVariable("VORNA_SERVER")).absolutePath() +
                               u"/large-XXXXXX"_s);
    scene->storeSetting(u"downloadDirectory"_s, folder.path());
    scene->launchForgetful();
    QVERIFY(scene->port() != 0);
    const qint64 process = scene->server().processId();

    const QByteArray request = exactRequest(u"large"_s, Chunks * MiB);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(request);
    QVERIFY(ProcessMemory::forgetPeak(process));
    const qint64 before = ProcessMemory::resident(process);
    for (qint64 i = 0; i < Chunks; ++i) {
        const QByteArray chunk(MiB, static_cast<char>(i));
        hash.addData(chunk);
        QVERIFY(handheld.send(chunk));
    }
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    const qint64 growth = ProcessMemory::peak(process) - before;
    qInfo("Memory grew by %lld KiB", static_cast<long long>(growth / 1024));
    QVERIFY(growth < MostGrowth);
    const QString path = folder.filePath(u"large"_s);
    QCOMPARE(QFileInfo(path).size(), request.size() + Chunks * MiB);
    QCOMPARE(Folders::fileHash(path), hash.result());
}

void tst_Transfers::existingFolderInTheNameIsUsed()
{
    QVERIFY(serve());
    QVERIFY(QDir().mkpath(received(u"trip/day one"_s)));
    const QString name = u"trip/../trip/day one/photo"_s;
    const QByteArray request = exactRequest(name, 2);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QVERIFY(handheld.send("ok"));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"trip/day one/photo"_s)), request + "ok");
    QVERIFY(waitUntil([&] { return opener->opened().size() == 1; }));
}

void tst_Transfers::nameThatCannotBeStoredTakesNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("of a missing folder") << "missing/photo";
    QTest::newRow("one folder up") << "../photo";
    QTest::newRow("several folders up") << u"../../../../../../../../tmp/"_s + nameOfThisRun();
    QTest::newRow("up in the middle") << "there/../../photo";
    QTest::newRow("into the neighbour of the same beginning") << "../received-too/photo";
    QTest::newRow("absolute") << u"/etc/"_s + nameOfThisRun();
    QTest::newRow("absolute, of what is there") << "/etc/passwd";
    QTest::newRow("the folder above") << "..";
    QTest::newRow("of 300 letters") << QString(300, QLatin1Char('n'));
    QTest::newRow("of 5000 letters") << QString(5000, QLatin1Char('n'));
    QTest::newRow("below a file") << "file/photo";
}

void tst_Transfers::nameThatCannotBeStoredTakesNothing()
{
    QFETCH(QString, name);
    QVERIFY(serve(Use::Refusals));
    QVERIFY(QDir().mkpath(received(u"there"_s)));
    QVERIFY(QDir().mkpath(received() + u"-too"_s));
    QFile file(received(u"file"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(servesOthers());
    const QString everything = scene->session().path(QString());
    const auto before = Folders::listing(everything);

    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, fileRequest(name, 10)));
    QVERIFY(handheld.sendAndSettle(QByteArray(100'000, 'x')));
    QVERIFY(handheld.sendAndSettle(serverInfo()));
    QVERIFY(!handheld.hasUnreadAnswer());
    handheld.leave();
    QVERIFY(servesOthers());
    QCOMPARE(Folders::differences(before, Folders::listing(everything)), QStringList());
    QVERIFY(!QFile::exists(u"/tmp/"_s + nameOfThisRun()));
    QVERIFY(!QFile::exists(u"/etc/"_s + nameOfThisRun()));
    QVERIFY(opener->opened().isEmpty());
}

/// A size beyond 63 bits counts from below zero, so the end shows by how much a write raises it.
void tst_Transfers::aFailedWriteRaisesTheCountByOne()
{
    QVERIFY(serve());
    const QString name = u"missing/photo"_s;
    Handheld two(scene->port());
    QVERIFY(beginTransfer(two, fileRequest(name, u"18446744073709551614"_s)));
    QCOMPARE(response(two.answer()), u"OK"_s);
    Handheld one(scene->port());
    QVERIFY(beginTransfer(one, fileRequest(name, u"18446744073709551615"_s)));
    QVERIFY(one.sendAndSettle("x"));
    QVERIFY(!one.hasUnreadAnswer());
}

void tst_Transfers::missingDownloadFolderIsNotMade()
{
    QVERIFY(serve(Use::Refusals));
    QVERIFY(QDir().rmdir(received()));
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, fileRequest(u"photo"_s, 10)));
    QVERIFY(handheld.sendAndSettle("some bytes"));
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(!QFileInfo::exists(received()));
}

/// Opening it for writing would wait for a reader, possibly without end.
void tst_Transfers::namedPipeDoesNotStopTheServer()
{
    QVERIFY(serve(Use::Refusals));
    QCOMPARE(::mkfifo(received(u"pipe"_s).toUtf8().constData(), 0600), 0);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, fileRequest(u"pipe"_s, 10)));
    QVERIFY(handheld.sendAndSettle("some bytes"));
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(servesOthers());
}

void tst_Transfers::fullDiskKeepsWhatFitted()
{
    QVERIFY(endSharedServer());
    constexpr qint64 Room = 1024 * 1024;
    scene->launch(Confinement::smallDisk(received(), Room));
    QVERIFY2(scene->port() != 0, scene->server().errorText().constData());
    const QString seen = Confinement::insideOf(scene->server().processId(), received(u"large"_s));
    Handheld handheld(scene->port());
    const QByteArray request = exactRequest(u"large"_s, 3 * Room);
    QVERIFY(beginTransfer(handheld, request));
    const QByteArray content(3 * Room, 'x');
    QVERIFY(handheld.sendAndSettle(content));
    QVERIFY(!handheld.hasUnreadAnswer());
    QCOMPARE(QFileInfo(seen).size(), Room);
    QCOMPARE(Folders::fileBytes(seen), (request + content).left(Room));
    QVERIFY(servesOthers());

    // Once there is room again, further bytes are stored.
    QVERIFY(QFile::resize(seen, 0));
    QVERIFY(handheld.sendAndSettle("further"));
    QCOMPARE(Folders::fileBytes(seen), QByteArray("further"));
    handheld.leave();
    QVERIFY(servesOthers());
    QVERIFY(opener->opened().isEmpty());
}

void tst_Transfers::folderWithoutPermissionTakesNothing()
{
    QVERIFY(endSharedServer());
    QCOMPARE(::chmod(received().toUtf8().constData(), 0555), 0);
    scene->launch(Confinement::heedsPermissions());
    QVERIFY2(scene->port() != 0, scene->server().errorText().constData());
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, fileRequest(u"photo"_s, 10)));
    QVERIFY(handheld.sendAndSettle("some bytes"));
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(!QFileInfo::exists(received(u"photo"_s)));
    QVERIFY(servesOthers());
    QCOMPARE(::chmod(received().toUtf8().constData(), 0755), 0);
}

void tst_Transfers::bytesOfADeviceThatLeftAreKept_data()
{
    QTest::addColumn<bool>("inOrder");
    QTest::newRow("in order") << true;
    QTest::newRow("by a reset") << false;
}

void tst_Transfers::bytesOfADeviceThatLeftAreKept()
{
    QFETCH(bool, inOrder);
    QVERIFY(serve());
    const QByteArray request = fileRequest(u"half"_s, 1'000'000);
    const QByteArray half(500'000, 'h');
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    QVERIFY(handheld.sendAndSettle(half));
    if (inOrder) {
        handheld.leave();
    } else {
        handheld.reset();
    }
    QVERIFY(servesOthers());
    QCOMPARE(Folders::fileBytes(received(u"half"_s)), request + half);
    // The next device's bytes are appended.
    Handheld next(scene->port());
    const QByteArray again = exactRequest(u"half"_s, 3);
    QVERIFY(beginTransfer(next, again));
    QVERIFY(next.send("end"));
    QCOMPARE(response(next.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(received(u"half"_s)), request + half + again + "end");
    QVERIFY(waitUntil([&] { return opener->opened() == QStringList{received(u"half"_s)}; }));
}

void tst_Transfers::bytesAreKeptWhenTheServerEnds_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("in order") << SIGTERM;
    QTest::newRow("killed") << SIGKILL;
}

void tst_Transfers::bytesAreKeptWhenTheServerEnds()
{
    QVERIFY(endSharedServer());
    QFETCH(int, signal);
    QVERIFY(scene->start());
    const QByteArray request = fileRequest(u"half"_s, 1'000'000);
    Handheld handheld(scene->port());
    QVERIFY(beginTransfer(handheld, request));
    // Odd sizes, so that no buffer happens to be full at the end.
    QVERIFY(handheld.sendAndSettle(QByteArray(12'345, 'a')));
    QVERIFY(handheld.sendAndSettle("b"));
    QCOMPARE(scene->server().end(signal).has_value(), signal != SIGKILL);
    QCOMPARE(Folders::fileBytes(received(u"half"_s)), request + QByteArray(12'345, 'a') + 'b');
}

QTEST_GUILESS_MAIN(tst_Transfers)
#include "tst_Transfers.moc"
