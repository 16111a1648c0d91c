// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/HttpAnswer.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

struct Status
{
    int number;
    const char *name;
    const char *sentence; // for a person who sees it in a browser
};

constexpr std::array<Status, 12> statuses{{
    {200, "OK", ""},
    {204, "No Content", ""},
    {400, "Bad Request", "This is not a request of a browser."},
    {403, "Forbidden", "The request comes from a page of somebody else."},
    {404, "Not Found", "There is no such page here."},
    {405, "Method Not Allowed", "Only GET and HEAD are answered here."},
    {408, "Request Timeout", "The request did not arrive in time."},
    {421, "Misdirected Request",
     "This is not a name that this computer is known by. Take the address that it shows, or start "
     "quillmote-web with --host and the name."},
    {426, "Upgrade Required", "Only WebSockets of version 13 are accepted here."},
    {431, "Request Header Fields Too Large", "The request is too long."},
    {500, "Internal Server Error", "This should not happen."},
    {505, "HTTP Version Not Supported", "Only HTTP/1.1 is spoken here."},
}};

const Status &statusOf(int number)
{
    const auto *found =
        std::find_if(statuses.begin(), statuses.end(),
                     [number](const Status &status) { return status.number == number; });
    return found == statuses.end() ? statuses[statuses.size() - 2] : *found;
}

/// Nothing is loaded from elsewhere, nothing is embedded elsewhere, and no page of somebody else
/// may read what is here. Some browsers do not take WebSockets for their page's own origin.
QByteArray guards(const QByteArray &socketSource)
{
    return "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
           "img-src 'self' data: blob:; manifest-src 'self'; connect-src 'self' " +
           socketSource +
           "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
           "X-Content-Type-Options: nosniff\r\n"
           "Referrer-Policy: no-referrer\r\n"
           "Cross-Origin-Resource-Policy: same-origin\r\n" +
           // Without encryption browsers ignore it, and complain.
           (socketSource.startsWith("wss:") ? "Cross-Origin-Opener-Policy: same-origin\r\n" : "") +
           "Permissions-Policy: camera=(), geolocation=(), microphone=(), payment=(), usb=()\r\n";
}

QByteArray now()
{
    return QLocale::c()
        .toString(QDateTime::currentDateTimeUtc(), u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s)
        .toLatin1();
}

} // namespace

HttpAnswer HttpAnswer::refusal(int status)
{
    HttpAnswer answer;
    answer.status = status;
    answer.type = "text/plain; charset=utf-8";
    answer.content = QByteArray(statusOf(status).sentence) + "\n";
    return answer;
}

QByteArray HttpAnswer::toBytes(bool isHead) const
{
    const Status &line = statusOf(status);
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(line.number) + " " + line.name +
                       "\r\nDate: " + now() +
                       "\r\nConnection: close\r\nCache-Control: no-store\r\n";
    if (line.number == upgradeRequired) {
        bytes += "Upgrade: websocket\r\nSec-WebSocket-Version: 13\r\n";
    }
    if (line.number != noContent) {
        bytes += "Content-Type: " + type +
                 "\r\nContent-Length: " + QByteArray::number(content.size()) + "\r\n";
    }
    if (isDeflated) {
        bytes += "Content-Encoding: deflate\r\n";
    }
    bytes += guards(socketSource) + "\r\n";
    return isHead ? bytes : bytes + content;
}

} // namespace quillmote
