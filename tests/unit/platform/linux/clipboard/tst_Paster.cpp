// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/Paster.h"

#include "doubles/RecordingClipboard.h"
#include "support/Waiting.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace platform;
using namespace std::chrono_literals;

class tst_Paster : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void theKeyIsPressedWhenTheTextIsLent();
    void itIsDoneSomeTimeAfterTheReading();
    void everyReadingProlongsTheRest();
    void whoReadsBeforeTheKeyDoesNotCount();
    void whatNobodyReadsIsNotDone();
    void whoReadsAgainAndAgainHoldsNothingUp();
    void aKeyThatCannotBePressedIsNotDone();
    void contentsThatCannotBeKeptAreNotReplaced();
    void whatIsReplacedAfterTheReadingIsDone();
    void whatIsReplacedBeforeTheReadingIsNotDone();
    void theClipboardStaysLentForTheNextText();
    void theNextTextMayFollowAtOnce();
    void theEndTellsNobody();
    void aClipboardThatIsNotLentPastesNothing();

private:
    void paste(const QString &text);
    /// Up to the key.
    void pasteAndPress(const QString &text);
    bool becomesDone() const
    {
        return waitUntil([this] { return done.has_value(); }, GenerousLimit, 1ms);
    }

    RecordingClipboard clipboard;
    std::unique_ptr<Paster> paster;
    bool canPress = true;
    int pressed = 0;
    std::optional<bool> done;
};

void tst_Paster::init()
{
    clipboard = RecordingClipboard();
    canPress = true;
    pressed = 0;
    done.reset();
    paster = std::make_unique<Paster>(&clipboard, [this] {
        ++pressed;
        return canPress;
    });
    paster->rest = 50ms;
    paster->patience = 200ms;
}

void tst_Paster::paste(const QString &text)
{
    done.reset();
    paster->paste(text, [this](bool isRead) { done = isRead; });
}

void tst_Paster::pasteAndPress(const QString &text)
{
    paste(text);
    clipboard.borrower->textLent();
}

void tst_Paster::theKeyIsPressedWhenTheTextIsLent()
{
    QVERIFY(paster->canPaste());
    paste(u"é"_s);
    QCOMPARE(clipboard.lent, QStringList{u"é"_s});
    QCOMPARE(pressed, 0);
    QVERIFY(paster->isPasting());
    clipboard.borrower->textLent();
    QCOMPARE(pressed, 1);
    QVERIFY(paster->isPasting());
    clipboard.borrower->textLent();
    QCOMPARE(pressed, 1);
}

void tst_Paster::itIsDoneSomeTimeAfterTheReading()
{
    pasteAndPress(u"é"_s);
    QElapsedTimer time;
    time.start();
    clipboard.borrower->textRead();
    QVERIFY(!done);
    QVERIFY(becomesDone());
    QCOMPARE(done, std::optional(true));
    QVERIFY2(time.elapsed() >= 45, QByteArray::number(time.elapsed()).constData());
    QVERIFY(!paster->isPasting());
}

void tst_Paster::everyReadingProlongsTheRest()
{
    paster->rest = 100ms;
    paster->patience = 10s;
    pasteAndPress(u"é"_s);
    QElapsedTimer time;
    time.start();
    for (int count = 0; count < 4; ++count) {
        clipboard.borrower->textRead();
        QTest::qWait(50);
    }
    QVERIFY(becomesDone());
    QVERIFY2(time.elapsed() >= 240, QByteArray::number(time.elapsed()).constData());
}

void tst_Paster::whoReadsBeforeTheKeyDoesNotCount()
{
    paste(u"é"_s);
    clipboard.borrower->textRead();
    clipboard.borrower->textLent();
    QVERIFY(becomesDone());
    QCOMPARE(done, std::optional(false));
}

