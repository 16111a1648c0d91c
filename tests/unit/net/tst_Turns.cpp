// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/Turns.h"

#include <QCoreApplication>
#include <QTest>

#include <memory>
#include <vector>

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
    turns.enter(this, counted("a", 1));
    QCOMPARE(done, QStringList());
    processAll();
    QCOMPARE(done, QStringList{"a"});
}

void tst_Turns::workersTakeTurns()
{
    done.clear();
    Turns turns;
    turns.enter(this, counted("a", 3));
    turns.enter(this, counted("b", 2));
    processAll();
    QCOMPARE(done, QStringList({"a", "b", "a", "b", "a"}));
}

void tst_Turns::otherEventsComeBetweenTwoTurns()
{
    done.clear();
    Turns turns;
    turns.enter(this, counted("a", 2));
    turns.enter(this, counted("b", 1));
    QMetaObject::invokeMethod(
        this, [this] { done.append("other"); }, Qt::QueuedConnection);
    processAll();
    QCOMPARE(done, QStringList({"a", "other", "b", "a"}));
}

void tst_Turns::onlySoManyAreAtWorkAtOnce()
{
    done.clear();
    Turns turns;
    const auto most = int(Turns::maximumAtWork);
    for (int worker = 0; worker < most; ++worker) {
        turns.enter(this, counted("early", 2));
    }
    turns.enter(this, counted("late", 1));
    processAll();
    QCOMPARE(done.size(), 2 * most + 1);
    // In after the first of the others is done, behind all who have a second turn.
    QCOMPARE(done.indexOf("late"), 2 * most);
}

void tst_Turns::aWorkerThatIsGoneHasNoTurn()
{
    done.clear();
    Turns turns;
    auto worker = std::make_unique<QObject>();
    turns.enter(worker.get(), counted("gone", 1));
    turns.enter(this, counted("there", 1));
    worker.reset();
    processAll();
    QCOMPARE(done, QStringList{"there"});
}

void tst_Turns::aWorkerMayEndInItsTurn()
{
    done.clear();
    Turns turns;
    auto worker = std::make_unique<QObject>();
    turns.enter(worker.get(), [&] {
        done.append("a");
        worker.reset();
        return true;
    });
    processAll();
    QCOMPARE(done, QStringList{"a"});
}

void tst_Turns::othersTakeTheirTurnsInTheLoopOfAStep()
{
    done.clear();
    Turns turns;
    turns.enter(this, [&] {
        done.append("begin");
        processAll();
        done.append("end");
        return false;
    });
    turns.enter(this, counted("other", 2));
    processAll();
    QCOMPARE(done, QStringList({"begin", "other", "other", "end"}));
}

QTEST_GUILESS_MAIN(tst_Turns)
#include "tst_Turns.moc"
