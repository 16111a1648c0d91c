// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionFiles.h"

#include "loop/Turns.h"
#include "support/Folders.h"
#include "support/Waiting.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

QString error(const std::optional<SessionReply> &reply)
{
    return reply ? reply->error : u"no answer"_s;
}

} // namespace

class tst_SessionFiles : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void aFileComesInPieces();
    void aPieceMayComeInParts();
    void aPartThatFailsFailsThePiece();
    void transfersDoNotMix();
    void anEmptyFileTakesAnEmptyPiece();
    void anExistingNameGetsANumber();
    void aFileIsOpenedWhenThatWasAsked_data();
    void aFileIsOpenedWhenThatWasAsked();
    void namesThatAreNoneAreRefused_data();
    void namesThatAreNoneAreRefused();
    void requestsOfAnotherFormAreRefused_data();
    void requestsOfAnotherFormAreRefused();
    void moreThanAnnouncedEndsTheTransfer();
    void aCancelledTransferLeavesNothing();
    void theSessionsEndLeavesNothing();
    void transfersCountOverAllSessions();
    void descriptorsAreAskedForAndGivenBack();
    void aDirectoryThatCannotBeUsedIsNamed_data();
    void aDirectoryThatCannotBeUsedIsNamed();
    void aDirectoryThatVanishesFailsTheTransfer();

    void filesAreListedInParts();
    void aListIsReadInStepsWhileOthersAreServed();
    void aListEndsWithTheSession();
    void aFileIsReadInParts();
    void whatIsNoFileIsNotFound();
    void draftsOfKilledServersAreRemoved();

private:
    using Request = void (SessionFiles::*)(const SessionRequest &, const SessionAnswer &);

    std::unique_ptr<SessionFiles> makeSession()
    {
        return std::make_unique<SessionFiles>(FileServices{[this] { return directory; },
                                                           [this]() -> std::shared_ptr<void> {
                                                               if (descriptors.use_count() >
                                                                   descriptorLimit) {
                                                                   return nullptr;
                                                               }
                                                               return descriptors;
                                                           },
                                                           [this](const QUrl &address) {
                                                               opened.append(address);
                                                               return isOpenerWilling;
                                                           },
                                                           *transfers});
    }
    static std::optional<SessionReply> ask(SessionFiles &session, Request request,
                                           const QJsonObject &fields,
                                           const std::optional<QByteArray> &body = {})
    {
        std::optional<SessionReply> reply;
        (session.*request)({1, {}, fields, body},
                           [&](const SessionReply &given) { reply = given; });
        waitUntil([&] { return reply.has_value(); });
        return reply;
    }
    std::optional<SessionReply> begin(const QString &name, qint64 size, bool mustOpen = false)
    {
        return ask(*session, &SessionFiles::put,
                   {{u"name"_s, name}, {u"size"_s, size}, {u"open"_s, mustOpen}});
    }
    std::optional<SessionReply> append(const QJsonValue &file, const QByteArray &bytes)
    {
        return ask(*session, &SessionFiles::put, {{u"file"_s, file}}, bytes);
    }
    QJsonValue begun(const QString &name, qint64 size, bool mustOpen = false)
    {
        return begin(name, size, mustOpen)->fields.value(u"file"_s);
    }
    QStringList names() const
    {
        return QDir(directory).entryList(QDir::AllEntries | QDir::System | QDir::Hidden |
                                         QDir::NoDotAndDotDot);
    }
    QString path(const QString &name) const { return directory + u'/' + name; }

    std::unique_ptr<QTemporaryDir> base;
    QString directory;
    std::shared_ptr<int> descriptors;
    long descriptorLimit = 1000;
    QList<QUrl> opened;
    bool isOpenerWilling = true;
    std::unique_ptr<SharedAmount> transfers;
    std::unique_ptr<SessionFiles> session;
};

void tst_SessionFiles::init()
{
    base = std::make_unique<QTemporaryDir>();
    directory = base->filePath(u"in"_s);
    QVERIFY(QDir().mkdir(directory));
    descriptors = std::make_shared<int>(0);
    descriptorLimit = 1000;
    opened.clear();
    isOpenerWilling = true;
    transfers = std::make_unique<SharedAmount>(SessionFiles::transfersOfAllSessions);
    session = makeSession();
}

void tst_SessionFiles::cleanup()
{
    session.reset();
    QCOMPARE(transfers->total(), 0);
    QCOMPARE(descriptors.use_count(), 1);
    base.reset();
}

