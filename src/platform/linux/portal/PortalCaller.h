// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"

#include <QObject>
#include <QPointer>

#include <utility>

namespace platform {

/// Who waits for an answer of DesktopInput.
class PortalCaller
{
public:
    /// Without a context it never goes.
    PortalCaller(QObject *object, DesktopInput::Done toCall)
        : context(object)
        , hasContext(object != nullptr)
        , done(std::move(toCall))
    {
    }

    bool isGone() const { return hasContext && context.isNull(); }
    /// Those who are gone are not called.
    void answer(bool isDone) const
    {
        if (!isGone()) {
            done(isDone);
        }
    }

private:
    QPointer<QObject> context;
    bool hasContext;
    DesktopInput::Done done;
};

} // namespace platform
