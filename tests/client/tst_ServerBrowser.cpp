// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/DnsSd.h"
#include "lib/ServerBrowser.h"

#include <QSignalSpy>
#include <QTest>
#include <QtEndian>

#include <functional>
#include <map>
#include <vector>

#include <sys/eventfd.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace quillmote;

/// An operation of the test's discovery service.
struct _DNSServiceRef_t
{
    QString question;            ///< the arguments of its start
    std::function<void()> reply; ///< called when its result is processed
    int descriptor = -1;
    DNSServiceErrorType result = kDNSServiceErr_NoError;
};

namespace {

using Operation = _DNSServiceRef_t;

/// The test's discovery service: it answers as the test says, and records the questions.
struct Service
{
    bool exists = true;
    DNSServiceErrorType refusal = kDNSServiceErr_NoError; ///< of every operation
    QStringList asked;
    std::vector<Operation *> running;
    std::map<Operation *, std::function<void(DNSServiceFlags, DNSServiceErrorType, QString)>>
        browsing;
    std::map<Operation *, std::function<void(DNSServiceErrorType)>> resolving;
    std::map<Operation *, std::function<void(DNSServiceFlags, DNSServiceErrorType, uint16_t)>>
        looking;

    DNSServiceErrorType start(DNSServiceRef *reference, const QString &question)
    {
        asked += question;
        if (refusal != kDNSServiceErr_NoError) {
            return refusal;
        }
        *reference = new Operation{question, {}, eventfd(0, EFD_NONBLOCK), kDNSServiceErr_NoError};
        running.push_back(*reference);
        return kDNSServiceErr_NoError;
    }

    /// Makes the client's event loop process a reply.
    void give(Operation *operation, const std::function<void()> &reply,
              DNSServiceErrorType result = kDNSServiceErr_NoError)
    {
        operation->reply = reply;
        operation->result = result;
        const quint64 one = 1;
        QCOMPARE(::write(operation->descriptor, &one, sizeof one), ssize_t{sizeof one});
        QTest::qWait(20);
    }

    /// The operation that was started last.
    Operation *latest() const { return running.back(); }
    QStringList runningQuestions() const
    {
        QStringList questions;
        for (const Operation *operation : running) {
            questions += operation->question;
        }
        return questions;
    }
};

Service service;

DNSServiceErrorType startBrowsing(DNSServiceRef *reference, DNSServiceFlags flags,
                                  uint32_t interface, const char *type, const char *domain,
                                  DNSServiceBrowseReply callback, void *context)
{
    const auto result = service.start(
        reference, u"browse %1 %2 %3 %4"_s.arg(flags)
                       .arg(interface)
                       .arg(QLatin1StringView(type))
                       .arg(QLatin1StringView(domain == nullptr ? "everywhere" : domain)));
    if (result == kDNSServiceErr_NoError) {
        service.browsing[*reference] = [reference = *reference, callback,
                                        context](auto added, auto error, const QString &name) {
            callback(reference, added, 7, error, name.toUtf8().constData(), "_quillmote._tcp.",
                     "local.", context);
        };
    }
    return result;
}

DNSServiceErrorType startResolving(DNSServiceRef *reference, DNSServiceFlags flags,
                                   uint32_t interface, const char *name, const char *type,
                                   const char *domain, DNSServiceResolveReply callback,
                                   void *context)
{
    const auto result =
        service.start(reference, u"resolve %1 %2 %3 %4 %5"_s.arg(flags).arg(interface).arg(
                                     QString::fromUtf8(name), QLatin1StringView(type),
                                     QLatin1StringView(domain)));
    if (result == kDNSServiceErr_NoError) {
        service.resolving[*reference] = [reference = *reference, callback, context](auto error) {
            const quint16 port = qToBigEndian<quint16>(4660);
            callback(reference, 0, 7, error, "full", "desk.local.", port, 0, nullptr, context);
        };
    }
    return result;
}

DNSServiceErrorType startQuery(DNSServiceRef *reference, DNSServiceFlags flags, uint32_t interface,
                               const char *host, uint16_t type, uint16_t dnsClass,
                               DNSServiceQueryRecordReply callback, void *context)
{
    const auto result = service.start(reference, u"look up %1 %2 %3 type %4 class %5"_s.arg(flags)
                                                     .arg(interface)
                                                     .arg(QLatin1StringView(host))
                                                     .arg(type)
                                                     .arg(dnsClass));
    if (result == kDNSServiceErr_NoError) {
        service.looking[*reference] = [reference = *reference, callback,
                                       context](auto added, auto error, auto length) {
            const quint8 address[] = {192, 0, 2, 17, 0, 0, 0, 0};
            callback(reference, added, 7, error, "full", 1, 1, length, address, 60, context);
        };
    }
    return result;
}

int descriptorOf(DNSServiceRef reference)
{
    return reference->descriptor;
}

DNSServiceErrorType giveReply(DNSServiceRef reference)
{
    quint64 count = 0;
    if (::read(reference->descriptor, &count, sizeof count) != ssize_t{sizeof count}) {
        return kDNSServiceErr_Unknown;
    }
    const DNSServiceErrorType result = reference->result;
    if (reference->reply) {
        reference->reply();
    }
    return result;
}

void giveBack(DNSServiceRef reference)
{
    std::erase(service.running, reference);
    ::close(reference->descriptor);
    delete reference;
}

} // namespace

