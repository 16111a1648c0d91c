// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/CocoaInitializer.h"
#include "app/Window.h"
#include "platform/DescriptorLimit.h"
#include "platform/TerminationSignals.h"
#include "platform/TrayHost.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QPixmapCache>
#include <QSystemTrayIcon>

#include <chrono>
#include <memory>

using namespace std::chrono_literals;

extern int qInitResources_VornaServer();

int main(int argc, char **argv)
{
    qInitResources_VornaServer();
    // The compatibility library of Avahi otherwise complains into the user's log.
    qputenv("AVAHI_COMPAT_NOWARN", "1");
    QApplication application(argc, argv);
    // Every balloon draws its icons under names of its own, and the toolkit's cache never forgets a
    // name. There is little else here to keep.
    QPixmapCache::setCacheLimit(0);
    QCoreApplication::setOrganizationName("Ostrovane");
    QCoreApplication::setApplicationName("VornaServer");
    QCoreApplication::setApplicationVersion("1.0");
    // Small, since every balloon is a window too and hands it to the X server.
    QApplication::setWindowIcon(QIcon(":/images/led_arancio.png").pixmap(48));

    platform::raiseDescriptorLimit();
    const platform::TerminationSignals terminationSignals;
    platform::waitForTrayHost(10s);
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        QMessageBox::critical(nullptr, QObject::tr("VornaServer"),
                              QObject::tr("I couldn't detect any System tray on this system."));
        return 1;
    }
    QApplication::setQuitOnLastWindowClosed(false);

    auto cocoa = std::make_unique<CocoaInitializer>();
    Window window;
    const int result = QApplication::exec();
    cocoa.reset();
    return result;
}
