// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the stand-ins for Apple's frameworks know and were asked. They are stricter than the
// originals: a null or an object of the wrong type ends the test.

#pragma once

#include <QByteArray>
#include <QHash>
#include <QStringList>

#include <optional>

using namespace Qt::StringLiterals;

namespace standin {

/// The calls in their order, such as "CGEventPost tap 1 flags 0x100000 key 12 down".
QStringList &calls();
/// Those that begin with `prefix`.
QStringList callsNamed(const QString &prefix);

/// Objects that were created and not released; constants do not count.
int liveObjects();

/// What the tests set before they use an adapter.
struct World
{
    /// None: the program has no bundle.
    std::optional<QString> bundlePath = u"/Applications/VornaServer.app"_s;
    /// Strings can be read in place, in the system's encoding.
    bool hasCStrings = true;

    double pointerX = 0;
    double pointerY = 0;
    /// The window server makes events.
    bool makesEvents = true;
    /// The user lets the program post events.
    bool isTrusted = true;

    struct Application
    {
        bool isRunning = false;
        QString name;
        /// Its dictionary has neither `run` nor `name`.
        bool isMute = false;
        /// Answers no string when asked its name.
        bool hasOddName = false;
    };
    /// By bundle identifier.
    QHash<QString, Application> applications;

    /// The status that the register of the system answers, which register and unregister change.
    int serviceStatus = 0;
    /// Why they fail; empty when they succeed.
    QString serviceRefusal;
};
World &world();

/// Forgets the calls, the world and the preferences.
void reset();

} // namespace standin
