// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ObjectiveC.h"
#include "StandIn.h"
#include "app/CocoaInitializer.h"

#include <QTest>

using namespace Qt::StringLiterals;

class tst_AppKitRuntime : public QObject
{
    Q_OBJECT

private slots:
    void appKitIsLoadedAndAPoolIsOpenWhileTheRuntimeLives();
};

void tst_AppKitRuntime::appKitIsLoadedAndAPoolIsOpenWhileTheRuntimeLives()
{
    standin::reset();
    auto cocoa = std::make_unique<CocoaInitializer>();
    QCOMPARE(standin::calls(), QStringList(u"NSApplicationLoad"_s));
    standin::leaveObjectToPool();
    QCOMPARE(standin::calls(), QStringList(u"NSApplicationLoad"_s));
    cocoa.reset();
    QCOMPARE(standin::calls(), QStringList({u"NSApplicationLoad"_s, u"released by the pool"_s}));
}

QTEST_GUILESS_MAIN(tst_AppKitRuntime)
#include "tst_AppKitRuntime.moc"