void tst_SessionFiles::aFileComesInPieces()
{
    const QJsonValue file = begun(u"a.bin"_s, 6);
    QVERIFY(file.isDouble());
    QCOMPARE(append(file, QByteArray("a\0b", 3))->fields, (QJsonObject{{u"received"_s, 3}}));
    QCOMPARE(append(file, "")->fields, (QJsonObject{{u"received"_s, 3}}));
    QVERIFY(!QFile::exists(path(u"a.bin"_s)));
    QCOMPARE(append(file, "\r\n\xff")->fields,
             (QJsonObject{{u"received"_s, 6}, {u"complete"_s, true}, {u"name"_s, u"a.bin"_s}}));
    QCOMPARE(Folders::fileBytes(path(u"a.bin"_s)), QByteArray("a\0b\r\n\xff", 6));
    QCOMPARE(names(), QStringList(u"a.bin"_s));
    QCOMPARE(error(append(file, "")), u"not-found"_s);
    QCOMPARE(opened, QList<QUrl>());
}

void tst_SessionFiles::aPieceMayComeInParts()
{
    const QJsonValue file = begun(u"a"_s, 6);
    const SessionRequest piece{1, {}, {{u"file"_s, file}}, {}};
    session->takePart(piece, "ab");
    session->takePart(piece, "cd");
    QVERIFY(!QFile::exists(path(u"a"_s)));
    QVERIFY(append(file, "ef")->fields.value(u"complete"_s).toBool());
    QCOMPARE(Folders::fileBytes(path(u"a"_s)), QByteArray("abcdef"));
    // Of a transfer that is over, and of none.
    session->takePart(piece, "g");
    session->takePart({1, {}, {{u"file"_s, u"a"_s}}, {}}, "g");
    QCOMPARE(Folders::fileBytes(path(u"a"_s)), QByteArray("abcdef"));
}

void tst_SessionFiles::aPartThatFailsFailsThePiece()
{
    const QJsonValue file = begun(u"a"_s, 3);
    const SessionRequest piece{1, {}, {{u"file"_s, file}}, {}};
    session->takePart(piece, "1234");
    session->takePart(piece, "1");
    // Would fit, had nothing been lost before it.
    QCOMPARE(error(append(file, "123")), u"bad-request"_s);
    QCOMPARE(error(append(file, "")), u"not-found"_s);
    QCOMPARE(names(), QStringList());
    QCOMPARE(transfers->total(), 0);
}

void tst_SessionFiles::transfersDoNotMix()
{
    const QJsonValue one = begun(u"one"_s, 4);
    const QJsonValue two = begun(u"two"_s, 4);
    QVERIFY(one != two);
    append(one, "11");
    append(two, "22");
    auto other = makeSession();
    QCOMPARE(error(ask(*other, &SessionFiles::put, {{u"file"_s, one}}, "xx")), u"not-found"_s);
    QCOMPARE(error(ask(*other, &SessionFiles::cancel, {{u"file"_s, one}})), u"not-found"_s);
    append(two, "22");
    append(one, "11");
    QCOMPARE(Folders::fileBytes(path(u"one"_s)), QByteArray("1111"));
    QCOMPARE(Folders::fileBytes(path(u"two"_s)), QByteArray("2222"));
}

void tst_SessionFiles::anEmptyFileTakesAnEmptyPiece()
{
    const QJsonValue file = begun(u"empty"_s, 0);
    QVERIFY(!QFile::exists(path(u"empty"_s)));
    QVERIFY(append(file, "")->fields.value(u"complete"_s).toBool());
    QVERIFY(QFile::exists(path(u"empty"_s)));
}

void tst_SessionFiles::anExistingNameGetsANumber()
{
    QVERIFY(Folders::write(path(u"\u00e4.txt"_s), "mine"));
    const auto reply = append(begun(u"\u00e4.txt"_s, 1), "x");
    QCOMPARE(reply->fields.value(u"name"_s), QJsonValue(u"\u00e4 (2).txt"_s));
    QCOMPARE(Folders::fileBytes(path(u"\u00e4.txt"_s)), QByteArray("mine"));
}

void tst_SessionFiles::aFileIsOpenedWhenThatWasAsked_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isWilling");
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("plain") << u"a.txt"_s << true << QByteArray("/in/a.txt");
    QTest::newRow("opener is busy") << u"a.txt"_s << false << QByteArray("/in/a.txt");
    QTest::newRow("signs of addresses")
        << u"100%41?b#c"_s << true << QByteArray("/in/100%2541%3Fb%23c");
    QTest::newRow("option") << u"--help"_s << true << QByteArray("/in/--help");
    QTest::newRow("another address")
        << u"javascript:alert(1)"_s << true << QByteArray("/in/javascript:alert(1)");
}

