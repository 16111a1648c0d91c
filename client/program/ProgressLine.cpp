// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ProgressLine.h"

#include "program/Terminal.h"

#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

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

} // namespace

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
    Terminal::showStatus(lineFor(sent, total));
}

void ProgressLine::clear()
{
    Terminal::clearStatus();
}

QString ProgressLine::lineFor(quint64 sent, quint64 total) const
{
    const double share = total == 0 ? 1 : static_cast<double>(sent) / static_cast<double>(total);
    const double seconds = std::max(0.001, static_cast<double>(sinceStart.elapsed()) / 1000);
    const double rate = static_cast<double>(sent) / seconds;
    const auto left =
        rate > 0 ? static_cast<qint64>(static_cast<double>(total - sent) / rate) : qint64(0);
    return u"%1 [%2] %3%  %4/s  %5 left"_s.arg(name.left(30), bar(share))
        .arg(static_cast<int>(share * 100), 3)
        .arg(formatted(static_cast<quint64>(rate)), timeText(left));
}
