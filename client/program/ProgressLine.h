// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QString>

namespace quillmote {

/// The line about a file of that name of which so much is sent, for a terminal of that many
/// columns: what finds no room is left out, first the bar, last of all the share.
QString progressText(const QString &name, quint64 sent, quint64 total, double seconds, int columns);

/// One file's way to the server, as a line on the terminal: share, rate and time left.
class ProgressLine
{
public:
    explicit ProgressLine(const QString &fileName);

    /// Redraws the line ten times a second at most.
    void show(quint64 sent, quint64 total);
    void clear();

private:
    QString name;
    QElapsedTimer sinceStart;
    QElapsedTimer sinceDrawn;
};

} // namespace quillmote
