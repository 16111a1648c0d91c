// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/MemoryBudget.h"

#include <QTest>

#include <memory>

namespace {

constexpr qint64 limit = 1'000;

} // namespace

class tst_MemoryBudget : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void theLimitItselfIsAllowed();
    void theOneThatHoldsMostGoes();
    void asManyGoAsMust();
    void theAddressThatHoldsMostLosesOne();
    void theOneThatGrowsMayGoItself();
    void whatEndsGivesBackWhatItHeld();
    void aClosedAccountHoldsNothingAnyMore();
    void aTextThatManyHoldCountsOnce();
    void aTextIsSharedAmongThoseWhoHoldIt();
    void aTextThatNobodyHoldsIsGivenBack();

private:
    std::unique_ptr<MemoryAccount> account(const QString &name, const QString &address = "10.0.0.1")
    {
        auto made = std::make_unique<MemoryAccount>(budget, QHostAddress(address),
                                                    [this, name] { closed.append(name); });
        return made;
    }

    MemoryBudget budget{limit};
    QStringList closed; // names, in their order
};

void tst_MemoryBudget::init()
{
    closed.clear();
    QCOMPARE(budget.total(), 0);
}

void tst_MemoryBudget::theLimitItselfIsAllowed()
{
    const auto one = account("one");
    const auto two = account("two");
    one->set(600);
    two->set(400);
    QCOMPARE(budget.total(), limit);
    QCOMPARE(closed, QStringList());
    two->set(401);
    QCOMPARE(closed, QStringList("one"));
    QCOMPARE(budget.total(), 401);
}

void tst_MemoryBudget::theOneThatHoldsMostGoes()
{
    const auto small = account("small");
    const auto large = account("large");
    const auto last = account("last");
    small->set(10);
    large->set(600);
    last->set(391);
    QCOMPARE(closed, QStringList("large"));
}

void tst_MemoryBudget::asManyGoAsMust()
{
    const auto one = account("one");
    const auto two = account("two");
    const auto three = account("three");
    one->set(300);
    two->set(310);
    three->set(320);
    {
        const SharedText text(budget, QString(250, u'x'));
        QCOMPARE(closed, QStringList({"three", "two"}));
    }
    QCOMPARE(budget.total(), 300);
}

/// Many connections of one peer are one peer: each may hold little.
void tst_MemoryBudget::theAddressThatHoldsMostLosesOne()
{
    const auto honest = account("honest", "10.0.0.2");
    std::vector<std::unique_ptr<MemoryAccount>> crowd;
    honest->set(200);
    for (int number = 0; number < 9; ++number) {
        crowd.push_back(account(QString::number(number)));
        crowd.back()->set(90 + number);
    }
    QCOMPARE(closed, QStringList("8"));
    QCOMPARE(budget.total(), 200 + 8 * 90 + 28);
}

void tst_MemoryBudget::theOneThatGrowsMayGoItself()
{
    const auto other = account("other");
    const auto growing = account("growing");
    other->set(300);
    growing->set(5'000);
    QCOMPARE(closed, QStringList("growing"));
    QCOMPARE(budget.total(), 300);
}

void tst_MemoryBudget::whatEndsGivesBackWhatItHeld()
{
    {
        const auto one = account("one");
        one->set(700);
        one->set(500);
        QCOMPARE(budget.total(), 500);
    }
    QCOMPARE(budget.total(), 0);
    QCOMPARE(closed, QStringList());
}

void tst_MemoryBudget::aClosedAccountHoldsNothingAnyMore()
{
    const auto one = account("one");
    one->set(500);
    one->close();
    one->set(800);
    one->setText(std::make_shared<const SharedText>(budget, "text"));
    QCOMPARE(budget.total(), 0);
}

void tst_MemoryBudget::aTextThatManyHoldCountsOnce()
{
    std::vector<std::unique_ptr<MemoryAccount>> all;
    auto text = std::make_shared<const SharedText>(budget, QString(400, u'x'));
    for (int number = 0; number < 20; ++number) {
        all.push_back(account(QString::number(number)));
        all.back()->setText(text);
    }
    text.reset();
    QCOMPARE(budget.total(), 800);
    QCOMPARE(closed, QStringList());
}

void tst_MemoryBudget::aTextIsSharedAmongThoseWhoHoldIt()
{
    const auto one = account("one", "10.0.0.1");
    const auto two = account("two", "10.0.0.2");
    const auto greedy = account("greedy", "10.0.0.3");
    auto text = std::make_shared<const SharedText>(budget, QString(300, u'x'));
    one->setText(text);
    two->setText(text);
    text.reset();
    // More than the half of 600 bytes, and less than all of them.
    greedy->set(399);
    QCOMPARE(closed, QStringList());
    greedy->set(401);
    QCOMPARE(closed, QStringList("greedy"));
}

void tst_MemoryBudget::aTextThatNobodyHoldsIsGivenBack()
{
    const auto one = account("one");
    one->setText(std::make_shared<const SharedText>(budget, QString(100, u'x')));
    QCOMPARE(budget.total(), 200);
    one->setText(std::make_shared<const SharedText>(budget, QString(50, u'x')));
    QCOMPARE(budget.total(), 100);
    one->setText(nullptr);
    QCOMPARE(budget.total(), 0);
}

QTEST_GUILESS_MAIN(tst_MemoryBudget)
#include "tst_MemoryBudget.moc"
