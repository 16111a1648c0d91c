// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The clipboard of a real compositor, shared with other programs. Nobody here has a window.

#include "platform/linux/clipboard/DataControlClipboard.h"

#include "support/ExactTexts.h"
#include "support/Waiting.h"
#include "support/wayland/SwaySession.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>

using namespace std::chrono_literals;
using platform::DataControlClipboard;
using platform::WaylandConnection;

namespace {

/// Far more than the second that an owner has.
constexpr auto patience = 10s;

constexpr qsizetype limit = platform::maximumClipboardText;

} // namespace

class tst_WaylandClipboard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void textsOfOthersAreExact_data();
    void textsOfOthersAreExact();
    void othersGetOurTextsExactly_data();
    void othersGetOurTextsExactly();
    void theLongestTextIsRead();
    void aTextThatIsTooLongIsNotRead();
    void whatIsNoTextIsNotRead();
    void anOwnerThatHangsIsGivenUpAfterASecond();
    void changesAreReported();
    void theEndOfTheOwnerIsAChange();
    void anotherProgramReplacesOurText();
    void aCompositorThatHangsIsGivenUpAfterASecond();
    void aCompositorThatIsBackIsFound();
    void aTextThatIsSetMeanwhileIsThereAfterwards();

private:
    std::optional<QString> text();
    bool becomes(const std::optional<QString> &expected)
    {
        return waitUntil([&] { return text() == expected; });
    }
    /// Another program copies that and stays in the foreground.
    std::unique_ptr<ChildProcess> copy(const QByteArray &bytes, const QStringList &options = {});
    /// What another program gets, which this one must serve.
    QByteArray paste();

    std::unique_ptr<SwaySession> session;
    std::unique_ptr<DataControlClipboard> clipboard;
    int changes = 0;
};

void tst_WaylandClipboard::init()
{
    changes = 0;
    session = std::make_unique<SwaySession>();
    QCOMPARE(session->problem(), QByteArray());
    qputenv("XDG_RUNTIME_DIR", session->runtimeDirectory().toLocal8Bit());
    qputenv("WAYLAND_DISPLAY", session->display().toLocal8Bit());
    auto connection = std::make_unique<WaylandConnection>();
    QVERIFY(connection->answers(GenerousLimit));
    QVERIFY(platform::hasDataControl(*connection));
    clipboard = std::make_unique<DataControlClipboard>(std::move(connection));
    QCOMPARE(text(), std::nullopt);
}

void tst_WaylandClipboard::cleanup()
{
    clipboard.reset();
    session.reset();
}

std::optional<QString> tst_WaylandClipboard::text()
{
    const auto answer = std::make_shared<std::optional<std::optional<QString>>>();
    clipboard->requestText([answer](const std::optional<QString> &given) { *answer = given; });
    QTest::qVerify(waitUntil([&] { return answer->has_value(); }, patience, 1ms), "is answered", "",
                   __FILE__, __LINE__);
    return answer->value_or(std::nullopt);
}

std::unique_ptr<ChildProcess> tst_WaylandClipboard::copy(const QByteArray &bytes,
                                                         const QStringList &options)
{
    auto program = std::make_unique<ChildProcess>();
    program->setProcessEnvironment(session->environment());
    program->setStandardErrorFile(QProcess::nullDevice());
    program->start(u"wl-copy"_s, QStringList{u"--foreground"_s} + options);
    program->write(bytes);
    program->closeWriteChannel();
    return program;
}

QByteArray tst_WaylandClipboard::paste()
{
    ChildProcess program;
    program.setProcessEnvironment(session->environment());
    program.start(u"wl-paste"_s, {u"--no-newline"_s});
    waitUntil([&] { return program.state() == QProcess::NotRunning; });
    return program.readAllStandardOutput();
}

void tst_WaylandClipboard::textsOfOthersAreExact_data()
{
    ExactTexts::addRows();
}

void tst_WaylandClipboard::textsOfOthersAreExact()
{
    QFETCH(QString, text);
    const auto owner = copy(text.toUtf8(), {u"--type"_s, u"text/plain"_s});
    QVERIFY(becomes(text));
}

void tst_WaylandClipboard::othersGetOurTextsExactly_data()
{
    ExactTexts::addRows();
}

void tst_WaylandClipboard::othersGetOurTextsExactly()
{
    QFETCH(QString, text);
    clipboard->setText(text);
    QVERIFY(becomes(text));
    QCOMPARE(paste(), text.toUtf8());
}

