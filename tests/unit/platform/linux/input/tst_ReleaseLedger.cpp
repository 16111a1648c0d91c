// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/ReleaseLedger.h"

#include <QTest>

using namespace platform;
using Kind = ReleaseLedger::Kind;

class tst_ReleaseLedger : public QObject
{
    Q_OBJECT

private slots:
    void aKeyIsHeldFromItsPressUntilItsReleaseIsConfirmed();
    void anEarlierAnswerConfirmsNothing();
    void aKeyThatIsPressedAgainStaysHeld();
    void theLastOfSeveralReleasesCounts();
    void keysAndButtonsAreApart();
    void whatTheServerHasNotPressedIsNotItsToRelease();
    void sequenceNumbersStartAgain();
};

void tst_ReleaseLedger::aKeyIsHeldFromItsPressUntilItsReleaseIsConfirmed()
{
    HeldInput held{};
    ReleaseLedger ledger(held);
    QVERIFY(!held.keys[38]);
    ledger.press(Kind::Key, 38);
    QVERIFY(held.keys[38]);
    QVERIFY(!ledger.isAnyUnconfirmed());
    ledger.release(Kind::Key, 38, 7);
    QVERIFY(held.keys[38]);
    QVERIFY(ledger.isAnyUnconfirmed());
    ledger.confirm(7);
    QVERIFY(!held.keys[38]);
    QVERIFY(!ledger.isAnyUnconfirmed());
}

void tst_ReleaseLedger::anEarlierAnswerConfirmsNothing()
{
    HeldInput held{};
    ReleaseLedger ledger(held);
    ledger.press(Kind::Key, 38);
    ledger.release(Kind::Key, 38, 7);
    ledger.confirm(6);
    QVERIFY(held.keys[38]);
    ledger.confirm(8);
    QVERIFY(!held.keys[38]);
}

void tst_ReleaseLedger::aKeyThatIsPressedAgainStaysHeld()
{
    HeldInput held{};
    ReleaseLedger ledger(held);
    ledger.press(Kind::Key, 38);
    ledger.release(Kind::Key, 38, 7);
    ledger.press(Kind::Key, 38);
    ledger.confirm(9);
    QVERIFY(held.keys[38]);
}

void tst_ReleaseLedger::theLastOfSeveralReleasesCounts()
{
    HeldInput held{};
    ReleaseLedger ledger(held);
    ledger.press(Kind::Key, 38);
    ledger.release(Kind::Key, 38, 7);
    ledger.press(Kind::Key, 38);
    ledger.release(Kind::Key, 38, 9);
    ledger.confirm(8);
    QVERIFY(held.keys[38]);
    ledger.confirm(9);
    QVERIFY(!held.keys[38]);
}

void tst_ReleaseLedger::keysAndButtonsAreApart()
{
    HeldInput held{};
    ReleaseLedger ledger(held);
    ledger.press(Kind::Key, 1);
    ledger.press(Kind::Button, 1);
    ledger.release(Kind::Button, 1, 7);
    ledger.confirm(7);
    QVERIFY(held.keys[1]);
    QVERIFY(!held.buttons[1]);
}

void tst_ReleaseLedger::whatTheServerHasNotPressedIsNotItsToRelease()
{
    HeldInput held{};
    ReleaseLedger ledger(held);
    ledger.release(Kind::Key, 38, 7);
    QVERIFY(!held.keys[38]);
    QVERIFY(!ledger.isAnyUnconfirmed());
}

void tst_ReleaseLedger::sequenceNumbersStartAgain()
{
    HeldInput held{};
    ReleaseLedger ledger(held);
    ledger.press(Kind::Key, 38);
    ledger.release(Kind::Key, 38, 5);
    ledger.confirm(0xffff'fff0);
    QVERIFY(held.keys[38]);
    ledger.press(Kind::Key, 39);
    ledger.release(Kind::Key, 39, 0xffff'fff5);
    ledger.confirm(5);
    QVERIFY(!held.keys[38]);
    QVERIFY(!held.keys[39]);
}

QTEST_GUILESS_MAIN(tst_ReleaseLedger)
#include "tst_ReleaseLedger.moc"
