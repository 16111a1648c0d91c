// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/portal/PortalBus.h"
#include "platform/linux/portal/PortalRequest.h"
#include "platform/linux/portal/PortalSession.h"
#include "platform/linux/portal/RestoreToken.h"

#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <chrono>
#include <functional>
#include <memory>

namespace platform {

/// Has one session made, step by step: starts the portal if it does not run, registers the program,
/// asks what the portal can do, and has the session made and started. The last step takes as long
/// as the user thinks about it; the others have half a minute together.
///
/// Its end, whenever it comes, takes everything back that has not been handed over.
class PortalHandshake : public QObject
{
    Q_OBJECT

public:
    enum class Outcome {
        Open,
        Refused,  ///< By the user.
        Unusable, ///< The portal cannot type or point.
        Failed,
    };
    /// What the session may do.
    struct Grant
    {
        bool hasKeyboard = false;
        bool hasPointer = false;
        bool hasClipboard = false;
    };

    /// Begins. The token must outlive it.
    PortalHandshake(const QDBusConnection &sessionBus, const RestoreToken &restoreToken,
                    bool isClipboardWanted);
    ~PortalHandshake() override;

    /// The unique name of the portal that is asked; empty until it is known.
    const QString &owner() const { return portal.owner; }
    /// What has been made so far; null before that.
    const PortalSession *session() const { return made.get(); }
    const Grant &grant() const { return granted; }
    /// Hands the session over; only when it is open.
    std::unique_ptr<PortalSession> takeSession() { return std::move(made); }
    /// Ends it now without a report.
    void abandon();

signals:
    /// The portal takes its time, so it has probably asked the user.
    void userIsAsked();
    /// Once, from the event loop. Do not destroy it in this.
    void finished(platform::PortalHandshake::Outcome outcome);

private:
    void startPortal();
    void findOwner();
    void registerProgram();
    void askForAbilities();
    void takeAbilities(const QVariantMap &properties);
    void askForClipboard();
    void createSession();
    void selectDevices(const QVariantMap &results);
    void requestClipboard();
    void start();
    void takeStart(const QVariantMap &results);

    void ask(const QDBusMessage &call, std::function<void(const QDBusMessage &)> answered);
    void request(const QString &method, const QVariantList &arguments, const QVariantMap &options,
                 std::function<void(const QVariantMap &)> done);
    void endByDesktop();
    void finish(Outcome outcome);

    PortalBus portal;
    const RestoreToken &token;
    bool wantsClipboard;
    uint version = 0;
    uint available = 0;    ///< Bits of device types that can be asked for.
    bool isClosed = false; ///< The desktop has closed the session that is being made.
    bool isOver = false;
    Grant granted{true, true, true}; ///< Until the user has answered, everything.
    QTimer limit;                    ///< For everything that the user has no part in.
    QTimer patience;                 ///< When the user has probably been asked.
    std::unique_ptr<PortalSession> made;
    std::unique_ptr<PortalRequest> pending;
};

} // namespace platform
