// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How the clipboard of the portal's session is lent to a text, and what was there before comes
// back.

#include "adapters/PortalClipboardScene.h"
#include "support/KeymapText.h"

#include <QElapsedTimer>

namespace {

struct Borrower final : ClipboardBorrower
{
    void textLent() override { ++lent; }
    void textRead() override { ++read; }
    void loanLost() override { ++lost; }

    int lent = 0;
    int read = 0;
    int lost = 0;
};

const QByteArray lentText = u"é"_s.toUtf8();

} // namespace

class tst_PortalLoan : public QObject, private PortalClipboardScene
{
    Q_OBJECT

private slots:
    void init() { borrower = {}; }
    void cleanup() { end(); }

    void readingsAreReported();
    void whatWasThereComesBackInAllItsTypes();
    void anEmptyClipboardIsEmptyAgain();
    void ourOwnTextComesBack();
    void aTextThatIsSetMeanwhileComesBack();
    void whoWatchesNoticesNothing();
    void whatIsCopiedMeanwhileStays();
    void whatIsCopiedWhileItIsKeptComesBack();
    void nothingIsLentBeforeItIsKnownWhatIsThere();
    void contentsThatCannotBeKeptStay_data();
    void contentsThatCannotBeKeptStay();
    void whatThePortalRefusesIsNotLent();
    void aPortalThatAnnouncesNothingIsSupposedToHaveTheText();
    void anotherTextTakesThePlaceOfTheFirst();
    void aSessionThatEndsEndsTheLoan();
    void whatTheLayoutLacksIsPasted();

private:
    bool lend(const QString &text)
    {
        const int before = borrower.lent;
        clipboard->lend(text, borrower);
        return eventually([&] { return borrower.lent > before; });
    }
    bool paste(const QString &type, const QByteArray &expected)
    {
        return scene->command(u"paste "_s + type) && isPasted(++pastes, expected);
    }
    void openWith(const QByteArray &theirs)
    {
        pastes = 0;
        open();
        QVERIFY(copy(theirs));
    }

    Borrower borrower;
    int pastes = 0;
};

void tst_PortalLoan::readingsAreReported()
{
    openWith("theirs");
    QVERIFY(clipboard->canLend());
    QVERIFY(!clipboard->canLendPrimary());
    QVERIFY(lend(u"é"_s));
    QCOMPARE(borrower.read, 0);
    // This is read by programs that keep a history, and leave out what has it.
    QVERIFY(paste(u"x-kde-passwordManagerHint"_s, "secret"));
    QVERIFY(paste(u"UTF8_STRING"_s, lentText));
    QVERIFY(eventually([this] { return borrower.read == 1; }));
    QVERIFY(paste(u"text/plain"_s, lentText));
    QVERIFY(eventually([this] { return borrower.read == 2; }));
    // Who does not read all of it has not read it.
    QVERIFY(lend(QString(1024 * 1024, u'a')));
    QVERIFY(scene->command(u"paste-gone TEXT"_s));
    QVERIFY(scene->waitForLine(u"write-done %1 0"_s.arg(++pastes)));
    clipboard->endLoan();
    QVERIFY(set(u"ours"_s));
    QVERIFY(paste(u"text/plain"_s, "ours"));
    QCOMPARE(borrower.read, 2);
    QCOMPARE(borrower.lost, 0);
}

void tst_PortalLoan::whatWasThereComesBackInAllItsTypes()
{
    openWith("theirs");
    QVERIFY(scene->command(u"owner typed"_s));
    QVERIFY(copy("!", u"text/html TEXT UTF8_STRING image/png"_s));
    QVERIFY(lend(u"é"_s));
    QCOMPARE(text(), u"UTF8_STRING!"_s);
    clipboard->endLoan();
    QCOMPARE(text(), u"UTF8_STRING!"_s);
    QVERIFY(paste(u"text/html"_s, "text/html!"));
    QVERIFY(paste(u"image/png"_s, "image/png!"));
    QVERIFY(paste(u"UTF8_STRING"_s, "UTF8_STRING!"));
    QVERIFY(paste(u"text/plain"_s, "UTF8_STRING!"));
    QVERIFY(scene->command(u"paste x-kde-passwordManagerHint"_s));
    QVERIFY(scene->waitForLine(u"write-done %1 0"_s.arg(++pastes)));
}

