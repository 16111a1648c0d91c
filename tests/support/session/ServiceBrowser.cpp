// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServiceBrowser.h"

using namespace Qt::StringLiterals;

namespace {

/// avahi-browse writes a byte that is no letter or digit as a backslash and three decimal digits,
/// or, if it is a dot or a backslash, as a backslash and itself.
QString unescaped(const QByteArray &text)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < text.size(); ++i) {
        bool isNumber = false;
        const bool isEscaped = text[i] == '\\';
        const uint code = isEscaped ? text.mid(i + 1, 3).toUInt(&isNumber, 10) : 0;
        if (isNumber) {
            bytes += static_cast<char>(code);
            i += 3;
        } else if (!isEscaped || ++i < text.size()) {
            bytes += text[i];
        }
    }
    return QString::fromUtf8(bytes);
}

} // namespace

ServiceBrowser::ServiceBrowser(const NetworkHost &host, const AvahiDaemon &daemon,
                               const QString &type)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, daemon.busAddress());
    browse.setProcessEnvironment(environment);
    browse.setLastPreparation(host.entry());
    browse.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    browse.start(u"avahi-browse"_s, {u"--resolve"_s, u"--parsable"_s, u"--no-db-lookup"_s, type});
}

const QMap<QString, SeenService> &ServiceBrowser::services()
{
    while (browse.canReadLine()) {
        take(browse.readLine().trimmed());
    }
    return resolved;
}

// Event, device, protocol, name, type, domain, and once resolved also host, address, port, text.
void ServiceBrowser::take(const QByteArray &line)
{
    const QList<QByteArray> fields = line.split(';');
    const QString name = unescaped(fields.value(3));
    if (fields[0] == "=" && fields.size() >= 10) {
        resolved[name] = {QHostAddress(QString::fromLatin1(fields[7])), fields[8].toUShort(),
                          fields[9]};
    } else if (fields[0] == "-") {
        resolved.remove(name);
    }
}

std::optional<SeenService> ServiceBrowser::waitFor(const QString &name,
                                                   std::chrono::milliseconds limit)
{
    if (!waitUntil([&] { return services().contains(name); }, limit)) {
        return std::nullopt;
    }
    return resolved.value(name);
}

bool ServiceBrowser::waitUntilGone(const QString &name, std::chrono::milliseconds limit)
{
    return waitUntil([&] { return !services().contains(name); }, limit);
}