void tst_SessionFiles::aFileIsOpenedWhenThatWasAsked()
{
    QFETCH(QString, name);
    QFETCH(bool, isWilling);
    QFETCH(QByteArray, end);
    isOpenerWilling = isWilling;
    const QJsonValue file = begun(name, 1, true);
    QCOMPARE(opened, QList<QUrl>());
    QCOMPARE(append(file, "x")->fields.value(u"opened"_s), QJsonValue(isWilling));
    QCOMPARE(opened.size(), 1);
    QCOMPARE(opened.first().toEncoded(), "file://" + base->path().toUtf8() + end);
    // As the text that the server hands over.
    QCOMPARE(QUrl(QString::fromUtf8(opened.first().toEncoded())).toLocalFile(), path(name));
}

void tst_SessionFiles::namesThatAreNoneAreRefused_data()
{
    QTest::addColumn<QJsonValue>("name");
    const auto row = [](const char *title, const QJsonValue &name) {
        QTest::newRow(title) << name;
    };
    row("missing", QJsonValue(QJsonValue::Undefined));
    row("number", 1);
    row("empty", u""_s);
    row("dot", u"."_s);
    row("two dots", u".."_s);
    row("climbs", u"../a"_s);
    row("folder", u"a/b"_s);
    row("absolute", u"/tmp/a"_s);
    row("zero", u"a\0b"_s);
    row("line feed", u"a\n"_s);
    row("half of a pair", QString(QChar(0xd83d)));
    row("too long", QString(128, u'\u00e4'));
    row("a draft's", u".vornaserver-a.part"_s);
}

void tst_SessionFiles::namesThatAreNoneAreRefused()
{
    QFETCH(QJsonValue, name);
    QCOMPARE(error(ask(*session, &SessionFiles::put, {{u"name"_s, name}, {u"size"_s, 1}})),
             u"bad-request"_s);
    QCOMPARE(error(ask(*session, &SessionFiles::get, {{u"name"_s, name}})), u"bad-request"_s);
    QCOMPARE(names(), QStringList());
}

void tst_SessionFiles::requestsOfAnotherFormAreRefused_data()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QJsonObject>("fields");
    QTest::addColumn<bool>("hasBody");
    const auto row = [](const char *title, Request request, const QJsonObject &fields,
                        bool hasBody = false) {
        QTest::newRow(title) << request << fields << hasBody;
    };
    const QJsonObject named{{u"name"_s, u"a"_s}, {u"size"_s, 1}};
    const auto with = [](QJsonObject fields, const QString &name, const QJsonValue &value) {
        fields.insert(name, value);
        return fields;
    };
    row("no size", &SessionFiles::put, {{u"name"_s, u"a"_s}});
    row("size below zero", &SessionFiles::put, with(named, u"size"_s, -1));
    row("half a byte", &SessionFiles::put, with(named, u"size"_s, 0.5));
    row("inexact size", &SessionFiles::put, with(named, u"size"_s, 1e19));
    row("open is a number", &SessionFiles::put, with(named, u"open"_s, 1));
    row("begins with a body", &SessionFiles::put, named, true);
    row("piece without a body", &SessionFiles::put, {{u"file"_s, 1}});
    row("file is a text", &SessionFiles::put, {{u"file"_s, u"1"_s}}, true);
    row("cancel nothing", &SessionFiles::cancel, {});
    row("list after a number", &SessionFiles::list, {{u"after"_s, 1}});
    row("get before the beginning", &SessionFiles::get, with(named, u"offset"_s, -1));
    row("get too much", &SessionFiles::get, with(named, u"length"_s, 1'048'577));
    row("get less than nothing", &SessionFiles::get, with(named, u"length"_s, -1));
}

void tst_SessionFiles::requestsOfAnotherFormAreRefused()
{
    QFETCH(Request, request);
    QFETCH(QJsonObject, fields);
    QFETCH(bool, hasBody);
    QVERIFY(Folders::write(path(u"a"_s), "mine"));
    const auto body = hasBody ? std::optional(QByteArray("x")) : std::nullopt;
    QCOMPARE(error(ask(*session, request, fields, body)), u"bad-request"_s);
    QCOMPARE(names(), QStringList(u"a"_s));
}

