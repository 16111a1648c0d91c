// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingDnsSd.h"
#include "doubles/RecordingPlatform.h"
#include "server/Server.h"
#include "support/DialogVisitor.h"
#include "support/MessageRecorder.h"
#include "support/PrivateHome.h"
#include "support/ServedPeer.h"

#include <QAbstractButton>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

using BoxVisitor = DialogVisitor<QMessageBox>;

QAbstractButton *button(const QMessageBox &box, const QString &text)
{
    for (QAbstractButton *candidate : box.buttons()) {
        if (candidate->text() == text) {
            return candidate;
        }
    }
    return nullptr;
}

void press(const QMessageBox &box, const QString &text)
{
    QTest::mouseClick(button(box, text), Qt::LeftButton);
}

QByteArray pairRequest(const QByteArray &identifier)
{
    return "{ cmdType = SERVER_PAIR; cmdParameters = (" + identifier + ", My device); }";
}

QString response(const TokenMap &answer)
{
    return answer.value("serverResponse").toString();
}

/// The boxes that are on the screen.
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

class tst_ServerPairing : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

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

private:
    bool isRemembered(const QString &device) { return server->deviceIsPresent(device); }

    std::unique_ptr<PrivateHome> home;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<Server> server;
};

void tst_ServerPairing::init()
{
    home = std::make_unique<PrivateHome>();
    messages = std::make_unique<MessageRecorder>();
    DnsSdRecord::current().reset();
    PlatformRecord::current().reset();
    server = std::make_unique<Server>(nullptr);
    server->setNeedsPairingApproval(true);
    QVERIFY(server->startServer());
}

void tst_ServerPairing::cleanup()
{
    server.reset();
    messages.reset();
    QSettings().clear();
    home.reset();
}

// ---- The box ------------------------------------------------------------------------------------

void tst_ServerPairing::theBoxAsksAboutTheDevice()
{
    const BoxVisitor visitor([](QMessageBox &box) {
        QCOMPARE(box.text(), QString("Device pairing request."));
        QCOMPARE(box.informativeText(),
                 QString("Do you want to pair with device named 'My device''?"));
        QCOMPARE(box.icon(), QMessageBox::Question);
        QVERIFY(box.parent() == nullptr);
        QVERIFY(box.isModal());

        QCOMPARE(box.buttons().size(), 2);
        QAbstractButton *accept = button(box, "Accept");
        QAbstractButton *reject = button(box, "Reject");
        QVERIFY(accept != nullptr && reject != nullptr);
        QCOMPARE(box.buttonRole(accept), QMessageBox::AcceptRole);
        QCOMPARE(box.buttonRole(reject), QMessageBox::RejectRole);
        QCOMPARE(box.defaultButton(), qobject_cast<QPushButton *>(reject));
        box.reject();
    });
    server->pairingRequestForDevice("id", "My device");
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::aLongNameIsCut_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("80 characters") << QString(80, 'n') << QString(80, 'n');
    QTest::newRow("81 characters") << QString(81, 'n') << QString(79, 'n') + QChar(u'\u2026');
}

void tst_ServerPairing::aLongNameIsCut()
{
    QFETCH(QString, name);
    QFETCH(QString, shown);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(box.informativeText(), "Do you want to pair with device named '" + shown + "''?");
        box.reject();
    });
    server->pairingRequestForDevice("id", name);
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::theNameIsShownAsItIs_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("markup") << "<b>bold</b><img src=\"file:///etc/hostname\">";
    QTest::newRow("marker of a template") << "%1 %2 %L1";
    QTest::newRow("empty") << "";
    QTest::newRow("letters beyond ASCII") << QStringLiteral("\u00e9\u2603");
    QTest::newRow("shortcut sign") << "a&b";
}

