// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/KeyTable.h"
#include "platform/linux/input/KeySymbols.h"
#include "support/x11/KeyboardDrawing.h"
#include "support/x11/LayoutSigns.h"

#include <QTest>

#include <algorithm>

#include <xkbcommon/xkbcommon-keysyms.h>

using namespace platform;

namespace {

/// The row of a key code; null when it has none.
const KeySymbol *rowOf(KeyCode code)
{
    const auto rows = keySymbols();
    const auto row = std::ranges::find(rows, code, &KeySymbol::code);
    return row == rows.end() ? nullptr : &*row;
}

} // namespace

class tst_KeySymbols : public QObject
{
    Q_OBJECT

private slots:
    void everyKeyWithAMeaningHasARow();
    void keysWithoutMeaningHaveNone_data();
    void keysWithoutMeaningHaveNone();
    void rowsRiseByCode();
    void onlyTheTwoControlKeysOfTheLeftShareAPosition();
    void everyNameHasItsKeysymAndPosition_data();
    void everyNameHasItsKeysymAndPosition();
};

void tst_KeySymbols::everyKeyWithAMeaningHasARow()
{
    for (const KeyTable::Row &row : KeyTable::rows()) {
        const bool hasMeaning = !LayoutSigns::namesWithoutMeaning().contains(row.name);
        QVERIFY2((rowOf(row.code) != nullptr) == hasMeaning, row.name.data());
    }
    QCOMPARE(keySymbols().size(), std::size_t{90});
}

void tst_KeySymbols::keysWithoutMeaningHaveNone_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("between two rows") << 10;
    QTest::newRow("Fn") << 63;
    QTest::newRow("no code of the Mac") << 130;
    QTest::newRow("behind the last row") << 126;
    QTest::newRow("the largest") << 0xffff;
}

void tst_KeySymbols::keysWithoutMeaningHaveNone()
{
    QFETCH(int, code);
    QVERIFY(!rowOf(static_cast<KeyCode>(code)));
}

void tst_KeySymbols::rowsRiseByCode()
{
    const auto rows = keySymbols();
    for (std::size_t row = 1; row < rows.size(); ++row) {
        QVERIFY2(rows[row - 1].code < rows[row].code, qPrintable(QString::number(row)));
    }
}

void tst_KeySymbols::onlyTheTwoControlKeysOfTheLeftShareAPosition()
{
    for (const KeySymbol &one : keySymbols()) {
        for (const KeySymbol &other : keySymbols()) {
            const bool areControlKeys =
                one.keysym == XKB_KEY_Control_L && other.keysym == XKB_KEY_Control_L;
            QVERIFY(one.code == other.code || one.position != other.position || areControlKeys);
        }
    }
}

void tst_KeySymbols::everyNameHasItsKeysymAndPosition_data()
{
    QTest::addColumn<quint32>("keysym");
    QTest::addColumn<int>("position");
    const auto drawing = KeyboardDrawing::keys();
    QCOMPARE(drawing.size(), 90);
    for (auto key = drawing.begin(); key != drawing.end(); ++key) {
        QTest::newRow(qPrintable(key.key())) << key->keysym << key->position;
    }
}

void tst_KeySymbols::everyNameHasItsKeysymAndPosition()
{
    const auto code = KeyTable::codeOf(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(code);
    const KeySymbol *symbol = rowOf(*code);
    QVERIFY(symbol);
    QTEST(symbol->keysym, "keysym");
    QTEST(static_cast<int>(symbol->position), "position");
}

QTEST_GUILESS_MAIN(tst_KeySymbols)
#include "tst_KeySymbols.moc"
