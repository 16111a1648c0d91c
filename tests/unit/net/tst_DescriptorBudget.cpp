// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/DescriptorBudget.h"

#include "platform/DescriptorLimit.h"
#include <QTest>

#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

/// While it lives, this process may have only so many more descriptors, beside those that it has,
/// whatever their numbers are.
class Room
{
public:
    explicit Room(int more)
    {
        getrlimit(RLIMIT_NOFILE, &before);
        const auto most = static_cast<rlim_t>(platform::countOpenDescriptors() + more);
        const rlimit lowered{most, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~Room() { setrlimit(RLIMIT_NOFILE, &before); }
    Room(const Room &) = delete;
    Room &operator=(const Room &) = delete;

private:
    rlimit before{};
};

/// Descriptors of the null device.
class OpenDescriptors
{
public:
    explicit OpenDescriptors(int count)
    {
        for (int number = 0; number < count; ++number) {
            descriptors.push_back(open("/dev/null", O_RDONLY));
        }
    }
    ~OpenDescriptors()
    {
        for (const int descriptor : descriptors) {
            close(descriptor);
        }
    }

private:
    std::vector<int> descriptors;
};

} // namespace

class tst_DescriptorBudget : public QObject
{
    Q_OBJECT

private slots:
    void openDescriptorsAreCounted();
    void connectionsLeaveRoomForFiles();
    void filesLeaveRoomForTheRest();
    void aLeaseThatEndsMakesRoom();
    void whatIsOpenForOtherPurposesCounts();
};

void tst_DescriptorBudget::openDescriptorsAreCounted()
{
    const int before = platform::countOpenDescriptors();
    QVERIFY(before >= 3);
    {
        const OpenDescriptors more(7);
        QCOMPARE(platform::countOpenDescriptors(), before + 7);
    }
    QCOMPARE(platform::countOpenDescriptors(), before);
}

void tst_DescriptorBudget::connectionsLeaveRoomForFiles()
{
    DescriptorBudget budget;
    budget.countOthers();
    const Room room(66);
    QVERIFY(budget.hasRoomForConnections(2));
    QVERIFY(!budget.hasRoomForConnections(3));
    const DescriptorBudget::Lease one(budget);
    const DescriptorBudget::Lease two(budget);
    QVERIFY(!budget.hasRoomForConnections(1));
    QVERIFY(budget.hasRoomForFile());
}

void tst_DescriptorBudget::filesLeaveRoomForTheRest()
{
    DescriptorBudget budget;
    budget.countOthers();
    const Room room(50);
    const DescriptorBudget::Lease one(budget);
    QVERIFY(budget.hasRoomForFile());
    const DescriptorBudget::Lease two(budget);
    QVERIFY(!budget.hasRoomForFile());
}

void tst_DescriptorBudget::aLeaseThatEndsMakesRoom()
{
    DescriptorBudget budget;
    budget.countOthers();
    const Room room(49);
    DescriptorBudget::Lease kept(budget);
    QVERIFY(!budget.hasRoomForFile());
    kept = {};
    QVERIFY(budget.hasRoomForFile());
    kept = DescriptorBudget::Lease(budget);
    DescriptorBudget::Lease moved(std::move(kept));
    QVERIFY(!budget.hasRoomForFile());
    moved = DescriptorBudget::Lease();
    QVERIFY(budget.hasRoomForFile());
}

void tst_DescriptorBudget::whatIsOpenForOtherPurposesCounts()
{
    DescriptorBudget budget;
    const Room room(60);
    const OpenDescriptors taken(5);
    const OpenDescriptors others(10);
    const std::vector<DescriptorBudget::Lease> leases = [&budget] {
        std::vector<DescriptorBudget::Lease> made;
        for (int count = 0; count < 5; ++count) {
            made.emplace_back(budget);
        }
        return made;
    }();
    budget.countOthers();
    // 45 are left: no leased descriptor is counted twice.
    QVERIFY(!budget.hasRoomForFile());
    QVERIFY(budget.hasRoomForConnections(45 - 64));
    QVERIFY(!budget.hasRoomForConnections(46 - 64));
}

QTEST_GUILESS_MAIN(tst_DescriptorBudget)
#include "tst_DescriptorBudget.moc"
