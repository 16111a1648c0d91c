// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace quillmote {

/// What the command line asks of quillmote-web.
struct WebArguments
{
    std::optional<quint16> port;
    QList<QHostAddress> addresses; ///< to listen at; empty for all
    QStringList hosts;             ///< further names by which browsers may call this computer
    QString certificateFile;       ///< empty without https
    QString keyFile;
    bool opensPage = true;

    QString output;  ///< help or the version, if that is what is wanted
    QString problem; ///< why the command line cannot be used; empty if it can

    static WebArguments parse(const QStringList &arguments);
};

} // namespace quillmote
