// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/Invitation.h"

#include "web/network/QrRows.h"

#include <algorithm>

namespace quillmote {

Invitation::Invitation(PairingCodes &pairingCodes, const PageAddress &pageAddress)
    : codes(pairingCodes)
    , page(pageAddress)
{
}

Invitation::~Invitation()
{
    cancel();
}

QHostAddress Invitation::address() const
{
    const QList<OfferedAddress> offered = page.offered();
    const auto isChosen = [this](const OfferedAddress &one) { return one.address == chosen; };
    const auto found = std::find_if(offered.begin(), offered.end(), isChosen);
    if (found != offered.end()) {
        return found->address;
    }
    return offered.isEmpty() ? QHostAddress() : offered.first().address;
}

void Invitation::renew()
{
    cancel();
    code = codes.make();
}

void Invitation::cancel()
{
    if (code) {
        codes.use(*code);
        code.reset();
    }
}

std::optional<Invitation::Shown> Invitation::shown() const
{
    const auto timeLeft = code ? codes.timeLeft(*code) : std::nullopt;
    const QHostAddress host = address();
    if (!timeLeft || host.isNull()) {
        return std::nullopt;
    }
    const QString place = page.url(host);
    const QString url = place + u'#' + code->compactText();
    return Shown{code->text(), place, url, qrRows(url), *timeLeft};
}

} // namespace quillmote
