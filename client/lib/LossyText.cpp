// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/LossyText.h"

#include "lib/PrintableText.h"

#include <QHash>
#include <QList>
#include <QTextBoundaryFinder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// Counts the changes by kind.
class Changes
{
public:
    void note(const QString &kind)
    {
        if (counts[kind]++ == 0) {
            kinds += kind;
        }
    }

    QStringList list() const
    {
        QStringList lines;
        for (const QString &kind : kinds) {
            const int count = counts.value(kind);
            lines += count == 1 ? kind : u"%1 (%2 times)"_s.arg(kind).arg(count);
        }
        return lines;
    }

private:
    QStringList kinds;
    QHash<QString, int> counts;
};

bool isCarried(QChar character)
{
    return character.unicode() <= 0xff && character != u'"' && !character.isNull();
}

/// A substitute for punctuation that the wire cannot carry; empty if there is none.
QString substituteFor(char32_t character)
{
    static const QHash<char32_t, QString> table = {
        {U'"', u"'"_s},           {U'\u201c', u"'"_s},   {U'\u201d', u"'"_s},  {U'\u201e', u"'"_s},
        {U'\u201f', u"'"_s},      {U'\u2018', u"'"_s},   {U'\u2019', u"'"_s},  {U'\u201a', u"'"_s},
        {U'\u201b', u"'"_s},      {U'\u2032', u"'"_s},   {U'\u2033', u"'"_s},  {U'\u2039', u"'"_s},
        {U'\u203a', u"'"_s},      {U'\u2010', u"-"_s},   {U'\u2011', u"-"_s},  {U'\u2012', u"-"_s},
        {U'\u2013', u"-"_s},      {U'\u2014', u"-"_s},   {U'\u2015', u"-"_s},  {U'\u2212', u"-"_s},
        {U'\u2022', u"\u00b7"_s}, {U'\u20ac', u"EUR"_s}, {U'\u2026', u"..."_s}};
    return table.value(character);
}

/// The letters without their accents; empty if they are still outside Latin-1.
QString withoutAccents(const QString &cluster)
{
    QString letters;
    for (const QChar part : cluster.normalized(QString::NormalizationForm_KD)) {
        if (!part.isMark()) {
            letters += part;
        }
    }
    return std::all_of(letters.cbegin(), letters.cend(), isCarried) ? letters : QString();
}

QString substitute(const QString &cluster)
{
    const QString composed = cluster.normalized(QString::NormalizationForm_C);
    if (std::all_of(composed.cbegin(), composed.cend(), isCarried)) {
        return composed;
    }
    QString text = substituteFor(cluster.toUcs4().value(0));
    if (text.isEmpty()) {
        text = withoutAccents(cluster);
    }
    return text.isEmpty() ? u"?"_s : text;
}

QString whiteSpaceName(QStringView cluster)
{
    if (cluster[0] == u'\n' || cluster[0] == u'\r') {
        return u"line break"_s;
    }
    return cluster[0] == u'\t' ? u"tab"_s : shownCharacter(cluster.toString(), 0);
}

/// Replaces each cluster of characters that the wire cannot carry. White space becomes blanks.
QString replaced(const QString &original, Changes &changes)
{
    QString text;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, original);
    for (qsizetype start = 0, end = 0; (end = finder.toNextBoundary()) > start; start = end) {
        const QString cluster = original.mid(start, end - start);
        if (cluster[0].isSpace()) {
            text += u' ';
            if (cluster != " "_L1) {
                changes.note(u"%1 to a blank"_s.arg(whiteSpaceName(cluster)));
            }
            continue;
        }
        const QString carried = substitute(cluster);
        text += carried;
        if (carried != cluster) {
            changes.note(u"%1 to %2"_s.arg(shownCharacter(cluster, 0), carried));
        }
    }
    return text;
}

/// Removing a bracket can make a new marker of the characters around it, so this repeats.
void breakMarkers(QString &text, Changes &changes)
{
    for (const QString &marker : {u"[[[IGNORE]]]"_s, u"[[[ENDIGNORE]]]"_s}) {
        while (text.contains(marker)) {
            text.replace(marker, marker.mid(1));
            changes.note(u"%1 to %2"_s.arg(marker, marker.mid(1)));
        }
    }
}

} // namespace

LossyText LossyText::of(const QString &original)
{
    Changes changes;
    const QString carried = replaced(original, changes);
    QString text = carried.simplified();
    if (text != carried) {
        changes.note(u"blanks in a row or at an end left out"_s);
    }
    // The server takes a list of one item for a text, but not a list of several.
    if (text.startsWith(u'(') && text.contains(", "_L1)) {
        text[0] = u'[';
        changes.note(u"( at the start of a list to ["_s);
    }
    breakMarkers(text, changes);
    return {text, changes.list()};
}

} // namespace quillmote
