// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionPath.h"

#include <QFile>

#include <array>
#include <climits>
#include <unistd.h>

namespace quillmote {

QString ownRuntimeFolder()
{
    std::array<char, PATH_MAX> folder{};
    const size_t length = confstr(_CS_DARWIN_USER_TEMP_DIR, folder.data(), folder.size());
    if (length == 0 || length > folder.size()) {
        return {};
    }
    QString path = QFile::decodeName(folder.data());
    while (path.endsWith(u'/')) {
        path.chop(1);
    }
    return path;
}

} // namespace quillmote
