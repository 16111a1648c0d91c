// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/ProcessMemory.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QTest>

#include <random>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

constexpr qsizetype MiB = 1024 * 1024;

/// A separate server whose memory can be measured from now on.
class MeasuredServer
{
public:
    MeasuredServer()
    {
        scene.launchForgetful();
        // The first answers take memory that stays.
        const bool isReady = port() != 0 && Handheld(port()).isServed() &&
                             ProcessMemory::forgetPeak(scene.server().processId());
        memoryBefore = isReady ? ProcessMemory::resident(scene.server().processId()) : 0;
    }

    bool isMeasured() const { return memoryBefore > 0; }
    quint16 port() const { return scene.port(); }
    QByteArray problemAtEnd() { return scene.problemAtEnd(); }

    /// How many bytes its memory has grown by at its peak.
    qint64 growth() const
    {
        const qint64 most = ProcessMemory::peak(scene.server().processId()) - memoryBefore;
        qInfo("Memory grew by %lld KiB", static_cast<long long>(most / 1024));
        return most;
    }

private:
    ServerScene scene;
    qint64 memoryBefore = 0;
};

/// Entries with different keys, numbers from `first` on.
QByteArray keys(int first, int count)
{
    QByteArray entries;
    for (int number = first; number < first + count; ++number) {
        entries += QByteArray::number(number) + " = v;";
    }
    return entries;
}

/// The beginning of a token.
QByteArray openToken(qsizetype size)
{
    return "{ cmdType = " + QByteArray(size, 'x');
}

} // namespace

/// Whatever comes from the network, the server keeps serving.
class tst_BadInput : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void oddCommandIsSurvived_data();
    void oddCommandIsSurvived();
    void oddBytesAreSurvived_data();
    void oddBytesAreSurvived();
    void bytesOneAtATimeAreNoToken();
    void tokenInHalvesIsLost();
    void twoTokensAtOnceAreReadAsOne();
    void largeTokenIsRead_data();
    void largeTokenIsRead();
    void hugeTokenIsSurvived();
    void keysAreStoredUpToTheLimit();
    void bytesAreStoredUpToTheLimit();
    void manyKeysAreSurvived();
    void resetDuringTheDispatchIsSurvived();
    void resetDuringAHugeTokenIsSurvived();
    void answersThatNobodyReadsAreSurvived();
    void randomBytesAreSurvived();
    void manyConnectionsLeaveNothingOpen();
    void silentConnectionsDoNotDisturb();
    void unfinishedFileIsSurvived();

private:
    bool isServing() const;

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener; ///< Keeps the machine's own programs out of this.
};

void tst_BadInput::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    opener = std::make_unique<RecordingOpener>(scene->session());
    QVERIFY(scene->start());
}

void tst_BadInput::cleanup()
{
    QVERIFY2(scene->server().isRunning(), scene->server().errorText().constData());
    QVERIFY2(isServing(), scene->server().errorText().constData());
}

void tst_BadInput::cleanupTestCase()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

/// Whether a fresh device gets its answer within two seconds.
bool tst_BadInput::isServing() const
{
    return Handheld(scene->port()).isServed(2s);
}

void tst_BadInput::oddCommandIsSurvived_data()
{
    QTest::addColumn<QByteArray>("token");
    const QStringList commands{u"SERVER_PAIR"_s,
                               u"URL_OPEN"_s,
                               u"TEXT_TRANSFER_AND_OPEN"_s,
                               u"SERVER_CLIPBOARD_REQUEST"_s,
                               u"FILE_TRANSFER_AND_OPEN"_s,
                               u"SERVER_INFO"_s,
                               u"KEYBOARD_CMD"_s,
                               u"APPLICATION_CMD"_s,
                               u"MOUSE_CMD"_s,
                               u"server_pair"_s,
                               u""_s};
    const std::vector<std::pair<QByteArray, std::vector<TokenEntry>>> parameters{
        {"nothing else", {}},
        {"no item", {{u"cmdParameters"_s, QStringList()}}},
        {"one item", {{u"cmdParameters"_s, QStringList{u"1"_s}}}},
        {"three items", {{u"cmdParameters"_s, QStringList{u"1"_s, u"2"_s, u"3"_s}}}},
        {"a string for the list", {{u"cmdParameters"_s, u"1"_s}}},
        {"a list for the string", {{u"fncCommand"_s, QStringList{u"4"_s, u"5"_s}}}},
        {"numbers out of range",
         {{u"fncCommand"_s, u"4"_s},
          {u"cmdParameters"_s, QStringList{u"99999999999"_s, u"-99999999999"_s}}}},
        {"not-ASCII text", {{u"fncCommand"_s, QString::fromLatin1("\xe4\xff\x80")}}},
    };
    for (const QString &command : commands) {
        for (const auto &[name, entries] : parameters) {
            QTest::newRow((command.toLatin1() + " with " + name).constData())
                << commandText(command, entries);
        }
    }
}

