// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include "CoreFoundationStandIn.h"

namespace standin {

QStringList &calls()
{
    static QStringList list;
    return list;
}

QStringList callsNamed(const QString &prefix)
{
    QStringList found;
    for (const QString &call : calls()) {
        if (call.startsWith(prefix)) {
            found.append(call);
        }
    }
    return found;
}

World &world()
{
    static World current;
    return current;
}

void reset()
{
    calls().clear();
    world() = World();
    forgetPreferences();
}

} // namespace standin
