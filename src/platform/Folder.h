// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace platform {

/// A directory that is open: names in it are looked up from its descriptor, so what is checked is
/// what is opened, wherever it is moved. The directory itself may be a link. Only plain files with
/// names for which isName() holds are seen, and links are never followed.
class Folder
{
public:
    struct Entry
    {
        QByteArray name;
        qint64 size = 0;     ///< In bytes.
        qint64 modified = 0; ///< In milliseconds since 1970.

        bool operator==(const Entry &) const = default;
    };

    /// A new file under a temporary name; removed with the object unless it was published.
    class Draft
    {
    public:
        virtual ~Draft() = default;
        /// Appends; false if not all could be written, and `reason` is a sentence then.
        virtual bool append(const QByteArray &bytes, QString &reason) = 0;
        /// Gives it that name, or with " (2)", " (3)" ... before the suffix if the name exists;
        /// never replaces anything. Returns the name, or nothing and the reason.
        virtual std::optional<QByteArray> publish(const QByteArray &name, QString &reason) = 0;
    };

    /// Up to so many files in the order of their names' bytes, read in steps: a directory may have
    /// any number of names.
    class Listing
    {
    public:
        virtual ~Listing() = default;
        /// Reads on, for some milliseconds at most; false once it has come to the end.
        virtual bool step() = 0;
        /// At the end: the files, and whether there are others after them.
        virtual QList<Entry> entries() const = 0;
        virtual bool hasMore() const = 0;
    };

    /// Removes the drafts that killed processes have left, and never those of a running one.
    class Cleaning
    {
    public:
        virtual ~Cleaning() = default;
        /// Goes on, for some milliseconds at most; false once it has come to the end.
        virtual bool step() = 0;
    };

    struct Piece
    {
        QByteArray bytes; ///< Fewer than asked for only at the end of the file.
        qint64 size = 0;  ///< Of the whole file.
    };

    /// Whether a file may have that name here: UTF-8 of one component, without control characters,
    /// and not one of those that drafts have.
    static bool isName(const QByteArray &name);

    /// Opens a directory by its absolute path; null with the reason if that fails.
    static std::unique_ptr<Folder> open(const QString &path, QString &reason);

    virtual ~Folder() = default;

    /// Null with the reason if the system refuses.
    virtual std::unique_ptr<Draft> draft(QString &reason) = 0;
    /// The files after that name; null with the reason if the directory cannot be read.
    virtual std::unique_ptr<Listing> list(const QByteArray &after, int limit, QString &reason) = 0;
    /// Nothing if there is no such plain file or it cannot be read.
    virtual std::optional<Piece> read(const QByteArray &name, qint64 offset, qint64 length) = 0;
    /// Null if the directory cannot be read.
    virtual std::unique_ptr<Cleaning> cleaning() = 0;
};

} // namespace platform