void tst_BadInput::oddCommandIsSurvived()
{
    QFETCH(QByteArray, token);
    Handheld handheld(scene->port());
    QVERIFY(handheld.sendAndSettle(token));
}

void tst_BadInput::oddBytesAreSurvived_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("NUL in a token") << QByteArray("{ cmdType = \0SERVER_INFO; }", 27);
    QTest::newRow("reversed braces") << QByteArray(" } { ");
    QTest::newRow("only equals") << QByteArray("{ = }");
    QTest::newRow("reversed ignore") << QByteArray("{ a = [[[ENDIGNORE]]];[[[IGNORE]]]; }");
    QTest::newRow("prefix of a brace") << QByteArray("}{ a = b; }");
    QTest::newRow("high bytes") << QByteArray(4096, '\xff');
}

void tst_BadInput::oddBytesAreSurvived()
{
    QFETCH(QByteArray, bytes);
    Handheld handheld(scene->port());
    QVERIFY(handheld.sendAndSettle(bytes));
}

void tst_BadInput::bytesOneAtATimeAreNoToken()
{
    Handheld handheld(scene->port());
    for (const char byte : serverInfo()) {
        QVERIFY(handheld.sendAndSettle(QByteArray(1, byte)));
    }
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(handheld.ask(serverInfo()));
}

void tst_BadInput::tokenInHalvesIsLost()
{
    Handheld handheld(scene->port());
    const QByteArray token = serverInfo();
    QVERIFY(handheld.sendAndSettle(token.first(token.size() / 2)));
    QVERIFY(handheld.sendAndSettle(token.sliced(token.size() / 2)));
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(handheld.ask(serverInfo()));
}

void tst_BadInput::twoTokensAtOnceAreReadAsOne()
{
    Handheld handheld(scene->port());
    const auto answer = handheld.ask("{ a = one }{ b = two; cmdType = SERVER_INFO; }");
    QVERIFY(answer);
    QCOMPARE(answer->value(u"a"_s).toString(), u"one }{ b = two"_s);
    QCOMPARE(response(answer), u"OK"_s);
    QVERIFY(!answer->contains(u"b"_s));
    QVERIFY(!handheld.hasUnreadAnswer());
}

