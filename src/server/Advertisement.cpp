// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/Advertisement.h"

#include "messages/Messages.h"
#include "net/BonjourServiceRegister.h"

#include <QHostInfo>
#include <QTcpServer>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Names that are tried before the server stays without an advertisement.
constexpr int maximumNames = 9;

/// The longest name of a service, in bytes (RFC 6763, section 4.1.1).
constexpr qsizetype maximumNameBytes = 63;

QString cutToBytes(QString text, qsizetype maximum)
{
    while (text.toUtf8().size() > maximum) {
        text.chop(text.back().isLowSurrogate() ? 2 : 1);
    }
    return text;
}

QString serviceName(int attempt)
{
    const QString suffix = attempt == 1 ? QString() : u" #%1"_s.arg(attempt);
    return cutToBytes(QHostInfo::localHostName(), maximumNameBytes - suffix.size()) + suffix;
}

} // namespace

Advertisement::Advertisement(QTcpServer &listeningServer,
                             QPointer<BonjourServiceRegister> &registerInUse, DnsSd operations,
                             const DaemonWatcher &watchDaemon)
    : server(listeningServer)
    , serviceRegister(registerInUse)
    , dnsSd(std::move(operations))
{
    daemonWatch = watchDaemon([this] {
        if (server.isListening()) {
            end();
            begin();
        }
    });
}

Advertisement::~Advertisement() = default;

void Advertisement::begin()
{
    if (!server.serverAddress().isLoopback()) {
        registerName(1);
    }
}

void Advertisement::end()
{
    delete serviceRegister;
}

void Advertisement::registerName(int attempt)
{
    serviceRegister = new BonjourServiceRegister(&server, dnsSd);
    // Queued, since a failure may be reported while the register is still registering, and the
    // register is deleted then.
    connect(
        serviceRegister, &BonjourServiceRegister::error, this,
        [this, attempt, origin = serviceRegister](DNSServiceErrorType code) {
            // The register may have been deleted in the meantime.
            if (!origin.isNull()) {
                registrationFailed(code, attempt);
            }
        },
        Qt::QueuedConnection);
    serviceRegister->registerService({serviceName(attempt), u"_quillmote._tcp"_s, QString()},
                                     server.serverPort());
}

void Advertisement::registrationFailed(DNSServiceErrorType code, int attempt)
{
    Messages::debug({u"Not advertised:"_s, QString::number(code)});
    if (code == kDNSServiceErr_NameConflict && attempt < maximumNames) {
        delete serviceRegister;
        registerName(attempt + 1);
    }
}
