// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Pictures.h"
#include "support/ServerScene.h"

#include <QTest>

using Item = TrayMenu::Item;

namespace {

constexpr int MostDialogs = 16;
constexpr int AcceptButton = 0;
constexpr int RejectButton = 1;

QString response(const std::optional<QVariantMap> &answer)
{
    return answer ? answer->value(QStringLiteral("serverResponse")).toString()
                  : QStringLiteral("no answer");
}

QByteArray pairing(const QString &device, const QString &name)
{
    return commandText(QStringLiteral("SERVER_PAIR"),
                       {{QStringLiteral("cmdParameters"), QStringList{device, name}}});
}

} // namespace

/// The question to the user whether a device may pair.
class tst_PairingDialog : public QObject
{
    Q_OBJECT

private slots:
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

    std::unique_ptr<ServerScene> m_scene;
};

/// A running server that asks before it pairs.
void tst_PairingDialog::init()
{
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
    m_scene->storeSetting(QStringLiteral("pairNeedsApproval"), true);
    QVERIFY(m_scene->start());
    if (QTest::currentTestFunction() != QByteArray("isAskedOnceThePreferencesWereClosed"))
        QVERIFY(closePreferences());
}

void tst_PairingDialog::cleanup()
{
    const QByteArray problem = m_scene->problemAtEnd();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_PairingDialog::closePreferences() const
{
    if (!m_scene->menu().choose(Item::Preferences))
        return false;
    const auto dialog = m_scene->waitForDialog(QStringLiteral("Config Dialog"));
    return dialog && m_scene->view().saveScreenshot(QStringLiteral("preferences")) &&
           m_scene->clickButton(*dialog, 0) && m_scene->waitUntilGone(*dialog);
}

/// The question on the screen, once it gets the keys; one without a number when there is none.
SeenWindow tst_PairingDialog::question() const
{
    return m_scene->waitForDialog(QStringLiteral("VornaServer")).value_or(SeenWindow());
}

QStringList tst_PairingDialog::devicesStoredAtEnd()
{
    if (m_scene->server().end() != 0)
        return {QStringLiteral("did not end in order")};
    return m_scene->storedSetting(QStringLiteral("pairedDeviceList")).toStringList();
}

void tst_PairingDialog::isAskedOnceThePreferencesWereClosed()
{
    Handheld handheld(m_scene->port());
    QCOMPARE(response(handheld.ask(pairing("early", "Early bird"))), QStringLiteral("OK"));
    QVERIFY(m_scene->view().dialogs(m_scene->server().processId()).isEmpty());

    QVERIFY(closePreferences());
    QVERIFY(handheld.send(pairing("late", "Late riser")));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(m_scene->clickButton(dialog, RejectButton));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));
}

void tst_PairingDialog::acceptedDeviceIsAnsweredAndRemembered()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id-1", "Anna's handheld")));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("pairing-dialog")));
    QVERIFY(m_scene->clickButton(dialog, AcceptButton));
    const auto answer = handheld.answer();
    QCOMPARE(answer, std::optional(QVariantMap{
                         {"cmdType", "SERVER_PAIR"},
                         {"cmdParameters", QStringList{"id-1", "Anna's handheld"}},
                         {"serverResponse", "OK"},
                     }));
    QCOMPARE(devicesStoredAtEnd(), QStringList{"id-1"});
}

void tst_PairingDialog::acceptedDeviceIsNotAskedAboutAgain()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id-1", "Anna")));
    QVERIFY(m_scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(handheld.answer()), QStringLiteral("OK"));
    Handheld again(m_scene->port());
    QCOMPARE(response(again.ask(pairing("id-1", "Anna"))), QStringLiteral("OK"));
    QCOMPARE(devicesStoredAtEnd(), QStringList{"id-1"});
}

void tst_PairingDialog::escapeRejects()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id-1", "Anna")));
    const SeenWindow dialog = question();
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));
    QVERIFY(m_scene->waitUntilGone(dialog));
    QCOMPARE(devicesStoredAtEnd(), QStringList());
}

void tst_PairingDialog::returnKeyRejects()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id-1", "Anna")));
    QVERIFY(question().id != 0);
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Return")));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));
    QCOMPARE(devicesStoredAtEnd(), QStringList());
}

void tst_PairingDialog::rejectedDeviceIsAskedAboutAgain()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id-1", "Anna")));
    QVERIFY(m_scene->clickButton(question(), RejectButton));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));
    QVERIFY(handheld.send(pairing("id-1", "Anna")));
    QVERIFY(m_scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(handheld.answer()), QStringLiteral("OK"));
}

void tst_PairingDialog::nameIsShownAsItIs()
{
    Handheld handheld(m_scene->port());
    const QString name = QStringLiteral("<b>Bold</b> & <img src=x> ") + QString(60, 'W');
    QVERIFY(handheld.send(pairing("id-1", name)));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("pairing-dialog-odd-name")));
    QVERIFY(QRect(0, 0, 1024, 768).contains(dialog.place));
    QVERIFY(m_scene->clickButton(dialog, RejectButton));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));
}

void tst_PairingDialog::otherDevicesAreServedMeanwhile()
{
    Handheld asking(m_scene->port());
    QVERIFY(asking.send(pairing("id-1", "Anna")));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    Handheld other(m_scene->port());
    for (int i = 0; i < 3; ++i)
        QCOMPARE(response(other.ask(serverInfo())), QStringLiteral("OK"));
    QVERIFY(!asking.hasUnreadAnswer());
    QVERIFY(m_scene->clickButton(dialog, AcceptButton));
    QCOMPARE(response(asking.answer()), QStringLiteral("OK"));
}

