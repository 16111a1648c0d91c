// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QSet>
#include <QStringList>

/// The identifiers of the devices that were accepted, in that order, kept in the settings.
class PairedDevices
{
public:
    /// What is remembered of devices that nobody asked the user about, so anybody can add to it.
    static constexpr qsizetype maximumUnasked = 4'096;
    /// The longest identifier of such a device, in characters.
    static constexpr qsizetype longestUnasked = 1'024;

    /// Reads the settings into the list, which must outlive this object and is changed by nobody
    /// else. What is stored stays, however much it is.
    explicit PairedDevices(QStringList &devices);
    void store() const;

    /// The exact text counts.
    bool contains(const QString &device) const { return known.contains(device); }
    /// Remembers a device that the user has accepted. No limit applies to the user's word.
    void add(const QString &device);
    /// Remembers a device that was accepted without the user, unless its identifier is longer than
    /// `longestUnasked`, or `maximumUnasked` devices and more are remembered.
    void addUnasked(const QString &device);

private:
    QStringList &devices;
    QSet<QString> known; // the same devices, for lookups
};
