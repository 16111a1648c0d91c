// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/PageFiles.h"

#include "web/http/WebDoor.h"
#include "web/program/JoinedModules.h"

#include <QDirIterator>
#include <QFile>
#include <QHash>

#include <optional>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr QLatin1StringView folder = ":/page"_L1;

QByteArray typeOf(const QString &path)
{
    static const QHash<QString, QByteArray> types{
        {u"html"_s, "text/html; charset=utf-8"},
        {u"js"_s, "text/javascript; charset=utf-8"},
        {u"css"_s, "text/css; charset=utf-8"},
        {u"svg"_s, "image/svg+xml"},
        {u"png"_s, "image/png"},
        {u"webmanifest"_s, "application/manifest+json"},
    };
    return types.value(path.section(u'.', -1));
}

/// As a browser asks for it: pages without their suffix.
QByteArray pathOf(const QString &file)
{
    const QString path = file.mid(folder.size());
    if (path == "/index.html"_L1) {
        return "/";
    }
    return path == "/desk.html"_L1 ? QByteArray("/desk") : path.toLatin1();
}

std::optional<QByteArray> storedContent(const QString &path)
{
    QFile file(folder + u'/' + path);
    return file.open(QIODevice::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

/// As the page gets it: a script with all of its modules. The modules are there for themselves,
/// too.
QByteArray servedContent(const QString &path, const QByteArray &content)
{
    const bool isScript = path == "app.js"_L1 || path == "desk.js"_L1;
    return isScript ? joinedModules(path, storedContent).value_or(content) : content;
}

} // namespace

void addPageFiles(WebDoor &door)
{
    QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.open(QIODevice::ReadOnly)) {
            const QString name = file.fileName();
            const bool isForDesk = name.startsWith(folder + "/desk"_L1);
            const QByteArray content = servedContent(name.mid(folder.size() + 1), file.readAll());
            door.addFile({pathOf(name), typeOf(name), content, isForDesk});
        }
    }
}

} // namespace quillmote
