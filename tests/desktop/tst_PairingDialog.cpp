// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServerScene.h"
#include "support/x11/Pictures.h"

#include <QTest>

using namespace Qt::StringLiterals;

using Item = TrayMenu::Item;

namespace {

constexpr int MostDialogs = 16;
constexpr int AcceptButton = 0;
constexpr int RejectButton = 1;

} // namespace

/// The question to the user whether a device may pair.
class tst_PairingDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void isAskedOnceThePreferencesWereClosed();
    void acceptedDeviceIsAnsweredAndRemembered();
    void acceptedDeviceIsNotAskedAboutAgain();
    void escapeRejects();
    void returnKeyRejects();
    void rejectedDeviceIsAskedAboutAgain();
    void nameIsShownAsItIs();
    void otherDevicesAreServedMeanwhile();
    void furtherTokensOfTheSameDeviceAreCarriedOut();
    void deviceThatLeftIsRememberedWhenAccepted();
    void deviceThatLeftIsForgottenWhenRejected();
    void seventeenthQuestionIsRefusedAtOnce();
    void endWithOpenDialogsIsInOrder();
    void killAmidADialogLetsTheDeviceGo();

private:
    bool closePreferences() const;
    SeenWindow question() const;
    QStringList devicesStoredAtEnd();

    std::unique_ptr<ServerScene> scene;
};

void tst_PairingDialog::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

/// A running server that asks before it pairs.
void tst_PairingDialog::init()
{
    scene->beginAnew();
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    QVERIFY(scene->start());
    if (QTest::currentTestFunction() != QByteArray("isAskedOnceThePreferencesWereClosed")) {
        QVERIFY(closePreferences());
    }
}

void tst_PairingDialog::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

bool tst_PairingDialog::closePreferences() const
{
    if (!scene->menu().choose(Item::Preferences)) {
        return false;
    }
    const auto dialog = scene->waitForDialog(u"Config Dialog"_s);
    return dialog && scene->clickButton(*dialog, 0) && scene->waitUntilGone(*dialog);
}

/// The question on the screen, once it gets the keys; one without a number when there is none.
SeenWindow tst_PairingDialog::question() const
{
    return scene->waitForDialog(u"VornaServer"_s).value_or(SeenWindow());
}

QStringList tst_PairingDialog::devicesStoredAtEnd()
{
    if (scene->server().end() != 0) {
        return {u"did not end in order"_s};
    }
    return scene->storedSetting(u"pairedDeviceList"_s).toStringList();
}

void tst_PairingDialog::isAskedOnceThePreferencesWereClosed()
{
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(pairing(u"early"_s, u"Early bird"_s))), u"OK"_s);
    QVERIFY(scene->view().dialogs(scene->server().processId()).isEmpty());

    QVERIFY(closePreferences());
    QVERIFY(handheld.send(pairing(u"late"_s, u"Late riser"_s)));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(scene->clickButton(dialog, RejectButton));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
}

void tst_PairingDialog::acceptedDeviceIsAnsweredAndRemembered()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna's handheld"_s)));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(scene->view().saveScreenshot(u"pairing-dialog"_s));
    QVERIFY(scene->clickButton(dialog, AcceptButton));
    const auto answer = handheld.answer();
    QCOMPARE(answer, std::optional(QVariantMap{
                         {u"cmdType"_s, u"SERVER_PAIR"_s},
                         {u"cmdParameters"_s, QStringList{u"id-1"_s, u"Anna's handheld"_s}},
                         {u"serverResponse"_s, u"OK"_s},
                     }));
    QCOMPARE(devicesStoredAtEnd(), QStringList{u"id-1"_s});
}

void tst_PairingDialog::acceptedDeviceIsNotAskedAboutAgain()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    Handheld again(scene->port());
    QCOMPARE(response(again.ask(pairing(u"id-1"_s, u"Anna"_s))), u"OK"_s);
    QCOMPARE(devicesStoredAtEnd(), QStringList{u"id-1"_s});
}

void tst_PairingDialog::escapeRejects()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    const SeenWindow dialog = question();
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
    QVERIFY(scene->waitUntilGone(dialog));
    QCOMPARE(devicesStoredAtEnd(), QStringList());
}

void tst_PairingDialog::returnKeyRejects()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(question().id != 0);
    QVERIFY(scene->user().tapKey(u"Return"_s));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
    QCOMPARE(devicesStoredAtEnd(), QStringList());
}

void tst_PairingDialog::rejectedDeviceIsAskedAboutAgain()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(scene->clickButton(question(), RejectButton));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
}

void tst_PairingDialog::nameIsShownAsItIs()
{
    Handheld handheld(scene->port());
    const QString name = u"<b>Bold</b> & <img src=x> "_s + QString(60, u'W');
    QVERIFY(handheld.send(pairing(u"id-1"_s, name)));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(scene->view().saveScreenshot(u"pairing-dialog-odd-name"_s));
    QVERIFY(QRect(0, 0, 1024, 768).contains(dialog.place));
    QVERIFY(scene->clickButton(dialog, RejectButton));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
}

void tst_PairingDialog::otherDevicesAreServedMeanwhile()
{
    Handheld asking(scene->port());
    QVERIFY(asking.send(pairing(u"id-1"_s, u"Anna"_s)));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    Handheld other(scene->port());
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(response(other.ask(serverInfo())), u"OK"_s);
    }
    QVERIFY(!asking.hasUnreadAnswer());
    QVERIFY(scene->clickButton(dialog, AcceptButton));
    QCOMPARE(response(asking.answer()), u"OK"_s);
}

