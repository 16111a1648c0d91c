// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How the clipboard is lent to a text, and what was there before comes back.

#include "adapters/DataControlScene.h"

#include <QElapsedTimer>
#include <QTest>

#include <array>
#include <vector>

#include <fcntl.h>

namespace {

struct Borrower final : platform::ClipboardBorrower
{
    void textLent() override { ++lent; }
    void textRead() override { ++read; }
    void loanLost() override { ++lost; }

    int lent = 0;
    int read = 0;
    int lost = 0;
};

using Paste = bool (StandInCompositor::*)(const QByteArray &, const Descriptor &);

} // namespace

class tst_DataControlLoan : public QObject, private DataControlScene
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { end(); }

    void theTextIsOnBothSelections();
    void readingsAreReported();
    void whatWasThereComesBackInAllItsTypes();
    void emptySelectionsAreEmptyAgain();
    void ourOwnTextComesBack();
    void othersHereAreGivenWhatWillComeBack();
    void aTextThatIsSetMeanwhileComesBack();
    void whoWatchesNoticesNothing();
    void whatIsCopiedMeanwhileStays();
    void whatIsSelectedMeanwhileStays();
    void contentsThatCannotBeKeptStay_data();
    void contentsThatCannotBeKeptStay();
    void whatIsCopiedWhileItIsKeptComesBack();
    void anotherTextTakesThePlaceOfTheFirst();
    void anEndBeforeItIsLentChangesNothing();
    void aCompositorThatGoesEndsTheLoan();

private:
    bool lend(const QString &text);
    /// What a program gets that pastes.
    std::optional<QByteArray> pasted(const QByteArray &type,
                                     Paste paste = &StandInCompositor::paste) const;
    std::optional<QByteArray> selected(const QByteArray &type) const
    {
        return pasted(type, &StandInCompositor::pastePrimary);
    }
    /// Waits until both selections have something with that type.
    bool haveBoth(const QByteArray &type) const
    {
        return waitUntil([&] {
            return compositor->clientTypes().contains(type) &&
                   compositor->clientPrimaryTypes().contains(type);
        });
    }
    /// A program that writes what it is asked for.
    static StandInCompositor::Owner echo(const QByteArray &prefix)
    {
        return [prefix](const QByteArray &type, Descriptor target) {
            ownerOf(prefix + type)(type, std::move(target));
        };
    }

    Borrower borrower;
};

void tst_DataControlLoan::init()
{
    borrower = {};
    QVERIFY(start());
}

bool tst_DataControlLoan::lend(const QString &text)
{
    const int before = borrower.lent;
    clipboard->lend(text, borrower);
    return waitUntil([&] { return borrower.lent > before; });
}

std::optional<QByteArray> tst_DataControlLoan::pasted(const QByteArray &type, Paste paste) const
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return std::nullopt;
    }
    const Descriptor source(ends[0]);
    Descriptor target(ends[1]);
    if (!(compositor.get()->*paste)(type, target)) {
        return std::nullopt;
    }
    target = Descriptor(-1);
    QByteArray all;
    const bool isAtEnd = waitUntil(
        [&] {
            std::array<char, 4096> bytes{};
            ssize_t count = 0;
            while ((count = read(source.get(), bytes.data(), bytes.size())) > 0) {
                all.append(bytes.data(), count);
            }
            return count == 0;
        },
        GenerousLimit, 1ms);
    return isAtEnd ? std::optional(all) : std::nullopt;
}