void tst_PortalLoan::anEmptyClipboardIsEmptyAgain()
{
    openWith("theirs");
    QVERIFY(copy("", QString()));
    QVERIFY(lend(u"é"_s));
    QCOMPARE(text(), std::nullopt);
    clipboard->endLoan();
    QCOMPARE(text(), std::nullopt);
    QVERIFY(scene->waitForLine(u"set"_s));
    QVERIFY(scene->command(u"paste TEXT"_s));
    QVERIFY(scene->waitForLine(u"write-done %1 0"_s.arg(++pastes)));
}

void tst_PortalLoan::ourOwnTextComesBack()
{
    const QString ours = u"a"_s + QChar(0xd800) + u"b"_s;
    openWith("theirs");
    QVERIFY(set(ours));
    for (int count = 0; count < 3; ++count) {
        QVERIFY(lend(u"é"_s));
        clipboard->endLoan();
    }
    QCOMPARE(text(), ours);
    QVERIFY(paste(u"TEXT"_s, ours.toUtf8()));
    // And is forgotten when others copy.
    QVERIFY(copy("theirs"));
    QCOMPARE(text(), u"theirs"_s);
}

void tst_PortalLoan::aTextThatIsSetMeanwhileComesBack()
{
    openWith("theirs");
    QVERIFY(lend(u"é"_s));
    const int before = changes;
    clipboard->setText(u"set"_s);
    QCOMPARE(text(), u"set"_s);
    QVERIFY(paste(u"TEXT"_s, lentText));
    QCOMPARE(changes, before);
    clipboard->endLoan();
    QCOMPARE(text(), u"set"_s);
    QVERIFY(paste(u"TEXT"_s, "set"));
    QCOMPARE(changes, before + 1);
}

void tst_PortalLoan::whoWatchesNoticesNothing()
{
    openWith("theirs");
    const int before = changes;
    QVERIFY(lend(u"é"_s));
    QVERIFY(lend(u"ф"_s));
    clipboard->endLoan();
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(changes, before);
    // But then.
    QVERIFY(copy("new"));
    QCOMPARE(changes, before + 1);
    QVERIFY(set(u"ours"_s));
    QCOMPARE(changes, before + 2);
}

void tst_PortalLoan::whatIsCopiedMeanwhileStays()
{
    openWith("theirs");
    QVERIFY(lend(u"é"_s));
    scene->forgetRecord();
    QVERIFY(copy("copied"));
    QVERIFY(eventually([this] { return borrower.lost == 1; }));
    clipboard->endLoan();
    QCOMPARE(text(), u"copied"_s);
    QVERIFY(scene->record().filter(u"set"_s).isEmpty());
    QCOMPARE(borrower.lost, 1);
}

void tst_PortalLoan::whatIsCopiedWhileItIsKeptComesBack()
{
    openWith("theirs");
    QVERIFY(scene->command(u"owner never"_s));
    clipboard->lend(u"é"_s, borrower);
    QVERIFY(scene->waitForLine(u"read text/plain"_s));
    QVERIFY(scene->command(u"owner whole"_s));
    QVERIFY(copy("newer"));
    QVERIFY(eventually([this] { return borrower.lent == 1; }));
    clipboard->endLoan();
    QCOMPARE(text(), u"newer"_s);
    QVERIFY(paste(u"TEXT"_s, "newer"));
}

void tst_PortalLoan::nothingIsLentBeforeItIsKnownWhatIsThere()
{
    begin();
    QVERIFY(!clipboard->canLend());
    QCOMPARE(text(), std::nullopt);
    consent();
    QVERIFY(!clipboard->canLend());
    QVERIFY(copy("theirs"));
    QVERIFY(clipboard->canLend());
}

void tst_PortalLoan::contentsThatCannotBeKeptStay_data()
{
    QTest::addColumn<QString>("types");
    QTest::addColumn<QString>("command");
    QTest::newRow("a password") << u"TEXT x-kde-passwordManagerHint"_s << u"owner whole"_s;
    QTest::newRow("more than 16 MiB")
        << u"TEXT text/html image/png"_s << u"fill %1"_s.arg(maximumClipboardText / 3 + 1);
    QTest::newRow("an owner that never writes") << u"TEXT"_s << u"owner never"_s;
    QTest::newRow("an owner that writes without end") << u"TEXT"_s << u"owner endless"_s;
    QTest::newRow("refused by the portal") << u"TEXT"_s << u"owner refuse"_s;
    QTest::newRow("no pipe") << u"TEXT"_s << u"owner no-pipe"_s;
    QTest::newRow("no answer") << u"TEXT"_s << u"owner silent"_s;
}

