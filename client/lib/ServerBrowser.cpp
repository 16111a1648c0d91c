// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/ServerBrowser.h"

#include "lib/DnsOperation.h"
#include "lib/DnsSd.h"

#include <QtEndian>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr auto serviceType = "_quillmote._tcp";
constexpr uint16_t addressRecord = 1; // type A, RFC 1035
constexpr uint16_t internetClass = 1;

} // namespace

/// A server of which the name is known and the address is being looked up.
struct ServerBrowser::Sighting : QObject
{
    Sighting(ServerBrowser &owner, const QString &name) : QObject(&owner), browser(owner)
    {
        server.name = name;
    }

    ServerBrowser &browser;
    ServerAddress server;
    int places = 1; // how many interfaces and versions of IP it is seen on
    /// The current operation: first it resolves the name, then it looks up the address.
    DnsOperation *operation = nullptr;

    /// As early as possible: if an operation is open when the discovery service ends, the
    /// compatibility library of Avahi 0.8 jumps to an address that it never set. Browsing is safe.
    void endOperation()
    {
        if (operation != nullptr) {
            operation->deleteLater();
            operation = nullptr;
        }
    }

    DNSServiceRef *startOperation()
    {
        endOperation();
        operation = new DnsOperation(this);
        return operation->reference();
    }
};

ServerBrowser::ServerBrowser(QObject *parent) : QObject(parent) {}

ServerBrowser::~ServerBrowser() = default;

void ServerBrowser::start()
{
    const DnsSd *dnsSd = DnsSd::get();
    browse = new DnsOperation(this);
    connect(browse, &DnsOperation::failed, this, &ServerBrowser::reportProblem);
    if (dnsSd == nullptr || !browse->watch(dnsSd->browse(browse->reference(), 0, 0, serviceType,
                                                         nullptr, browsed, this))) {
        QMetaObject::invokeMethod(this, &ServerBrowser::reportProblem, Qt::QueuedConnection);
    }
}

void ServerBrowser::reportProblem()
{
    emit failed(u"The system's service discovery (Avahi or Bonjour) is not running."_s);
}

void ServerBrowser::browsed(DNSServiceRef, DNSServiceFlags flags, uint32_t interface,
                            DNSServiceErrorType error, const char *name, const char *type,
                            const char *domain, void *context)
{
    auto *self = static_cast<ServerBrowser *>(context);
    if (error != kDNSServiceErr_NoError) {
        self->reportProblem();
    } else if ((flags & kDNSServiceFlagsAdd) != 0) {
        self->add(QString::fromUtf8(name), type, domain, interface);
    } else {
        self->removeOnePlace(QString::fromUtf8(name));
    }
}

/// A server is seen once on each interface and version of IP; the first one is used.
void ServerBrowser::add(const QString &name, const char *type, const char *domain,
                        uint32_t interface)
{
    if (Sighting *known = sightings.value(name)) {
        ++known->places;
        return;
    }
    auto *sighting = new Sighting(*this, name);
    sightings.insert(name, sighting);
    DNSServiceRef *reference = sighting->startOperation();
    sighting->operation->watch(DnsSd::get()->resolve(
        reference, 0, interface, name.toUtf8().constData(), type, domain, resolved, sighting));
}

void ServerBrowser::removeOnePlace(const QString &name)
{
    Sighting *sighting = sightings.value(name);
    if (sighting != nullptr && --sighting->places == 0) {
        remove(name);
    }
}

void ServerBrowser::remove(const QString &name)
{
    if (Sighting *sighting = sightings.take(name)) {
        sighting->deleteLater();
        emit gone(name);
    }
}

void ServerBrowser::resolved(DNSServiceRef, DNSServiceFlags, uint32_t interface,
                             DNSServiceErrorType error, const char *, const char *host,
                             uint16_t port, uint16_t, const unsigned char *, void *context)
{
    auto *sighting = static_cast<Sighting *>(context);
    if (error != kDNSServiceErr_NoError) {
        sighting->browser.remove(sighting->server.name);
        return;
    }
    sighting->server.hostName = QString::fromUtf8(host);
    sighting->server.port = qFromBigEndian(port);
    sighting->browser.lookUpAddress(*sighting, interface);
}

/// Asks the discovery service, because the system's resolver may not know the names of the local
/// network.
void ServerBrowser::lookUpAddress(Sighting &sighting, uint32_t interface)
{
    DNSServiceRef *reference = sighting.startOperation();
    sighting.operation->watch(DnsSd::get()->queryRecord(
        reference, 0, interface, sighting.server.hostName.toUtf8().constData(), addressRecord,
        internetClass, addressFound, &sighting));
}

void ServerBrowser::addressFound(DNSServiceRef, DNSServiceFlags flags, uint32_t,
                                 DNSServiceErrorType error, const char *, uint16_t, uint16_t,
                                 uint16_t length, const void *data, uint32_t, void *context)
{
    auto *sighting = static_cast<Sighting *>(context);
    const bool isAddress = error == kDNSServiceErr_NoError && length == sizeof(quint32);
    if (isAddress && (flags & kDNSServiceFlagsAdd) != 0) {
        sighting->server.address = QHostAddress(qFromBigEndian<quint32>(data));
        sighting->endOperation();
        emit sighting->browser.found(sighting->server);
    }
}

} // namespace quillmote
