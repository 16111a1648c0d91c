// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/MessageHandler.h"

#include "platform/NotificationDaemon.h"

#include <QThread>

#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds balloonTime(10'000);

/// A longer text would block the event loop while it is laid out, and nobody could read it.
constexpr qsizetype maximumShown = 2'000;

QString shortened(const QString &text)
{
    return text.size() <= maximumShown ? text : text.left(maximumShown - 1) + u'…';
}

void showBalloon(QSystemTrayIcon *trayIcon, const QString &text)
{
    trayIcon->showMessage(u"VornaServer"_s, text, QSystemTrayIcon::Information,
                          static_cast<int>(balloonTime.count()));
}

} // namespace

MessageHandler::MessageHandler() = default;
MessageHandler::~MessageHandler() = default;

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
    nextIsDue = new QTimer(trayIcon);
    nextIsDue->setSingleShot(true);
    QObject::connect(nextIsDue, &QTimer::timeout, nextIsDue, [this] { showWhatIsDue(); });
    previousHandler = qInstallMessageHandler(MessageHandlerOutput);
}

void MessageHandler::shutdown()
{
    qInstallMessageHandler(previousHandler);
    forgetWaiting();
}

void MessageHandler::watchNotificationDaemon(const DaemonWatcher &watch)
{
    daemon = watch(*trayIconRef, [this] { showWhatIsDue(); });
}

void MessageHandler::holdBalloons()
{
    isHolding = true;
}

void MessageHandler::releaseBalloons()
{
    isHolding = false;
    while (!balloons.isEmpty() && (daemon == nullptr || daemon->takesOneMore())) {
        showNext();
    }
}

void MessageHandler::show(const QString &text)
{
    balloons.add(shortened(text));
    showWhatIsDue();
}

void MessageHandler::showWhatIsDue()
{
    if (isHolding || nextIsDue.isNull() || nextIsDue->isActive()) {
        return;
    }
    while (!balloons.isEmpty() && (daemon == nullptr || daemon->takesOneMore())) {
        const std::chrono::milliseconds delay = balloons.delay(BalloonQueue::Clock::now());
        if (delay.count() > 0) {
            nextIsDue->start(delay);
            return;
        }
        showNext();
    }
}

void MessageHandler::showNext()
{
    const QString text = balloons.take(BalloonQueue::Clock::now());
    if (trayIconRef == nullptr) {
        return;
    }
    const QString translated = QObject::tr(text.toUtf8().constData());
    if (daemon == nullptr) {
        showBalloon(trayIconRef, translated);
        return;
    }
    showBalloon(trayIconRef, daemon->asPlainText(translated));
    daemon->hasOneMore();
}

void MessageHandler::forgetWaiting()
{
    isHolding = false;
    balloons = BalloonQueue();
    daemon.reset();
    delete nextIsDue;
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
