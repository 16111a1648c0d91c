// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/KeyFile.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// The character that an escape stands for; null for an unknown escape.
QChar escapedCharacter(QChar letter)
{
    switch (letter.unicode()) {
    case u's':
        return u' ';
    case u'n':
        return u'\n';
    case u't':
        return u'\t';
    case u'r':
        return u'\r';
    case u'\\':
        return u'\\';
    default:
        return {};
    }
}

/// Unknown escapes are kept: real files write Exec="say \"hello\"" with a single backslash.
QString unescaped(const QString &raw)
{
    QString text;
    text.reserve(raw.size());
    for (qsizetype at = 0; at < raw.size(); ++at) {
        const bool isEscape = raw[at] == u'\\' && at + 1 < raw.size();
        const QChar character = isEscape ? escapedCharacter(raw[at + 1]) : QChar();
        text += character.isNull() ? raw[at] : character;
        at += character.isNull() ? 0 : 1;
    }
    return text;
}

/// Splits at semicolons, but not at "\;".
QStringList splitList(const QString &raw)
{
    QStringList items(QString{});
    for (qsizetype at = 0; at < raw.size(); ++at) {
        const bool isEscape = raw[at] == u'\\' && at + 1 < raw.size();
        if (isEscape && raw[at + 1] == u';') {
            items.last() += raw[++at];
        } else if (isEscape) {
            items.last() += raw.mid(at++, 2);
        } else if (raw[at] == u';') {
            items.append(QString());
        } else {
            items.last() += raw[at];
        }
    }
    items.removeAll(QString());
    return items;
}

} // namespace

KeyFile KeyFile::read(const QString &fileName)
{
    // Opening a named pipe would wait for its writer.
    if (!QFileInfo(fileName).isFile()) {
        return {};
    }
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray text = file.read(sizeLimit + 1);
    return text.size() > sizeLimit ? KeyFile() : parse(text);
}

KeyFile KeyFile::parse(const QByteArray &text)
{
    KeyFile result;
    QString group;
    for (qsizetype start = 0; start < text.size();) {
        const qsizetype newline = text.indexOf('\n', start);
        const qsizetype end = newline < 0 ? text.size() : newline;
        const auto line = QByteArrayView(text).sliced(start, end - start);
        // No system call takes a text that contains a zero byte.
        if (!line.contains('\0')) {
            result.addLine(line.trimmed(), group);
        }
        start = end + 1;
    }
    return result;
}

// Blanks are trimmed before decoding: the toolkit would also trim the blanks of other scripts from
// a text, but these are part of the value.
void KeyFile::addLine(QByteArrayView line, QString &currentGroup)
{
    if (line.isEmpty() || line.startsWith('#')) {
        return;
    }
    if (line.startsWith('[')) {
        currentGroup =
            line.endsWith(']') ? QString::fromUtf8(line.sliced(1).chopped(1)) : QString();
        return;
    }
    const qsizetype equals = line.indexOf('=');
    if (equals > 0 && !currentGroup.isEmpty()) {
        rawValues.insert({currentGroup, QString::fromUtf8(line.first(equals).trimmed())},
                         QString::fromUtf8(line.sliced(equals + 1).trimmed()));
    }
}

std::optional<QString> KeyFile::string(const QString &group, const QString &key) const
{
    const auto value = rawValues.constFind({group, key});
    if (value == rawValues.cend()) {
        return std::nullopt;
    }
    return unescaped(*value);
}

QStringList KeyFile::strings(const QString &group, const QString &key) const
{
    QStringList items = splitList(rawValues.value({group, key}));
    for (QString &item : items) {
        item = unescaped(item);
    }
    return items;
}

bool KeyFile::boolean(const QString &group, const QString &key) const
{
    return rawValues.value({group, key}) == "true"_L1;
}

QString KeyFile::escaped(const QString &text)
{
    QString raw = text;
    raw.replace(u'\\', "\\\\"_L1);
    raw.replace(u'\n', "\\n"_L1).replace(u'\t', "\\t"_L1).replace(u'\r', "\\r"_L1);
    // Readers ignore plain blanks at either end.
    if (raw.startsWith(u' ')) {
        raw.replace(0, 1, "\\s"_L1);
    }
    if (raw.endsWith(u' ')) {
        raw.replace(raw.size() - 1, 1, "\\s"_L1);
    }
    return raw;
}

} // namespace platform
