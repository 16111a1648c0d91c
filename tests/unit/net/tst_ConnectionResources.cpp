// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/ConnectionResources.h"

#include <QCoreApplication>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

class tst_ConnectionResources : public QObject
{
    Q_OBJECT

private slots:
    void aLargeStoreIsGivenBackInSteps();
};

void tst_ConnectionResources::aLargeStoreIsGivenBackInSteps()
{
    constexpr int lists = 20;
    ConnectionResources resources;
    QStringList kept;
    TokenMap map;
    for (int number = 0; number < lists; ++number) {
        kept.append(u"item %1"_s.arg(number));
        map.insert(QString::number(number), QStringList(10'000, kept.last()));
    }
    // What only this list held has been released.
    const auto givenBack = [&kept] {
        return std::count_if(kept.begin(), kept.end(),
                             [](const QString &text) { return text.isDetached(); });
    };
    resources.dispose(std::move(map));
    QCOMPARE(givenBack(), 0);
    qsizetype most = 0;
    for (int round = 0; round < 1'000 && givenBack() < lists; ++round) {
        const auto before = givenBack();
        QCoreApplication::processEvents();
        most = std::max<qsizetype>(most, givenBack() - before);
    }
    QCOMPARE(givenBack(), lists);
    QVERIFY2(most <= 4, QByteArray::number(most).constData());
}

QTEST_GUILESS_MAIN(tst_ConnectionResources)
#include "tst_ConnectionResources.moc"
