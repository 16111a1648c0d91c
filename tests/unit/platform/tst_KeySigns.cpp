// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/KeyTable.h"
#include "platform/linux/KeySigns.h"
#include "support/LayoutSigns.h"

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
    void codesAreThoseOfTheMac_data();
    void codesAreThoseOfTheMac();
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
    for (std::size_t row = 1; row < rows.size(); ++row)
        QVERIFY2(rows[row - 1].code < rows[row].code, qPrintable(QString::number(row)));
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

void KeySignsTest::codesAreThoseOfTheMac_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("keysym");
    QTest::addColumn<int>("position");
    QTest::newRow("A") << 0 << XKB_KEY_a << 38;
    QTest::newRow("Q") << 12 << XKB_KEY_q << 24;
    QTest::newRow("right bracket") << 30 << XKB_KEY_bracketright << 35;
    QTest::newRow("left bracket") << 33 << XKB_KEY_bracketleft << 34;
    QTest::newRow("delete to the left") << 51 << XKB_KEY_BackSpace << 22;
    QTest::newRow("delete to the right") << 117 << XKB_KEY_Delete << 119;
    QTest::newRow("command") << 55 << XKB_KEY_Control_L << 37;
    QTest::newRow("control") << 59 << XKB_KEY_Control_L << 37;
    QTest::newRow("option") << 58 << XKB_KEY_Alt_L << 64;
    QTest::newRow("volume up") << 72 << XKB_KEY_XF86AudioRaiseVolume << 123;
    QTest::newRow("F13") << 105 << XKB_KEY_F13 << 191;
    QTest::newRow("F20") << 90 << XKB_KEY_F20 << 198;
    QTest::newRow("last row") << 125 << XKB_KEY_Down << 116;
}

void KeySignsTest::codesAreThoseOfTheMac()
{
    QFETCH(int, code);
    const KeySign *sign = findKeySign(static_cast<KeyCode>(code));
    QVERIFY(sign);
    QTEST(static_cast<int>(sign->keysym), "keysym");
    QTEST(static_cast<int>(sign->position), "position");
}

QTEST_GUILESS_MAIN(KeySignsTest)
#include "tst_KeySigns.moc"
