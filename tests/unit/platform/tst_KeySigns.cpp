// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/KeyTable.h"
#include "platform/linux/KeySigns.h"
#include "support/x11/KeyboardDrawing.h"
#include "support/x11/LayoutSigns.h"

#include <QTest>

#include <xkbcommon/xkbcommon-keysyms.h>

using namespace platform;

class KeySignsTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKeyThatMeansSomethingHasARow();
    void keysWithoutMeaningHaveNone_data();
    void keysWithoutMeaningHaveNone();
    void rowsRiseByCode();
    void onlyTheTwoControlKeysOfTheLeftShareAPosition();
    void everyNameHasItsSignAndPosition_data();
    void everyNameHasItsSignAndPosition();
};

void KeySignsTest::everyKeyThatMeansSomethingHasARow()
{
    for (const KeyTable::Row &row : KeyTable::rows()) {
        const bool hasMeaning = !LayoutSigns::namesWithoutMeaning().contains(row.name);
        QVERIFY2((findKeySign(row.code) != nullptr) == hasMeaning, row.name.data());
    }
    QCOMPARE(keySigns().size(), std::size_t{90});
}

void KeySignsTest::keysWithoutMeaningHaveNone_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("between two rows") << 10;
    QTest::newRow("Fn") << 63;
    QTest::newRow("no code of the Mac") << 130;
    QTest::newRow("behind the last row") << 126;
    QTest::newRow("the largest") << 0xffff;
}

void KeySignsTest::keysWithoutMeaningHaveNone()
{
    QFETCH(int, code);
    QVERIFY(!findKeySign(static_cast<KeyCode>(code)));
}

void KeySignsTest::rowsRiseByCode()
{
    const auto rows = keySigns();
    for (std::size_t row = 1; row < rows.size(); ++row) {
        QVERIFY2(rows[row - 1].code < rows[row].code, qPrintable(QString::number(row)));
    }
}

void KeySignsTest::onlyTheTwoControlKeysOfTheLeftShareAPosition()
{
    for (const KeySign &one : keySigns()) {
        for (const KeySign &other : keySigns()) {
            const bool areControlKeys =
                one.keysym == XKB_KEY_Control_L && other.keysym == XKB_KEY_Control_L;
            QVERIFY(one.code == other.code || one.position != other.position || areControlKeys);
        }
    }
}

void KeySignsTest::everyNameHasItsSignAndPosition_data()
{
    QTest::addColumn<quint32>("keysym");
    QTest::addColumn<int>("position");
    const auto drawing = KeyboardDrawing::keys();
    QCOMPARE(drawing.size(), 90);
    for (auto key = drawing.begin(); key != drawing.end(); ++key) {
        QTest::newRow(qPrintable(key.key())) << key->keysym << key->position;
    }
}

void KeySignsTest::everyNameHasItsSignAndPosition()
{
    const auto code = KeyTable::codeOf(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(code);
    const KeySign *sign = findKeySign(*code);
    QVERIFY(sign);
    QTEST(sign->keysym, "keysym");
    QTEST(static_cast<int>(sign->position), "position");
}

QTEST_GUILESS_MAIN(KeySignsTest)
#include "tst_KeySigns.moc"
