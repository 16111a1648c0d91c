// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How the texts of other programs are read and watched.

#include "adapters/DataControlScene.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <fcntl.h>

class tst_DataControlClipboard : public QObject, private DataControlScene
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { end(); }

    void theTextOfAnOwnerIsRead();
    void theBestTypeIsTaken_data();
    void theBestTypeIsTaken();
    void whatIsNoTextIsNotAskedFor();
    void anEmptyClipboardHasNoText();
    void anOwnerThatNeverAnswersIsGivenUpAfterASecond();
    void anOwnerThatKeepsWritingIsGivenUpAfterASecond();
    void aTextThatIsTooLongIsNotRead();
    void requestsShareOnePipe();
    void noPipeIsLeftOver();
    void changesAreReported();
    void thePrimarySelectionIsNoChange();
    void anEndedWatchReportsNothing();
    void aFinishedDeviceIsReplaced();
    void offersDoNotPileUp();

private:
    int changes = 0;
};

void tst_DataControlClipboard::init()
{
    changes = 0;
    QVERIFY(start());
}

void tst_DataControlClipboard::theTextOfAnOwnerIsRead()
{
    compositor->copy({"text/plain;charset=utf-8"}, ownerOf("a\n\xe2\x82\xac"));
    // At once, though nothing of it has been read.
    QCOMPARE(text(), u"a\n€"_s);
    compositor->copy({"text/plain;charset=utf-8"}, ownerOf(""));
    QCOMPARE(text(), QString());
}

void tst_DataControlClipboard::theBestTypeIsTaken_data()
{
    QTest::addColumn<QByteArrayList>("types");
    QTest::addColumn<QByteArray>("best");
    const QByteArrayList all = {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "STRING",
                                "TEXT"};
    for (qsizetype i = 0; i < all.size(); ++i) {
        QByteArrayList some = all.mid(i);
        QTest::addRow("forwards %d", static_cast<int>(i)) << some << all.at(i);
        std::reverse(some.begin(), some.end());
        some.prepend("text/html");
        some.append("image/png");
        QTest::addRow("backwards %d", static_cast<int>(i)) << some << all.at(i);
    }
}

void tst_DataControlClipboard::theBestTypeIsTaken()
{
    QFETCH(QByteArrayList, types);
    QFETCH(QByteArray, best);
    compositor->copy(types, [](const QByteArray &type, const Descriptor &target) {
        QCOMPARE(write(target.get(), type.constData(), static_cast<std::size_t>(type.size())),
                 type.size());
    });
    QCOMPARE(text(), QString::fromUtf8(best));
}

void tst_DataControlClipboard::whatIsNoTextIsNotAskedFor()
{
    int asked = 0;
    compositor->copy({"image/png", "text/uri-list", "text/html", "text/plain2", ""},
                     [&](const QByteArray & /*type*/, const Descriptor & /*target*/) { ++asked; });
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(asked, 0);
}

void tst_DataControlClipboard::anEmptyClipboardHasNoText()
{
    QCOMPARE(text(), std::nullopt);
    compositor->copy({"TEXT"}, ownerOf("text"));
    QCOMPARE(text(), u"text"_s);
    compositor->clear();
    QCOMPARE(text(), std::nullopt);
}

void tst_DataControlClipboard::anOwnerThatNeverAnswersIsGivenUpAfterASecond()
{
    std::vector<Descriptor> kept;
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor target) {
        kept.push_back(std::move(target));
    });
    QElapsedTimer time;
    time.start();
    QCOMPARE(text(), std::nullopt);
    QVERIFY2(time.elapsed() >= 900, qPrintable(QString::number(time.elapsed())));
    QCOMPARE(kept.size(), 1U);
    // The owner learns that nobody reads.
    QCOMPARE(write(kept.front().get(), "a", 1), -1);
    compositor->copy({"TEXT"}, ownerOf("later"));
    QCOMPARE(text(), u"later"_s);
}

void tst_DataControlClipboard::anOwnerThatKeepsWritingIsGivenUpAfterASecond()
{
    Descriptor target(-1);
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor given) {
        target = std::move(given);
    });
    QTimer typing;
    connect(&typing, &QTimer::timeout, this, [&] {
        if (target.isOpen()) {
            static_cast<void>(write(target.get(), "a", 1));
        }
    });
    typing.start(10ms);
    QCOMPARE(text(), std::nullopt);
    // In time it is a text like others.
    QTimer end;
    connect(&end, &QTimer::timeout, this, [&] {
        typing.stop();
        target = Descriptor(-1);
    });
    end.setSingleShot(true);
    target = Descriptor(-1);
    end.start(200ms);
    const auto found = text();
    QVERIFY(found);
    QVERIFY(found->size() > 1);
    QCOMPARE(*found, QString(found->size(), u'a'));
}

