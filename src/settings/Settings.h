// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// The user's settings: every key of the store, its type, and its value while the store does not
/// have it. The store is the toolkit's, named after the organisation and the application. It is
/// opened anew by each call, so changes made by others are seen.
///
/// Unreadable values read as absent, except for listenAddress(). Writing waits until the values are
/// in the file; most failures are not reported.
namespace Settings {

/// What the preferences dialog edits.
struct Preferences
{
    bool pairNeedsApproval = false; ///< key "pairNeedsApproval"
    bool startAtLogon = true;       ///< key "startAtLogon"
    QString downloadDirectory;      ///< key "downloadDirectory"
};

/// By design: while no download directory is stored, the dialog shows "Downloads" in the user's
/// home, but files are received on the desktop (receptionDirectory()). Closing the dialog stores
/// what it shows, and from then on both agree.
Preferences preferences();
void store(const Preferences &preferences);

/// The directory that received files go to: key "downloadDirectory", or the user's desktop.
QString receptionDirectory();

/// The identifiers of the paired devices in the order of their acceptance: key "pairedDeviceList",
/// or none. A single text reads as a list of one.
QStringList pairedDevices();
void storePairedDevices(const QStringList &devices);

/// The same for the devices behind programs on this computer: key "sessionDeviceList".
QStringList sessionDevices();
void storeSessionDevices(const QStringList &devices);

/// The address that the server listens at for the network: key "listenAddress". Empty, as while
/// nothing is stored, it means all IPv4 addresses. What is no text never reads as empty: it would
/// open what the user wants closed.
QString listenAddress();
/// Returns whether it could be written.
bool storeListenAddress(const QString &address);

} // namespace Settings
