// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServerScene.h"

#include <QTest>

using namespace Qt::StringLiterals;

using Item = TrayMenu::Item;

namespace {

constexpr int AcceptButton = 0;
constexpr int RejectButton = 1;

} // namespace

/// Devices that ask to pair do not block the menu, nor the end of the program.
class tst_PairingUnderPressure : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void menuCanBeUsedWhileAQuestionIsOpen();
    void quitWhileQuestionsAreOpenRefusesTheDevices();
    void endRefusesTheDevices();
    void deviceThatAsksAgainAndAgainLeavesTheMenuUsable();

private:
    SeenWindow question() const;

    std::unique_ptr<ServerScene> scene;
};

/// A running server that asks before it pairs.
void tst_PairingUnderPressure::init()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    QVERIFY(scene->start());
    QVERIFY(scene->menu().choose(Item::Preferences));
    const auto dialog = scene->waitForDialog(u"Config Dialog"_s);
    QVERIFY(dialog && scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*dialog));
}

void tst_PairingUnderPressure::cleanup()
{
    const QByteArray problem = scene->problemAtEnd();
    scene.reset();
    QCOMPARE(problem, QByteArray());
}

/// The question on the screen, once it gets the keys; one without a number when there is none.
SeenWindow tst_PairingUnderPressure::question() const
{
    return scene->waitForDialog(u"VornaServer"_s).value_or(SeenWindow());
}

void tst_PairingUnderPressure::menuCanBeUsedWhileAQuestionIsOpen()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id"_s, u"Handheld"_s)));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(waitUntil([this] { return !scene->server().isListening(); }));
    QVERIFY(scene->view().saveScreenshot(u"stopped-while-asking"_s));
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(scene->clickButton(dialog, AcceptButton));
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(waitUntil([this] { return scene->server().isListening(); }));
}

void tst_PairingUnderPressure::quitWhileQuestionsAreOpenRefusesTheDevices()
{
    const qint64 process = scene->server().processId();
    std::vector<std::unique_ptr<Handheld>> handhelds;
    for (int i = 0; i < 3; ++i) {
        handhelds.push_back(std::make_unique<Handheld>(scene->port()));
        QVERIFY(handhelds.back()->send(pairing(u"id-%1"_s.arg(i), u"Crowd"_s)));
        QVERIFY(waitUntil([&] { return scene->view().dialogs(process).size() == i + 1; }));
    }
    QVERIFY(scene->menu().choose(Item::Quit));
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
    for (const auto &handheld : handhelds) {
        QCOMPARE(response(handheld->answer()), u"ERROR"_s);
    }
    QCOMPARE(scene->storedSetting(u"pairedDeviceList"_s).toStringList(), QStringList());
}

void tst_PairingUnderPressure::endRefusesTheDevices()
{
    Handheld refused(scene->port());
    QVERIFY(refused.send(pairing(u"refused"_s, u"Refused"_s)));
    const SeenWindow dialog = question();
    QVERIFY(scene->clickButton(dialog, RejectButton));
    QCOMPARE(response(refused.answer()), u"ERROR"_s);
    Handheld asking(scene->port());
    QVERIFY(asking.send(pairing(u"asking"_s, u"Asking"_s)));
    QVERIFY(question().id != 0);
    // The server waits before it asks the user again.
    QVERIFY(refused.send(pairing(u"refused"_s, u"Refused"_s)));
    QVERIFY(refused.waitUntilRead());
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(response(asking.answer()), u"ERROR"_s);
    QCOMPARE(response(refused.answer()), u"ERROR"_s);
}

void tst_PairingUnderPressure::deviceThatAsksAgainAndAgainLeavesTheMenuUsable()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id"_s, u"Handheld"_s)));
    QVERIFY(question().id != 0);
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);

    QVERIFY(scene->menu().open());
    QVERIFY(handheld.send(pairing(u"id"_s, u"Handheld"_s)));
    // Its next box, due within a second, does not come over the menu, which it would close.
    const qint64 process = scene->server().processId();
    QVERIFY(!waitUntil([&] { return !scene->view().dialogs(process).isEmpty(); },
                       std::chrono::seconds(3)));
    Handheld other(scene->port());
    QCOMPARE(response(other.ask(serverInfo())), u"OK"_s);
    QVERIFY(scene->menu().click(Item::Quit));
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
}

QTEST_GUILESS_MAIN(tst_PairingUnderPressure)
#include "tst_PairingUnderPressure.moc"