void tst_ServerPairing::theNameIsShownAsItIs()
{
    QFETCH(QString, name);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(box.informativeText(), "Do you want to pair with device named '" + name + "''?");
        const auto *label = box.findChild<QLabel *>("qt_msgbox_informativelabel");
        QVERIFY(label != nullptr);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        box.reject();
    });
    server->pairingRequestForDevice("id", name);
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
    server->pairingRequestForDevice("id", QString("long name ").repeated(10'000));
    server->pairingRequestForDevice("id", QString(10'000, u'W'));
    QCOMPARE(visitor.visited(), 2);
}

void tst_ServerPairing::acceptingRemembersTheDevice()
{
    const BoxVisitor visitor([](QMessageBox &box) { press(box, "Accept"); });
    QVERIFY(server->pairingRequestForDevice("id", "name"));
    QVERIFY(isRemembered("id"));
    QVERIFY(!isRemembered("name"));
    server.reset();
    QCOMPARE(QSettings().value("pairedDeviceList").toStringList(), QStringList{"id"});
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
        if (way == "button") {
            press(box, "Reject");
        } else if (way == "escape") {
            QTest::keyClick(&box, Qt::Key_Escape);
        } else if (way == "return") {
            QTest::keyClick(&box, Qt::Key_Return);
        } else if (way == "close") {
            box.close();
        } else {
            box.hide();
        }
    });
    QVERIFY(!server->pairingRequestForDevice("id", "name"));
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(!isRemembered("id"));
}

void tst_ServerPairing::aRejectedDeviceIsAskedAboutAgain()
{
    int boxes = 0;
    const BoxVisitor visitor([&](QMessageBox &box) {
        ++boxes;
        press(box, boxes == 1 ? "Reject" : "Accept");
    });
    QVERIFY(!server->pairingRequestForDevice("id", "name"));
    QVERIFY(server->pairingRequestForDevice("id", "name"));
    QVERIFY(server->pairingRequestForDevice("id", "name"));
    QCOMPARE(visitor.visited(), 2);
}

void tst_ServerPairing::aKnownDeviceIsNotAskedAbout()
{
    QSettings().setValue("pairedDeviceList", QStringList{"known"});
    Server other(nullptr);
    other.setNeedsPairingApproval(true);
    const BoxVisitor visitor([](QMessageBox &box) { box.reject(); });
    QVERIFY(other.pairingRequestForDevice("known", "name"));
    QCOMPARE(visitor.visited(), 0);
}

void tst_ServerPairing::withoutApprovalNobodyIsAsked()
{
    server->setNeedsPairingApproval(false);
    const BoxVisitor visitor([](QMessageBox &box) { box.reject(); });
    QVERIFY(server->pairingRequestForDevice("id", "name"));
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
                       [&] { isAccepted = server->pairingRequestForDevice("id", "name"); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(!isAccepted);
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(!isRemembered("id"));
}

// ---- The handshake ------------------------------------------------------------------------------

void tst_ServerPairing::theAnswerWaitsForTheUser()
{
    ServedPeer peer(*server);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(peer.received(), QByteArray());
        QCOMPARE(messages->all(), QStringList());
        press(box, "Accept");
    });
    const TokenMap expected = {{"cmdType", "SERVER_PAIR"},
                               {"cmdParameters", QStringList{"id", "My device"}},
                               {"serverResponse", "OK"}};
    QCOMPARE(peer.ask(pairRequest("id")), expected);
    QCOMPARE(visitor.visited(), 1);
    QCOMPARE(messages->all(), QStringList{"warning: Device Connected "});
}

void tst_ServerPairing::aRejectedDeviceIsServedAllTheSame()
{
    ServedPeer peer(*server);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, "Reject"); });
    const TokenMap expected = {{"cmdType", "SERVER_PAIR"},
                               {"cmdParameters", QStringList{"id", "My device"}},
                               {"serverResponse", "ERROR"}};
    QCOMPARE(peer.ask(pairRequest("id")), expected);
    QCOMPARE(visitor.visited(), 1);
    QCOMPARE(messages->all(), QStringList{"warning: Device Rejected !! "});
    QVERIFY(peer.isConnected());
    QVERIFY(peer.send("{ cmdType = MOUSE_CMD; fncCommand = 1; }"));
    QCOMPARE(PlatformRecord::current().events.mousePosts().size(), 1U);
}

void tst_ServerPairing::othersAreServedWhileTheBoxIsOpen()
{
    ServedPeer first(*server);
    ServedPeer second(*server);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QCOMPARE(response(second.ask("{ cmdType = SERVER_INFO; }")), QString("OK"));
        ServedPeer third(*server);
        QCOMPARE(response(third.ask("{ cmdType = SERVER_INFO; }")), QString("OK"));
        QVERIFY(second.send("{ cmdType = KEYBOARD_CMD; fncCommand = A; }"));
        QCOMPARE(PlatformRecord::current().events.keyboardEvents().size(), 2U);
        QCOMPARE(first.received(), QByteArray());
        press(box, "Accept");
    });
    QCOMPARE(response(first.ask(pairRequest("id"))), QString("OK"));
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::theSameDeviceIsServedWhileTheBoxIsOpen()
{
    ServedPeer peer(*server);
    const BoxVisitor visitor([&](QMessageBox &box) {
        QVERIFY(peer.send("{ cmdType = MOUSE_CMD; fncCommand = 2; }"));
        QCOMPARE(PlatformRecord::current().events.mousePosts().size(), 1U);
        press(box, "Accept");
    });
    // The answer carries what the map holds by now.
    const TokenMap expected = {{"cmdType", "MOUSE_CMD"},
                               {"fncCommand", "2"},
                               {"cmdParameters", QStringList{"id", "My device"}},
                               {"serverResponse", "OK"}};
    QCOMPARE(peer.ask(pairRequest("id")), expected);
    QCOMPARE(visitor.visited(), 1);
    // What was read inside is not read again.
    QCOMPARE(PlatformRecord::current().events.mousePosts().size(), 1U);
}

