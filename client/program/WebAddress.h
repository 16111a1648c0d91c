// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace quillmote {

/// The web address that a person means by a word.
struct WebAddress
{
    QString url;
    /// A sentence for the user; empty if there is an address.
    QString problem;

    /// A word with a scheme is used unchanged. A host name gets "https://" in front; localhost,
    /// names that end in ".local" and numeric addresses get "http://", since they rarely have a
    /// certificate. Files of this computer and all other words are refused.
    static WebAddress of(const QString &word);
};

} // namespace quillmote
