// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QSet>
#include <QStringList>

#include <functional>

/// The identifiers of the accepted devices, in the order of their acceptance, kept in the settings.
class PairedDevices
{
public:
    /// The number of devices that are remembered without asking the user; anybody can add to these.
    static constexpr qsizetype maximumUnasked = 4'096;
    /// The longest identifier of such a device, in characters.
    static constexpr qsizetype longestUnasked = 1'024;

    /// Where a list is kept.
    struct Store
    {
        std::function<QStringList()> read;
        std::function<void(const QStringList &)> write;

        /// The settings' list of devices on the network.
        static Store ofNetwork();
        /// The settings' list of devices behind programs on this computer.
        static Store ofSessions();
    };

    /// Reads the store into the list, which must outlive this object and is changed by nobody
    /// else. What is stored stays, however much it is.
    explicit PairedDevices(QStringList &devices, Store store = Store::ofNetwork());
    void store() const;

    /// Compares the exact text.
    bool contains(const QString &device) const { return known.contains(device); }
    /// Remembers a device that the user has accepted. No limit applies to the user's word.
    void add(const QString &device);
    /// Remembers a device that was accepted without asking the user, unless its identifier is
    /// longer than `longestUnasked` or at least `maximumUnasked` devices are remembered.
    void addUnasked(const QString &device);

private:
    QStringList &devices;
    Store listStore;
    QSet<QString> known; // the same devices, for lookups
};
