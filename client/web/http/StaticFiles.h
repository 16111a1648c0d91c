// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/HttpAnswer.h"

#include <QByteArray>
#include <QHash>

namespace quillmote {

/// A file of the page, in memory.
struct StaticFile
{
    QByteArray path; ///< in the address, such as "/touchpad.js"
    QByteArray type; ///< such as "text/javascript; charset=utf-8"
    QByteArray content;
    bool onlyLoopback = false; ///< other computers learn nothing of it
};

/// The files that can be fetched. Each is compressed once.
class StaticFiles
{
public:
    void add(const StaticFile &file);

    /// The file, or that there is none.
    HttpAnswer answer(const QByteArray &path, bool takesDeflate, bool isLoopback) const;

private:
    struct Prepared
    {
        StaticFile file;
        QByteArray deflated; // empty if it would be no shorter
    };
    QHash<QByteArray, Prepared> files;
};

} // namespace quillmote
