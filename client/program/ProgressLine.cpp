// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ProgressLine.h"

#include "lib/PrintableText.h"
#include "program/Terminal.h"

#include <QLocale>
#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr qint64 redrawAfter = 100; // ms
constexpr int barWidth = 20;

QString formatted(quint64 bytes)
{
    return QLocale::c().formattedDataSize(static_cast<qint64>(bytes), 1);
}

QString bar(double share)
{
    const int filled = static_cast<int>(share * barWidth);
    return QString(filled, u'#') + QString(barWidth - filled, u'.');
}

QString timeText(qint64 seconds)
{
    return u"%1:%2"_s.arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
}

/// The fewest columns of a name that identify the file.
constexpr int leastOfName = 8;
constexpr int mostOfName = 30;

/// The name, cut at its end if it is too wide; empty if there is no room for a character.
QString shortened(const QString &name, int columns)
{
    if (columns < 2) {
        return {};
    }
    return Terminal::width(name) <= columns ? name : Terminal::fitted(name, columns - 1) + u'…';
}

} // namespace

QString progressText(const QString &name, quint64 sent, quint64 total, double seconds, int columns)
{
    const double share = total == 0 ? 1 : static_cast<double>(sent) / static_cast<double>(total);
    const double rate = static_cast<double>(sent) / std::max(0.001, seconds);
    const auto left =
        rate > 0 ? static_cast<qint64>(static_cast<double>(total - sent) / rate) : qint64(0);
    // The least important part first.
    QStringList parts = {u"[%1]"_s.arg(bar(share)), formatted(static_cast<quint64>(rate)) + u"/s"_s,
                         timeText(left) + u" left"_s};
    const QString percent = u"%1%"_s.arg(static_cast<int>(share * 100), 3);
    const QString shownName = printable(name);
    const int nameColumns = std::min({Terminal::width(shownName), leastOfName});
    // The last column is left free: otherwise the cursor would move to the next line.
    const auto room = [&] {
        return columns - 1 - Terminal::width((parts + QStringList{percent, {}}).join(u' '));
    };
    while (!parts.isEmpty() && room() < nameColumns) {
        parts.removeFirst();
    }
    const QString begin = shortened(shownName, std::min(room(), mostOfName));
    const bool hasBar = parts.size() == 3;
    parts.insert(hasBar ? 1 : 0, percent);
    if (!begin.isEmpty()) {
        parts.prepend(begin);
    }
    return Terminal::fitted(parts.join(u' '), columns - 1);
}

ProgressLine::ProgressLine(const QString &fileName) : name(fileName)
{
    sinceStart.start();
}

void ProgressLine::show(quint64 sent, quint64 total)
{
    if (sinceDrawn.isValid() && sinceDrawn.elapsed() < redrawAfter) {
        return;
    }
    sinceDrawn.start();
    const double seconds = static_cast<double>(sinceStart.elapsed()) / 1000;
    Terminal::showStatus(progressText(name, sent, total, seconds, Terminal::columns()));
}

void ProgressLine::clear()
{
    Terminal::clearStatus();
}

} // namespace quillmote
