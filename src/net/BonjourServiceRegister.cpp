// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/BonjourServiceRegister.h"

#include "messages/Messages.h"
#include "platform/Sockets.h"

#include <QSocketNotifier>
#include <QtEndian>

#include <utility>

using namespace Qt::StringLiterals;

BonjourServiceRegister::BonjourServiceRegister(QObject *parent, DnsSd operations)
    : QObject(parent)
    , dnsSd(std::move(operations))
{
}

BonjourServiceRegister::~BonjourServiceRegister()
{
    // The notifier must not outlive the socket that it watches.
    delete socketNotifier;
    if (serviceReference != nullptr) {
        dnsSd.release(serviceReference);
        serviceReference = nullptr;
    }
}

void BonjourServiceRegister::registerService(const BonjourRecord &record, quint16 servicePort)
{
    if (serviceReference != nullptr) {
        Messages::warning({tr("Warning: Already registered a service for this object, "
                              "aborting new register")});
        return;
    }
    DNSServiceErrorType result = requestRegistration(record, servicePort);
    if (result == kDNSServiceErr_NoError) {
        result = watchSocket();
    }
    if (result != kDNSServiceErr_NoError) {
        emit error(result);
    }
}

DNSServiceErrorType BonjourServiceRegister::requestRegistration(const BonjourRecord &record,
                                                                quint16 servicePort)
{
    const QByteArray name = record.serviceName.toUtf8();
    const QByteArray type = record.registeredType.toUtf8();
    const QByteArray domain = record.replyDomain.toUtf8();
    return dnsSd.registerService(&serviceReference, 0, 0, name.constData(), type.constData(),
                                 domain.isEmpty() ? nullptr : domain.constData(), nullptr,
                                 qToBigEndian(servicePort), 0, nullptr, bonjourRegisterService,
                                 this);
}

DNSServiceErrorType BonjourServiceRegister::watchSocket()
{
    const int descriptor = dnsSd.socketOf(serviceReference);
    if (descriptor == -1) {
        return kDNSServiceErr_Invalid;
    }
    // The programs that we start would inherit the library's sockets and pipes, and the library
    // gives access to only one of them.
    platform::closeDescriptorsOnExec();
    socketNotifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, this);
    connect(socketNotifier, SIGNAL(activated(QSocketDescriptor, QSocketNotifier::Type)), this,
            SLOT(bonjourSocketReadyRead()));
    return kDNSServiceErr_NoError;
}

void BonjourServiceRegister::bonjourSocketReadyRead()
{
    const DNSServiceErrorType result = dnsSd.processResult(serviceReference);
    if (result != kDNSServiceErr_NoError) {
        emit error(result);
    }
}

void BonjourServiceRegister::bonjourRegisterService(DNSServiceRef, DNSServiceFlags,
                                                    DNSServiceErrorType errorCode, const char *name,
                                                    const char *regtype, const char *domain,
                                                    void *context)
{
    auto *self = static_cast<BonjourServiceRegister *>(context);
    if (errorCode != kDNSServiceErr_NoError) {
        emit self->error(errorCode);
        return;
    }
    self->confirmedRecord = BonjourRecord(QString::fromUtf8(name), QString::fromUtf8(regtype),
                                          QString::fromUtf8(domain));
    emit self->serviceRegistered(self->confirmedRecord);
}