void tst_SessionFiles::moreThanAnnouncedEndsTheTransfer()
{
    const QJsonValue file = begun(u"a"_s, 3);
    append(file, "12");
    QCOMPARE(error(append(file, "34")), u"bad-request"_s);
    QCOMPARE(names(), QStringList());
    QCOMPARE(error(append(file, "3")), u"not-found"_s);
    QCOMPARE(transfers->total(), 0);
}

void tst_SessionFiles::aCancelledTransferLeavesNothing()
{
    const QJsonValue file = begun(u"a"_s, 3);
    append(file, "12");
    QCOMPARE(names().size(), 1);
    QCOMPARE(error(ask(*session, &SessionFiles::cancel, {{u"file"_s, file}})), QString());
    QCOMPARE(names(), QStringList());
    QCOMPARE(error(ask(*session, &SessionFiles::cancel, {{u"file"_s, file}})), u"not-found"_s);
}

void tst_SessionFiles::theSessionsEndLeavesNothing()
{
    append(begun(u"a"_s, 3), "12");
    append(begun(u"b"_s, 3), "123");
    session.reset();
    QCOMPARE(names(), QStringList(u"b"_s));
}

void tst_SessionFiles::transfersCountOverAllSessions()
{
    const auto other = makeSession();
    for (int i = 1; i < 64; ++i) {
        QCOMPARE(error(begin(QString::number(i), 1)), QString());
    }
    const QJsonObject fields{{u"name"_s, u"a"_s}, {u"size"_s, 1}};
    QCOMPARE(error(ask(*other, &SessionFiles::put, fields)), QString());
    QCOMPARE(error(begin(u"b"_s, 1)), u"too-much"_s);
    QCOMPARE(error(append(1, "x")), QString());
    QCOMPARE(error(begin(u"b"_s, 1)), QString());
    QCOMPARE(error(begin(u"c"_s, 1)), u"too-much"_s);
}

void tst_SessionFiles::descriptorsAreAskedForAndGivenBack()
{
    QVERIFY(Folders::write(path(u"there"_s), "x"));
    // The directory's and the file's.
    descriptorLimit = 2;
    const QJsonValue file = begun(u"a"_s, 1);
    QCOMPARE(descriptors.use_count(), 3);
    QCOMPARE(error(begin(u"b"_s, 1)), u"too-much"_s);
    QCOMPARE(error(ask(*session, &SessionFiles::get, {{u"name"_s, u"there"_s}})), u"too-much"_s);
    QCOMPARE(error(ask(*session, &SessionFiles::list, {})), u"too-much"_s);
    QCOMPARE(names().size(), 2);
    append(file, "x");
    QCOMPARE(descriptors.use_count(), 1);
    QCOMPARE(error(ask(*session, &SessionFiles::get, {{u"name"_s, u"there"_s}})), QString());
    QCOMPARE(error(ask(*session, &SessionFiles::list, {})), QString());
    QCOMPARE(error(begin(u"b"_s, 1)), QString());
}

void tst_SessionFiles::aDirectoryThatCannotBeUsedIsNamed_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("missing") << u"/nonexistent/folder"_s;
    QTest::newRow("relative") << u"Downloads"_s;
    QTest::newRow("file") << u"/etc/passwd"_s;
    QTest::newRow("read-only") << u"/sys"_s;
}

void tst_SessionFiles::aDirectoryThatCannotBeUsedIsNamed()
{
    QFETCH(QString, place);
    directory = place;
    const auto reply = begin(u"a"_s, 1);
    QCOMPARE(error(reply), u"failed"_s);
    QVERIFY2(reply->message.contains(place), qPrintable(reply->message));
}

void tst_SessionFiles::aDirectoryThatVanishesFailsTheTransfer()
{
    const QJsonValue file = begun(u"a"_s, 2);
    append(file, "1");
    QVERIFY(QDir(directory).removeRecursively());
    QCOMPARE(error(append(file, "2")), u"failed"_s);
    QCOMPARE(error(append(file, "2")), u"not-found"_s);
    QVERIFY(!QDir(directory).exists());
}

