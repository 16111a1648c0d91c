// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QString>

namespace quillmote {

/// The progress of a file as one line for a terminal with that many columns. Parts without room are
/// left out: first the bar, last the percentage.
QString progressText(const QString &name, quint64 sent, quint64 total, double seconds, int columns);

/// The progress of one file as a line on the terminal: percentage, rate and time left.
class ProgressLine
{
public:
    explicit ProgressLine(const QString &fileName);

    /// Redraws the line, at most ten times a second.
    void show(quint64 sent, quint64 total);
    void clear();

private:
    QString name;
    QElapsedTimer sinceStart;
    QElapsedTimer sinceDrawn;
};

} // namespace quillmote
