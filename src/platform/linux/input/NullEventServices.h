// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"

#include <QString>

namespace platform {

/// Event services of a session in which input cannot be posted. The first event that is not posted
/// tells the user so, once, by a warning message.
class NullEventServices final : public EventServices
{
public:
    /// `toldReason` tells the user in plain words what does not work and what to do.
    explicit NullEventServices(const QString &toldReason);

    Location pointerLocation() override { return {}; }
    void postKeyboard(const KeyboardEvent &event) override;
    void postMouse(std::optional<SourceState> source, std::span<const MouseEvent> events,
                   EventTap tap) override;

private:
    void warnOnce();

    QString reason;
    bool hasWarned = false;
};

} // namespace platform
