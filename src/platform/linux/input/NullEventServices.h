// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/NoDesktopInput.h"

#include <QString>

namespace platform {

/// Event services of a session in which input cannot be posted. The first event that is dropped
/// warns the user, once, by a message.
class NullEventServices final : public EventServices
{
public:
    /// `userReason` is a sentence for the user: what does not work and what to do.
    explicit NullEventServices(const QString &userReason);

    Location pointerLocation() override { return {}; }
    void postKeyboard(const KeyboardEvent &event) override;
    void postMouse(std::optional<SourceState> source, std::span<const MouseEvent> events,
                   EventTap tap) override;
    DesktopInput &input() override { return noInput; }

private:
    void warnOnce();

    NoDesktopInput noInput{[this] { warnOnce(); }};
    QString reason;
    bool hasWarned = false;
};

} // namespace platform
