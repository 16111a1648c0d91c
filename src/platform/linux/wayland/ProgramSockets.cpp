// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/ProgramSockets.h"

#include "platform/posix/Descriptor.h"

#include <cstddef>
#include <cstring>
#include <vector>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace platform {

namespace {

/// What the kernel fills at most at once.
constexpr std::size_t partSize = 32'768;

struct SocketsQuestion
{
    nlmsghdr head{};
    unix_diag_req body{};
};

/// The connection that the message tells of, if it was made to the socket of that name.
void takeSocket(const nlmsghdr *message, const QByteArray &socketName, UnreadEvents &found)
{
    if (message->nlmsg_len < NLMSG_LENGTH(sizeof(unix_diag_msg))) {
        return;
    }
    const auto *socket = reinterpret_cast<const unix_diag_msg *>(message + 1);
    auto length = static_cast<int>(message->nlmsg_len - NLMSG_LENGTH(sizeof *socket));
    unix_diag_rqlen queues{};
    bool isOurs = false;
    for (const auto *part = reinterpret_cast<const rtattr *>(socket + 1); RTA_OK(part, length);
         part = RTA_NEXT(part, length)) {
        const auto size = static_cast<std::size_t>(RTA_PAYLOAD(part));
        const auto *data = static_cast<const char *>(RTA_DATA(part));
        if (part->rta_type == UNIX_DIAG_NAME) {
            // With its null byte or without.
            isOurs =
                QByteArrayView(data, static_cast<qsizetype>(qstrnlen(data, size))) == socketName;
        } else if (part->rta_type == UNIX_DIAG_RQLEN && size >= sizeof queues) {
            std::memcpy(&queues, data, sizeof queues);
        }
    }
    if (isOurs && queues.udiag_wqueue > 0) {
        found[socket->udiag_ino] = queues.udiag_wqueue;
    }
}

bool ask(const Descriptor &kernel)
{
    SocketsQuestion question;
    question.head.nlmsg_len = sizeof question;
    question.head.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    question.body.sdiag_family = AF_UNIX;
    question.body.udiag_states = 1U << TCP_ESTABLISHED;
    question.body.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_RQLEN;
    return ::send(kernel.get(), &question, sizeof question, 0) == sizeof question;
}

/// The kernel makes each part of its answer when it is read, so there is nothing to wait for.
std::optional<UnreadEvents> answerOf(const Descriptor &kernel, const QByteArray &socketName)
{
    UnreadEvents found;
    std::vector<char> part(partSize);
    while (true) {
        const ssize_t size = ::recv(kernel.get(), part.data(), part.size(), MSG_DONTWAIT);
        if (size <= 0) {
            return std::nullopt;
        }
        auto left = static_cast<unsigned>(size);
        for (const auto *message = reinterpret_cast<const nlmsghdr *>(part.data());
             NLMSG_OK(message, left); message = NLMSG_NEXT(message, left)) {
            if (message->nlmsg_type == NLMSG_DONE) {
                return found;
            }
            if (message->nlmsg_type == NLMSG_ERROR) {
                return std::nullopt;
            }
            takeSocket(message, socketName, found);
        }
    }
}

} // namespace

QByteArray ProgramSockets::nameFromEnvironment()
{
    const QByteArray name = qgetenv("WAYLAND_DISPLAY");
    return name.isEmpty() || name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name;
}

std::optional<UnreadEvents> ProgramSockets::unread() const
{
    if (socketName.isEmpty()) {
        return std::nullopt;
    }
    const Descriptor kernel(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    return kernel.isOpen() && ask(kernel) ? answerOf(kernel, socketName) : std::nullopt;
}

} // namespace platform
