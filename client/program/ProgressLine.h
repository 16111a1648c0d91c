// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QString>

/// One file's way to the server, as a line on the terminal: share, rate and time left.
class ProgressLine
{
public:
    explicit ProgressLine(const QString &fileName);

    /// Redraws the line ten times a second at most.
    void show(quint64 sent, quint64 total);
    void clear();

private:
    QString lineFor(quint64 sent, quint64 total) const;

    QString name;
    QElapsedTimer sinceStart;
    QElapsedTimer sinceDrawn;
};
