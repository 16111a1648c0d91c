// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace quillmote {

/// A phone that may come in.
struct KnownPhone
{
    QByteArray id;     ///< 16 bytes
    QByteArray secret; ///< 32 bytes
    QString name;      ///< as the phone calls itself; up to 64 characters, printable
    QDateTime added;
    QDateTime lastSeen;
};

/// What is kept from one run of the program to the next, in a file that only its user may read:
/// the phones that are known, and the port. Phones keep their secrets by the address of the page,
/// so the port must not change by itself.
class WebStore
{
public:
    static constexpr quint16 usualPort = 8642;
    static constexpr qsizetype mostPhones = 64;
    static constexpr qsizetype longestName = 64;

    /// Reads the file. Entries that are not as they should be are left out.
    explicit WebStore(QString path);
    /// In the folder of quillmote's settings.
    static QString usualPath();

    quint16 port() const { return keptPort; }
    void setPort(quint16 port);

    const QList<KnownPhone> &phones() const { return known; }
    const KnownPhone *find(const QByteArray &id) const;
    /// A phone with a fresh id and secret. If there are too many, the one that was not seen for the
    /// longest time is forgotten.
    KnownPhone add(const QString &name);
    /// \return whether it was known
    bool remove(const QByteArray &id);
    void rename(const QByteArray &id, const QString &name);
    void markSeen(const QByteArray &id);

    /// Why the last change could not be written; empty if it was.
    QString problem() const { return writeProblem; }

    /// A name as it is kept and shown: without what a terminal or a page would obey.
    static QString cleaned(const QString &name);

private:
    void read();
    void write();

    QString path;
    quint16 keptPort = usualPort;
    QList<KnownPhone> known;
    QString writeProblem;
};

} // namespace quillmote