void tst_DataControlLoan::theTextIsOnBothSelections()
{
    QVERIFY(clipboard->canLend());
    QVERIFY(lend(u"é"_s));
    for (const char *type : {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING"}) {
        QCOMPARE(pasted(type), u"é"_s.toUtf8());
        QCOMPARE(selected(type), u"é"_s.toUtf8());
    }
    QCOMPARE(pasted("x-kde-passwordManagerHint"), "secret");
}

void tst_DataControlLoan::readingsAreReported()
{
    QVERIFY(lend(u"é"_s));
    QCOMPARE(borrower.read, 0);
    QCOMPARE(pasted("x-kde-passwordManagerHint"), "secret");
    QCOMPARE(selected("UTF8_STRING"), u"é"_s.toUtf8());
    QVERIFY(waitUntil([this] { return borrower.read == 1; }));
    QCOMPARE(pasted("text/plain"), u"é"_s.toUtf8());
    QVERIFY(waitUntil([this] { return borrower.read == 2; }));
    clipboard->endLoan();
    clipboard->setText(u"ours"_s);
    QVERIFY(becomes(u"ours"_s));
    QCOMPARE(pasted("text/plain"), "ours");
    QCOMPARE(borrower.read, 2);
    QCOMPARE(borrower.lost, 0);
}

void tst_DataControlLoan::whatWasThereComesBackInAllItsTypes()
{
    compositor->copy({"text/html", "UTF8_STRING", "image/png"}, echo("copied "));
    compositor->select({"text/plain"}, echo("selected "));
    QVERIFY(lend(u"é"_s));
    clipboard->endLoan();
    QVERIFY(waitUntil([this] { return compositor->clientTypes().contains("text/html"); }));
    QCOMPARE(pasted("text/html"), "copied text/html");
    QCOMPARE(pasted("image/png"), "copied image/png");
    for (const char *type : {"text/plain;charset=utf-8", "UTF8_STRING", "TEXT"}) {
        QCOMPARE(pasted(type), "copied UTF8_STRING");
        QCOMPARE(selected(type), "selected text/plain");
    }
    QVERIFY(!compositor->clientTypes().contains("x-kde-passwordManagerHint"));
    QCOMPARE(text(), u"copied UTF8_STRING"_s);
    QCOMPARE(compositor->sources(), 2U);
}

void tst_DataControlLoan::emptySelectionsAreEmptyAgain()
{
    QVERIFY(lend(u"é"_s));
    QVERIFY(haveBoth("text/plain"));
    clipboard->endLoan();
    QVERIFY(waitUntil([this] { return compositor->sources() == 0; }));
    QCOMPARE(text(), std::nullopt);
    QVERIFY(!compositor->paste("text/plain", Descriptor(-1)));
    QVERIFY(!compositor->pastePrimary("text/plain", Descriptor(-1)));
}

void tst_DataControlLoan::ourOwnTextComesBack()
{
    const QString ours = u"a"_s + QChar(0xd800) + u"b"_s;
    clipboard->setText(ours);
    for (int count = 0; count < 3; ++count) {
        QVERIFY(lend(u"é"_s));
        clipboard->endLoan();
    }
    QCOMPARE(text(), ours);
    QVERIFY(waitUntil([this] { return compositor->sources() == 1; }));
    QCOMPARE(pasted("TEXT"), ours.toUtf8());
    // And is forgotten when others copy.
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(text(), u"theirs"_s);
}

void tst_DataControlLoan::othersHereAreGivenWhatWillComeBack()
{
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QVERIFY(lend(u"é"_s));
    QCOMPARE(text(), u"theirs"_s);
    clipboard->endLoan();
    QCOMPARE(text(), u"theirs"_s);
    compositor->copy({"image/png"}, ownerOf("picture"));
    QVERIFY(lend(u"é"_s));
    QCOMPARE(text(), std::nullopt);
}

void tst_DataControlLoan::aTextThatIsSetMeanwhileComesBack()
{
    int changes = 0;
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QVERIFY(lend(u"é"_s));
    clipboard->watch([&] { ++changes; });
    clipboard->setText(u"set"_s);
    QCOMPARE(text(), u"set"_s);
    QCOMPARE(pasted("TEXT"), u"é"_s.toUtf8());
    QCOMPARE(changes, 0);
    clipboard->endLoan();
    QCOMPARE(text(), u"set"_s);
    QCOMPARE(pasted("TEXT"), "set");
    QCOMPARE(changes, 1);
}

void tst_DataControlLoan::whoWatchesNoticesNothing()
{
    int changes = 0;
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QCOMPARE(text(), u"theirs"_s);
    clipboard->watch([&] { ++changes; });
    QVERIFY(lend(u"é"_s));
    QVERIFY(lend(u"ф"_s));
    clipboard->endLoan();
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(changes, 0);
    // But then.
    compositor->copy({"TEXT"}, ownerOf("new"));
    QCOMPARE(text(), u"new"_s);
    QCOMPARE(changes, 1);
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([&] { return changes == 2; }));
}

void tst_DataControlLoan::whatIsCopiedMeanwhileStays()
{
    int changes = 0;
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    compositor->select({"TEXT"}, ownerOf("selected"));
    QVERIFY(lend(u"é"_s));
    QVERIFY(haveBoth("TEXT"));
    clipboard->watch([&] { ++changes; });
    compositor->copy({"TEXT"}, ownerOf("copied"));
    QVERIFY(waitUntil([this] { return borrower.lost == 1; }));
    clipboard->endLoan();
    QCOMPARE(text(), u"copied"_s);
    QCOMPARE(changes, 1);
    QCOMPARE(selected("TEXT"), "selected");
    QVERIFY(compositor->clientTypes().isEmpty());
    QCOMPARE(borrower.lost, 1);
}