void tst_ServerPairing::theDeviceMayLeaveWhileTheBoxIsOpen()
{
    ServedPeer peer(*server);
    QSignalSpy states(server.get(), &Server::clientConnected);
    const BoxVisitor visitor([&](QMessageBox &box) {
        peer.leave();
        // Its objects stay for as long as the request is being carried out, or not: neither must
        // be touched.
        waitUntil([&] { return messages->all().contains("warning: Device Disconnected "); });
        waitUntil([&] { return peer.served() == nullptr; }, std::chrono::milliseconds(200));
        press(box, "Accept");
    });
    peer.post(pairRequest("id"));
    QVERIFY(waitUntil([&] { return isRemembered("id"); }));
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(waitUntil([&] { return states.count() == 1 && peer.served() == nullptr; }));
    QCOMPARE(messages->warnings(), QStringList({"Device Disconnected ", "Device Connected "}));
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
        QCOMPARE(response(peers[16]->ask(pairRequest("16"))), QString("ERROR"));
        QCOMPARE(openBoxes().size(), 16);
        press(box, "Accept");
        for (QMessageBox *other : openBoxes()) {
            other->reject();
        }
    });
    peers[0]->post(pairRequest("0"));
    QCOMPARE(response(peers[0]->answer()), QString("ERROR"));
    QCOMPARE(open, 16);
    QCOMPARE(response(peers[15]->answer()), QString("OK"));
    for (size_t index = 1; index < 15; ++index) {
        QCOMPARE(response(peers[index]->answer()), QString("ERROR"));
    }
    QVERIFY(!isRemembered("16"));
    // There is room again.
    visitor.reset();
    QCOMPARE(openBoxes().size(), 0);
    const BoxVisitor accepting([](QMessageBox &box) { press(box, "Accept"); });
    QCOMPARE(response(peers[17]->ask(pairRequest("17"))), QString("OK"));
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
                press(*box, "Accept");
            }
        }
        // The event loop of the newer one still runs.
        QCOMPARE(response(older.answer()), QString("OK"));
        QCOMPARE(openBoxes().size(), 1);
        QCOMPARE(newer.received(), QByteArray());
        press(*openBoxes().constFirst(), "Accept");
    });
    older.post(pairRequest("older"));
    QVERIFY(waitUntil([&] { return isRemembered("newer"); }));
    QCOMPARE(response(newer.answer()), QString("OK"));
    QVERIFY(isRemembered("older"));
    QCOMPARE(visitor.visited(), 2);
}

void tst_ServerPairing::theBoxBlocksNoOtherWindow()
{
    QPushButton other("other");
    QSignalSpy clicks(&other, &QPushButton::clicked);
    other.show();
    QVERIFY(QTest::qWaitForWindowExposed(&other));
    const BoxVisitor visitor([&](QMessageBox &box) {
        QVERIFY(box.isModal());
        // As the system hands it on, which a blocked window does not get.
        const QPoint middle = other.rect().center();
        QTest::mouseClick(other.windowHandle(), Qt::LeftButton, {}, middle);
        QCOMPARE(clicks.count(), 1);
        box.reject();
    });
    QVERIFY(!server->pairingRequestForDevice("id", "name"));
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerPairing::aDeviceTooManyIsAcceptedAndNotRemembered()
{
    server->setNeedsPairingApproval(false);
    ServedPeer peer(*server);
    const QByteArray longest(1'024, 'x');
    for (const QByteArray &device : {QByteArray("id"), longest, longest + 'x'}) {
        QCOMPARE(response(peer.ask(pairRequest(device))), QString("OK"));
    }
    server->setNeedsPairingApproval(true);
    QVERIFY(isRemembered("id"));
    QVERIFY(isRemembered(longest));
    QVERIFY(!isRemembered(longest + 'x'));
    // The user's word is remembered whatever its length.
    const BoxVisitor visitor([](QMessageBox &box) { press(box, "Accept"); });
    QCOMPARE(response(peer.ask(pairRequest(longest + 'x'))), QString("OK"));
    server.reset();
    QCOMPARE(QSettings().value("pairedDeviceList").toStringList(),
             QStringList({"id", longest, longest + 'x'}));
}

QTEST_MAIN(tst_ServerPairing)
#include "tst_ServerPairing.moc"
