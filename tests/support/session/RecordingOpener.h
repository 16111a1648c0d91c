// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/DesktopSession.h"

#include <QStringList>

/// The program with which the session's desktop opens web addresses and files: it writes down what
/// it was given.
class RecordingOpener
{
public:
    /// Makes it the default for addresses and for every kind of file that the tests send. Must come
    /// before the server is started.
    explicit RecordingOpener(const DesktopSession &session);

    /// Forgets what it was given.
    void clear() const;

    /// What it was given so far, oldest first: addresses as they are, files by their path.
    QStringList opened() const;

private:
    void writeProgram() const;
    void writeDesktopEntry() const;
    void makeDefault() const;

    QString program;
    QString recordFile;
    QString dataFolder;
    QString configurationFolder;
};
