// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/KeyTable.h"

#include <QSet>
#include <QTest>

class tst_KeyTable : public QObject
{
    Q_OBJECT

private slots:
    void everyNameHasItsCode_data();
    void everyNameHasItsCode();
    void thereAreNoOtherRows();
    void otherNamesHaveNoCode_data();
    void otherNamesHaveNoCode();
};

void tst_KeyTable::everyNameHasItsCode_data()
{
    QTest::addColumn<int>("code");
    const auto row = [](const char *name, int code) { QTest::newRow(name) << code; };

    row("A", 0);
    row("B", 11);
    row("C", 8);
    row("D", 2);
    row("E", 14);
    row("F", 3);
    row("G", 5);
    row("H", 4);
    row("I", 34);
    row("J", 38);
    row("K", 40);
    row("L", 37);
    row("M", 46);
    row("N", 45);
    row("O", 31);
    row("P", 35);
    row("Q", 12);
    row("R", 15);
    row("S", 1);
    row("T", 17);
    row("U", 32);
    row("V", 9);
    row("W", 13);
    row("X", 7);
    row("Y", 16);
    row("Z", 6);
    row("1", 18);
    row("2", 19);
    row("3", 20);
    row("4", 21);
    row("6", 22);
    row("5", 23);
    row("=", 24);
    row("9", 25);
    row("7", 26);
    row("-", 27);
    row("8", 28);
    row("0", 29);
    row("[", 30);
    row("]", 33);
    row("'", 39);
    row(";", 41);
    row("\\", 42);
    row(",", 43);
    row("/", 44);
    row("Ret", 36);
    row("Tab", 48);
    row(" ", 49);
    row("Del", 51);
    row("FDel", 117);
    row("Esc", 53);
    row("Cmd", 55);
    row("Shift", 56);
    row("CapsLock", 57);
    row("Alt", 58);
    row("Ctrl", 59);
    row("RShift", 60);
    row("RAlt", 61);
    row("RCtrl", 62);
    row("Fn", 63);
    row("VolUp", 72);
    row("VolDown", 73);
    row("Mute", 74);
    row("F1", 122);
    row("F2", 120);
    row("F3", 99);
    row("F4", 118);
    row("F5", 96);
    row("F6", 97);
    row("F7", 98);
    row("F8", 100);
    row("F9", 101);
    row("F10", 109);
    row("F11", 103);
    row("F12", 111);
    row("F13", 105);
    row("F14", 107);
    row("F15", 113);
    row("F16", 106);
    row("F17", 64);
    row("F18", 79);
    row("F19", 80);
    row("F20", 90);
    row("Help", 114);
    row("Home", 115);
    row("PUp", 116);
    row("End", 119);
    row("PDown", 121);
    row("LArrow", 123);
    row("RArrow", 124);
    row("DArrow", 125);
    row("UArrow", 130);
}

void tst_KeyTable::everyNameHasItsCode()
{
    const auto code = KeyTable::codeOf(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(code.has_value());
    QTEST(int(*code), "code");
}

void tst_KeyTable::thereAreNoOtherRows()
{
    QCOMPARE(KeyTable::rows().size(), size_t(92));
    QSet<QString> names;
    for (const KeyTable::Row &row : KeyTable::rows()) {
        names.insert(row.name);
        QCOMPARE(KeyTable::codeOf(row.name), row.code);
    }
    QCOMPARE(names.size(), 92);
}

void tst_KeyTable::otherNamesHaveNoCode_data()
{
    QTest::addColumn<QString>("name");

    for (const char *name : {"a", "z", "TAB", "tab", "RET", "f5",  "UARROW", "CMD", "cmd",  "+",
                             ".", "`", "A ",  " A",  "  ",  "F21", "F0",     "10",  "Meta", "Up"}) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
    QTest::newRow("empty") << QString();
    QTest::newRow("letter beyond ASCII") << QString(u'\u00e9');
}

void tst_KeyTable::otherNamesHaveNoCode()
{
    QFETCH(QString, name);
    QVERIFY(!KeyTable::codeOf(name).has_value());
}

QTEST_GUILESS_MAIN(tst_KeyTable)
#include "tst_KeyTable.moc"
