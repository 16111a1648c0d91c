// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ReplacedOpener.h"

#include <QDesktopServices>
#include <QUrl>

QStringList &openedAddresses()
{
    static QStringList addresses;
    return addresses;
}

bool QDesktopServices::openUrl(const QUrl &url)
{
    openedAddresses().append(url.toString());
    return true;
}
