// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DesktopEntry.h"

#include "platform/linux/applications/ExecLine.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

QString group()
{
    return u"Desktop Entry"_s;
}

/// The suffixes of localised keys to look for, the best match first: "de_AT@euro", "de_AT",
/// "de@euro", "de". The encoding of the locale is ignored.
QStringList localeSuffixes(const QString &locale)
{
    const QString modifier = locale.contains(u'@') ? u'@' + locale.section(u'@', 1) : QString();
    const QString place = locale.section(u'@', 0, 0).section(u'.', 0, 0);
    const QString language = place.section(u'_', 0, 0);
    QStringList suffixes{place + modifier, place, language + modifier, language};
    suffixes.removeDuplicates();
    suffixes.removeAll(QString());
    return suffixes;
}

bool intersects(const QStringList &one, const QStringList &other)
{
    return std::any_of(one.cbegin(), one.cend(),
                       [&other](const QString &item) { return other.contains(item); });
}

/// The index of the first argument, or if that is "env", of the first one after the variables that
/// it sets.
qsizetype programIndex(const QStringList &arguments)
{
    if (arguments.isEmpty() || QFileInfo(arguments.first()).fileName() != "env"_L1) {
        return 0;
    }
    qsizetype index = 1;
    while (index < arguments.size() && arguments[index].contains(u'=')) {
        ++index;
    }
    return index;
}

/// The command that starts the program at logon. Sessions read "%%" as a percent sign in arguments,
/// but look up the program before they replace it (seen with GLib 2.74 and systemd 252).
QString autostartCommand(const QString &path)
{
    const QString program = ExecLine::quoted(path);
    return path.contains(u'%') ? "env "_L1 + program : program;
}

} // namespace

DesktopEntry::DesktopEntry(const KeyFile &contents, const QString &path)
    : keys(contents)
    , fileName(path)
{
}

DesktopEntry DesktopEntry::read(const QString &path)
{
    return {KeyFile::read(path), path};
}

bool DesktopEntry::isApplication() const
{
    return text("Type") == "Application"_L1 && !isHidden() && isInstalled() &&
           (isDBusActivatable() || !program().isEmpty());
}

bool DesktopEntry::isMeantFor(const QStringList &desktops) const
{
    const QStringList only = keys.strings(group(), u"OnlyShowIn"_s);
    return (only.isEmpty() || intersects(only, desktops)) &&
           !intersects(keys.strings(group(), u"NotShowIn"_s), desktops);
}

QString DesktopEntry::name(const QString &locale) const
{
    for (const QString &suffix : localeSuffixes(locale)) {
        const auto localised = keys.string(group(), u"Name["_s + suffix + u']');
        if (localised.has_value()) {
            return *localised;
        }
    }
    return text("Name");
}

QString DesktopEntry::program() const
{
    const auto arguments = ExecLine::split(text("Exec"));
    if (!arguments.has_value()) {
        return {};
    }
    const auto named = ExecLine::expand(arguments->mid(programIndex(*arguments), 1), {});
    return named.has_value() ? named->value(0) : QString();
}

QStringList DesktopEntry::command(const QString &locale) const
{
    const auto arguments = ExecLine::split(text("Exec"));
    if (!arguments.has_value()) {
        return {};
    }
    return ExecLine::expand(*arguments, {name(locale), text("Icon"), fileName})
        .value_or(QStringList());
}

QString DesktopEntry::baseName() const
{
    return QFileInfo(fileName).completeBaseName();
}

QByteArray DesktopEntry::autostartText(const QString &name, const QString &path)
{
    const QStringList lines{
        u"[Desktop Entry]"_s,
        u"Type=Application"_s,
        u"Name="_s + KeyFile::escaped(name),
        u"Exec="_s + KeyFile::escaped(autostartCommand(path)),
        // After the program is removed the entry starts nothing, instead of failing at each logon.
        u"TryExec="_s + KeyFile::escaped(path),
        u"Terminal=false"_s,
        u"X-GNOME-Autostart-enabled=true"_s,
        QString(),
    };
    return lines.join(u'\n').toUtf8();
}

QString DesktopEntry::text(const char *key) const
{
    return keys.string(group(), QLatin1String(key)).value_or(QString());
}

bool DesktopEntry::flag(const char *key) const
{
    return keys.boolean(group(), QLatin1String(key));
}

bool DesktopEntry::isInstalled() const
{
    const QString needed = text("TryExec");
    // Finds absolute paths too, and executables only.
    return needed.isEmpty() || !QStandardPaths::findExecutable(needed).isEmpty();
}

QString messageLocale()
{
    // The order in which the C library looks at them.
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QString locale = qEnvironmentVariable(variable);
        if (!locale.isEmpty()) {
            return locale;
        }
    }
    return u"C"_s;
}

} // namespace platform
