// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace platform {

/// The file with the text by which the portal remembers the user's consent. Whoever has it may type
/// without asking, so it is apart from the settings, and only the user may read it.
class RestoreToken
{
public:
    explicit RestoreToken(QString file) : path(std::move(file)) {}

    /// In the user's state directory.
    static RestoreToken ofUser();

    /// Empty if there is none.
    QString read() const;
    /// Replaces it; an empty one is removed. What cannot be written is forgotten: the user is asked
    /// again then.
    void write(const QString &token) const;

private:
    QString path;
};

} // namespace platform
