// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/FileAnnouncement.h"

#include "lib/RequestWriter.h"

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

using Place = FileAnnouncement::Place;

/// How the announcement is put into a file of some format.
struct Wrapping
{
    Place place = Place::InFront;
    /// Why there is no way; empty otherwise.
    QString obstacle;
    /// Bytes of the original that must come first.
    qint64 keptBytes = 0;
    /// Makes the announcement from the kept bytes and the token; null if nothing is put around it.
    std::function<QByteArray(const QByteArray &kept, const QByteArray &token)> wrap;
};

/// False if the server stops reading at that byte, or takes it for the token's brace.
bool isHarmless(qsizetype byte)
{
    return byte != '\0' && byte != '{';
}

/// A comment segment right behind the start of the image. The two bytes of its length are chosen so
/// that the server can still read the token.
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

/// PDF readers look for the header within the first 1024 bytes, and a comment ends with the line.
/// The server looks for the token's brace from the third byte on.
QByteArray wrappedForPdf(const QByteArray &, const QByteArray &token)
{
    return "%% " + token + "\n";
}

QByteArray wrappedForMarkup(const QByteArray &kept, const QByteArray &token)
{
    return kept + "<!-- " + token + " -->\n";
}

QByteArray wrappedForBraces(const QByteArray &kept, const QByteArray &token)
{
    return kept + "/* " + token + " */\n";
}

QByteArray wrappedForDashes(const QByteArray &kept, const QByteArray &token)
{
    return kept + "-- " + token + "\n";
}

QByteArray wrappedForTex(const QByteArray &kept, const QByteArray &token)
{
    return kept + "% " + token + "\n";
}

QByteArray wrappedForShell(const QByteArray &kept, const QByteArray &token)
{
    return kept + "# " + token + "\n";
}

/// The server ignores white space that follows the token.
QByteArray wrappedForText(const QByteArray &kept, const QByteArray &token)
{
    return kept + token + "\n";
}

QByteArray wrappedForTextWithReturns(const QByteArray &kept, const QByteArray &token)
{
    return kept + token + "\r\n";
}

/// The first line with its end; empty if it is longer than the head, or holds bytes that the server
/// would take for something else.
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

/// The declaration, which must come first. If there is none, the result is too short to be one.
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

/// The size of a byte order mark of UTF-8, which must come first.
qint64 markSize(const QByteArray &head)
{
    constexpr QByteArrayView mark("\xef\xbb\xbf");
    return head.startsWith(mark) ? mark.size() : 0;
}

/// Text in an encoding that includes ASCII. Logs may hold the escape sequences of a terminal.
bool isText(const QByteArray &head)
{
    constexpr QByteArrayView controlsOfText("\t\n\f\r\x1b");
    const bool isUtf16 = head.startsWith("\xff\xfe") || head.startsWith("\xfe\xff");
    return !isUtf16 && std::all_of(head.begin(), head.end(), [&](char byte) {
        const auto code = static_cast<unsigned char>(byte);
        return (code >= 0x20 && code != 0x7f) || controlsOfText.contains(byte);
    });
}

/// The end of the name that shows the format; empty for a name such as "README".
QString suffixOf(const QString &name)
{
    const QString last = name.section(u'/', -1);
    return last.contains(u'.') ? last.section(u'.', -1).toLower() : QString();
}

using Wrap = QByteArray (*)(const QByteArray &kept, const QByteArray &token);

/// Languages with the same form of comments.
struct Language
{
    Wrap wrap;
    QStringList suffixes;
    QStringList interpreters;
};

const QList<Language> &languages()
{
    static const QList<Language> all = {
        {wrappedForShell,
         {u"py"_s, u"sh"_s, u"bash"_s, u"rb"_s, u"pl"_s, u"yaml"_s, u"yml"_s, u"toml"_s, u"conf"_s,
          u"cmake"_s, u"mk"_s, u"r"_s, u"jl"_s, u"tcl"_s},
         {u"sh"_s, u"bash"_s, u"dash"_s, u"ksh"_s, u"zsh"_s, u"fish"_s, u"python"_s, u"perl"_s,
          u"ruby"_s, u"awk"_s, u"gawk"_s, u"mawk"_s, u"sed"_s, u"tclsh"_s, u"wish"_s, u"expect"_s,
          u"make"_s, u"Rscript"_s, u"julia"_s}},
        {wrappedForBraces,
         {u"c"_s,   u"h"_s,   u"cc"_s,   u"hh"_s, u"cpp"_s,  u"hpp"_s,  u"cxx"_s,
          u"hxx"_s, u"css"_s, u"scss"_s, u"js"_s, u"mjs"_s,  u"ts"_s,   u"java"_s,
          u"kt"_s,  u"rs"_s,  u"go"_s,   u"cs"_s, u"dart"_s, u"swift"_s},
         {u"node"_s, u"nodejs"_s, u"deno"_s, u"bun"_s, u"swift"_s}},
        {wrappedForDashes, {u"sql"_s, u"lua"_s, u"hs"_s}, {u"lua"_s, u"runghc"_s}},
        {wrappedForTex, {u"tex"_s, u"sty"_s}, {}},
        {wrappedForMarkup, {u"html"_s, u"htm"_s, u"xml"_s, u"svg"_s}, {}},
    };
    return all;
}

