// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "unit/server/PairingFixture.h"

#include <QElapsedTimer>
#include <QMenu>

#include <utility>

using namespace Qt::StringLiterals;

/// Devices that were refused and ask again.
class tst_PairingPauses : public PairingFixture
{
    Q_OBJECT

private slots:
    void aRefusedDeviceWaitsAndIsServedMeanwhile();
    void thePauseGrows();
    void anotherDeviceDoesNotWait();
    void aDeviceAcceptedMeanwhileIsNotAskedAboutAgain();
    void aDeviceThatLeavesWhileItWaitsIsAskedAbout();
    void sixteenQuestionsIncludeThoseThatWait();
    void theBoxWaitsForAnOpenMenu();
    void theEndOfTheProgramRefusesThoseThatWait();

private:
    /// As if the user had refused the device in other connections: it waits 1, 2 or 4 seconds.
    void refuse(const QString &device, int times)
    {
        const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Reject"_s); });
        for (int count = 0; count < times; ++count) {
            QVERIFY(!server->pairingRequestForDevice(device, u"name"_s));
        }
    }
};

void tst_PairingPauses::aRefusedDeviceWaitsAndIsServedMeanwhile()
{
    ServedPeer peer(*server);
    ServedPeer other(*server);
    refuse(u"id"_s, 3);
    QElapsedTimer sinceRefusal;
    sinceRefusal.start();
    qint64 pause = 0;
    const BoxVisitor visitor([&](QMessageBox &box) {
        pause = sinceRefusal.elapsed();
        press(box, u"Accept"_s);
    });
    peer.post(pairRequest("id"));
    QCOMPARE(response(other.ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
    QVERIFY(peer.send("{ cmdType = MOUSE_CMD; fncCommand = 1; }"));
    QCOMPARE(host.events.mousePosts().size(), 1U);
    QVERIFY(peer.received().isEmpty());
    QVERIFY(waitUntil([&] { return isRemembered(u"id"_s); }));
    QCOMPARE(response(peer.answer()), u"OK"_s);
    QCOMPARE(visitor.visited(), 1);
    QVERIFY2(pause >= 3'900, qPrintable(QString::number(pause)));
}

void tst_PairingPauses::thePauseGrows()
{
    ServedPeer peer(*server);
    QElapsedTimer sinceRefusal;
    QList<qint64> pauses;
    const BoxVisitor visitor([&](QMessageBox &box) {
        pauses.append(sinceRefusal.isValid() ? sinceRefusal.elapsed() : 0);
        press(box, u"Reject"_s);
        sinceRefusal.start();
    });
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(response(peer.ask(pairRequest("id"))), u"ERROR"_s);
    }
    QCOMPARE(pauses.size(), 3);
    QVERIFY2(pauses[1] >= 990, qPrintable(QString::number(pauses[1])));
    QVERIFY2(pauses[2] >= 1'990, qPrintable(QString::number(pauses[2])));
}

void tst_PairingPauses::anotherDeviceDoesNotWait()
{
    ServedPeer refused(*server);
    ServedPeer other(*server);
    refuse(u"id"_s, 3);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Accept"_s); });
    QVERIFY(refused.send(pairRequest("id")));
    QCOMPARE(response(other.ask(pairRequest("other"))), u"OK"_s);
    // The refused one still waits: there is neither an answer nor a box for it.
    QCOMPARE(refused.received(), QByteArray());
    QCOMPARE(visitor.visited(), 1);
    QCOMPARE(response(refused.answer()), u"OK"_s);
}

void tst_PairingPauses::aDeviceAcceptedMeanwhileIsNotAskedAboutAgain()
{
    ServedPeer peer(*server);
    refuse(u"id"_s, 3);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Reject"_s); });
    QVERIFY(peer.send(pairRequest("id")));
    QVERIFY(peer.received().isEmpty());
    server->setNeedsPairingApproval(false);
    QVERIFY(server->deviceIsPresent(u"id"_s));
    server->setNeedsPairingApproval(true);
    QCOMPARE(response(peer.answer()), u"OK"_s);
    QCOMPARE(visitor.visited(), 0);
}

void tst_PairingPauses::aDeviceThatLeavesWhileItWaitsIsAskedAbout()
{
    ServedPeer peer(*server);
    bool isFirst = true;
    const BoxVisitor visitor([&](QMessageBox &box) {
        press(box, std::exchange(isFirst, false) ? u"Reject"_s : u"Accept"_s);
    });
    QCOMPARE(response(peer.ask(pairRequest("id"))), u"ERROR"_s);
    QVERIFY(peer.send(pairRequest("id")));
    peer.leave();
    QVERIFY(waitUntil([&] { return peer.served() == nullptr; }));
    QVERIFY(waitUntil([&] { return isRemembered(u"id"_s); }));
    QCOMPARE(visitor.visited(), 2);
}

void tst_PairingPauses::sixteenQuestionsIncludeThoseThatWait()
{
    ServedPeer peer(*server);
    ServedPeer other(*server);
    refuse(u"id"_s, 3);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Reject"_s); });
    QElapsedTimer sinceRefusal;
    sinceRefusal.start();
    for (int i = 0; i < 16; ++i) {
        QVERIFY(peer.send(pairRequest("id")));
    }
    QCOMPARE(response(other.ask(pairRequest("other"))), u"ERROR"_s);
    QVERIFY2(sinceRefusal.elapsed() < 3'900, "too slow to tell");
    QCOMPARE(visitor.visited(), 0);
    QCOMPARE(peer.received(), QByteArray());
    // Each of them gets its answer in the end.
    QVERIFY(waitUntil([&] { return peer.received().count("ERROR") == 16; }));
    QCOMPARE(visitor.visited(), 16);
}

void tst_PairingPauses::theBoxWaitsForAnOpenMenu()
{
    QMenu menu;
    menu.addAction(u"Quit"_s);
    menu.popup(QPoint(0, 0));
    QCOMPARE(QApplication::activePopupWidget(), &menu);
    ServedPeer peer(*server);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Accept"_s); });
    QVERIFY(peer.send(pairRequest("id")));
    QTest::qWait(700);
    QVERIFY(menu.isVisible());
    QCOMPARE(visitor.visited(), 0);
    QCOMPARE(peer.received(), QByteArray());
    menu.close();
    QCOMPARE(response(peer.answer()), u"OK"_s);
    QCOMPARE(visitor.visited(), 1);
}

void tst_PairingPauses::theEndOfTheProgramRefusesThoseThatWait()
{
    ServedPeer peer(*server);
    refuse(u"id"_s, 3);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Reject"_s); });
    QVERIFY(peer.send(pairRequest("id")));
    QTimer::singleShot(0, [] { QCoreApplication::quit(); });
    QCOMPARE(QApplication::exec(), 0);
    server.reset();
    // The answer is under way although no event loop has run since.
    QCOMPARE(response(peer.answer()), u"ERROR"_s);
    QCOMPARE(visitor.visited(), 0);
}

QTEST_MAIN(tst_PairingPauses)
#include "tst_PairingPauses.moc"
