// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/MessageHandler.h"

#include <QThread>

#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds balloonTime(10'000);

/// Laying out more would hold up the event loop, and nobody could read it.
constexpr qsizetype maximumShown = 2'000;

QString shortened(const QString &text)
{
    return text.size() <= maximumShown ? text : text.left(maximumShown - 1) + u'…';
}

void showBalloon(QSystemTrayIcon *trayIcon, const QString &text)
{
    trayIcon->showMessage(u"VornaServer"_s, QObject::tr(shortened(text).toUtf8().constData()),
                          QSystemTrayIcon::Information, static_cast<int>(balloonTime.count()));
}

} // namespace

MessageHandler *MessageHandler::instance()
{
    static MessageHandler handler;
    return &handler;
}

void MessageHandler::installMessageHandler(QSystemTrayIcon *trayIcon)
{
    if (previousHandler != nullptr) {
        shutdown();
    }
    trayIconRef = trayIcon;
    previousHandler = qInstallMessageHandler(MessageHandlerOutput);
}

void MessageHandler::shutdown()
{
    qInstallMessageHandler(previousHandler);
}

void MessageHandlerOutput(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    QSystemTrayIcon *trayIcon = MessageHandler::instance()->trayIcon();
    if (trayIcon == nullptr || type != QtWarningMsg) {
        return;
    }
    if (QThread::currentThread() == trayIcon->thread()) {
        showBalloon(trayIcon, text);
    } else {
        QMetaObject::invokeMethod(
            trayIcon, [trayIcon, text] { showBalloon(trayIcon, text); }, Qt::QueuedConnection);
    }
}
