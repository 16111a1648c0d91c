// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/BonjourServiceRegister.h"

#include "doubles/RecordingDnsSd.h"
#include "support/MessageRecorder.h"
#include "support/Waiting.h"

#include <QMetaMethod>
#include <QPointer>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QTest>

#include <memory>

#include <fcntl.h>

using namespace Qt::StringLiterals;

namespace {

const BonjourRecord quillmote(u"desk"_s, u"_quillmote._tcp"_s, u""_s);
constexpr DNSServiceErrorType daemonNotThere = -65537;

QList<DNSServiceErrorType> codesOf(const QSignalSpy &errors)
{
    QList<DNSServiceErrorType> codes;
    for (const auto &arguments : errors) {
        codes.append(arguments.at(0).toInt());
    }
    return codes;
}

} // namespace

class tst_BonjourServiceRegister : public QObject
{
    Q_OBJECT

private slots:
    void init() { dnsSd.reset(); }
    void cleanup() { QCOMPARE(dnsSd.living, 0); }

    void aRecordHoldsItsThreeTexts();
    void theMetaObjectListsTheSignalsInTheirOrder();
    void registersOnAllInterfacesWithoutText();
    void anEmptyDomainIsANullPointer();
    void aDomainIsHandedOn();
    void textsAreUtf8();
    void thePortIsInNetworkOrder_data();
    void thePortIsInNetworkOrder();
    void aNewRegisterHasNoRecord();
    void theSocketIsNotLeftToOtherPrograms();
    void everyReadinessReadsOneReply();
    void aConfirmationIsAnnouncedWithTheFinalNames();
    void aFurtherConfirmationReplacesTheRecord();
    void anErrorInTheReplyIsAnnounced();
    void anErrorWhileReadingIsAnnounced();
    void refusedRegistrationIsAnnouncedAndMayBeTriedAgain();
    void aRegistrationWithoutASocketIsAnError();
    void aSecondRegistrationIsRefusedWithAWarning();
    void aSecondRegistrationIsRefusedWhenTheFirstHadNoSocket();
    void destructionReleasesTheRegistrationOnce();
    void destructionReleasesNothingAfterAFailure();
    void theNotifierIsGoneBeforeTheRelease();

private:
    RecordingDnsSd dnsSd;
};

void tst_BonjourServiceRegister::aRecordHoldsItsThreeTexts()
{
    const BonjourRecord empty;
    QVERIFY(empty.serviceName.isEmpty() && empty.registeredType.isEmpty() &&
            empty.replyDomain.isEmpty());
    const BonjourRecord record(u"name"_s, u"type"_s, u"domain"_s);
    QCOMPARE(record.serviceName, u"name"_s);
    QCOMPARE(record.registeredType, u"type"_s);
    QCOMPARE(record.replyDomain, u"domain"_s);
    const BonjourRecord copy = record;
    QVERIFY(copy == record);
}

void tst_BonjourServiceRegister::theMetaObjectListsTheSignalsInTheirOrder()
{
    const QMetaObject &meta = BonjourServiceRegister::staticMetaObject;
    QList<QByteArray> methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        methods.append(method.methodSignature() + ' ' + method.parameterNames().join(','));
    }
    QCOMPARE(methods, QList<QByteArray>({"error(DNSServiceErrorType) error",
                                         "serviceRegistered(BonjourRecord) record",
                                         "bonjourSocketReadyRead() "}));
}

void tst_BonjourServiceRegister::registersOnAllInterfacesWithoutText()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    const QSignalSpy errors(&service, &BonjourServiceRegister::error);
    service.registerService(quillmote, 8080);

    QCOMPARE(dnsSd.registrations.size(), 1U);
    const RecordingDnsSd::Registration &registration = dnsSd.registrations.front();
    QCOMPARE(registration.flags, 0U);
    QCOMPARE(registration.interfaceIndex, 0U);
    QCOMPARE(registration.name, QByteArray("desk"));
    QCOMPARE(registration.type, QByteArray("_quillmote._tcp"));
    QVERIFY(!registration.host.has_value());
    QCOMPARE(registration.textLength, uint16_t(0));
    QVERIFY(!registration.hasText);
    QCOMPARE(registration.context, static_cast<void *>(&service));
    QCOMPARE(errors.count(), 0);
}

void tst_BonjourServiceRegister::anEmptyDomainIsANullPointer()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    service.registerService(quillmote, 1);
    QVERIFY(!dnsSd.registrations.front().domain.has_value());
}

void tst_BonjourServiceRegister::aDomainIsHandedOn()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    service.registerService({u"desk"_s, u"_quillmote._tcp"_s, u"example.net"_s}, 1);
    QCOMPARE(dnsSd.registrations.front().domain, QByteArray("example.net"));
}

