// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/PairedDevices.h"

#include "platform/SettingsFile.h"

#include <QSettings>

using namespace Qt::StringLiterals;

namespace {

QString settingsKey()
{
    return u"pairedDeviceList"_s;
}

} // namespace

PairedDevices::PairedDevices()
    : devices(QSettings().value(settingsKey(), QVariant()).toStringList())
    , known(devices.cbegin(), devices.cend())
{
}

void PairedDevices::store() const
{
    platform::storeSettings({{settingsKey(), QVariant(devices)}});
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