void tst_DataControlClipboard::aTextThatIsTooLongIsNotRead()
{
    // The owner writes as fast as it is read, without an end.
    qint64 written = 0;
    Descriptor target(-1);
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor given) {
        target = std::move(given);
        fcntl(target.get(), F_SETFL, O_NONBLOCK);
    });
    const QByteArray piece(1024 * 1024, 'a');
    bool isGiven = false;
    bool isBroken = false;
    std::optional<QString> found;
    clipboard->requestText([&](const std::optional<QString> &given) {
        isGiven = true;
        found = given;
    });
    while (!isGiven && !isBroken) {
        QCoreApplication::processEvents();
        const ssize_t count = target.isOpen() ? write(target.get(), piece.constData(),
                                                      static_cast<std::size_t>(piece.size()))
                                              : 0;
        written += std::max<ssize_t>(count, 0);
        isBroken = count < 0 && errno == EPIPE;
    }
    QVERIFY(waitUntil([&] { return isGiven; }));
    QCOMPARE(found, std::nullopt);
    QVERIFY(written <= platform::maximumClipboardText + 1024 * 1024);
}

void tst_DataControlClipboard::requestsShareOnePipe()
{
    std::vector<Descriptor> kept;
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor target) {
        kept.push_back(std::move(target));
    });
    int answers = 0;
    const auto ask = [&] {
        clipboard->requestText([&](const std::optional<QString> & /*text*/) { ++answers; });
    };
    ask();
    QVERIFY(waitUntil([&] { return kept.size() == 1; }));
    // All of these wait for the first one, and share the next.
    for (int i = 0; i < 1000; ++i) {
        ask();
    }
    QCOMPARE(write(kept.front().get(), "a", 1), 1);
    kept.clear();
    QVERIFY(waitUntil([&] { return kept.size() == 1; }));
    QCOMPARE(answers, 1);
    kept.clear();
    QVERIFY(waitUntil([&] { return answers == 1001; }));
    QVERIFY(kept.empty());
}

void tst_DataControlClipboard::noPipeIsLeftOver()
{
    QCOMPARE(text(), std::nullopt);
    const qsizetype before = openDescriptors();
    for (int i = 0; i < 50; ++i) {
        compositor->copy({"TEXT"}, ownerOf("text"));
        QCOMPARE(text(), u"text"_s);
    }
    QVERIFY(waitUntil([&] { return openDescriptors() == before; }));
}

void tst_DataControlClipboard::changesAreReported()
{
    clipboard->watch([this] { ++changes; });
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(changes, 0);
    QVERIFY(waitUntil([this] { return changes == 1; }));
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([this] { return changes == 2; }));
    compositor->copy({"image/png"}, ownerOf("picture"));
    QVERIFY(waitUntil([this] { return changes == 3; }));
    compositor->clear();
    QVERIFY(waitUntil([this] { return changes == 4; }));
    QCOMPARE(text(), std::nullopt);
    QCOMPARE(changes, 4);
}

void tst_DataControlClipboard::thePrimarySelectionIsNoChange()
{
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    clipboard->watch([this] { ++changes; });
    compositor->select({"TEXT", "text/plain"});
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(changes, 0);
    QCOMPARE(compositor->offers(), 2U);
}

void tst_DataControlClipboard::anEndedWatchReportsNothing()
{
    clipboard->watch([this] {
        ++changes;
        clipboard->watch({});
    });
    compositor->copy({"TEXT"}, ownerOf("first"));
    QCOMPARE(text(), u"first"_s);
    compositor->copy({"TEXT"}, ownerOf("second"));
    QCOMPARE(text(), u"second"_s);
    QCOMPARE(changes, 1);
}

void tst_DataControlClipboard::aFinishedDeviceIsReplaced()
{
    for (int i = 0; i < 20; ++i) {
        compositor->finishDevices();
        QCOMPARE(text(), std::nullopt);
    }
    QVERIFY(waitUntil([this] { return compositor->devices() == 1; }));
    compositor->copy({"TEXT"}, ownerOf("later"));
    QVERIFY(becomes(u"later"_s));
    clipboard->setText(u"ours"_s);
    QVERIFY(becomes(u"ours"_s));
    // A text of ours stays.
    compositor->finishDevices();
    QVERIFY(waitUntil([this] { return compositor->devices() == 1; }));
    QVERIFY(waitUntil([this] { return compositor->sources() == 1; }));
    QVERIFY(waitUntil([this] { return !compositor->clientTypes().isEmpty(); }));
    QCOMPARE(text(), u"ours"_s);
}

void tst_DataControlClipboard::offersDoNotPileUp()
{
    for (int i = 0; i < 200; ++i) {
        for (int j = 0; j < 10; ++j) {
            compositor->announce({"TEXT"});
            compositor->copy({"image/png"}, {});
            compositor->select({"TEXT"});
            compositor->copy({"TEXT"}, ownerOf("last"));
        }
        QCoreApplication::processEvents();
    }
    QCOMPARE(text(), u"last"_s);
    QVERIFY(waitUntil([this] { return compositor->offers() <= 5; }));
}

QTEST_GUILESS_MAIN(tst_DataControlClipboard)
#include "tst_DataControlClipboard.moc"
