// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/WebAddress.h"

#include <QFileInfo>
#include <QHostAddress>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The host of "host", "host:8080" or "host/path"; empty if the word has another form.
QString hostIn(const QString &word)
{
    static const QRegularExpression form(
        u"\\A(\\[[0-9a-fA-F:.]+\\]|[\\p{L}\\p{N}](?:[\\p{L}\\p{N}.-]*))(?::\\d{1,5})?(?:[/?#]\\S*)?\\z"_s,
        QRegularExpression::UseUnicodePropertiesOption);
    return form.match(word).captured(1);
}

bool isNumeric(const QString &host)
{
    return host.startsWith(u'[') || (host.count(u'.') == 3 && !QHostAddress(host).isNull());
}

bool isLocal(const QString &host)
{
    return host.compare("localhost"_L1, Qt::CaseInsensitive) == 0 ||
           host.endsWith(".local"_L1, Qt::CaseInsensitive) || isNumeric(host);
}

/// A name without a dot is not a host of the internet.
bool isHost(const QString &host)
{
    return isLocal(host) ||
           (host.contains(u'.') && !host.contains(".."_L1) && !host.startsWith(u'.'));
}

/// True for "mailto:ada@example.org", but not for "example.org:8080".
bool hasScheme(const QString &word)
{
    static const QRegularExpression form(u"\\A[A-Za-z][A-Za-z0-9+.-]*:"_s);
    return form.match(word).hasMatch() && !isHost(hostIn(word));
}

} // namespace

WebAddress WebAddress::of(const QString &word)
{
    if (hasScheme(word)) {
        return {word, {}};
    }
    if (QFileInfo::exists(word)) {
        return {{}, u"\"%1\" is a file on this computer. Use quillmote send."_s.arg(word)};
    }
    const QString host = hostIn(word);
    if (!isHost(host)) {
        return {
            {},
            u"\"%1\" is not an address. Give one such as https://www.example.org/."_s.arg(word)};
    }
    return {(isLocal(host) ? u"http://"_s : u"https://"_s) + word, {}};
}

} // namespace quillmote