void tst_PairingDialog::furtherTokensOfTheSameDeviceAreCarriedOut()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QCOMPARE(response(handheld.ask(serverInfo())), u"OK"_s);
    QVERIFY(scene->user().moveTo({100, 100}));
    QVERIFY(handheld.sendAndSettle(
        commandText(u"MOUSE_CMD"_s, {{u"fncCommand"_s, u"4"_s},
                                     {u"cmdParameters"_s, QStringList{u"30"_s, u"40"_s}}})));
    QVERIFY(waitUntil([this] { return scene->view().pointer() == QPoint(130, 140); }));

    QVERIFY(scene->clickButton(dialog, AcceptButton));
    // The answer carries what the later tokens have put into the map.
    QCOMPARE(handheld.answer(), std::optional(QVariantMap{
                                    {u"cmdType"_s, u"MOUSE_CMD"_s},
                                    {u"cmdParameters"_s, QStringList{u"30"_s, u"40"_s}},
                                    {u"fncCommand"_s, u"4"_s},
                                    {u"serverResponse"_s, u"OK"_s},
                                }));
    QCOMPARE(devicesStoredAtEnd(), QStringList{u"id-1"_s});
}

void tst_PairingDialog::deviceThatLeftIsRememberedWhenAccepted()
{
    Handheld leaving(scene->port());
    QVERIFY(leaving.send(pairing(u"id-1"_s, u"Anna"_s)));
    const SeenWindow dialog = question();
    leaving.leave();
    Handheld other(scene->port());
    QCOMPARE(response(other.ask(serverInfo())), u"OK"_s);
    QVERIFY(scene->clickButton(dialog, AcceptButton));
    QVERIFY(scene->waitUntilGone(dialog));
    QCOMPARE(response(other.ask(serverInfo())), u"OK"_s);
    QCOMPARE(devicesStoredAtEnd(), QStringList{u"id-1"_s});
}

void tst_PairingDialog::deviceThatLeftIsForgottenWhenRejected()
{
    Handheld leaving(scene->port());
    QVERIFY(leaving.send(pairing(u"id-1"_s, u"Anna"_s)));
    const SeenWindow dialog = question();
    leaving.reset();
    Handheld other(scene->port());
    QCOMPARE(response(other.ask(serverInfo())), u"OK"_s);
    QVERIFY(scene->clickButton(dialog, RejectButton));
    QVERIFY(scene->waitUntilGone(dialog));
    QCOMPARE(response(other.ask(serverInfo())), u"OK"_s);
    QCOMPARE(devicesStoredAtEnd(), QStringList());
}

void tst_PairingDialog::seventeenthQuestionIsRefusedAtOnce()
{
    const qint64 process = scene->server().processId();
    std::vector<std::unique_ptr<Handheld>> handhelds;
    for (int i = 0; i < MostDialogs; ++i) {
        handhelds.push_back(std::make_unique<Handheld>(scene->port()));
        QVERIFY(handhelds.back()->send(pairing(u"id-%1"_s.arg(i), u"Crowd"_s)));
        QVERIFY(waitUntil([&] { return scene->view().dialogs(process).size() == i + 1; }));
    }
    QVERIFY(scene->view().saveScreenshot(u"pairing-dialogs-sixteen"_s));
    Handheld late(scene->port());
    QCOMPARE(response(late.ask(pairing(u"id-late"_s, u"Late"_s))), u"ERROR"_s);
    QCOMPARE(scene->view().dialogs(process).size(), MostDialogs);

    // The newest question is answered first, as it is on top of the others.
    for (int left = MostDialogs; left > 0; --left) {
        const SeenWindow newest = scene->view().dialogs(process).constLast();
        QVERIFY(waitUntil([&] { return scene->view().activeWindow() == newest.id; }));
        QVERIFY(scene->user().tapKey(u"Escape"_s));
        QVERIFY(scene->waitUntilGone(newest));
        QCOMPARE(response(handhelds[size_t(left - 1)]->answer()), u"ERROR"_s);
    }
    QVERIFY(late.send(pairing(u"id-late"_s, u"Late"_s)));
    QVERIFY(scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(late.answer()), u"OK"_s);
}

void tst_PairingDialog::endWithOpenDialogsIsInOrder()
{
    const qint64 process = scene->server().processId();
    Handheld known(scene->port());
    QVERIFY(known.send(pairing(u"id-known"_s, u"Known"_s)));
    QVERIFY(scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(known.answer()), u"OK"_s);

    std::vector<std::unique_ptr<Handheld>> handhelds;
    for (int i = 0; i < 3; ++i) {
        handhelds.push_back(std::make_unique<Handheld>(scene->port()));
        QVERIFY(handhelds.back()->send(pairing(u"id-%1"_s.arg(i), u"Crowd"_s)));
        QVERIFY(waitUntil([&] { return scene->view().dialogs(process).size() == i + 1; }));
    }
    QCOMPARE(devicesStoredAtEnd(), QStringList{u"id-known"_s});
}

void tst_PairingDialog::killAmidADialogLetsTheDeviceGo()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id"_s, u"Handheld"_s)));
    question();
    QVERIFY(!scene->server().end(SIGKILL));
    QVERIFY(handheld.waitUntilClosed());
    QVERIFY(!scene->storedSetting(u"pairedDeviceList"_s).toStringList().contains(u"id"_s));
}

QTEST_GUILESS_MAIN(tst_PairingDialog)
#include "tst_PairingDialog.moc"