void tst_WaylandClipboard::theLongestTextIsRead()
{
    const QByteArray longest = QByteArray(limit / 16, 'x').replace("x", "0123456789abcde\n");
    QCOMPARE(longest.size(), limit);
    const auto owner = copy(longest, {u"--type"_s, u"text/plain"_s});
    QElapsedTimer time;
    QVERIFY(waitUntil([&] {
        time.start();
        return text() == QString::fromLatin1(longest);
    }));
    qInfo("16 MiB read in %lld ms", time.elapsed());
    clipboard->setText(QString::fromLatin1(longest));
    time.start();
    QVERIFY(paste() == longest);
    qInfo("16 MiB served in %lld ms", time.elapsed());
}

void tst_WaylandClipboard::aTextThatIsTooLongIsNotRead()
{
    clipboard->watch([this] { ++changes; });
    const auto owner = copy(QByteArray(limit + 1, 'x'), {u"--type"_s, u"text/plain"_s});
    QVERIFY(waitUntil([this] { return changes == 1; }));
    QCOMPARE(text(), std::nullopt);
    const auto next = copy("short");
    QVERIFY(becomes(u"short"_s));
}

void tst_WaylandClipboard::whatIsNoTextIsNotRead()
{
    clipboard->watch([this] { ++changes; });
    const auto owner = copy("picture", {u"--type"_s, u"image/png"_s});
    QVERIFY(waitUntil([this] { return changes == 1; }));
    QCOMPARE(text(), std::nullopt);
}

void tst_WaylandClipboard::anOwnerThatHangsIsGivenUpAfterASecond()
{
    const auto owner = copy("text");
    QVERIFY(becomes(u"text"_s));
    ::kill(static_cast<pid_t>(owner->processId()), SIGSTOP);
    QElapsedTimer time;
    time.start();
    QCOMPARE(text(), std::nullopt);
    QVERIFY2(time.elapsed() >= 900, qPrintable(QString::number(time.elapsed())));
    ::kill(static_cast<pid_t>(owner->processId()), SIGCONT);
    QVERIFY(becomes(u"text"_s));
}

void tst_WaylandClipboard::changesAreReported()
{
    QVERIFY(clipboard->isWatchable());
    clipboard->watch([this] { ++changes; });
    const auto first = copy("first");
    QVERIFY(waitUntil([this] { return changes == 1; }));
    QVERIFY(becomes(u"first"_s));
    const auto second = copy("second");
    QVERIFY(waitUntil([this] { return changes == 2; }));
    QVERIFY(becomes(u"second"_s));
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([this] { return changes == 3; }));
    QCOMPARE(text(), u"ours"_s);
    QCOMPARE(changes, 3);
}

void tst_WaylandClipboard::theEndOfTheOwnerIsAChange()
{
    auto owner = copy("text");
    QVERIFY(becomes(u"text"_s));
    clipboard->watch([this] { ++changes; });
    owner.reset();
    QVERIFY(waitUntil([this] { return changes == 1; }));
    QCOMPARE(text(), std::nullopt);
}

void tst_WaylandClipboard::anotherProgramReplacesOurText()
{
    for (int i = 0; i < 3; ++i) {
        clipboard->setText(u"ours"_s);
        QCOMPARE(text(), u"ours"_s);
        QCOMPARE(paste(), "ours");
        const auto other = copy("theirs");
        QVERIFY(becomes(u"theirs"_s));
        QCOMPARE(paste(), "theirs");
    }
}

void tst_WaylandClipboard::aCompositorThatHangsIsGivenUpAfterASecond()
{
    const auto owner = copy("text");
    QVERIFY(becomes(u"text"_s));
    session->halt();
    QElapsedTimer time;
    time.start();
    QCOMPARE(text(), std::nullopt);
    QVERIFY2(time.elapsed() >= 900, qPrintable(QString::number(time.elapsed())));
    session->resume();
    QVERIFY(becomes(u"text"_s));
}

void tst_WaylandClipboard::aCompositorThatIsBackIsFound()
{
    clipboard->setText(u"ours"_s);
    QCOMPARE(paste(), "ours");
    clipboard->watch([this] { ++changes; });
    session->end();
    // Its clipboard is gone with it.
    QVERIFY(becomes(std::nullopt));
    QVERIFY(session->restart());
    const auto owner = copy("theirs");
    QVERIFY(becomes(u"theirs"_s));
    QVERIFY(changes > 0);
    clipboard->setText(u"ours again"_s);
    QVERIFY(waitUntil([this] { return paste() == "ours again"; }));
}

void tst_WaylandClipboard::aTextThatIsSetMeanwhileIsThereAfterwards()
{
    session->end();
    QVERIFY(becomes(std::nullopt));
    clipboard->setText(u"meanwhile"_s);
    QCOMPARE(text(), std::nullopt);
    QVERIFY(session->restart());
    QVERIFY(becomes(u"meanwhile"_s));
    QVERIFY(waitUntil([this] { return paste() == "meanwhile"; }));
}

QTEST_GUILESS_MAIN(tst_WaylandClipboard)
#include "tst_WaylandClipboard.moc"