void tst_PortalLoan::contentsThatCannotBeKeptStay()
{
    QFETCH(QString, types);
    QFETCH(QString, command);
    openWith("theirs");
    QVERIFY(copy("theirs", types));
    QVERIFY(scene->command(command));
    QElapsedTimer time;
    time.start();
    clipboard->lend(u"é"_s, borrower);
    QVERIFY(eventually([this] { return borrower.lost == 1; }));
    QVERIFY2(time.elapsed() < 5'000, QByteArray::number(time.elapsed()).constData());
    QCOMPARE(borrower.lent, 0);
    clipboard->endLoan();
    QVERIFY(scene->command(u"owner whole"_s));
    QVERIFY(scene->record().filter(u"set"_s).isEmpty());
    // The next contents are no worse for it.
    QVERIFY(copy("theirs"));
    QVERIFY(lend(u"é"_s));
}

void tst_PortalLoan::whatThePortalRefusesIsNotLent()
{
    openWith("theirs");
    QVERIFY(scene->command(u"offers refused"_s));
    clipboard->lend(u"é"_s, borrower);
    QVERIFY(eventually([this] { return borrower.lost == 1; }));
    QCOMPARE(borrower.lent, 0);
    QCOMPARE(text(), u"theirs"_s);
}

void tst_PortalLoan::aPortalThatAnnouncesNothingIsSupposedToHaveTheText()
{
    openWith("theirs");
    QVERIFY(scene->command(u"offers unannounced"_s));
    QVERIFY(lend(u"é"_s));
    QVERIFY(paste(u"TEXT"_s, lentText));
    QVERIFY(eventually([this] { return borrower.read == 1; }));
    clipboard->endLoan();
    QCOMPARE(text(), u"theirs"_s);
    QVERIFY(paste(u"TEXT"_s, "theirs"));
    QVERIFY(copy("copied"));
    QCOMPARE(text(), u"copied"_s);
}

void tst_PortalLoan::anotherTextTakesThePlaceOfTheFirst()
{
    openWith("theirs");
    QVERIFY(lend(u"é"_s));
    QVERIFY(lend(u"ф"_s));
    QVERIFY(paste(u"TEXT"_s, u"ф"_s.toUtf8()));
    clipboard->endLoan();
    QCOMPARE(text(), u"theirs"_s);
    QCOMPARE(borrower.lost, 0);
}

void tst_PortalLoan::aSessionThatEndsEndsTheLoan()
{
    openWith("theirs");
    // The input ends its own loan with the session.
    services = makeServices(nullptr);
    QVERIFY(lend(u"é"_s));
    QVERIFY(scene->command(u"close"_s));
    QVERIFY(eventually([this] { return borrower.lost == 1; }));
    QVERIFY(!clipboard->canLend());
    clipboard->lend(u"ф"_s, borrower);
    QVERIFY(eventually([this] { return borrower.lost == 2; }));
    clipboard->endLoan();
}

/// By the key that pastes nothing into a terminal.
void tst_PortalLoan::whatTheLayoutLacksIsPasted()
{
    openWith("theirs");
    services->keyboardLayout().useKeymap(keymapOf("us"));
    scene->forgetRecord();
    std::optional<bool> typed;
    services->input().type(u"aéb"_s, nullptr, [&](bool isDone) { typed = isDone; });
    QVERIFY(scene->waitForLine(u"keysym 118 0"_s));
    QVERIFY(paste(u"UTF8_STRING"_s, lentText));
    QVERIFY(eventually([&] { return typed.has_value(); }));
    QCOMPARE(typed, std::optional(true));
    const QStringList keys = scene->record().filter(u"key"_s);
    QCOMPARE(keys, (QStringList{u"keysym 97 1"_s, u"keysym 97 0"_s, u"keycode 29 1"_s,
                                u"keysym 118 1"_s, u"keysym 118 0"_s, u"keycode 29 0"_s,
                                u"keysym 98 1"_s, u"keysym 98 0"_s}));
    QCOMPARE(text(), u"theirs"_s);
    QVERIFY(paste(u"TEXT"_s, "theirs"));
}

QTEST_GUILESS_MAIN(tst_PortalLoan)
#include "tst_PortalLoan.moc"
