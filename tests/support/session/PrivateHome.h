// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

/// A home directory and a settings store of the application's own, empty at first and gone
/// afterwards. The environment's HOME stays changed for the rest of the process.
class PrivateHome
{
public:
    PrivateHome()
    {
        qputenv("HOME", QFile::encodeName(directory.path()));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(path(u"config"_s)));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, path(u"config"_s));
        QCoreApplication::setOrganizationName(u"Ostrovane"_s);
        QCoreApplication::setApplicationName(u"VornaServer"_s);
    }

    QString path() const { return directory.path(); }
    QString path(const QString &name) const { return directory.filePath(name); }

    /// The path of a subdirectory, which is made if need be.
    QString subdirectory(const QString &name) const
    {
        QDir(directory.path()).mkpath(name);
        return path(name);
    }

private:
    QTemporaryDir directory;
};

/// The content of a file; empty when there is none.
inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
