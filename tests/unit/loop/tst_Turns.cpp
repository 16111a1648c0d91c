// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "loop/Turns.h"

#include <QCoreApplication>
#include <QTest>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

void processAll()
{
    for (int round = 0; round < 1'000; ++round) {
        QCoreApplication::processEvents();
    }
}

} // namespace

class tst_Turns : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsDoneBeforeTheEventLoopRuns();
    void workersTakeTurns();
    void otherEventsComeBetweenTwoTurns();
    void onlySoManyAreAtWorkAtOnce();
    void withoutALimitAllAreAtWork();
    void aWorkerThatIsGoneHasNoTurn();
    void aWorkerMayEndInItsTurn();
    void othersTakeTheirTurnsInTheLoopOfAStep();

private:
    /// A step that writes down its name, `count` times.
    Turns::Step counted(const QString &name, int count)
    {
        return [this, name, left = count]() mutable {
            done.append(name);
            return --left > 0;
        };
    }

    QStringList done;
};

void tst_Turns::nothingIsDoneBeforeTheEventLoopRuns()
{
    done.clear();
    Turns turns;
    turns.enter(this, counted(u"a"_s, 1));
    QCOMPARE(done, QStringList());
    processAll();
    QCOMPARE(done, QStringList{u"a"_s});
}

void tst_Turns::workersTakeTurns()
{
    done.clear();
    Turns turns;
    turns.enter(this, counted(u"a"_s, 3));
    turns.enter(this, counted(u"b"_s, 2));
    processAll();
    QCOMPARE(done, QStringList({u"a"_s, u"b"_s, u"a"_s, u"b"_s, u"a"_s}));
}

void tst_Turns::otherEventsComeBetweenTwoTurns()
{
    done.clear();
    Turns turns;
    turns.enter(this, counted(u"a"_s, 2));
    turns.enter(this, counted(u"b"_s, 1));
    QMetaObject::invokeMethod(
        this, [this] { done.append(u"other"_s); }, Qt::QueuedConnection);
    processAll();
    QCOMPARE(done, QStringList({u"a"_s, u"other"_s, u"b"_s, u"a"_s}));
}

void tst_Turns::onlySoManyAreAtWorkAtOnce()
{
    done.clear();
    constexpr int most = 16;
    Turns turns(most);
    for (int worker = 0; worker < most; ++worker) {
        turns.enter(this, counted(u"early"_s, 2));
    }
    turns.enter(this, counted(u"late"_s, 1));
    processAll();
    QCOMPARE(done.size(), 2 * most + 1);
    // It joins when the first of the others is done, behind all that have a second turn.
    QCOMPARE(done.indexOf(u"late"_s), 2 * most);
}

void tst_Turns::withoutALimitAllAreAtWork()
{
    done.clear();
    Turns turns;
    constexpr int many = 100;
    for (int worker = 0; worker < many; ++worker) {
        turns.enter(this, counted(u"early"_s, 2));
    }
    turns.enter(this, counted(u"late"_s, 1));
    processAll();
    QCOMPARE(done.indexOf(u"late"_s), many);
}

void tst_Turns::aWorkerThatIsGoneHasNoTurn()
{
    done.clear();
    Turns turns;
    auto worker = std::make_unique<QObject>();
    turns.enter(worker.get(), counted(u"gone"_s, 1));
    turns.enter(this, counted(u"there"_s, 1));
    worker.reset();
    processAll();
    QCOMPARE(done, QStringList{u"there"_s});
}

void tst_Turns::aWorkerMayEndInItsTurn()
{
    done.clear();
    Turns turns;
    auto worker = std::make_unique<QObject>();
    turns.enter(worker.get(), [&] {
        done.append(u"a"_s);
        worker.reset();
        return true;
    });
    processAll();
    QCOMPARE(done, QStringList{u"a"_s});
}

void tst_Turns::othersTakeTheirTurnsInTheLoopOfAStep()
{
    done.clear();
    Turns turns;
    turns.enter(this, [&] {
        done.append(u"begin"_s);
        processAll();
        done.append(u"end"_s);
        return false;
    });
    turns.enter(this, counted(u"other"_s, 2));
    processAll();
    QCOMPARE(done, QStringList({u"begin"_s, u"other"_s, u"other"_s, u"end"_s}));
}

QTEST_GUILESS_MAIN(tst_Turns)
#include "tst_Turns.moc"
