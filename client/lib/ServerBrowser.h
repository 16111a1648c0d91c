// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <dns_sd.h>

#include <cstdint>

namespace quillmote {

class DnsOperation;

/// A server that is advertised on the local network.
struct ServerAddress
{
    QString name;
    QString hostName;
    QHostAddress address;
    quint16 port = 0;

    bool operator==(const ServerAddress &) const = default;
};

/// Reports servers as they appear and disappear on the local network, by DNS Service Discovery.
class ServerBrowser : public QObject
{
    Q_OBJECT

public:
    explicit ServerBrowser(QObject *parent = nullptr);
    ~ServerBrowser() override;

    /// found() and gone() follow as long as the object lives; failed() if the system's discovery
    /// service does not work.
    void start();

signals:
    /// A server that moves to another port is gone first, then found again.
    void found(const quillmote::ServerAddress &server);
    void gone(const QString &name);
    void failed(const QString &problem);

private:
    struct Sighting;

    static void DNSSD_API browsed(DNSServiceRef reference, DNSServiceFlags flags,
                                  uint32_t interface, DNSServiceErrorType error, const char *name,
                                  const char *type, const char *domain, void *context);
    static void DNSSD_API resolved(DNSServiceRef reference, DNSServiceFlags flags,
                                   uint32_t interface, DNSServiceErrorType error,
                                   const char *fullName, const char *host, uint16_t port,
                                   uint16_t textLength, const unsigned char *text, void *context);
    static void DNSSD_API addressFound(DNSServiceRef reference, DNSServiceFlags flags,
                                       uint32_t interface, DNSServiceErrorType error,
                                       const char *fullName, uint16_t type, uint16_t dnsClass,
                                       uint16_t length, const void *data, uint32_t timeToLive,
                                       void *context);
    void add(const QString &name, const char *type, const char *domain, uint32_t interface);
    void removeOnePlace(const QString &name);
    void remove(const QString &name);
    void lookUpAddress(Sighting &sighting, uint32_t interface);
    void reportProblem();

    DnsOperation *browse = nullptr;
    QHash<QString, Sighting *> sightings; // by name; each is a child of this object
};

} // namespace quillmote
