// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QDesktopServices>
#include <QObject>
#include <QStringList>
#include <QUrl>

using namespace Qt::StringLiterals;

/// Takes the place of the programs that open addresses and files while it lives, and writes down
/// what it was given.
class RecordingDesktop : public QObject
{
    Q_OBJECT

public:
    RecordingDesktop()
    {
        for (const QString &scheme : schemes()) {
            QDesktopServices::setUrlHandler(scheme, this, "open");
        }
    }
    ~RecordingDesktop() override
    {
        for (const QString &scheme : schemes()) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    }

    QStringList opened;

public slots:
    void open(const QUrl &url) { opened.append(url.toString()); }

private:
    static QStringList schemes() { return {u"http"_s, u"https"_s, u"file"_s}; }
};
