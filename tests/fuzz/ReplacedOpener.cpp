// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "fuzz/ReplacedOpener.h"

#include "fuzz/Finding.h"

#include <QDesktopServices>
#include <QUrl>

QStringList &openedAddresses()
{
    static QStringList addresses;
    return addresses;
}

bool QDesktopServices::openUrl(const QUrl &url)
{
    Finding::require(!url.toEncoded().startsWith('-'), "an option for the desktop's program");
    openedAddresses().append(url.toString());
    return true;
}
