// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "settings/Settings.h"

#include "platform/SettingsFile.h"

#include <QSettings>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1StringView pairNeedsApprovalKey = "pairNeedsApproval"_L1;
constexpr QLatin1StringView startAtLogonKey = "startAtLogon"_L1;
constexpr QLatin1StringView downloadDirectoryKey = "downloadDirectory"_L1;
constexpr QLatin1StringView pairedDevicesKey = "pairedDeviceList"_L1;
constexpr QLatin1StringView sessionDevicesKey = "sessionDeviceList"_L1;
constexpr QLatin1StringView listenAddressKey = "listenAddress"_L1;

/// The default that the preferences dialog shows.
QString downloadsFolder()
{
    // By design: the folder of documents is looked up first and not used.
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    folder = QStandardPaths::writableLocation(QStandardPaths::HomeLocation) + u"/Downloads"_s;
    return folder;
}

/// The default that files are received in.
QString desktopFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
}

} // namespace

Settings::Preferences Settings::preferences()
{
    const QSettings settings;
    const Preferences defaults;
    return {settings.value(pairNeedsApprovalKey, defaults.pairNeedsApproval).toBool(),
            settings.value(startAtLogonKey, defaults.startAtLogon).toBool(),
            settings.value(downloadDirectoryKey, downloadsFolder()).toString()};
}

void Settings::store(const Preferences &preferences)
{
    platform::storeSettings({{pairNeedsApprovalKey, QVariant(preferences.pairNeedsApproval)},
                             {startAtLogonKey, QVariant(preferences.startAtLogon)},
                             {downloadDirectoryKey, QVariant(preferences.downloadDirectory)}});
}

QString Settings::receptionDirectory()
{
    return QSettings().value(downloadDirectoryKey, desktopFolder()).toString();
}

QStringList Settings::pairedDevices()
{
    return QSettings().value(pairedDevicesKey).toStringList();
}

void Settings::storePairedDevices(const QStringList &devices)
{
    platform::storeSettings({{pairedDevicesKey, QVariant(devices)}});
}

QStringList Settings::sessionDevices()
{
    return QSettings().value(sessionDevicesKey).toStringList();
}

void Settings::storeSessionDevices(const QStringList &devices)
{
    platform::storeSettings({{sessionDevicesKey, QVariant(devices)}});
}

QString Settings::listenAddress()
{
    const QVariant value = QSettings().value(listenAddressKey);
    // A text with commas reads as a list.
    const QString text = value.toStringList().join(u", "_s).trimmed();
    const bool isText = !value.isValid() || value.typeId() == QMetaType::QString || !text.isEmpty();
    return isText ? text : u"?"_s;
}

bool Settings::storeListenAddress(const QString &address)
{
    return platform::storeSettings({{listenAddressKey, QVariant(address)}});
}
