// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// Whether quillmote-web starts with the user's session: a file says so.
namespace quillmote::SessionEntry {

bool exists();
/// \return why it cannot be changed; empty if it was
QString set(bool isWanted);

/// Where the file is, and what is in it. Of the system.
QString path();
QByteArray content();

} // namespace quillmote::SessionEntry
