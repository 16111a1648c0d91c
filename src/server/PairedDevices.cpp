// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/PairedDevices.h"

#include "settings/Settings.h"

PairedDevices::PairedDevices(QStringList &list) : devices(list)
{
    devices = Settings::pairedDevices();
    known = QSet<QString>(devices.cbegin(), devices.cend());
}

void PairedDevices::store() const
{
    Settings::storePairedDevices(devices);
}

void PairedDevices::add(const QString &device)
{
    if (!contains(device)) {
        devices.append(device);
        known.insert(device);
    }
}

void PairedDevices::addUnasked(const QString &device)
{
    if (device.size() <= longestUnasked && devices.size() < maximumUnasked) {
        add(device);
    }
}
