// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/portal/PortalBus.h"

#include <QObject>
#include <QVariantMap>

#include <functional>

namespace platform {

/// One request to the portal whose response comes as a signal (org.freedesktop.portal.Request),
/// perhaps after the user has been asked.
class PortalRequest : public QObject
{
    Q_OBJECT

public:
    enum class Outcome : uint {
        Done = 0,
        Cancelled = 1, ///< By the user.
        Failed = 2,
    };
    using Answer = std::function<void(Outcome outcome, const QVariantMap &results)>;

    /// Makes the call. `options` are its last argument, to which the request's handle is added.
    /// The answer comes once, from the event loop.
    PortalRequest(const PortalBus &portal, const QString &method, const QVariantList &arguments,
                  QVariantMap options, Answer answer);
    /// Takes back a request that has not been answered.
    ~PortalRequest() override;

private slots:
    void respond(uint code, const QVariantMap &results);

private:
    void finish(Outcome outcome, const QVariantMap &results);
    bool watch(bool isWatched);

    PortalBus portal;
    QString path; ///< Empty when it has been answered.
    Answer answer;
};

} // namespace platform
