// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/HiddenDialogNotice.h"

#include "support/MessageRecorder.h"
#include "support/Waiting.h"

#include <QDialog>
#include <QPointer>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString Notice = u"It is behind."_s;
constexpr auto Soon = 20ms;
constexpr auto Never = 24h;

} // namespace

class tst_HiddenDialogNotice : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void dialogBehindOthersIsReportedOnce();
    void dialogInFrontNeedsNoNotice();
    void dialogThatCameToTheFrontNeedsNoNotice();
    void closedDialogNeedsNoNotice();
    void noticeEndsWithItsDialog();

private:
    std::unique_ptr<QWidget> other;
    std::unique_ptr<QDialog> dialog;
};

/// The dialog is behind the other window.
void tst_HiddenDialogNotice::init()
{
    dialog = std::make_unique<QDialog>();
    dialog->show();
    other = std::make_unique<QWidget>();
    other->show();
    other->activateWindow();
    QVERIFY(waitUntil([this] { return other->isActiveWindow() && !dialog->isActiveWindow(); }));
}

void tst_HiddenDialogNotice::dialogBehindOthersIsReportedOnce()
{
    MessageRecorder messages;
    const QPointer<HiddenDialogNotice> notice = new HiddenDialogNotice(dialog.get(), Notice, Soon);
    QVERIFY(waitUntil([&] { return notice.isNull(); }));
    QCOMPARE(messages.warnings(), QStringList{Notice + u' '});
}

void tst_HiddenDialogNotice::dialogInFrontNeedsNoNotice()
{
    dialog->activateWindow();
    QVERIFY(waitUntil([this] { return dialog->isActiveWindow(); }));
    MessageRecorder messages;
    const QPointer<HiddenDialogNotice> notice = new HiddenDialogNotice(dialog.get(), Notice, Soon);
    QVERIFY(waitUntil([&] { return notice.isNull(); }));
    QCOMPARE(messages.warnings(), QStringList());
}

/// Even if the user has gone on to another window by the end of the time.
void tst_HiddenDialogNotice::dialogThatCameToTheFrontNeedsNoNotice()
{
    const QPointer<HiddenDialogNotice> notice = new HiddenDialogNotice(dialog.get(), Notice, Never);
    dialog->activateWindow();
    QVERIFY(waitUntil([&] { return notice.isNull(); }));
}

void tst_HiddenDialogNotice::closedDialogNeedsNoNotice()
{
    MessageRecorder messages;
    const QPointer<HiddenDialogNotice> notice = new HiddenDialogNotice(dialog.get(), Notice, Soon);
    dialog->close();
    QVERIFY(waitUntil([&] { return notice.isNull(); }));
    QCOMPARE(messages.warnings(), QStringList());
}

void tst_HiddenDialogNotice::noticeEndsWithItsDialog()
{
    const QPointer<HiddenDialogNotice> notice = new HiddenDialogNotice(dialog.get(), Notice, Soon);
    dialog.reset();
    QVERIFY(notice.isNull());
}

QTEST_MAIN(tst_HiddenDialogNotice)
#include "tst_HiddenDialogNotice.moc"
