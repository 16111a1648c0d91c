// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionPath.h"

namespace quillmote {

QString ownRuntimeFolder()
{
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    while (folder.endsWith(u'/')) {
        folder.chop(1);
    }
    return folder.startsWith(u'/') ? folder : QString();
}

} // namespace quillmote
