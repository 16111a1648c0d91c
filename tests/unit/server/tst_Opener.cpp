// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/Opener.h"

#include "doubles/RecordingDesktop.h"
#include "support/MessageRecorder.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

class tst_Opener : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void anAddressIsOpened();
    void fiftyAreOpenedAtOnce();
    void fiveMoreASecondAreOpened();
    void aPauseGivesNoMoreThanFifty();
    void aSteadyRateOfFiveIsNeverTooMuch();
    void whatIsNotOpenedCostsNothing();
    void theWholeTimeIsPaidOffBeforeTheFirstOpening();

    void whatWouldBeAnOptionIsNotOpened_data();
    void whatWouldBeAnOptionIsNotOpened();
    void otherAddressesAreHandedOver_data();
    void otherAddressesAreHandedOver();

private:
    /// How many of that many are opened; the user gets a message about the others.
    int opened(int count);

    std::unique_ptr<RecordingDesktop> desktop;
    std::unique_ptr<MessageRecorder> messages;
    std::chrono::steady_clock::time_point time;
    std::unique_ptr<Opener> opener;
};

void tst_Opener::init()
{
    desktop = std::make_unique<RecordingDesktop>();
    messages = std::make_unique<MessageRecorder>();
    time = std::chrono::steady_clock::time_point() + 1h;
    opener = std::make_unique<Opener>([this] { return time; });
}

void tst_Opener::cleanup()
{
    opener.reset();
    messages.reset();
    desktop.reset();
}

int tst_Opener::opened(int count)
{
    desktop->opened.clear();
    messages->clear();
    for (int number = 0; number < count; ++number) {
        opener->open(u"http://example.net/"_s);
    }
    const auto sum = desktop->opened.size();
    const QStringList reported(count - sum,
                               u"warning: Not opened: too many addresses and files at once. "_s);
    return messages->all() == reported ? static_cast<int>(sum) : -1;
}

void tst_Opener::anAddressIsOpened()
{
    opener->open(u"http://example.net/"_s);
    QCOMPARE(desktop->opened, QStringList{u"http://example.net/"_s});
    QCOMPARE(messages->all(), QStringList());
}

// ---- How many -----------------------------------------------------------------------------------

void tst_Opener::fiftyAreOpenedAtOnce()
{
    QCOMPARE(opened(1500), 50);
    QCOMPARE(opened(10), 0);
}

void tst_Opener::fiveMoreASecondAreOpened()
{
    QCOMPARE(opened(50), 50);
    time += 199ms;
    QCOMPARE(opened(1), 0);
    time += 1ms;
    QCOMPARE(opened(2), 1);
    time += 1s;
    QCOMPARE(opened(10), 5);
}

void tst_Opener::aPauseGivesNoMoreThanFifty()
{
    QCOMPARE(opened(50), 50);
    time += 24h;
    QCOMPARE(opened(100), 50);
}

void tst_Opener::aSteadyRateOfFiveIsNeverTooMuch()
{
    QCOMPARE(opened(49), 49);
    for (int number = 0; number < 1000; ++number) {
        QCOMPARE(opened(1), 1);
        time += 200ms;
    }
}

void tst_Opener::whatIsNotOpenedCostsNothing()
{
    QCOMPARE(opened(1500), 50);
    for (int number = 0; number < 100; ++number) {
        opener->open(u"--help"_s);
    }
    time += 1s;
    QCOMPARE(opened(10), 5);
}

/// The clock may begin anywhere, at 0 as well.
void tst_Opener::theWholeTimeIsPaidOffBeforeTheFirstOpening()
{
    time = {};
    opener = std::make_unique<Opener>([this] { return time; });
    QCOMPARE(opened(60), 50);
}

// ---- What ---------------------------------------------------------------------------------------

void tst_Opener::whatWouldBeAnOptionIsNotOpened_data()
{
    QTest::addColumn<QString>("address");

    for (const char *address : {"-", "--", "-x", "--help", "--version=1", "-%20", "-/etc/passwd",
                                "%2dx", "%2Dhelp", "%2d%2dhelp", "-%2dhelp"}) {
        QTest::newRow(address) << address;
    }
}

void tst_Opener::whatWouldBeAnOptionIsNotOpened()
{
    QFETCH(QString, address);
    QDesktopServices::setUrlHandler(QString(), desktop.get(), "open");
    opener->open(address);
    QDesktopServices::unsetUrlHandler(QString());
    QCOMPARE(desktop->opened, QStringList());
    QCOMPARE(messages->all(),
             QStringList{u"warning: Not opened: an address must not begin with \"-\". "_s});
}

void tst_Opener::otherAddressesAreHandedOver_data()
{
    QTest::addColumn<QString>("address");

    for (const char *address :
         {"../x", "x", "/etc/passwd", "x-", " -x", "?-x", "#-x", "just words"}) {
        QTest::newRow(address) << address;
    }
}

void tst_Opener::otherAddressesAreHandedOver()
{
    QFETCH(QString, address);
    // Without a scheme.
    QDesktopServices::setUrlHandler(QString(), desktop.get(), "open");
    opener->open(address);
    QDesktopServices::unsetUrlHandler(QString());
    QCOMPARE(desktop->opened, QStringList{QUrl(address).toString()});
    QCOMPARE(messages->all(), QStringList());
}

QTEST_MAIN(tst_Opener)
#include "tst_Opener.moc"