void tst_BadInput::largeTokenIsRead_data()
{
    QTest::addColumn<QByteArray>("filling");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("one value") << "long = " + QByteArray(50'000, 'v') + ';' << "long"
                               << QString(50'000, QLatin1Char('v'));
    QTest::newRow("one key") << QByteArray(50'000, 'k') + " = short;"
                             << QString(50'000, QLatin1Char('k')) << "short";
    QTest::newRow("empty entries") << QByteArray(50'000, ';') << ""
                                   << "";
    QTest::newRow("blanks") << "far = " + QByteArray(50'000, ' ') + "away;"
                            << "far"
                            << "away";
}

/// The token is read, not lost: the answer contains what was sent.
void tst_BadInput::largeTokenIsRead()
{
    QFETCH(QByteArray, filling);
    QFETCH(QString, key);
    QFETCH(QString, value);
    Handheld handheld(scene->port());
    const auto answer = handheld.ask("{ cmdType = SERVER_INFO; " + filling + " }");
    QVERIFY(answer);
    QVERIFY(answer->contains(key));
    QCOMPARE(answer->value(key).toString(), value);
}

/// Far more than one read takes. Whether a part of it is read as a token does not matter.
void tst_BadInput::hugeTokenIsSurvived()
{
    MeasuredServer measured;
    QVERIFY(measured.isMeasured());
    for (const QByteArray &token : {openToken(16 * MiB) + "; }",
                                    "{ cmdType = SERVER_INFO; " + QByteArray(16 * MiB, ';') + " }",
                                    "{ cmdType = SERVER_INFO; " + keys(0, 1'000'000) + " }"}) {
        Handheld handheld(measured.port());
        QVERIFY(handheld.send(token) && handheld.waitUntilRead());
        QVERIFY(Handheld(measured.port()).isServed());
    }
    QVERIFY(measured.growth() < 64 * MiB);
    QCOMPARE(measured.problemAtEnd(), QByteArray());
}

/// Up to the limit, by tokens that fit into one read; one more key ends the connection.
void tst_BadInput::keysAreStoredUpToTheLimit()
{
    constexpr int Limit = 65'536;
    constexpr int Piece = 4'096;
    Handheld handheld(scene->port());
    for (int first = 0; first < Limit; first += Piece) {
        // The key of the command counts too.
        const int count = first + Piece < Limit ? Piece : Piece - 1;
        QVERIFY(
            handheld.sendAndSettle("{ cmdType = APPLICATION_CMD; " + keys(first, count) + " }"));
    }
    const auto answer = handheld.ask(serverInfo());
    QVERIFY(answer);
    // The answer has added two more, which do not count.
    QCOMPARE(answer->size(), Limit + 2);
    QCOMPARE(answer->value(u"65534"_s).toString(), u"v"_s);

    QVERIFY(handheld.send("{ cmdType = SERVER_INFO; tooMany = v; }"));
    QVERIFY(handheld.waitUntilClosed());
    QVERIFY(isServing());
}

void tst_BadInput::bytesAreStoredUpToTheLimit()
{
    constexpr int Value = 32'768;
    // The keys and the command take a few hundred bytes.
    constexpr int Fitting = 16 * MiB / Value - 1;
    Handheld handheld(scene->port());
    const auto token = [](int number) {
        return "{ cmdType = APPLICATION_CMD; " + QByteArray::number(number) + " = " +
               QByteArray(Value, 'v') + "; }";
    };
    for (int number = 0; number < Fitting; ++number) {
        QVERIFY(handheld.sendAndSettle(token(number)));
    }
    const auto answer = handheld.ask(serverInfo());
    QVERIFY(answer);
    QCOMPARE(answer->size(), Fitting + 3);
    QCOMPARE(answer->value(QString::number(Fitting - 1)).toString().size(), Value);

    QVERIFY(handheld.send(token(Fitting)));
    QVERIFY(handheld.waitUntilClosed());
    QVERIFY(isServing());
}

/// Devices that fill their connection to the end, one after the other, leave nothing behind.
void tst_BadInput::manyKeysAreSurvived()
{
    MeasuredServer measured;
    QVERIFY(measured.isMeasured());
    for (int device = 0; device < 4; ++device) {
        Handheld handheld(measured.port());
        for (int first = 0; first < 68'000 && handheld.isConnected(); first += 4'000) {
            if (!handheld.sendAndSettle("{ " + keys(first, 4'000) + " }")) {
                break;
            }
        }
        QVERIFY(handheld.waitUntilClosed());
        QVERIFY(Handheld(measured.port()).isServed());
    }
    QVERIFY(measured.growth() < 64 * MiB);
    QCOMPARE(measured.problemAtEnd(), QByteArray());
}

void tst_BadInput::resetDuringTheDispatchIsSurvived()
{
    for (int i = 0; i < 50; ++i) {
        Handheld handheld(scene->port());
        QVERIFY(handheld.send(serverInfo()));
        handheld.reset();
    }
}

void tst_BadInput::resetDuringAHugeTokenIsSurvived()
{
    for (int i = 0; i < 5; ++i) {
        Handheld handheld(scene->port());
        handheld.send(openToken(4'000'000));
        handheld.reset();
    }
}

/// The server must not queue answers without limit: beyond 4 MiB it ends the connection.
void tst_BadInput::answersThatNobodyReadsAreSurvived()
{
    MeasuredServer measured;
    QVERIFY(measured.isMeasured());
    Handheld handheld(measured.port());
    // The large value comes back in every answer.
    constexpr qsizetype Value = 50'000;
    QVERIFY(handheld.sendAndSettle("{ a = " + QByteArray(Value, 'v') + "; }"));
    constexpr int Enough = 200 * MiB / Value;
    int asked = 0;
    while (asked < Enough && handheld.send(serverInfo()) && handheld.waitUntilRead()) {
        ++asked;
    }
    qInfo("Closed after %d answers.", asked);
    QVERIFY(asked < Enough);
    QVERIFY(asked * Value > 4 * MiB);
    QVERIFY(handheld.waitUntilClosed());
    QVERIFY(Handheld(measured.port()).isServed());
    QVERIFY(measured.growth() < 32 * MiB);
    QCOMPARE(measured.problemAtEnd(), QByteArray());
}

void tst_BadInput::randomBytesAreSurvived()
{
    const QList<QByteArray> pieces{"{ ",
                                   " }",
                                   "{",
                                   "}",
                                   " = ",
                                   ";",
                                   "(",
                                   ")",
                                   ", ",
                                   "\"",
                                   "[[[IGNORE]]]",
                                   "[[[ENDIGNORE]]]",
                                   "cmdType",
                                   "cmdParameters",
                                   "fncCommand",
                                   "SERVER_INFO",
                                   "SERVER_PAIR",
                                   "APPLICATION_CMD",
                                   "a",
                                   "\n",
                                   QByteArray(1, 0)};
    constexpr unsigned Seed = 20'260;
    std::mt19937 random(Seed);
    for (int round = 0; round < 300; ++round) {
        QByteArray bytes = round % 2 == 0 ? "{ " : "";
        for (unsigned i = random() % 60; i > 0; --i) {
            bytes += random() % 4 == 0 ? QByteArray(1, char(random() % 256))
                                       : pieces[random() % unsigned(pieces.size())];
        }
        bytes += round % 3 == 0 ? "; }" : "";
        Handheld handheld(scene->port());
        QVERIFY2(handheld.send(bytes), bytes.toPercentEncoding().constData());
        if (round % 10 == 0) {
            QVERIFY2(isServing(), bytes.toPercentEncoding().constData());
        }
    }
}

void tst_BadInput::manyConnectionsLeaveNothingOpen()
{
    QVERIFY(waitUntil([this] { return isServing(); }));
    int before = 0;
    QVERIFY(waitUntil([&] {
        return std::exchange(before, scene->server().openDescriptors()) ==
               scene->server().openDescriptors();
    }));
    for (int i = 0; i < 200; ++i) {
        Handheld handheld(scene->port());
        QVERIFY(handheld.isConnected());
    }
    QVERIFY(isServing());
    if (!waitUntil([&] { return scene->server().openDescriptors() <= before; })) {
        QCOMPARE(scene->server().openDescriptors(), before);
    }
}

void tst_BadInput::silentConnectionsDoNotDisturb()
{
    std::vector<std::unique_ptr<Handheld>> silent;
    for (int i = 0; i < 100; ++i) {
        silent.push_back(std::make_unique<Handheld>(scene->port()));
    }
    QVERIFY(isServing());
}

void tst_BadInput::unfinishedFileIsSurvived()
{
    Handheld handheld(scene->port());
    const auto answer =
        handheld.ask(fileRequest(u"../../../../escape"_s, u"18446744073709551615"_s));
    QVERIFY(answer);
    QVERIFY(handheld.send(QByteArray(100'000, 'x')));
    handheld.reset();
    QVERIFY(!QFile::exists(scene->session().path(u"escape"_s)));
}

QTEST_GUILESS_MAIN(tst_BadInput)
#include "tst_BadInput.moc"