void tst_BonjourServiceRegister::textsAreUtf8()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    service.registerService({u"b\u00fcro"_s, u"_\u00e9._tcp"_s, u"\u2603.local"_s}, 1);
    QCOMPARE(dnsSd.registrations.front().name, QByteArray("b\xc3\xbcro"));
    QCOMPARE(dnsSd.registrations.front().type, QByteArray("_\xc3\xa9._tcp"));
    QCOMPARE(dnsSd.registrations.front().domain, QByteArray("\xe2\x98\x83.local"));
}

void tst_BonjourServiceRegister::thePortIsInNetworkOrder_data()
{
    QTest::addColumn<quint16>("port");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("8080") << quint16(8080) << QByteArray("\x1f\x90", 2);
    QTest::newRow("0") << quint16(0) << QByteArray("\0\0", 2);
    QTest::newRow("1") << quint16(1) << QByteArray("\0\x01", 2);
    QTest::newRow("65535") << quint16(65535) << QByteArray("\xff\xff", 2);
}

void tst_BonjourServiceRegister::thePortIsInNetworkOrder()
{
    QFETCH(quint16, port);
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    service.registerService(quillmote, port);
    QTEST(dnsSd.registrations.front().portBytes, "bytes");
}

void tst_BonjourServiceRegister::aNewRegisterHasNoRecord()
{
    const BonjourServiceRegister service(nullptr, dnsSd.operations());
    QVERIFY(service.finalRecord() == BonjourRecord());
    QVERIFY(service.findChildren<QSocketNotifier *>().isEmpty());
}

void tst_BonjourServiceRegister::theSocketIsNotLeftToOtherPrograms()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    service.registerService(quillmote, 1);
    const auto *notifier = service.findChild<QSocketNotifier *>();
    QVERIFY(notifier != nullptr);
    QCOMPARE(notifier->type(), QSocketNotifier::Read);
    QVERIFY((fcntl(static_cast<int>(notifier->socket()), F_GETFD) & FD_CLOEXEC) != 0);
}

void tst_BonjourServiceRegister::everyReadinessReadsOneReply()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    service.registerService(quillmote, 1);
    QCOMPARE(dnsSd.processed, 0);
    dnsSd.makeReadable();
    QVERIFY(waitUntil([this] { return dnsSd.processed == 1; }));
    dnsSd.makeReadable();
    QVERIFY(waitUntil([this] { return dnsSd.processed == 2; }));
}

void tst_BonjourServiceRegister::aConfirmationIsAnnouncedWithTheFinalNames()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    QSignalSpy confirmations(&service, &BonjourServiceRegister::serviceRegistered);
    const QSignalSpy errors(&service, &BonjourServiceRegister::error);
    dnsSd.onProcess = [this] {
        dnsSd.reply(kDNSServiceErr_NoError, "b\xc3\xbcro (2)", "_quillmote._tcp.", "local.");
    };
    service.registerService(quillmote, 1);
    dnsSd.makeReadable();
    QVERIFY(waitUntil([&] { return !confirmations.isEmpty(); }));

    const BonjourRecord expected(u"b\u00fcro (2)"_s, u"_quillmote._tcp."_s, u"local."_s);
    QCOMPARE(confirmations.count(), 1);
    QVERIFY(confirmations.at(0).at(0).value<BonjourRecord>() == expected);
    QVERIFY(service.finalRecord() == expected);
    QCOMPARE(errors.count(), 0);
}

void tst_BonjourServiceRegister::aFurtherConfirmationReplacesTheRecord()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    const QSignalSpy confirmations(&service, &BonjourServiceRegister::serviceRegistered);
    service.registerService(quillmote, 1);
    dnsSd.reply(kDNSServiceErr_NoError, "desk", "_quillmote._tcp", "local.");
    dnsSd.reply(kDNSServiceErr_NoError, "desk (2)", "_quillmote._tcp", "local.");
    QCOMPARE(confirmations.count(), 2);
    QCOMPARE(service.finalRecord().serviceName, u"desk (2)"_s);
}

void tst_BonjourServiceRegister::anErrorInTheReplyIsAnnounced()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    const QSignalSpy confirmations(&service, &BonjourServiceRegister::serviceRegistered);
    const QSignalSpy errors(&service, &BonjourServiceRegister::error);
    service.registerService(quillmote, 1);
    dnsSd.reply(kDNSServiceErr_NoError, "desk", "_quillmote._tcp", "local.");
    dnsSd.reply(kDNSServiceErr_NameConflict, "other", "other", "other");
    QCOMPARE(codesOf(errors), QList<DNSServiceErrorType>{kDNSServiceErr_NameConflict});
    QCOMPARE(confirmations.count(), 1);
    QCOMPARE(service.finalRecord().serviceName, u"desk"_s);
}

