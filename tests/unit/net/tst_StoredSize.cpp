// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/StoredSize.h"

#include <QStringList>
#include <QTest>

using namespace Qt::StringLiterals;

class tst_StoredSize : public QObject
{
    Q_OBJECT

private slots:
    void nothingStoredIsNotTooMuch();
    void oneKeyMoreThanTheMaximumIsTooMuch();
    void aKeySentAgainCountsOnce();
    void oneByteMoreThanTheMaximumIsTooMuch();
    void theKeyCountsToo();
    void aListCountsItsItemsAndTheirSeparators();
    void aSmallerValueGivesItsBytesBack();
    void shortItemsTakeMoreMemoryThanOnTheWire();
};

void tst_StoredSize::nothingStoredIsNotTooMuch()
{
    QVERIFY(!StoredSize().isTooMuch());
}

void tst_StoredSize::oneKeyMoreThanTheMaximumIsTooMuch()
{
    StoredSize stored;
    for (int key = 0; key < 65'536; ++key) {
        stored.store(QString::number(key), QString());
    }
    QVERIFY(!stored.isTooMuch());
    stored.store(u"one more"_s, QString());
    QVERIFY(stored.isTooMuch());
}

void tst_StoredSize::aKeySentAgainCountsOnce()
{
    StoredSize stored;
    for (int time = 0; time < 70'000; ++time) {
        stored.store(u"cmdType"_s, QString(1000, u'x'));
    }
    QVERIFY(!stored.isTooMuch());
}

void tst_StoredSize::oneByteMoreThanTheMaximumIsTooMuch()
{
    constexpr qsizetype maximum = 16 * 1024 * 1024;
    StoredSize stored;
    stored.store(u"k"_s, QString(maximum - 1, u'x'));
    QVERIFY(!stored.isTooMuch());
    stored.store(u"k"_s, QString(maximum, u'x'));
    QVERIFY(stored.isTooMuch());
}

void tst_StoredSize::theKeyCountsToo()
{
    StoredSize stored;
    stored.store(QString(16 * 1024 * 1024 + 1, u'k'), QString());
    QVERIFY(stored.isTooMuch());
}

void tst_StoredSize::aListCountsItsItemsAndTheirSeparators()
{
    // 1000 items of 14 and a separator of 2 characters: 16,000 bytes a key without the key.
    const QStringList items(1000, QString(14, u'x'));
    StoredSize stored;
    int keys = 0;
    while (!stored.isTooMuch() && keys < 2000) {
        stored.store(QString::number(10'000 + keys), items);
        ++keys;
    }
    QCOMPARE(keys, 16 * 1024 * 1024 / 16'005 + 1);
}

void tst_StoredSize::aSmallerValueGivesItsBytesBack()
{
    StoredSize stored;
    stored.store(u"a"_s, QString(10'000'000, u'x'));
    stored.store(u"a"_s, QString());
    stored.store(u"b"_s, QString(10'000'000, u'x'));
    QVERIFY(!stored.isTooMuch());
}

void tst_StoredSize::shortItemsTakeMoreMemoryThanOnTheWire()
{
    StoredSize stored;
    QCOMPARE(stored.memory(), 0);
    stored.store(u"k"_s, QString(100'000, u'x'));
    QVERIFY(stored.memory() >= 200'000 && stored.memory() < 201'000);
    stored.store(u"k"_s, QStringList(100'000, u"a"_s));
    // What three bytes on the wire take: the place in the list, the text and what is around it.
    QVERIFY(stored.memory() >= 100'000 * 40 && stored.memory() < 100'000 * 80);
    stored.store(u"k"_s, QString());
    QVERIFY(stored.memory() < 1'000);
}

QTEST_GUILESS_MAIN(tst_StoredSize)
#include "tst_StoredSize.moc"
