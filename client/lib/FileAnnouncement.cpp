// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/FileAnnouncement.h"

#include "lib/RequestWriter.h"

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// A way to put the announcement into a file of some format.
struct Wrapping
{
    QString format;
    /// Bytes of the original that must come first.
    qint64 keptBytes = 0;
    /// Given the kept bytes and the token, what is sent; empty when they do not fit together.
    std::function<QByteArray(const QByteArray &kept, const QByteArray &token)> wrap;
};

/// False for a byte at which the server stops reading, or which it takes for the token's brace.
bool isHarmless(qsizetype byte)
{
    return byte != '\0' && byte != '{';
}

/// A comment segment right behind the start of the image. Its length, two bytes, is chosen so that
/// it does the token no harm.
QByteArray wrappedForJpeg(const QByteArray &kept, const QByteArray &token)
{
    constexpr qsizetype lengthBytes = 2;
    constexpr qsizetype shortest = 0x0101;
    QByteArray comment = token;
    qsizetype length = std::max(shortest, comment.size() + lengthBytes);
    while (!isHarmless(length & 0xff) || !isHarmless(length >> 8)) {
        ++length;
    }
    comment.append(length - lengthBytes - comment.size(), ' ');
    QByteArray header = kept + "\xff\xfe";
    header += static_cast<char>(length >> 8);
    header += static_cast<char>(length & 0xff);
    return header + comment;
}

/// Readers look for the header within the first 1024 bytes, and a comment ends with the line. The
/// server looks for the token's brace from the third byte on.
QByteArray wrappedForPdf(const QByteArray &, const QByteArray &token)
{
    return "%% " + token + "\n";
}

QByteArray wrappedForMarkup(const QByteArray &kept, const QByteArray &token)
{
    return kept + "<!-- " + token + " -->\n";
}

QByteArray wrappedForBraces(const QByteArray &, const QByteArray &token)
{
    return "/* " + token + " */\n";
}

QByteArray wrappedForTex(const QByteArray &, const QByteArray &token)
{
    return "% " + token + "\n";
}

QByteArray wrappedForShell(const QByteArray &kept, const QByteArray &token)
{
    return kept + "# " + token + "\n";
}

/// The first line with its end; empty when it is longer than what was read, or holds bytes that the
/// server would take for something else.
QByteArray firstLine(const QByteArray &head)
{
    const qsizetype end = head.indexOf('\n');
    const QByteArray line = head.first(end + 1);
    return line.contains('{') || line.contains('\0') ? QByteArray() : line;
}

bool startsLike(const QByteArray &head, QByteArrayView word)
{
    return head.trimmed().first(std::min(head.trimmed().size(), word.size())).toLower() == word;
}

/// The declaration, which nothing may precede; too short to be one when there is none.
QByteArray xmlDeclaration(const QByteArray &head)
{
    return head.startsWith("<?xml") ? head.first(head.indexOf("?>") + 2) : QByteArray();
}

bool isMarkup(const QByteArray &head)
{
    return startsLike(head, "<!doctype html") || startsLike(head, "<html");
}

bool isXml(const QByteArray &head)
{
    const QByteArray declaration = xmlDeclaration(head);
    return startsLike(head, "<svg") ||
           (declaration.size() > 2 && !declaration.contains('{') && !declaration.contains('\0'));
}

/// Text that only its name tells the language of.
Wrapping wrappingForName(const QString &name, const QByteArray &head)
{
    static const QStringList hash = {u"py"_s,   u"sh"_s,  u"rb"_s,   u"pl"_s,
                                     u"yaml"_s, u"yml"_s, u"toml"_s, u"conf"_s};
    static const QStringList braces = {u"c"_s,   u"h"_s,  u"cpp"_s, u"hpp"_s,
                                       u"css"_s, u"js"_s, u"ts"_s,  u"java"_s};
    const QString suffix = name.contains(u'.') ? name.section(u'.', -1).toLower() : QString();
    if (head.contains('\0') || head.startsWith("\xef\xbb\xbf")) {
        return {}; // no text, or with a mark that must come first
    }
    if (hash.contains(suffix)) {
        return {suffix, 0, wrappedForShell};
    }
    if (braces.contains(suffix)) {
        return {suffix, 0, wrappedForBraces};
    }
    return suffix == "tex"_L1 ? Wrapping{suffix, 0, wrappedForTex} : Wrapping{};
}

Wrapping wrappingFor(const QString &name, const QByteArray &head)
{
    if (head.startsWith("\xff\xd8\xff")) {
        return {u"JPEG"_s, 2, wrappedForJpeg};
    }
    if (head.startsWith("%PDF-")) {
        return {u"PDF"_s, 0, wrappedForPdf};
    }
    if (head.startsWith("#!") && !firstLine(head).isEmpty()) {
        return {u"script"_s, firstLine(head).size(), wrappedForShell};
    }
    // Two dashes in the name would end the comment.
    if (isMarkup(head) && !name.contains("--"_L1)) {
        return {u"HTML"_s, 0, wrappedForMarkup};
    }
    if (isXml(head) && !name.contains("--"_L1)) {
        return {u"XML"_s, xmlDeclaration(head).size(), wrappedForMarkup};
    }
    return wrappingForName(name, head);
}

} // namespace

FileAnnouncement FileAnnouncement::of(const QString &name, quint64 size, const QByteArray &head,
                                      quint64 tag)
{
    const Wrapping wrapping = wrappingFor(name, head);
    FileAnnouncement announcement;
    announcement.skippedBytes = wrapping.keptBytes;
    announcement.isComment = wrapping.wrap != nullptr;
    announcement.format = wrapping.format;
    const QByteArray kept = head.first(wrapping.keptBytes);
    // The transfer ends when more than announced has been stored, so one byte less than all is
    // announced. The announcement counts too, and its own length depends on the number in it.
    quint64 announced = 0;
    for (quint64 previous = 1; announced != previous;) {
        const WrittenRequest token = writeRequest(Request::sendFile(name, announced), tag);
        if (token.isRefused()) {
            announcement.refusal = token.refusal;
            return announcement;
        }
        announcement.bytes = wrapping.wrap ? wrapping.wrap(kept, token.bytes) : token.bytes;
        const auto stored = static_cast<quint64>(announcement.bytes.size()) + size -
                            static_cast<quint64>(wrapping.keptBytes);
        previous = announced;
        announced = std::max(announced, stored - 1);
    }
    return announcement;
}

} // namespace quillmote