// Takes precedence over the function of the library, which loads the system's service.
const DnsSd *DnsSd::get()
{
    static const DnsSd functions{startBrowsing, startResolving, startQuery,
                                 descriptorOf,  giveReply,      giveBack};
    return service.exists ? &functions : nullptr;
}

/// What the browser asks the discovery service, and what it reports of the answers.
class tst_ServerBrowser : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aServerIsResolvedThenLookedUpThenFound();
    void onlyTheNextQuestionIsOpen();
    void aServerSeenAtTwoPlacesIsFoundOnceAndGoneOnce();
    void aServerThatComesBackIsFoundAgain();
    void whatIsNoAddressIsNotFound_data();
    void whatIsNoAddressIsNotFound();
    void aNameThatCannotBeResolvedIsGone();
    void anUnknownNameThatGoesIsNoNews();
    void aMissingServiceFails_data();
    void aMissingServiceFails();
    void aServiceThatEndsFailsOnce();

private:
    void browsed(DNSServiceFlags flags, const QString &name,
                 DNSServiceErrorType error = kDNSServiceErr_NoError);
    void resolved(DNSServiceErrorType error = kDNSServiceErr_NoError);
    void lookedUp(DNSServiceFlags flags = kDNSServiceFlagsAdd,
                  DNSServiceErrorType error = kDNSServiceErr_NoError, uint16_t length = 4);

    std::unique_ptr<ServerBrowser> browser;
    QList<ServerAddress> foundServers;
    QStringList goneNames;
    QStringList problems;
};

void tst_ServerBrowser::init()
{
    service = {};
    foundServers.clear();
    goneNames.clear();
    problems.clear();
    browser = std::make_unique<ServerBrowser>();
    connect(browser.get(), &ServerBrowser::found, this,
            [this](const ServerAddress &server) { foundServers += server; });
    connect(browser.get(), &ServerBrowser::gone, this,
            [this](const QString &name) { goneNames += name; });
    connect(browser.get(), &ServerBrowser::failed, this,
            [this](const QString &problem) { problems += problem; });
}

/// Every operation is ended.
void tst_ServerBrowser::cleanup()
{
    browser.reset();
    QCOMPARE(service.runningQuestions(), QStringList());
}

void tst_ServerBrowser::browsed(DNSServiceFlags flags, const QString &name,
                                DNSServiceErrorType error)
{
    Operation *operation = service.running.front();
    service.give(operation, [=] { service.browsing[operation](flags, error, name); });
}

void tst_ServerBrowser::resolved(DNSServiceErrorType error)
{
    Operation *operation = service.latest();
    service.give(operation, [=] { service.resolving[operation](error); });
}

void tst_ServerBrowser::lookedUp(DNSServiceFlags flags, DNSServiceErrorType error, uint16_t length)
{
    Operation *operation = service.latest();
    service.give(operation, [=] { service.looking[operation](flags, error, length); });
}

void tst_ServerBrowser::aServerIsResolvedThenLookedUpThenFound()
{
    browser->start();
    browsed(kDNSServiceFlagsAdd, u"Ada\u2019s desk"_s);
    resolved();
    QVERIFY(foundServers.isEmpty());
    lookedUp();
    QCOMPARE(service.asked, QStringList({u"browse 0 0 _quillmote._tcp everywhere"_s,
                                         u"resolve 0 7 Ada\u2019s desk _quillmote._tcp. local."_s,
                                         u"look up 0 7 desk.local. type 1 class 1"_s}));
    QCOMPARE(foundServers, QList<ServerAddress>({{u"Ada\u2019s desk"_s, u"desk.local."_s,
                                                  QHostAddress(u"192.0.2.17"_s), 4660}}));
    QCOMPARE(goneNames, QStringList());
    QCOMPARE(problems, QStringList());
}

/// An operation that is open when the service ends could crash the program.
void tst_ServerBrowser::onlyTheNextQuestionIsOpen()
{
    browser->start();
    const QString browsing = service.runningQuestions().value(0);
    browsed(kDNSServiceFlagsAdd, u"desk"_s);
    QCOMPARE(service.runningQuestions().size(), 2);
    resolved();
    QCOMPARE(service.runningQuestions(),
             QStringList({browsing, u"look up 0 7 desk.local. type 1 class 1"_s}));
    lookedUp();
    QCOMPARE(service.runningQuestions(), QStringList(browsing));
}

