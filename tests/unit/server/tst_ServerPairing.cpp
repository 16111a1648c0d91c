// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "unit/server/PairingFixture.h"

#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

/// The boxes that are visible.
QList<QMessageBox *> openBoxes()
{
    QList<QMessageBox *> boxes;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (box != nullptr && box->isVisible()) {
            boxes.append(box);
        }
    }
    return boxes;
}

} // namespace

class tst_ServerPairing : public PairingFixture
{
    Q_OBJECT

private slots:
    void theBoxAsksAboutTheDevice();
    void aLongNameIsCut_data();
    void aLongNameIsCut();
    void theNameIsShownAsItIs_data();
    void theNameIsShownAsItIs();
    void aLongNameLeavesTheButtonsOnTheScreen();
    void acceptingRemembersTheDevice();
    void anythingElseRejects_data();
    void anythingElseRejects();
    void aRejectedDeviceIsAskedAboutAgain();
    void aKnownDeviceIsNotAskedAbout();
    void withoutApprovalNobodyIsAsked();
    void theEndOfTheProgramIsNoAcceptance_data();
    void theEndOfTheProgramIsNoAcceptance();

    void theAnswerWaitsForTheUser();
    void aRejectedDeviceIsServedAllTheSame();
    void othersAreServedWhileTheBoxIsOpen();
    void theSameDeviceIsServedWhileTheBoxIsOpen();
    void theDeviceMayLeaveWhileTheBoxIsOpen();
    void atMostSixteenBoxesAreOpen();
    void boxesAreAnsweredInAnyOrder();
    void theBoxBlocksNoOtherWindow();
    void aDeviceTooManyIsAcceptedAndNotRemembered();
};

// ---- The box ------------------------------------------------------------------------------------

void tst_ServerPairing::theBoxAsksAboutTheDevice()
{
    const BoxVisitor visitor([](QMessageBox &box) {
        QCOMPARE(box.text(), u"Device pairing request."_s);
        QCOMPARE(box.informativeText(), u"Do you want to pair with device named 'My device''?"_s);
        QCOMPARE(box.icon(), QMessageBox::Question);
        QVERIFY(box.parent() == nullptr);
        QVERIFY(box.isModal());

        QCOMPARE(box.buttons().size(), 2);
        QAbstractButton *accept = button(box, u"Accept"_s);
        QAbstractButton *reject = button(box, u"Reject"_s);
        QVERIFY(accept != nullptr && reject != nullptr);
        QCOMPARE(box.buttonRole(accept), QMessageBox::AcceptRole);
        QCOMPARE(box.buttonRole(reject), QMessageBox::RejectRole);
        QCOMPARE(box.defaultButton(), qobject_cast<QPushButton *>(reject));
        box.reject();
    });
    server->pairingRequestForDevice(u"id"_s, u"My device"_s);
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::aLongNameIsCut_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("80 characters") << QString(80, u'n') << QString(80, u'n');
    QTest::newRow("81 characters") << QString(81, u'n') << QString(79, u'n') + QChar(u'\u2026');
}

void tst_ServerPairing::aLongNameIsCut()
{
    QFETCH(QString, name);
    QFETCH(QString, shown);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(box.informativeText(),
                 u"Do you want to pair with device named '"_s + shown + u"''?"_s);
        box.reject();
    });
    server->pairingRequestForDevice(u"id"_s, name);
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::theNameIsShownAsItIs_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("markup") << "<b>bold</b><img src=\"file:///etc/hostname\">";
    QTest::newRow("marker of a template") << "%1 %2 %L1";
    QTest::newRow("empty") << "";
    QTest::newRow("letters beyond ASCII") << u"\u00e9\u2603"_s;
    QTest::newRow("shortcut sign") << "a&b";
}