void tst_PairingDialog::furtherTokensOfTheSameDeviceAreCarriedOut()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id-1", "Anna")));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QCOMPARE(response(handheld.ask(serverInfo())), QStringLiteral("OK"));
    QVERIFY(m_scene->user().moveTo({100, 100}));
    QVERIFY(handheld.sendAndSettle(
        commandText(QStringLiteral("MOUSE_CMD"),
                    {{QStringLiteral("fncCommand"), QStringLiteral("4")},
                     {QStringLiteral("cmdParameters"), QStringList{"30", "40"}}})));
    QVERIFY(waitUntil([this] { return m_scene->view().pointer() == QPoint(130, 140); }));

    QVERIFY(m_scene->clickButton(dialog, AcceptButton));
    // The answer carries what the later tokens have put into the map.
    QCOMPARE(handheld.answer(), std::optional(QVariantMap{
                                    {"cmdType", "MOUSE_CMD"},
                                    {"cmdParameters", QStringList{"30", "40"}},
                                    {"fncCommand", "4"},
                                    {"serverResponse", "OK"},
                                }));
    QCOMPARE(devicesStoredAtEnd(), QStringList{"id-1"});
}

void tst_PairingDialog::deviceThatLeftIsRememberedWhenAccepted()
{
    Handheld leaving(m_scene->port());
    QVERIFY(leaving.send(pairing("id-1", "Anna")));
    const SeenWindow dialog = question();
    leaving.leave();
    Handheld other(m_scene->port());
    QCOMPARE(response(other.ask(serverInfo())), QStringLiteral("OK"));
    QVERIFY(m_scene->clickButton(dialog, AcceptButton));
    QVERIFY(m_scene->waitUntilGone(dialog));
    QCOMPARE(response(other.ask(serverInfo())), QStringLiteral("OK"));
    QCOMPARE(devicesStoredAtEnd(), QStringList{"id-1"});
}

void tst_PairingDialog::deviceThatLeftIsForgottenWhenRejected()
{
    Handheld leaving(m_scene->port());
    QVERIFY(leaving.send(pairing("id-1", "Anna")));
    const SeenWindow dialog = question();
    leaving.reset();
    Handheld other(m_scene->port());
    QCOMPARE(response(other.ask(serverInfo())), QStringLiteral("OK"));
    QVERIFY(m_scene->clickButton(dialog, RejectButton));
    QVERIFY(m_scene->waitUntilGone(dialog));
    QCOMPARE(response(other.ask(serverInfo())), QStringLiteral("OK"));
    QCOMPARE(devicesStoredAtEnd(), QStringList());
}

void tst_PairingDialog::seventeenthQuestionIsRefusedAtOnce()
{
    const qint64 process = m_scene->server().processId();
    std::vector<std::unique_ptr<Handheld>> handhelds;
    for (int i = 0; i < MostDialogs; ++i) {
        handhelds.push_back(std::make_unique<Handheld>(m_scene->port()));
        QVERIFY(handhelds.back()->send(pairing(QStringLiteral("id-%1").arg(i), "Crowd")));
        QVERIFY(waitUntil([&] { return m_scene->view().dialogs(process).size() == i + 1; }));
    }
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("pairing-dialogs-sixteen")));
    Handheld late(m_scene->port());
    QCOMPARE(response(late.ask(pairing("id-late", "Late"))), QStringLiteral("ERROR"));
    QCOMPARE(m_scene->view().dialogs(process).size(), MostDialogs);

    // The newest question is answered first, as it is on top of the others.
    for (int left = MostDialogs; left > 0; --left) {
        const SeenWindow newest = m_scene->view().dialogs(process).constLast();
        QVERIFY(waitUntil([&] { return m_scene->view().activeWindow() == newest.id; }));
        QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
        QVERIFY(m_scene->waitUntilGone(newest));
        QCOMPARE(response(handhelds[size_t(left - 1)]->answer()), QStringLiteral("ERROR"));
    }
    QVERIFY(late.send(pairing("id-late", "Late")));
    QVERIFY(m_scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(late.answer()), QStringLiteral("OK"));
}

void tst_PairingDialog::endWithOpenDialogsIsInOrder()
{
    const qint64 process = m_scene->server().processId();
    Handheld known(m_scene->port());
    QVERIFY(known.send(pairing("id-known", "Known")));
    QVERIFY(m_scene->clickButton(question(), AcceptButton));
    QCOMPARE(response(known.answer()), QStringLiteral("OK"));

    std::vector<std::unique_ptr<Handheld>> handhelds;
    for (int i = 0; i < 3; ++i) {
        handhelds.push_back(std::make_unique<Handheld>(m_scene->port()));
        QVERIFY(handhelds.back()->send(pairing(QStringLiteral("id-%1").arg(i), "Crowd")));
        QVERIFY(waitUntil([&] { return m_scene->view().dialogs(process).size() == i + 1; }));
    }
    QCOMPARE(devicesStoredAtEnd(), QStringList{"id-known"});
}

void tst_PairingDialog::killAmidADialogLetsTheDeviceGo()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id", "Handheld")));
    question();
    QVERIFY(!m_scene->server().end(SIGKILL));
    QVERIFY(handheld.waitUntilClosed());
    QVERIFY(!m_scene->storedSetting("pairedDeviceList").toStringList().contains("id"));
}

QTEST_GUILESS_MAIN(tst_PairingDialog)
#include "tst_PairingDialog.moc"
