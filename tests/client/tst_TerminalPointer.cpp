// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TerminalPointer.h"

#include <QTest>

using namespace quillmote;

class tst_TerminalPointer : public QObject
{
    Q_OBJECT

private slots:
    void stepsAreAddedUp();
    void firstPlaceOfTheMouseMovesNothing();
    void columnsAndRowsBecomePixels();
    void whatEvensOutIsNoMove();
    void takenMovesAreGone();
};

void tst_TerminalPointer::stepsAreAddedUp()
{
    TerminalPointer pointer;
    pointer.step(1, 0, false);
    pointer.step(0, -1, true);
    pointer.step(1, 0, false);
    QCOMPARE(pointer.take(), QPoint(20, -50));
}

void tst_TerminalPointer::firstPlaceOfTheMouseMovesNothing()
{
    TerminalPointer pointer;
    pointer.mouseAt(10, 5);
    QVERIFY(!pointer.take());
}

void tst_TerminalPointer::columnsAndRowsBecomePixels()
{
    TerminalPointer pointer;
    pointer.mouseAt(10, 5);
    pointer.mouseAt(12, 4);
    QCOMPARE(pointer.take(), QPoint(16, -16));
    pointer.mouseAt(11, 4);
    QCOMPARE(pointer.take(), QPoint(-8, 0));
}

void tst_TerminalPointer::whatEvensOutIsNoMove()
{
    TerminalPointer pointer;
    pointer.step(1, 0, true);
    pointer.step(-1, 0, true);
    QVERIFY(!pointer.take());
}

void tst_TerminalPointer::takenMovesAreGone()
{
    TerminalPointer pointer;
    pointer.step(0, 1, false);
    QCOMPARE(pointer.take(), QPoint(0, 10));
    QVERIFY(!pointer.take());
}

QTEST_GUILESS_MAIN(tst_TerminalPointer)
#include "tst_TerminalPointer.moc"