void tst_DataControlLoan::whatIsSelectedMeanwhileStays()
{
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QVERIFY(lend(u"é"_s));
    QVERIFY(haveBoth("TEXT"));
    compositor->select({"TEXT"}, ownerOf("selected"));
    QVERIFY(waitUntil([this] { return borrower.lost == 1; }));
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(pasted("TEXT"), "theirs");
    QVERIFY(compositor->clientPrimaryTypes().isEmpty());
}

void tst_DataControlLoan::contentsThatCannotBeKeptStay_data()
{
    QTest::addColumn<QByteArrayList>("types");
    QTest::addColumn<bool>("isWritten");
    QTest::newRow("a password") << QByteArrayList{"TEXT", "x-kde-passwordManagerHint"} << true;
    QTest::newRow("more than 16 MiB") << QByteArrayList{"TEXT", "text/html", "image/png"} << true;
    QTest::newRow("an owner that never writes") << QByteArrayList{"TEXT"} << false;
}

void tst_DataControlLoan::contentsThatCannotBeKeptStay()
{
    QFETCH(QByteArrayList, types);
    QFETCH(bool, isWritten);
    std::vector<Descriptor> targets;
    const auto keepTarget = [&](const QByteArray & /*type*/, Descriptor target) {
        fcntl(target.get(), F_SETFL, O_NONBLOCK);
        targets.push_back(std::move(target));
    };
    // Six million bytes of each type.
    QTimer writing;
    qsizetype written = 0;
    const QByteArray piece(60'000, 'a');
    writing.callOnTimeout([&] {
        if (targets.empty() || !isWritten) {
            return;
        }
        const ssize_t count =
            write(targets.back().get(), piece.constData(), static_cast<std::size_t>(piece.size()));
        written += std::max<ssize_t>(count, 0);
        if (written >= 6'000'000) {
            written = 0;
            targets.pop_back();
        }
    });
    writing.start(0);
    compositor->copy(types, keepTarget);
    QElapsedTimer time;
    time.start();
    clipboard->lend(u"é"_s, borrower);
    QVERIFY(waitUntil([this] { return borrower.lost == 1; }));
    QVERIFY2(time.elapsed() < 5'000, QByteArray::number(time.elapsed()).constData());
    QCOMPARE(borrower.lent, 0);
    QVERIFY(compositor->clientTypes().isEmpty());
    clipboard->endLoan();
    QCOMPARE(compositor->sources(), 0U);
    // The next contents are no worse for it.
    writing.stop();
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QVERIFY(lend(u"é"_s));
}

void tst_DataControlLoan::whatIsCopiedWhileItIsKeptComesBack()
{
    std::vector<Descriptor> targets;
    compositor->copy({"TEXT"}, [&](const QByteArray & /*type*/, Descriptor target) {
        targets.push_back(std::move(target));
    });
    clipboard->lend(u"é"_s, borrower);
    QVERIFY(waitUntil([&] { return !targets.empty(); }));
    compositor->copy({"TEXT"}, ownerOf("newer"));
    QVERIFY(waitUntil([this] { return borrower.lent == 1; }));
    clipboard->endLoan();
    QCOMPARE(text(), u"newer"_s);
    QCOMPARE(pasted("TEXT"), "newer");
}

void tst_DataControlLoan::anotherTextTakesThePlaceOfTheFirst()
{
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    QVERIFY(lend(u"é"_s));
    QVERIFY(lend(u"ф"_s));
    QCOMPARE(pasted("TEXT"), u"ф"_s.toUtf8());
    QCOMPARE(selected("TEXT"), u"ф"_s.toUtf8());
    clipboard->endLoan();
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(borrower.lost, 0);
}

void tst_DataControlLoan::anEndBeforeItIsLentChangesNothing()
{
    compositor->copy({"TEXT"}, ownerOf("theirs"));
    clipboard->lend(u"é"_s, borrower);
    clipboard->endLoan();
    QCOMPARE(text(), u"theirs"_s);
    QTest::qWait(50);
    QVERIFY(compositor->clientTypes().isEmpty());
    QCOMPARE(borrower.lent + borrower.lost, 0);
    clipboard->endLoan();
}

void tst_DataControlLoan::aCompositorThatGoesEndsTheLoan()
{
    int changes = 0;
    QVERIFY(lend(u"é"_s));
    compositor.reset();
    QVERIFY(waitUntil([this] { return borrower.lost == 1; }));
    QVERIFY(!clipboard->canLend());
    clipboard->lend(u"ф"_s, borrower);
    QVERIFY(waitUntil([this] { return borrower.lost == 2; }));
    QCOMPARE(text(), std::nullopt);
    clipboard->watch([&] { ++changes; });
    clipboard->endLoan();
    QCOMPARE(changes, 0);
}

QTEST_GUILESS_MAIN(tst_DataControlLoan)
#include "tst_DataControlLoan.moc"
