// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Pacing.h"

#include <QTest>

using namespace quillmote;

using namespace std::chrono_literals;

namespace {

void noteReadApart(Pacing &pacing, int times)
{
    for (int count = 0; count < times; ++count) {
        pacing.noteReadApart();
    }
}

} // namespace

class tst_Pacing : public QObject
{
    Q_OBJECT

private slots:
    void beginsWithAWaitThatIsLongForAMachineAndShortForAPerson();
    void shrinksFastUntilItWasTooShort();
    void growsWhenItWasTooShort();
    void hasLimits();
    void settlesWhereItIsSeldomTooShort();
};

void tst_Pacing::beginsWithAWaitThatIsLongForAMachineAndShortForAPerson()
{
    QCOMPARE(Pacing().gap(), Pacing::Duration(5ms));
}

void tst_Pacing::shrinksFastUntilItWasTooShort()
{
    Pacing pacing;
    noteReadApart(pacing, 40);
    QVERIFY(pacing.gap() < 100us);
    pacing.noteReadTogether();
    const auto before = pacing.gap();
    noteReadApart(pacing, 20);
    QVERIFY(pacing.gap() < before);
    QVERIFY(pacing.gap() > before / 2);
}

void tst_Pacing::growsWhenItWasTooShort()
{
    Pacing pacing;
    pacing.noteReadTogether();
    QCOMPARE(pacing.gap(), Pacing::Duration(7'500us));
}

void tst_Pacing::hasLimits()
{
    Pacing pacing;
    noteReadApart(pacing, 10'000);
    QCOMPARE(pacing.gap(), Pacing::Duration(20us));
    for (int count = 0; count < 100; ++count) {
        pacing.noteReadTogether();
    }
    QCOMPARE(pacing.gap(), Pacing::Duration(500ms));
}

void tst_Pacing::settlesWhereItIsSeldomTooShort()
{
    // A server that needs 20 ms.
    Pacing pacing;
    int together = 0;
    for (int count = 0; count < 1'000; ++count) {
        if (pacing.gap() < 20ms) {
            pacing.noteReadTogether();
            ++together;
        } else {
            pacing.noteReadApart();
        }
    }
    QVERIFY(together > 0);
    QVERIFY2(together < 60, qPrintable(QString::number(together)));
    QVERIFY(pacing.gap() < 31ms);
}

QTEST_APPLESS_MAIN(tst_Pacing)
#include "tst_Pacing.moc"
