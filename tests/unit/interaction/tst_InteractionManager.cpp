// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/InteractionManager.h"

#include "doubles/RecordingInteraction.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

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
    manager.keyboardTapKeyEvent(u"Cmd+Q"_s);
    manager.extractKeyCodeAndModifiers(u"a"_s);
    manager.generateKeyEvent(true);
    manager.generateKeyEvent(false);
    manager.moveMouseWithOffset(10, -5);
    manager.leftMouseButtonTapped();
    manager.rightMouseButtonTapped();
    manager.centerMouseButtonTapped();
    QCOMPARE(calls, QStringList({u"type Cmd+Q"_s, u"extract a"_s, u"key down"_s, u"key up"_s,
                                 u"move 10 -5"_s, u"left"_s, u"right"_s, u"center"_s}));
}

void tst_InteractionManager::theImplementationGoesWithTheFacade()
{
    QStringList calls;
    auto manager = std::make_unique<InteractionManager>(new RecordingInteraction(calls));
    QCOMPARE(calls, QStringList());
    manager.reset();
    QCOMPARE(calls, QStringList{u"gone"_s});
}

void tst_InteractionManager::thereMayBeNoImplementation()
{
    auto manager = std::make_unique<InteractionManager>(nullptr);
    manager.reset();
    QVERIFY(manager == nullptr);
}

QTEST_GUILESS_MAIN(tst_InteractionManager)
#include "tst_InteractionManager.moc"