void tst_Paster::whatNobodyReadsIsNotDone()
{
    QElapsedTimer time;
    time.start();
    pasteAndPress(u"é"_s);
    QVERIFY(becomesDone());
    QCOMPARE(done, std::optional(false));
    // Timers may be a twentieth early, and what is measured is rounded.
    QVERIFY2(time.elapsed() >= 180, QByteArray::number(time.elapsed()).constData());
    // Who reads now is late.
    done.reset();
    clipboard.borrower->textRead();
    QTest::qWait(100);
    QVERIFY(!done);
}

void tst_Paster::whoReadsAgainAndAgainHoldsNothingUp()
{
    pasteAndPress(u"é"_s);
    QTimer reading;
    reading.callOnTimeout([this] { clipboard.borrower->textRead(); });
    reading.start(10ms);
    QVERIFY(becomesDone());
    QCOMPARE(done, std::optional(true));
}

void tst_Paster::aKeyThatCannotBePressedIsNotDone()
{
    canPress = false;
    pasteAndPress(u"é"_s);
    QCOMPARE(done, std::optional(false));
    QVERIFY(!paster->isPasting());
}

void tst_Paster::contentsThatCannotBeKeptAreNotReplaced()
{
    paste(u"é"_s);
    clipboard.borrower->loanLost();
    QCOMPARE(done, std::optional(false));
    QCOMPARE(pressed, 0);
    // Nothing is left over.
    clipboard.borrower->textLent();
    QCOMPARE(pressed, 0);
}

void tst_Paster::whatIsReplacedAfterTheReadingIsDone()
{
    pasteAndPress(u"é"_s);
    clipboard.borrower->textRead();
    clipboard.borrower->loanLost();
    QCOMPARE(done, std::optional(true));
}

void tst_Paster::whatIsReplacedBeforeTheReadingIsNotDone()
{
    pasteAndPress(u"é"_s);
    clipboard.borrower->loanLost();
    QCOMPARE(done, std::optional(false));
    clipboard.borrower->loanLost();
}

void tst_Paster::theClipboardStaysLentForTheNextText()
{
    pasteAndPress(u"é"_s);
    clipboard.borrower->textRead();
    QVERIFY(becomesDone());
    QVERIFY(clipboard.borrower != nullptr);
    pasteAndPress(u"ф"_s);
    QCOMPARE(pressed, 2);
    clipboard.borrower->textRead();
    QVERIFY(becomesDone());
    QCOMPARE(done, std::optional(true));
    QCOMPARE(clipboard.lent, (QStringList{u"é"_s, u"ф"_s}));
    paster->end();
    QVERIFY(clipboard.borrower == nullptr);
}

/// From the answer to the one before.
void tst_Paster::theNextTextMayFollowAtOnce()
{
    paster->paste(u"é"_s, [this](bool) { paste(u"ф"_s); });
    clipboard.borrower->textLent();
    clipboard.borrower->textRead();
    QVERIFY(waitUntil([this] { return clipboard.lent.size() == 2; }));
    QVERIFY(paster->isPasting());
    // The first text's time does not count.
    QTest::qWait(250);
    QVERIFY(paster->isPasting());
    QVERIFY(!done);
}

void tst_Paster::theEndTellsNobody()
{
    pasteAndPress(u"é"_s);
    clipboard.borrower->textRead();
    paster->end();
    QVERIFY(clipboard.borrower == nullptr);
    QVERIFY(!paster->isPasting());
    QTest::qWait(300);
    QVERIFY(!done);
    paste(u"ф"_s);
    paster.reset();
    QVERIFY(clipboard.borrower == nullptr);
    QVERIFY(!done);
}

void tst_Paster::aClipboardThatIsNotLentPastesNothing()
{
    clipboard.canBeLent = false;
    QVERIFY(!paster->canPaste());
    Paster without(nullptr, [] { return true; });
    QVERIFY(!without.canPaste());
    without.end();
}

QTEST_GUILESS_MAIN(tst_Paster)
#include "tst_Paster.moc"
