// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/InteractionManager.h"

#include "doubles/RecordingInteraction.h"

#include <QTest>

#include <memory>

class tst_InteractionManager : public QObject
{
    Q_OBJECT

private slots:
    void everyCallIsHandedOn();
    void theImplementationGoesWithTheFacade();
    void thereMayBeNoImplementation();
};

void tst_InteractionManager::everyCallIsHandedOn()
{
    QStringList calls;
    InteractionManager manager(new RecordingInteraction(calls));
    manager.keyboardTapKeyEvent("Cmd+Q");
    manager.extractKeyCodeAndModifiers("a");
    manager.generateKeyEvent(true);
    manager.generateKeyEvent(false);
    manager.moveMouseWithOffset(10, -5);
    manager.leftMouseButtonTapped();
    manager.rightMouseButtonTapped();
    manager.centerMouseButtonTapped();
    QCOMPARE(calls, QStringList({"type Cmd+Q", "extract a", "key down", "key up", "move 10 -5",
                                 "left", "right", "center"}));
}

void tst_InteractionManager::theImplementationGoesWithTheFacade()
{
    QStringList calls;
    auto manager = std::make_unique<InteractionManager>(new RecordingInteraction(calls));
    QCOMPARE(calls, QStringList());
    manager.reset();
    QCOMPARE(calls, QStringList{"gone"});
}

void tst_InteractionManager::thereMayBeNoImplementation()
{
    auto manager = std::make_unique<InteractionManager>(nullptr);
    manager.reset();
    QVERIFY(manager == nullptr);
}

QTEST_GUILESS_MAIN(tst_InteractionManager)
#include "tst_InteractionManager.moc"
