// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/SocketDiagnosis.h"

#include <array>
#include <cstring>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace SocketDiagnosis {

namespace {

struct Question
{
    nlmsghdr head{};
    inet_diag_req_v2 body{};
};

Question questionAbout(quint16 localPort, quint16 remotePort)
{
    Question question;
    question.head.nlmsg_len = sizeof question;
    question.head.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.head.nlmsg_flags = NLM_F_REQUEST;
    question.body.sdiag_family = AF_INET;
    question.body.sdiag_protocol = IPPROTO_TCP;
    question.body.idiag_states = ~0U;
    question.body.id.idiag_sport = htons(localPort);
    question.body.id.idiag_dport = htons(remotePort);
    question.body.id.idiag_src[0] = htonl(INADDR_LOOPBACK);
    question.body.id.idiag_dst[0] = htonl(INADDR_LOOPBACK);
    question.body.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    question.body.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return question;
}

} // namespace

std::optional<qint64> unreadBytes(quint16 localPort, quint16 remotePort)
{
    const int channel = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    if (channel < 0) {
        return std::nullopt;
    }
    const Question question = questionAbout(localPort, remotePort);
    std::array<char, 8192> reply{};
    ssize_t size = ::send(channel, &question, sizeof question, 0);
    // The kernel answers within send(), so there is nothing to wait for.
    size = size < 0 ? size : ::recv(channel, reply.data(), reply.size(), MSG_DONTWAIT);
    ::close(channel);
    nlmsghdr head{};
    inet_diag_msg body{};
    if (size < static_cast<ssize_t>(NLMSG_HDRLEN + sizeof body)) {
        return std::nullopt;
    }
    std::memcpy(&head, reply.data(), sizeof head);
    if (head.nlmsg_type != SOCK_DIAG_BY_FAMILY) {
        return std::nullopt;
    }
    std::memcpy(&body, reply.data() + NLMSG_HDRLEN, sizeof body);
    // Without such a connection, the kernel answers for the socket that listens on that port.
    if (body.id.idiag_dport != htons(remotePort)) {
        return std::nullopt;
    }
    return body.idiag_rqueue;
}

} // namespace SocketDiagnosis
