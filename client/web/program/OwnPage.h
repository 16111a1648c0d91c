// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QLockFile>
#include <QString>

namespace quillmote {

/// The desktop's own page, which one program of a user serves at a time. A file that only the user
/// may read leads a browser to it, with the secret: so it stands in no command line.
class OwnPage
{
public:
    /// \param runtimeFolder the user's own folder on this computer
    explicit OwnPage(const QString &runtimeFolder);
    ~OwnPage();
    OwnPage(const OwnPage &) = delete;
    OwnPage &operator=(const OwnPage &) = delete;

    enum class Claim { Ours, OfAnother, Impossible };
    /// Makes it ours until the end, or finds that another program runs.
    Claim claim();

    /// Writes the file.
    /// \return why not; empty if it is written
    QString publish(quint16 port, const QByteArray &secret);

    /// Has the desktop's browser show the page, of whichever program.
    /// \return false if there is no desktop, no page or no browser
    bool show() const;
    /// Has it show why there is no page.
    void showProblem(const QString &problem) const;

private:
    QString folder;
    QString file;
    QLockFile lock;
    bool isPublished = false;
};

/// Has the desktop open the file. Of the system.
bool openOnDesktop(const QString &path);

} // namespace quillmote
