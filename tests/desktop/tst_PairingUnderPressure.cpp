// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/ServerScene.h"

#include <QTest>

using Item = TrayMenu::Item;

namespace {

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

/// Devices that ask do not keep the user from the menu, nor the program from its end.
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

    std::unique_ptr<ServerScene> m_scene;
};

/// A running server that asks before it pairs.
void tst_PairingUnderPressure::init()
{
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
    m_scene->storeSetting(QStringLiteral("pairNeedsApproval"), true);
    QVERIFY(m_scene->start());
    QVERIFY(m_scene->menu().choose(Item::Preferences));
    const auto dialog = m_scene->waitForDialog(QStringLiteral("Config Dialog"));
    QVERIFY(dialog && m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*dialog));
}

void tst_PairingUnderPressure::cleanup()
{
    const QByteArray problem = m_scene->problemAtEnd();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

/// The question on the screen, once it gets the keys; one without a number when there is none.
SeenWindow tst_PairingUnderPressure::question() const
{
    return m_scene->waitForDialog(QStringLiteral("VornaServer")).value_or(SeenWindow());
}

void tst_PairingUnderPressure::menuCanBeUsedWhileAQuestionIsOpen()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id", "Handheld")));
    const SeenWindow dialog = question();
    QVERIFY(dialog.id != 0);
    QVERIFY(m_scene->menu().choose(Item::StartStop));
    QVERIFY(waitUntil([this] { return !m_scene->server().isListening(); }));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("stopped-while-asking")));
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(m_scene->clickButton(dialog, AcceptButton));
    QCOMPARE(response(handheld.answer()), QStringLiteral("OK"));
    QVERIFY(m_scene->menu().choose(Item::StartStop));
    QVERIFY(waitUntil([this] { return m_scene->server().isListening(); }));
}

void tst_PairingUnderPressure::quitWhileQuestionsAreOpenRefusesTheDevices()
{
    const qint64 process = m_scene->server().processId();
    std::vector<std::unique_ptr<Handheld>> handhelds;
    for (int i = 0; i < 3; ++i) {
        handhelds.push_back(std::make_unique<Handheld>(m_scene->port()));
        QVERIFY(handhelds.back()->send(pairing(QStringLiteral("id-%1").arg(i), "Crowd")));
        QVERIFY(waitUntil([&] { return m_scene->view().dialogs(process).size() == i + 1; }));
    }
    QVERIFY(m_scene->menu().choose(Item::Quit));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
    for (const auto &handheld : handhelds)
        QCOMPARE(response(handheld->answer()), QStringLiteral("ERROR"));
    QCOMPARE(m_scene->storedSetting("pairedDeviceList").toStringList(), QStringList());
}

void tst_PairingUnderPressure::endRefusesTheDevices()
{
    Handheld refused(m_scene->port());
    QVERIFY(refused.send(pairing("refused", "Refused")));
    const SeenWindow dialog = question();
    QVERIFY(m_scene->clickButton(dialog, RejectButton));
    QCOMPARE(response(refused.answer()), QStringLiteral("ERROR"));
    Handheld asking(m_scene->port());
    QVERIFY(asking.send(pairing("asking", "Asking")));
    QVERIFY(question().id != 0);
    // It waits until the user may be asked again.
    QVERIFY(refused.send(pairing("refused", "Refused")));
    QVERIFY(refused.waitUntilRead());
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(response(asking.answer()), QStringLiteral("ERROR"));
    QCOMPARE(response(refused.answer()), QStringLiteral("ERROR"));
}

void tst_PairingUnderPressure::deviceThatAsksAgainAndAgainLeavesTheMenuUsable()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(pairing("id", "Handheld")));
    QVERIFY(question().id != 0);
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));

    QVERIFY(m_scene->menu().open());
    QVERIFY(handheld.send(pairing("id", "Handheld")));
    // Its next box, due within a second, does not come over the menu, which it would close.
    const qint64 process = m_scene->server().processId();
    QVERIFY(!waitUntil([&] { return !m_scene->view().dialogs(process).isEmpty(); },
                       std::chrono::seconds(3)));
    Handheld other(m_scene->port());
    QCOMPARE(response(other.ask(serverInfo())), QStringLiteral("OK"));
    QVERIFY(m_scene->menu().click(Item::Quit));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));
}

QTEST_GUILESS_MAIN(tst_PairingUnderPressure)
#include "tst_PairingUnderPressure.moc"
