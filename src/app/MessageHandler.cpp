// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/MessageHandler.h"

#include <QThread>

#include <chrono>
#include <utility>

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
    forgetWaiting();
}

void MessageHandler::holdBalloons()
{
    isHolding = true;
}

void MessageHandler::releaseBalloons()
{
    isHolding = false;
    const QStringList texts = std::exchange(waiting, {});
    for (const QString &text : texts) {
        show(text);
    }
}

void MessageHandler::show(const QString &text)
{
    if (!isHolding) {
        if (trayIconRef != nullptr) {
            showBalloon(trayIconRef, text);
        }
        return;
    }
    waiting.append(shortened(text));
    if (waiting.size() > maximumWaiting) {
        waiting.removeFirst();
    }
}

void MessageHandler::forgetWaiting()
{
    isHolding = false;
    waiting.clear();
}

void MessageHandlerOutput(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    MessageHandler *handler = MessageHandler::instance();
    QSystemTrayIcon *trayIcon = handler->trayIcon();
    if (trayIcon == nullptr || type != QtWarningMsg) {
        return;
    }
    if (QThread::currentThread() == trayIcon->thread()) {
        handler->show(text);
    } else {
        QMetaObject::invokeMethod(
            trayIcon, [handler, text] { handler->show(text); }, Qt::QueuedConnection);
    }
}
