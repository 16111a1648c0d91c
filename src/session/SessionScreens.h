// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionRequest.h"
#include "session/SharedWatch.h"

#include <QJsonArray>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace platform {
class Screens;
struct Location;
} // namespace platform

/// The requests of one session about the screens.
class SessionScreens : public QObject
{
public:
    using Event = std::function<void(const QJsonObject &)>;

    /// \param watch over Screens::watch(), of all sessions
    SessionScreens(platform::Screens &screens, SharedWatch &watch, Event event);
    ~SessionScreens() override;

    void list(const SessionRequest &request, const SessionAnswer &answer);
    void watch(const SessionRequest &request, const SessionAnswer &answer);

    /// The place at these shares of a screen: 0 is its leftmost or uppermost pixel, 1 its last one.
    /// \param index of the screen as they are listed
    /// \return nothing if there is no such screen
    std::optional<platform::Location> placeOn(qint64 index, double x, double y) const;

private:
    QJsonArray described() const;

    platform::Screens &screens;
    SharedWatch &changes;
    Event sendEvent;
    std::unique_ptr<SharedWatch::Listener> listener;
};
