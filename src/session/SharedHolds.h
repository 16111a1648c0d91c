// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>

/// The keys, or the buttons, that sessions hold, each as often as it is held: the first session
/// that lets go of one does not lift it for the others.
template <typename Thing> class SharedHolds
{
public:
    void add(const Thing &thing) { held.append(thing); }
    /// One holder less.
    void remove(const Thing &thing) { held.removeOne(thing); }
    bool contains(const Thing &thing) const { return held.contains(thing); }

private:
    QList<Thing> held;
};
