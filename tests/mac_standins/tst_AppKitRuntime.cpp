// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ObjectiveC.h"
#include "StandIn.h"
#include "app/CocoaInitializer.h"

#include <QTest>

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
    QCOMPARE(standin::calls(), QStringList("NSApplicationLoad"));
    standin::leaveObjectToPool();
    QCOMPARE(standin::calls(), QStringList("NSApplicationLoad"));
    cocoa.reset();
    QCOMPARE(standin::calls(), QStringList({"NSApplicationLoad", "released by the pool"}));
}

QTEST_GUILESS_MAIN(tst_AppKitRuntime)
#include "tst_AppKitRuntime.moc"