void tst_BonjourServiceRegister::anErrorWhileReadingIsAnnounced()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    QSignalSpy errors(&service, &BonjourServiceRegister::error);
    dnsSd.processResult = daemonNotThere;
    service.registerService(quillmote, 1);
    QCOMPARE(errors.count(), 0);
    dnsSd.makeReadable();
    QVERIFY(waitUntil([&] { return !errors.isEmpty(); }));
    QCOMPARE(codesOf(errors), QList<DNSServiceErrorType>{daemonNotThere});
}

void tst_BonjourServiceRegister::refusedRegistrationIsAnnouncedAndMayBeTriedAgain()
{
    const MessageRecorder messages;
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    const QSignalSpy errors(&service, &BonjourServiceRegister::error);
    dnsSd.registerResult = daemonNotThere;
    service.registerService(quillmote, 1);
    QCOMPARE(codesOf(errors), QList<DNSServiceErrorType>{daemonNotThere});
    QVERIFY(service.findChildren<QSocketNotifier *>().isEmpty());

    dnsSd.registerResult = kDNSServiceErr_NoError;
    service.registerService(quillmote, 1);
    QCOMPARE(dnsSd.living, 1);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(messages.all(), QStringList());
}

void tst_BonjourServiceRegister::aRegistrationWithoutASocketIsAnError()
{
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    const QSignalSpy errors(&service, &BonjourServiceRegister::error);
    dnsSd.hasSocket = false;
    service.registerService(quillmote, 1);
    QCOMPARE(codesOf(errors), QList<DNSServiceErrorType>{-65549});
    QVERIFY(service.findChildren<QSocketNotifier *>().isEmpty());
}

void tst_BonjourServiceRegister::aSecondRegistrationIsRefusedWithAWarning()
{
    const MessageRecorder messages;
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    const QSignalSpy errors(&service, &BonjourServiceRegister::error);
    service.registerService(quillmote, 1);
    const auto *notifier = service.findChild<QSocketNotifier *>();
    service.registerService({u"other"_s, u"_other._tcp"_s, u""_s}, 2);

    QCOMPARE(messages.all(),
             QStringList{u"warning: Warning: Already registered a service for this object, "
                         "aborting new register "_s});
    QCOMPARE(dnsSd.registrations.size(), 1U);
    QCOMPARE(dnsSd.released, 0);
    QCOMPARE(service.findChildren<QSocketNotifier *>().size(), 1);
    QCOMPARE(service.findChild<QSocketNotifier *>(), notifier);
    QCOMPARE(errors.count(), 0);
}

void tst_BonjourServiceRegister::aSecondRegistrationIsRefusedWhenTheFirstHadNoSocket()
{
    const MessageRecorder messages;
    BonjourServiceRegister service(nullptr, dnsSd.operations());
    dnsSd.hasSocket = false;
    service.registerService(quillmote, 1);
    service.registerService(quillmote, 1);
    QCOMPARE(messages.warnings().size(), 1);
    QCOMPARE(dnsSd.registrations.size(), 1U);
}

void tst_BonjourServiceRegister::destructionReleasesTheRegistrationOnce()
{
    auto service = std::make_unique<BonjourServiceRegister>(nullptr, dnsSd.operations());
    service->registerService(quillmote, 1);
    QCOMPARE(dnsSd.released, 0);
    service.reset();
    QCOMPARE(dnsSd.released, 1);
}

void tst_BonjourServiceRegister::destructionReleasesNothingAfterAFailure()
{
    auto service = std::make_unique<BonjourServiceRegister>(nullptr, dnsSd.operations());
    dnsSd.registerResult = daemonNotThere;
    service->registerService(quillmote, 1);
    service.reset();
    QCOMPARE(dnsSd.registrations.size(), 1U);
    QCOMPARE(dnsSd.released, 0);
}

void tst_BonjourServiceRegister::theNotifierIsGoneBeforeTheRelease()
{
    auto service = std::make_unique<BonjourServiceRegister>(nullptr, dnsSd.operations());
    service->registerService(quillmote, 1);
    const QPointer<QSocketNotifier> notifier = service->findChild<QSocketNotifier *>();
    QVERIFY(!notifier.isNull());
    bool isGone = false;
    dnsSd.onRelease = [&] { isGone = notifier.isNull(); };
    service.reset();
    QVERIFY(isGone);
}

QTEST_GUILESS_MAIN(tst_BonjourServiceRegister)
#include "tst_BonjourServiceRegister.moc"