void tst_SessionFiles::filesAreListedInParts()
{
    for (int i = 0; i < 1003; ++i) {
        QVERIFY(Folders::write(path(QString::number(10'000 + i).last(4)), QByteArray(i % 5, 'x')));
    }
    QVERIFY(QDir(directory).mkdir(u"folder"_s));
    QVERIFY(QFile::link(u"0000"_s, path(u"link"_s)));
    begin(u"comes"_s, 5);
    const auto first = ask(*session, &SessionFiles::list, {});
    const QJsonArray files = first->fields.value(u"files"_s).toArray();
    QCOMPARE(files.size(), 1000);
    QCOMPARE(first->fields.value(u"more"_s), QJsonValue(true));
    QCOMPARE(files.at(7)[u"name"_s], QJsonValue(u"0007"_s));
    QCOMPARE(files.at(7)[u"size"_s], QJsonValue(2));
    const qint64 age = QDateTime::currentMSecsSinceEpoch() - files.at(7)[u"modified"_s].toInteger();
    QVERIFY2(age >= -1000 && age < 60'000, qPrintable(QString::number(age)));
    const auto rest = ask(*session, &SessionFiles::list, {{u"after"_s, u"0999"_s}});
    QCOMPARE(rest->fields.value(u"files"_s).toArray().size(), 3);
    QVERIFY(!rest->fields.contains(u"more"_s));
}

void tst_SessionFiles::aListIsReadInStepsWhileOthersAreServed()
{
    for (int i = 0; i < 5000; ++i) {
        QVERIFY(Folders::write(path(QString::number(i)), {}));
    }
    std::optional<SessionReply> reply;
    session->list({}, [&](const SessionReply &given) { reply = given; });
    QVERIFY(!reply);
    QVERIFY(waitUntil([&] { return reply.has_value(); }));
    QCOMPARE(reply->fields.value(u"files"_s).toArray().size(), 1000);
}

void tst_SessionFiles::aListEndsWithTheSession()
{
    for (int i = 0; i < 5000; ++i) {
        QVERIFY(Folders::write(path(QString::number(i)), {}));
    }
    bool isAnswered = false;
    session->list({}, [&](const SessionReply &) { isAnswered = true; });
    QVERIFY(descriptors.use_count() > 1);
    session.reset();
    QVERIFY(waitUntil([this] { return descriptors.use_count() == 1; }));
    QVERIFY(!isAnswered);
}

void tst_SessionFiles::aFileIsReadInParts()
{
    QVERIFY(Folders::write(path(u"a"_s), QByteArray(1'048'576, 'a') + "bc"));
    const auto get = [this](const QJsonObject &range) {
        QJsonObject fields = range;
        fields.insert(u"name"_s, u"a"_s);
        return ask(*session, &SessionFiles::get, fields);
    };
    QCOMPARE(get({})->body, std::optional(QByteArray(1'048'576, 'a')));
    QCOMPARE(get({})->fields, (QJsonObject{{u"size"_s, 1'048'578}}));
    QCOMPARE(get({{u"offset"_s, 1'048'576}})->body, std::optional(QByteArray("bc")));
    QCOMPARE(get({{u"offset"_s, 1'048'575}, {u"length"_s, 2}})->body,
             std::optional(QByteArray("ab")));
    QCOMPARE(get({{u"offset"_s, 1'048'578}})->body, std::optional(QByteArray()));
    QCOMPARE(get({{u"offset"_s, 9e15}})->body, std::optional(QByteArray()));
}

void tst_SessionFiles::whatIsNoFileIsNotFound()
{
    QVERIFY(Folders::write(base->filePath(u"outside"_s), "mine"));
    QVERIFY(QFile::link(base->filePath(u"outside"_s), path(u"link"_s)));
    QVERIFY(QDir(directory).mkdir(u"folder"_s));
    QCOMPARE(mkfifo(qPrintable(path(u"pipe"_s)), 0600), 0);
    for (const auto &name : {u"link"_s, u"folder"_s, u"pipe"_s, u"missing"_s}) {
        QCOMPARE(error(ask(*session, &SessionFiles::get, {{u"name"_s, name}})), u"not-found"_s);
    }
}

void tst_SessionFiles::draftsOfKilledServersAreRemoved()
{
    QVERIFY(Folders::write(path(u".vornaserver-killed.part"_s), "x"));
    begin(u"a"_s, 1);
    Turns turns;
    SessionFiles::removeAbandonedDrafts(directory, turns, this);
    QTRY_COMPARE(names().size(), 1);
    QVERIFY(names().first() != u".vornaserver-killed.part"_s);
    SessionFiles::removeAbandonedDrafts(u"/nonexistent"_s, turns, this);
}

QTEST_GUILESS_MAIN(tst_SessionFiles)
#include "tst_SessionFiles.moc"
