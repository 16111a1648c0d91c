// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/X11Clipboard.h"

#include "support/ExactTexts.h"
#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/x11/XServer.h"
#include "support/x11/XcbClient.h"

#include <QGuiApplication>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::X11Clipboard;

namespace {

/// Another program that takes the clipboard.
class Owner
{
public:
    explicit Owner(const QByteArray &text, const QString &target = u"UTF8_STRING"_s)
    {
        program.setStandardErrorFile(QProcess::nullDevice());
        program.start(u"xclip"_s, {u"-in"_s, u"-quiet"_s, u"-selection"_s, u"clipboard"_s,
                                   u"-target"_s, target});
        program.write(text);
        program.closeWriteChannel();
        program.waitForBytesWritten();
    }
    ~Owner()
    {
        program.kill();
        program.waitForFinished();
    }

private:
    ChildProcess program;
};

} // namespace

class tst_X11Clipboard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void changesByOthersAreReported();
    void ownChangesAreReported();
    void theEndOfTheOwnerIsAChange();
    void aTextIsSetAfterAnOwnerThatIsNotKnownYet();
    void anEndedWatchReportsNothing();
    void textsOfOthersAreExact_data();
    void textsOfOthersAreExact();
    void othersGetOurTextsExactly_data();
    void othersGetOurTextsExactly();

private:
    /// The text that the clipboard gives; waits until it is that one.
    bool becomes(const QString &text);

    std::unique_ptr<X11Clipboard> clipboard;
    int changes = 0;
};

void tst_X11Clipboard::init()
{
    clipboard = std::make_unique<X11Clipboard>();
    changes = 0;
    // Nothing of the test before is left to be reported. The toolkit learns the time from reports,
    // and the clipboard is not given to who is behind the time.
    QGuiApplication::sync();
    clipboard->setText(u"before"_s);
    QGuiApplication::sync();
}

void tst_X11Clipboard::cleanup()
{
    clipboard.reset();
}

bool tst_X11Clipboard::becomes(const QString &text)
{
    std::optional<QString> last;
    return waitUntil([&] {
        bool isGiven = false;
        clipboard->requestText([&](const std::optional<QString> &given) {
            isGiven = true;
            last = given;
        });
        return waitUntil([&] { return isGiven; }) && last == text;
    });
}

void tst_X11Clipboard::changesByOthersAreReported()
{
    QVERIFY(clipboard->isWatchable());
    clipboard->watch([this] { ++changes; });
    const Owner first("first");
    QVERIFY(waitUntil([this] { return changes == 1; }));
    QVERIFY(becomes(u"first"_s));
    const Owner second("second");
    QVERIFY(waitUntil([this] { return changes == 2; }));
    QVERIFY(becomes(u"second"_s));
    QCOMPARE(changes, 2);
}

void tst_X11Clipboard::ownChangesAreReported()
{
    clipboard->watch([this] { ++changes; });
    clipboard->setText(u"ours"_s);
    // From the event loop.
    QCOMPARE(changes, 0);
    QVERIFY(waitUntil([this] { return changes == 1; }));
    const Owner other("theirs");
    QVERIFY(waitUntil([this] { return changes == 2; }));
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([this] { return changes == 3; }));
    QVERIFY(becomes(u"ours"_s));
    QCOMPARE(changes, 3);
}

void tst_X11Clipboard::theEndOfTheOwnerIsAChange()
{
    {
        clipboard->watch([this] { ++changes; });
        const Owner owner("text");
        QVERIFY(waitUntil([this] { return changes == 1; }));
    }
    QVERIFY(waitUntil([this] { return changes == 2; }));
}

/// The toolkit dates its claims by the reports that it has read.
void tst_X11Clipboard::aTextIsSetAfterAnOwnerThatIsNotKnownYet()
{
    const XcbConnection other = XcbClient::connectTo(qEnvironmentVariable("DISPLAY"));
    const xcb_window_t window = xcb_generate_id(other.get());
    xcb_create_window(other.get(), XCB_COPY_FROM_PARENT, window,
                      XcbClient::firstScreen(other)->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    QTest::qSleep(20); // The server counts milliseconds.
    xcb_set_selection_owner(other.get(), window, XcbClient::atom(other, "CLIPBOARD"),
                            XCB_CURRENT_TIME);
    QCOMPARE(XcbClient::selectionOwner(other, "CLIPBOARD"), window);
    clipboard->setText(u"ours"_s);
    QVERIFY(waitUntil([&] { return XcbClient::selectionOwner(other, "CLIPBOARD") != window; }));
    QVERIFY(becomes(u"ours"_s));
}

void tst_X11Clipboard::anEndedWatchReportsNothing()
{
    clipboard->watch([this] { ++changes; });
    clipboard->watch({});
    clipboard->setText(u"ours"_s);
    X11Clipboard other;
    int others = 0;
    other.watch([&] { ++others; });
    other.setText(u"theirs"_s);
    QVERIFY(waitUntil([&] { return others == 1; }));
    QCOMPARE(changes, 0);
}

void tst_X11Clipboard::textsOfOthersAreExact_data()
{
    ExactTexts::addRows();
}

void tst_X11Clipboard::textsOfOthersAreExact()
{
    QFETCH(QString, text);
    const Owner owner(text.toUtf8());
    QVERIFY(becomes(text));
}

void tst_X11Clipboard::othersGetOurTextsExactly_data()
{
    ExactTexts::addRows();
}

/// Another program asks while this one serves it from its event loop.
void tst_X11Clipboard::othersGetOurTextsExactly()
{
    QFETCH(QString, text);
    clipboard->setText(text);
    QVERIFY(becomes(text));
    ChildProcess reader;
    reader.start(u"xclip"_s,
                 {u"-out"_s, u"-selection"_s, u"clipboard"_s, u"-target"_s, u"UTF8_STRING"_s});
    QVERIFY(waitUntil([&] { return reader.state() == QProcess::NotRunning; }));
    QCOMPARE(reader.readAllStandardOutput(), text.toUtf8());
}

/// A program without a window, which never has the focus.
int main(int count, char **arguments)
{
    const XServer server(QSize(640, 480));
    qputenv("DISPLAY", server.display().toLatin1());
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(count, arguments);
    tst_X11Clipboard test;
    return QTest::qExec(&test, count, arguments);
}
#include "tst_X11Clipboard.moc"