void tst_ServerBrowser::aServerSeenAtTwoPlacesIsFoundOnceAndGoneOnce()
{
    browser->start();
    browsed(kDNSServiceFlagsAdd, u"desk"_s);
    browsed(kDNSServiceFlagsAdd | kDNSServiceFlagsMoreComing, u"desk"_s);
    QCOMPARE(service.asked.size(), 2);
    resolved();
    lookedUp();
    browsed(0, u"desk"_s);
    QCOMPARE(goneNames, QStringList());
    browsed(kDNSServiceFlagsMoreComing, u"desk"_s);
    QCOMPARE(goneNames, QStringList(u"desk"_s));
    QCOMPARE(foundServers.size(), 1);
    browsed(0, u"desk"_s);
    QCOMPARE(goneNames.size(), 1);
}

void tst_ServerBrowser::aServerThatComesBackIsFoundAgain()
{
    browser->start();
    for (int round = 1; round <= 2; ++round) {
        browsed(kDNSServiceFlagsAdd, u"desk"_s);
        resolved();
        lookedUp();
        browsed(0, u"desk"_s);
        QCOMPARE(foundServers.size(), round);
        QCOMPARE(goneNames.size(), round);
    }
}

void tst_ServerBrowser::whatIsNoAddressIsNotFound_data()
{
    QTest::addColumn<uint>("flags");
    QTest::addColumn<int>("error");
    QTest::addColumn<uint>("length");
    QTest::newRow("one that is taken back") << 0U << 0 << 4U;
    QTest::newRow("one that is taken back, more to come")
        << uint{kDNSServiceFlagsMoreComing} << 0 << 4U;
    QTest::newRow("an error") << uint{kDNSServiceFlagsAdd} << int{kDNSServiceErr_NoSuchName} << 4U;
    QTest::newRow("too short") << uint{kDNSServiceFlagsAdd} << 0 << 3U;
    QTest::newRow("too long") << uint{kDNSServiceFlagsAdd} << 0 << 5U;
}

void tst_ServerBrowser::whatIsNoAddressIsNotFound()
{
    QFETCH(uint, flags);
    QFETCH(int, error);
    QFETCH(uint, length);
    browser->start();
    browsed(kDNSServiceFlagsAdd, u"desk"_s);
    resolved();
    lookedUp(flags, error, static_cast<uint16_t>(length));
    QVERIFY(foundServers.isEmpty());
    // It keeps looking.
    lookedUp();
    QCOMPARE(foundServers.size(), 1);
}

void tst_ServerBrowser::aNameThatCannotBeResolvedIsGone()
{
    browser->start();
    browsed(kDNSServiceFlagsAdd, u"desk"_s);
    resolved(kDNSServiceErr_NoSuchName);
    QCOMPARE(goneNames, QStringList(u"desk"_s));
    QVERIFY(foundServers.isEmpty());
    QCOMPARE(service.asked.size(), 2);
    QCOMPARE(service.running.size(), size_t(1));
}

void tst_ServerBrowser::anUnknownNameThatGoesIsNoNews()
{
    browser->start();
    browsed(0, u"desk"_s);
    QCOMPARE(goneNames, QStringList());
    QCOMPARE(service.asked.size(), 1);
}

void tst_ServerBrowser::aMissingServiceFails_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<int>("refusal");
    QTest::newRow("no library") << false << 0;
    QTest::newRow("no daemon") << true << int{kDNSServiceErr_Unknown};
}

/// From the event loop, so that the caller can connect first.
void tst_ServerBrowser::aMissingServiceFails()
{
    QFETCH(bool, exists);
    QFETCH(int, refusal);
    service.exists = exists;
    service.refusal = refusal;
    browser->start();
    QCOMPARE(problems.size(), 0);
    QTRY_COMPARE(problems.size(), 1);
    QVERIFY2(problems[0].contains(u"not running"_s), qPrintable(problems[0]));
    service.exists = true;
}

void tst_ServerBrowser::aServiceThatEndsFailsOnce()
{
    browser->start();
    browsed(0, QString(), kDNSServiceErr_Unknown);
    QCOMPARE(problems.size(), 1);
    Operation *operation = service.latest();
    service.give(operation, {}, kDNSServiceErr_Unknown);
    QCOMPARE(problems.size(), 2);
    // Its descriptor stays readable for ever, which must not keep the program busy.
    service.give(operation, {}, kDNSServiceErr_Unknown);
    QCOMPARE(problems.size(), 2);
}

QTEST_GUILESS_MAIN(tst_ServerBrowser)
#include "tst_ServerBrowser.moc"
