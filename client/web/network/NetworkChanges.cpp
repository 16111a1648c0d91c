// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/NetworkChanges.h"

#include "web/network/NetworkSystem.h"

#include <array>
#include <cerrno>

#include <sys/socket.h>
#include <unistd.h>

namespace quillmote {

NetworkChanges::NetworkChanges(QObject *parent) : QObject(parent), news(openNetworkNews())
{
    settling.setSingleShot(true);
    connect(&settling, &QTimer::timeout, this, &NetworkChanges::compare);
    if (news >= 0) {
        notifier = std::make_unique<QSocketNotifier>(news, QSocketNotifier::Read);
        connect(notifier.get(), &QSocketNotifier::activated, this, &NetworkChanges::hear);
    }
    known = offeredAddresses();
}

NetworkChanges::~NetworkChanges()
{
    notifier.reset();
    if (news >= 0) {
        ::close(news);
    }
}

void NetworkChanges::hear()
{
    // Too many to be kept (ENOBUFS) is a change, too.
    std::array<char, 8192> unread;
    ssize_t size = 0;
    do {
        size = ::recv(news, unread.data(), unread.size(), 0);
    } while (size > 0 || (size < 0 && (errno == ENOBUFS || errno == EINTR)));
    // Not begun anew by each change, or a network that is never quiet would never be looked at.
    if (!settling.isActive()) {
        settling.start(settlingTime);
    }
}

void NetworkChanges::compare()
{
    const QList<OfferedAddress> now = offeredAddresses();
    if (now != known) {
        known = now;
        emit changed();
    }
}

} // namespace quillmote
