// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/DesktopAdapters.h"
#include "platform/linux/clipboard/DataControlClipboard.h"
#include "platform/linux/clipboard/NoClipboard.h"
#include "platform/linux/clipboard/X11Clipboard.h"
#include "platform/linux/input/X11EventServices.h"
#include "platform/linux/portal/PortalClipboard.h"
#include "platform/linux/session/WaylandScreens.h"
#include "platform/linux/session/X11Screens.h"
#include "platform/linux/wayland/CompositorPatience.h"

#include "adapters/PortalScene.h"
#include "support/MessageRecorder.h"
#include "support/wayland/CompositorThread.h"
#include "support/x11/XServer.h"

#include <QGuiApplication>
#include <QTest>

#include <chrono>

using namespace platform;
using namespace std::chrono_literals;

namespace {

template <typename Adapter, typename Contract> bool isA(const std::unique_ptr<Contract> &made)
{
    return dynamic_cast<Adapter *>(made.get()) != nullptr;
}

} // namespace

/// Which clipboard and which screens a session gets. The toolkit is on an X display throughout, as
/// it may be in a session of Wayland, too.
class tst_ChoiceOfClipboard : public QObject
{
    Q_OBJECT

private slots:
    void anX11SessionHasThoseOfX11();
    void aCompositorWithDataControlHasItsOwn();
    void aCompositorWithoutDataControlHasNoClipboard();
    void aDesktopWithAPortalHasThatOfThePortal();
    void aCompositorThatIsGoneCountsForNothing();
    void whatCannotBeCopiedIsSaidOnce();
    void aCompositorThatNeverAnswersHoldsUpTheStartOnce();
    void whoeverWaitsForTheCompositorUsesUpTheSamePatience();
};

void tst_ChoiceOfClipboard::anX11SessionHasThoseOfX11()
{
    QVERIFY(isA<X11Clipboard>(makeClipboard()));
    QVERIFY(isA<X11Screens>(makeScreens()));
}

void tst_ChoiceOfClipboard::aCompositorWithDataControlHasItsOwn()
{
    const CompositorThread compositor(StandInCompositor::Offer::DataControl);
    QVERIFY(compositor.isRunning);
    const auto clipboard = makeClipboard();
    QVERIFY(isA<DataControlClipboard>(clipboard));
    QVERIFY(clipboard->isReadable());
    QVERIFY(clipboard->isWatchable());
    QVERIFY(isA<WaylandScreens>(makeScreens()));
}

void tst_ChoiceOfClipboard::aCompositorWithoutDataControlHasNoClipboard()
{
    const CompositorThread compositor(StandInCompositor::Offer::Nothing);
    QVERIFY(compositor.isRunning);
    const auto clipboard = makeClipboard();
    QVERIFY(isA<NoClipboard>(clipboard));
    QVERIFY(!clipboard->isReadable());
    QVERIFY(!clipboard->isWatchable());
    QVERIFY(isA<WaylandScreens>(makeScreens()));
}

void tst_ChoiceOfClipboard::aDesktopWithAPortalHasThatOfThePortal()
{
    auto bus = QDBusConnection::sessionBus();
    QVERIFY(bus.registerService(u"org.freedesktop.portal.Desktop"_s));
    {
        const CompositorThread compositor(StandInCompositor::Offer::Nothing);
        QVERIFY(compositor.isRunning);
        QVERIFY(isA<PortalClipboard>(makeClipboard()));
    }
    {
        const CompositorThread compositor(StandInCompositor::Offer::DataControl);
        QVERIFY(compositor.isRunning);
        QVERIFY(isA<DataControlClipboard>(makeClipboard()));
    }
    // An X session has a portal, too.
    QVERIFY(isA<X11Clipboard>(makeClipboard()));
    QVERIFY(bus.unregisterService(u"org.freedesktop.portal.Desktop"_s));
}

void tst_ChoiceOfClipboard::aCompositorThatIsGoneCountsForNothing()
{
    qputenv("WAYLAND_DISPLAY", "wayland-gone");
    QVERIFY(isA<X11Clipboard>(makeClipboard()));
    QVERIFY(isA<X11Screens>(makeScreens()));
    qunsetenv("WAYLAND_DISPLAY");
}

void tst_ChoiceOfClipboard::whatCannotBeCopiedIsSaidOnce()
{
    MessageRecorder messages;
    NoClipboard clipboard;
    QCOMPARE(messages.all(), QStringList());
    clipboard.setText(u"a"_s);
    clipboard.setText(u"b"_s);
    QCOMPARE(messages.all().size(), 1);
    QCOMPARE(messages.warnings().size(), 1);
    QVERIFY(messages.warnings().first().contains(u"X11"_s));
    int answers = 0;
    clipboard.requestText([&](const std::optional<QString> &text) {
        QCOMPARE(text, std::nullopt);
        ++answers;
    });
    QCOMPARE(answers, 1);
}

// Nobody runs this one's event loop while the test waits for it.
void tst_ChoiceOfClipboard::aCompositorThatNeverAnswersHoldsUpTheStartOnce()
{
    const StandInCompositor silent;
    QVERIFY(silent.isRunning());
    const auto start = std::chrono::steady_clock::now();
    const DesktopAdapters desktop = makeDesktopAdapters();
    const auto waited = std::chrono::steady_clock::now() - start;
    QVERIFY(waited >= 2s);
    QVERIFY(waited < 3500ms);
    QVERIFY(isA<X11EventServices>(desktop.events));
    QVERIFY(isA<X11Clipboard>(desktop.clipboard));
    QVERIFY(isA<X11Screens>(desktop.screens));
}

void tst_ChoiceOfClipboard::whoeverWaitsForTheCompositorUsesUpTheSamePatience()
{
    const StandInCompositor silent;
    QVERIFY(silent.isRunning());
    WaylandConnection first;
    WaylandConnection second;
    CompositorPatience patience(600ms);
    CompositorPatience copy = patience;
    const auto start = std::chrono::steady_clock::now();
    QVERIFY(!patience.answers(first));
    const auto end = std::chrono::steady_clock::now();
    QVERIFY(end - start >= 600ms);
    QVERIFY(!copy.answers(first));
    QVERIFY(!copy.answers(second));
    QVERIFY(std::chrono::steady_clock::now() - end < 500ms);
}

int main(int count, char **arguments)
{
    const XServer server(QSize(640, 480));
    qputenv("DISPLAY", server.display().toLatin1());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("WAYLAND_DISPLAY");
    const QGuiApplication application(count, arguments);
    const PortalScene scene(PortalScene::Role::None);
    qputenv("DBUS_SESSION_BUS_ADDRESS", scene.address().toLatin1());
    tst_ChoiceOfClipboard test;
    return QTest::qExec(&test, count, arguments);
}
#include "tst_ChoiceOfClipboard.moc"