/// The program that the first line of a script names, without a version number.
QString interpreterIn(const QByteArray &line)
{
    const QStringList words = QString::fromLatin1(line).mid(2).split(u' ', Qt::SkipEmptyParts);
    const auto isProgram = [](const QString &word) {
        return !word.startsWith(u'-') && !word.contains(u'=') &&
               word.trimmed().section(u'/', -1) != "env"_L1;
    };
    const auto found = std::find_if(words.begin(), words.end(), isProgram);
    QString name = found == words.end() ? QString() : found->trimmed().section(u'/', -1);
    while (!name.isEmpty() && (name.back().isDigit() || name.back() == u'.')) {
        name.chop(1);
    }
    return name;
}

/// Text for people, in which one more line does no harm. Tables and data files are not: a program
/// would take the line for data.
bool isPlainText(const QString &suffix)
{
    static const QStringList plain = {QString(),     u"txt"_s, u"text"_s, u"log"_s, u"md"_s,
                                      u"markdown"_s, u"rst"_s, u"org"_s,  u"adoc"_s};
    return plain.contains(suffix);
}

/// Markdown knows the comments of HTML. A file's front matter must come first.
bool isMarkdown(const QString &suffix, const QByteArray &head)
{
    return (suffix == "md"_L1 || suffix == "markdown"_L1) && !head.startsWith("---") &&
           !head.startsWith("+++");
}

Wrapping asComment(qint64 kept, Wrap wrap)
{
    return {Place::Comment, {}, kept, wrap};
}

Wrapping obstructed(const QString &obstacle)
{
    return {Place::InFront, obstacle, 0, {}};
}

Wrapping formatWithoutPlace()
{
    return obstructed(u"this format has no place for it"_s);
}

Wrapping wrappingForScript(const QByteArray &line)
{
    const QString interpreter = interpreterIn(line);
    for (const Language &language : languages()) {
        if (language.interpreters.contains(interpreter)) {
            return asComment(line.size(), language.wrap);
        }
    }
    return obstructed(u"how its language marks comments is not known"_s);
}

/// For text whose language only its name shows.
Wrapping wrappingForSuffix(const QString &suffix, const QByteArray &head)
{
    const qint64 kept = markSize(head);
    for (const Language &language : languages()) {
        if (language.suffixes.contains(suffix)) {
            return asComment(kept, language.wrap);
        }
    }
    if (isMarkdown(suffix, head)) {
        return asComment(kept, wrappedForMarkup);
    }
    if (isPlainText(suffix)) {
        const bool hasReturns = head.contains("\r\n");
        return {
            Place::FirstLine, {}, kept, hasReturns ? wrappedForTextWithReturns : wrappedForText};
    }
    return formatWithoutPlace();
}

Wrapping wrappingForText(const QString &name, const QByteArray &head)
{
    if (head.startsWith("#!")) {
        return wrappingForScript(firstLine(head));
    }
    if (isMarkup(head)) {
        return asComment(0, wrappedForMarkup);
    }
    if (isXml(head)) {
        return asComment(xmlDeclaration(head).size(), wrappedForMarkup);
    }
    // A declaration that is too long, or holds bytes that the server would take for something else.
    return head.startsWith("<?xml") ? formatWithoutPlace()
                                    : wrappingForSuffix(suffixOf(name), head);
}

/// The announcement holds the name in Latin-1, and most text is read as UTF-8. After one letter
/// beyond ASCII, programs take the whole file for damaged or for text in another encoding.
QString obstacleOfName(const QString &name, const Wrapping &wrapping)
{
    const bool isAscii = std::all_of(name.begin(), name.end(),
                                     [](QChar character) { return character.unicode() < 0x80; });
    if (!isAscii) {
        return u"the letters beyond ASCII in its name would spoil the text's encoding (see --as)"_s;
    }
    const bool endsComment =
        wrapping.place == Place::Comment && (name.contains("--"_L1) || name.contains("*/"_L1));
    return endsComment ? u"its name would end the comment (see --as)"_s : QString();
}

Wrapping wrappingFor(const QString &name, const QByteArray &head)
{
    if (head.startsWith("\xff\xd8\xff")) {
        return asComment(2, wrappedForJpeg);
    }
    if (head.startsWith("%PDF-")) {
        return asComment(0, wrappedForPdf);
    }
    if (!isText(head)) {
        return formatWithoutPlace();
    }
    const Wrapping wrapping = wrappingForText(name, head);
    const QString obstacle = obstacleOfName(name, wrapping);
    return wrapping.place == Place::InFront || obstacle.isEmpty() ? wrapping : obstructed(obstacle);
}

} // namespace

FileAnnouncement FileAnnouncement::of(const QString &name, quint64 size, const QByteArray &head,
                                      quint64 tag)
{
    const Wrapping wrapping = wrappingFor(name, head);
    FileAnnouncement announcement;
    announcement.skippedBytes = wrapping.keptBytes;
    announcement.place = wrapping.place;
    announcement.obstacle = wrapping.obstacle;
    const QByteArray kept = head.first(wrapping.keptBytes);
    // The transfer ends when more bytes than announced are stored, so one byte less is announced.
    // The announcement counts too, and its own length depends on the number in it.
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
