// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace quillmote {

/// What a person means by a word given to be opened.
struct WebAddress
{
    QString url;
    /// A sentence for the user; empty when there is an address.
    QString problem;

    /// A word with a scheme is an address as it stands. A host's name gets "https://" in front;
    /// localhost, names that end in ".local" and numeric addresses get "http://", since they rarely
    /// have a certificate. Files of this computer and other words are none.
    static WebAddress of(const QString &word);
};

} // namespace quillmote
