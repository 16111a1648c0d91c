// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/Opener.h"

#include "messages/Messages.h"

#include <QCoreApplication>
#include <QDesktopServices>

#include <algorithm>
#include <utility>

using namespace std::chrono_literals;

namespace {

/// The time that one opening uses up, and the number of openings that may be made in advance.
constexpr auto price = 200ms;
constexpr int mostAtOnce = 50;

void warn(const char *text)
{
    Messages::warning({QCoreApplication::translate("Opener", text)});
}

/// Checks the text that is handed over: the toolkit decodes "%2d" before that.
bool wouldBeAnOption(const QUrl &url)
{
    return url.toEncoded().startsWith('-');
}

} // namespace

Opener::Opener(Clock clock) : now(std::move(clock)) {}

Opener::Result Opener::open(const QString &address)
{
    return open(QUrl(address));
}

Opener::Result Opener::open(const QUrl &address)
{
    if (wouldBeAnOption(address)) {
        warn(QT_TRANSLATE_NOOP("Opener", "Not opened: an address must not begin with \"-\"."));
        return Result::Refused;
    }
    if (!allowsOne()) {
        return Result::TooMany;
    }
    return QDesktopServices::openUrl(address) ? Result::Opened : Result::Failed;
}

bool Opener::allowsOne()
{
    if (takeTurn()) {
        return true;
    }
    warn(QT_TRANSLATE_NOOP("Opener", "Not opened: too many addresses and files at once."));
    return false;
}

bool Opener::takeTurn()
{
    const auto time = now();
    const auto paidOff = std::max(idleFrom, time) + price;
    if (paidOff > time + mostAtOnce * price) {
        return false;
    }
    idleFrom = paidOff;
    return true;
}