void tst_ServerPairing::theNameIsShownAsItIs()
{
    QFETCH(QString, name);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(box.informativeText(),
                 u"Do you want to pair with device named '"_s + name + u"''?"_s);
        const auto *label = box.findChild<QLabel *>(u"qt_msgbox_informativelabel"_s);
        QVERIFY(label != nullptr);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        box.reject();
    });
    server->pairingRequestForDevice(u"id"_s, name);
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::aLongNameLeavesTheButtonsOnTheScreen()
{
    const BoxVisitor visitor([&](QMessageBox &box) {
        const QRect screen = box.screen()->geometry();
        for (const QAbstractButton *each : box.buttons()) {
            const QRect place(each->mapToGlobal(QPoint(0, 0)), each->size());
            QVERIFY(screen.contains(place));
        }
        box.reject();
    });
    server->pairingRequestForDevice(u"id"_s, u"long name "_s.repeated(10'000));
    server->pairingRequestForDevice(u"id"_s, QString(10'000, u'W'));
    QCOMPARE(visitor.visited(), 2);
}

void tst_ServerPairing::acceptingRemembersTheDevice()
{
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Accept"_s); });
    QVERIFY(server->pairingRequestForDevice(u"id"_s, u"name"_s));
    QVERIFY(isRemembered(u"id"_s));
    QVERIFY(!isRemembered(u"name"_s));
    server.reset();
    QCOMPARE(QSettings().value("pairedDeviceList").toStringList(), QStringList{u"id"_s});
}

void tst_ServerPairing::anythingElseRejects_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("the button") << "button";
    QTest::newRow("escape") << "escape";
    QTest::newRow("return presses the default button") << "return";
    QTest::newRow("closing the box") << "close";
    QTest::newRow("hiding the box") << "hide";
}

void tst_ServerPairing::anythingElseRejects()
{
    QFETCH(QString, way);
    const BoxVisitor visitor([&](QMessageBox &box) {
        if (way == u"button"_s) {
            press(box, u"Reject"_s);
        } else if (way == u"escape"_s) {
            QTest::keyClick(&box, Qt::Key_Escape);
        } else if (way == u"return"_s) {
            QTest::keyClick(&box, Qt::Key_Return);
        } else if (way == u"close"_s) {
            box.close();
        } else {
            box.hide();
        }
    });
    QVERIFY(!server->pairingRequestForDevice(u"id"_s, u"name"_s));
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(!isRemembered(u"id"_s));
}

void tst_ServerPairing::aRejectedDeviceIsAskedAboutAgain()
{
    int boxes = 0;
    const BoxVisitor visitor([&](QMessageBox &box) {
        ++boxes;
        press(box, boxes == 1 ? u"Reject"_s : u"Accept"_s);
    });
    QVERIFY(!server->pairingRequestForDevice(u"id"_s, u"name"_s));
    QVERIFY(server->pairingRequestForDevice(u"id"_s, u"name"_s));
    QVERIFY(server->pairingRequestForDevice(u"id"_s, u"name"_s));
    QCOMPARE(visitor.visited(), 2);
}

void tst_ServerPairing::aKnownDeviceIsNotAskedAbout()
{
    QSettings().setValue("pairedDeviceList", QStringList{u"known"_s});
    Server other(nullptr);
    other.setNeedsPairingApproval(true);
    const BoxVisitor visitor([](QMessageBox &box) { box.reject(); });
    QVERIFY(other.pairingRequestForDevice(u"known"_s, u"name"_s));
    QCOMPARE(visitor.visited(), 0);
}

void tst_ServerPairing::withoutApprovalNobodyIsAsked()
{
    server->setNeedsPairingApproval(false);
    const BoxVisitor visitor([](QMessageBox &box) { box.reject(); });
    QVERIFY(server->pairingRequestForDevice(u"id"_s, u"name"_s));
    QCOMPARE(visitor.visited(), 0);
}

void tst_ServerPairing::theEndOfTheProgramIsNoAcceptance_data()
{
    QTest::addColumn<bool>("isForced");
    QTest::newRow("quit") << false;
    QTest::newRow("exit") << true;
}

void tst_ServerPairing::theEndOfTheProgramIsNoAcceptance()
{
    QFETCH(bool, isForced);
    const BoxVisitor visitor(
        [&](QMessageBox &) { isForced ? QCoreApplication::exit(0) : QCoreApplication::quit(); });
    bool isAccepted = true;
    QTimer::singleShot(0, server.get(),
                       [&] { isAccepted = server->pairingRequestForDevice(u"id"_s, u"name"_s); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(!isAccepted);
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(!isRemembered(u"id"_s));
}

// ---- The handshake ------------------------------------------------------------------------------

void tst_ServerPairing::theAnswerWaitsForTheUser()
{
    ServedPeer peer(*server);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(peer.received(), QByteArray());
        QCOMPARE(messages->all(), QStringList());
        press(box, u"Accept"_s);
    });
    const TokenMap expected = {{u"cmdType"_s, u"SERVER_PAIR"_s},
                               {u"cmdParameters"_s, QStringList{u"id"_s, u"My device"_s}},
                               {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(peer.ask(pairRequest("id")), expected);
    QCOMPARE(visitor.visited(), 1);
    QCOMPARE(messages->all(), QStringList{u"warning: Device Connected "_s});
}

void tst_ServerPairing::aRejectedDeviceIsServedAllTheSame()
{
    ServedPeer peer(*server);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Reject"_s); });
    const TokenMap expected = {{u"cmdType"_s, u"SERVER_PAIR"_s},
                               {u"cmdParameters"_s, QStringList{u"id"_s, u"My device"_s}},
                               {u"serverResponse"_s, u"ERROR"_s}};
    QCOMPARE(peer.ask(pairRequest("id")), expected);
    QCOMPARE(visitor.visited(), 1);
    QCOMPARE(messages->all(), QStringList{u"warning: Device Rejected !! "_s});
    QVERIFY(peer.isConnected());
    QVERIFY(peer.send("{ cmdType = MOUSE_CMD; fncCommand = 1; }"));
    QCOMPARE(host.events.mousePosts().size(), 1U);
}

void tst_ServerPairing::othersAreServedWhileTheBoxIsOpen()
{
    ServedPeer first(*server);
    ServedPeer second(*server);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(response(second.ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
        ServedPeer third(*server);
        QCOMPARE(response(third.ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
        QVERIFY(second.send("{ cmdType = KEYBOARD_CMD; fncCommand = A; }"));
        QCOMPARE(host.events.keyboardEvents().size(), 2U);
        QCOMPARE(first.received(), QByteArray());
        press(box, u"Accept"_s);
    });
    QCOMPARE(response(first.ask(pairRequest("id"))), u"OK"_s);
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::theSameDeviceIsServedWhileTheBoxIsOpen()
{
    ServedPeer peer(*server);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QVERIFY(peer.send("{ cmdType = MOUSE_CMD; fncCommand = 2; }"));
        QCOMPARE(host.events.mousePosts().size(), 1U);
        press(box, u"Accept"_s);
    });
    // The answer carries what the map holds by now.
    const TokenMap expected = {{u"cmdType"_s, u"MOUSE_CMD"_s},
                               {u"fncCommand"_s, u"2"_s},
                               {u"cmdParameters"_s, QStringList{u"id"_s, u"My device"_s}},
                               {u"serverResponse"_s, u"OK"_s}};
    QCOMPARE(peer.ask(pairRequest("id")), expected);
    QCOMPARE(visitor.visited(), 1);
    // What was read in the inner event loop is not read again.
    QCOMPARE(host.events.mousePosts().size(), 1U);
}

void tst_ServerPairing::theDeviceMayLeaveWhileTheBoxIsOpen()
{
    ServedPeer peer(*server);
    QSignalSpy states(server.get(), &Server::clientConnected);
    const BoxVisitor visitor([&](QMessageBox &box) {
        peer.leave();
        // Its objects stay for as long as the request is being carried out, or not: neither must
        // be touched.
        waitUntil([&] { return messages->all().contains(u"warning: Device Disconnected "_s); });
        waitUntil([&] { return peer.served() == nullptr; }, std::chrono::milliseconds(200));
        press(box, u"Accept"_s);
    });
    peer.post(pairRequest("id"));
    QVERIFY(waitUntil([&] { return isRemembered(u"id"_s); }));
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(waitUntil([&] { return states.count() == 1 && peer.served() == nullptr; }));
    QCOMPARE(messages->warnings(),
             QStringList({u"Device Disconnected "_s, u"Device Connected "_s}));
}

void tst_ServerPairing::atMostSixteenBoxesAreOpen()
{
    std::vector<std::unique_ptr<ServedPeer>> peers;
    for (int count = 0; count < 18; ++count) {
        peers.push_back(std::make_unique<ServedPeer>(*server));
    }
    int open = 0;
    // Each box waits inside the event loop of the one before it.
    auto visitor = std::make_unique<BoxVisitor>([&](QMessageBox &box) {
        ++open;
        if (open < 16) {
            peers[static_cast<size_t>(open)]->post(pairRequest(QByteArray::number(open)));
            return;
        }
        QCOMPARE(openBoxes().size(), 16);
        QCOMPARE(response(peers[16]->ask(pairRequest("16"))), u"ERROR"_s);
        QCOMPARE(openBoxes().size(), 16);
        press(box, u"Accept"_s);
        for (QMessageBox *other : openBoxes()) {
            other->reject();
        }
    });
    peers[0]->post(pairRequest("0"));
    QCOMPARE(response(peers[0]->answer()), u"ERROR"_s);
    QCOMPARE(open, 16);
    QCOMPARE(response(peers[15]->answer()), u"OK"_s);
    for (size_t index = 1; index < 15; ++index) {
        QCOMPARE(response(peers[index]->answer()), u"ERROR"_s);
    }
    QVERIFY(!isRemembered(u"16"_s));
    // There is room again.
    visitor.reset();
    QCOMPARE(openBoxes().size(), 0);
    const BoxVisitor accepting([](QMessageBox &box) { press(box, u"Accept"_s); });
    QCOMPARE(response(peers[17]->ask(pairRequest("17"))), u"OK"_s);
}

void tst_ServerPairing::boxesAreAnsweredInAnyOrder()
{
    ServedPeer older(*server);
    ServedPeer newer(*server);
    int open = 0;
    const BoxVisitor visitor([&](QMessageBox &) {
        if (++open == 1) {
            newer.post(pairRequest("newer"));
            return;
        }
        for (QMessageBox *box : openBoxes()) {
            if (box != QApplication::activeModalWidget()) {
                press(*box, u"Accept"_s);
            }
        }
        // The event loop of the newer one still runs.
        QCOMPARE(response(older.answer()), u"OK"_s);
        QCOMPARE(openBoxes().size(), 1);
        QCOMPARE(newer.received(), QByteArray());
        press(*openBoxes().constFirst(), u"Accept"_s);
    });
    older.post(pairRequest("older"));
    QVERIFY(waitUntil([&] { return isRemembered(u"newer"_s); }));
    QCOMPARE(response(newer.answer()), u"OK"_s);
    QVERIFY(isRemembered(u"older"_s));
    QCOMPARE(visitor.visited(), 2);
}

void tst_ServerPairing::theBoxBlocksNoOtherWindow()
{
    QPushButton other(u"other"_s);
    QSignalSpy clicks(&other, &QPushButton::clicked);
    other.show();
    QVERIFY(QTest::qWaitForWindowExposed(&other));
    const BoxVisitor visitor([&](QMessageBox &box) {
        QVERIFY(box.isModal());
        // Sent as the system would; a blocked window does not receive it.
        const QPoint middle = other.rect().center();
        QTest::mouseClick(other.windowHandle(), Qt::LeftButton, {}, middle);
        QCOMPARE(clicks.count(), 1);
        box.reject();
    });
    QVERIFY(!server->pairingRequestForDevice(u"id"_s, u"name"_s));
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::aDeviceTooManyIsAcceptedAndNotRemembered()
{
    server->setNeedsPairingApproval(false);
    ServedPeer peer(*server);
    const QByteArray longest(1'024, 'x');
    for (const QByteArray &device : {QByteArray("id"), longest, longest + 'x'}) {
        QCOMPARE(response(peer.ask(pairRequest(device))), u"OK"_s);
    }
    server->setNeedsPairingApproval(true);
    QVERIFY(isRemembered(u"id"_s));
    QVERIFY(isRemembered(QString::fromLatin1(longest)));
    QVERIFY(!isRemembered(QString::fromLatin1(longest + 'x')));
    // The user's decision is remembered however long the identifier is.
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Accept"_s); });
    QCOMPARE(response(peer.ask(pairRequest(longest + 'x'))), u"OK"_s);
    server.reset();
    QCOMPARE(
        QSettings().value("pairedDeviceList").toStringList(),
        QStringList({u"id"_s, QString::fromLatin1(longest), QString::fromLatin1(longest + 'x')}));
}

QTEST_MAIN(tst_ServerPairing)
#include "tst_ServerPairing.moc"
