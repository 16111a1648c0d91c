// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/CocoaInitializer.h"
#include "app/CommandLine.h"
#include "app/ToolkitStart.h"
#include "app/Window.h"
#include "platform/CoreDumps.h"
#include "platform/DescriptorLimit.h"
#include "platform/Terminal.h"
#include "platform/TerminationSignals.h"
#include "platform/TrayHost.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QPixmapCache>
#include <QSystemTrayIcon>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

extern int qInitResources_VornaServer();

namespace {

constexpr char version[] = "1.0";

enum Status { Success = 0, Failure = 1, WrongUsage = 2 };

void print(FILE *stream, const QString &text)
{
    std::fputs(qPrintable(text), stream);
}

Status answer(const CommandLine &line)
{
    switch (line.request) {
    case CommandLine::Request::ShowHelp:
        print(stdout, helpText());
        return Success;
    case CommandLine::Request::ShowVersion:
        print(stdout, u"VornaServer %1\n"_s.arg(QLatin1StringView(version)));
        return Success;
    default:
        print(stderr, u"VornaServer: %1\n"_s.arg(line.refusal));
        return WrongUsage;
    }
}

std::unique_ptr<QApplication> makeApplication(int &argc, char **argv, const CommandLine &line)
{
    platform::adoptDisplay(line.display);
    // Otherwise Avahi's compatibility library writes a complaint into the user's log.
    qputenv("AVAHI_COMPAT_NOWARN", "1");
    const ToolkitStart start(line.display);
    return std::make_unique<QApplication>(argc, argv);
}

void describeApplication()
{
    QCoreApplication::setOrganizationName(u"Ostrovane"_s);
    QCoreApplication::setApplicationName(u"VornaServer"_s);
    QCoreApplication::setApplicationVersion(QLatin1StringView(version));
    // Small, because every balloon is a window too and sends the icon to the X server.
    QApplication::setWindowIcon(QIcon(u":/images/led_arancio.png"_s).pixmap(48));
    // Every balloon caches its icons under new names, and the toolkit's cache never removes a name.
    // Little else would be cached here.
    QPixmapCache::setCacheLimit(0);
}

Status refuseWithoutTray()
{
    const QString text = QObject::tr("I couldn't detect any System tray on this system.");
    if (platform::isErrorOutputRead()) {
        print(stderr, text + QObject::tr("\nGNOME shows tray icons only with an extension, such as "
                                         "AppIndicator.\n"));
    }
    QMessageBox::critical(nullptr, QObject::tr("VornaServer"), text);
    return Failure;
}

int run()
{
    auto cocoa = std::make_unique<CocoaInitializer>();
    Window window;
    if (platform::isErrorOutputRead() && window.listeningPort() != 0) {
        print(stderr, QObject::tr("Listening on port %1.\n").arg(window.listeningPort()));
    }
    const int result = QApplication::exec();
    cocoa.reset();
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    platform::forbidCoreDumps();
    platform::TerminationSignals termination;
    qInitResources_VornaServer();
    const CommandLine line = readCommandLine(QByteArrayList(argv + std::min(argc, 1), argv + argc));
    if (line.request != CommandLine::Request::Run) {
        return answer(line);
    }
    const std::unique_ptr<QApplication> application = makeApplication(argc, argv, line);
    termination.endEventLoops();
    describeApplication();
    platform::raiseDescriptorLimit();
    platform::waitForTrayHost(10s);
    if (termination.haveCome()) {
        return Success;
    }
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        return refuseWithoutTray();
    }
    QApplication::setQuitOnLastWindowClosed(false);
    return run();
}
