// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/MemoryBudget.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

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
    std::unique_ptr<MemoryAccount> account(const QString &name,
                                           const QString &address = u"10.0.0.1"_s)
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
    const auto one = account(u"one"_s);
    const auto two = account(u"two"_s);
    one->set(600);
    two->set(400);
    QCOMPARE(budget.total(), limit);
    QCOMPARE(closed, QStringList());
    two->set(401);
    QCOMPARE(closed, QStringList(u"one"_s));
    QCOMPARE(budget.total(), 401);
}

void tst_MemoryBudget::theOneThatHoldsMostGoes()
{
    const auto small = account(u"small"_s);
    const auto large = account(u"large"_s);
    const auto last = account(u"last"_s);
    small->set(10);
    large->set(600);
    last->set(391);
    QCOMPARE(closed, QStringList(u"large"_s));
}

void tst_MemoryBudget::asManyGoAsMust()
{
    const auto one = account(u"one"_s);
    const auto two = account(u"two"_s);
    const auto three = account(u"three"_s);
    one->set(300);
    two->set(310);
    three->set(320);
    {
        const SharedText text(budget, QString(250, u'x'));
        QCOMPARE(closed, QStringList({u"three"_s, u"two"_s}));
    }
    QCOMPARE(budget.total(), 300);
}

/// All connections of one peer count together, so each of many may hold little.
void tst_MemoryBudget::theAddressThatHoldsMostLosesOne()
{
    const auto honest = account(u"honest"_s, u"10.0.0.2"_s);
    std::vector<std::unique_ptr<MemoryAccount>> crowd;
    honest->set(200);
    for (int number = 0; number < 9; ++number) {
        crowd.push_back(account(QString::number(number)));
        crowd.back()->set(90 + number);
    }
    QCOMPARE(closed, QStringList(u"8"_s));
    QCOMPARE(budget.total(), 200 + 8 * 90 + 28);
}

void tst_MemoryBudget::theOneThatGrowsMayGoItself()
{
    const auto other = account(u"other"_s);
    const auto growing = account(u"growing"_s);
    other->set(300);
    growing->set(5'000);
    QCOMPARE(closed, QStringList(u"growing"_s));
    QCOMPARE(budget.total(), 300);
}

void tst_MemoryBudget::whatEndsGivesBackWhatItHeld()
{
    {
        const auto one = account(u"one"_s);
        one->set(700);
        one->set(500);
        QCOMPARE(budget.total(), 500);
    }
    QCOMPARE(budget.total(), 0);
    QCOMPARE(closed, QStringList());
}

void tst_MemoryBudget::aClosedAccountHoldsNothingAnyMore()
{
    const auto one = account(u"one"_s);
    one->set(500);
    one->close();
    one->set(800);
    one->setText(std::make_shared<const SharedText>(budget, u"text"_s));
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
    const auto one = account(u"one"_s, u"10.0.0.1"_s);
    const auto two = account(u"two"_s, u"10.0.0.2"_s);
    const auto greedy = account(u"greedy"_s, u"10.0.0.3"_s);
    auto text = std::make_shared<const SharedText>(budget, QString(300, u'x'));
    one->setText(text);
    two->setText(text);
    text.reset();
    // More than the half of 600 bytes, and less than all of them.
    greedy->set(399);
    QCOMPARE(closed, QStringList());
    greedy->set(401);
    QCOMPARE(closed, QStringList(u"greedy"_s));
}

void tst_MemoryBudget::aTextThatNobodyHoldsIsGivenBack()
{
    const auto one = account(u"one"_s);
    one->setText(std::make_shared<const SharedText>(budget, QString(100, u'x')));
    QCOMPARE(budget.total(), 200);
    one->setText(std::make_shared<const SharedText>(budget, QString(50, u'x')));
    QCOMPARE(budget.total(), 100);
    one->setText(nullptr);
    QCOMPARE(budget.total(), 0);
}

QTEST_GUILESS_MAIN(tst_MemoryBudget)
#include "tst_MemoryBudget.moc"
