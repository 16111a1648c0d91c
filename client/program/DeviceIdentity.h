// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/Request.h"

#include <QString>

namespace quillmote {

/// How this user on this computer introduces itself to servers.
struct DeviceIdentity
{
    /// The text by which servers recognise the device.
    QString text;
    /// The name that servers show to their users.
    QString name;
    /// Why the text could not be stored, so that the next run makes another one; empty if it is.
    QString problem;

    /// The text that is kept in the configuration folder, and the given name, or the host name if
    /// none is given. The text is made at random, once. A file that does not hold one is replaced.
    static DeviceIdentity get(const QString &givenName = {});

    Request pairRequest() const { return Request::pair(text, name); }
};

} // namespace quillmote
