// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/RestoreToken.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

/// Portals use some 36 characters.
constexpr qint64 longestToken = 4096;

} // namespace

/// By the XDG Base Directory Specification, which ignores relative paths.
RestoreToken RestoreToken::ofUser()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    const QString base = state.startsWith(u'/') ? state : QDir::homePath() + "/.local/state"_L1;
    return RestoreToken(base + "/vornaserver/portal-token"_L1);
}

QString RestoreToken::read() const
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray bytes = file.read(longestToken + 1);
    return bytes.size() > longestToken ? QString() : QString::fromUtf8(bytes);
}

void RestoreToken::write(const QString &token) const
{
    const QByteArray bytes = token.toUtf8();
    if (bytes.isEmpty() || bytes.size() > longestToken) {
        QFile::remove(path);
        return;
    }
    const auto onlyUser = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    const QString folder = QFileInfo(path).path();
    QDir().mkpath(QFileInfo(folder).path());
    QDir().mkdir(folder, onlyUser | QFileDevice::ExeOwner);
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.setPermissions(onlyUser)) {
        file.write(bytes);
        file.commit();
    }
}

} // namespace platform
