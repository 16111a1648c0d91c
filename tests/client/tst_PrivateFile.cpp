// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The files of the program: its identity and the server used last.

#include "lib/PrivateFile.h"

#include "program/DeviceIdentity.h"
#include "program/LastServer.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

constexpr auto fileOfOwner =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

class tst_PrivateFile : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void aFileIsItsOwnersOnly();
    void aFileIsReplacedAsAWhole();
    void whatIsThereFirstStays();
    void largeFilesAndFoldersReadAsNothing();
    void aPlaceThatCannotBeWrittenIsAProblem();
    void theIdentityIsMadeOnceAtRandom();
    void aFileThatHoldsNoIdentityIsReplaced_data();
    void aFileThatHoldsNoIdentityIsReplaced();
    void anIdentityThatCannotBeKeptIsAProblem();
    void theLastServerIsRemembered_data();
    void theLastServerIsRemembered();
    void garbageIsNoLastServer_data();
    void garbageIsNoLastServer();

private:
    QString path(const QString &name) const { return folder->filePath(name); }
    QString identityPath() const { return path(u"config/quillmote/identity"_s); }
    QString lastServerPath() const { return path(u"cache/quillmote/last-server.json"_s); }

    std::unique_ptr<QTemporaryDir> folder;
};

void tst_PrivateFile::init()
{
    folder = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(path(u"config"_s)));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(path(u"cache"_s)));
}

void tst_PrivateFile::aFileIsItsOwnersOnly()
{
    for (const bool isCreated : {true, false}) {
        const QString file = path(isCreated ? u"a/b/created"_s : u"c/d/replaced"_s);
        QCOMPARE(isCreated ? PrivateFile::create(file, "x") : PrivateFile::replace(file, "x"),
                 QString());
        QCOMPARE(PrivateFile::read(file), QByteArray("x"));
        QCOMPARE(QFile::permissions(file), fileOfOwner);
        QCOMPARE(QFile::permissions(QFileInfo(file).path()),
                 fileOfOwner | QFile::ExeOwner | QFile::ExeUser);
        // No unfinished file is left.
        QCOMPARE(QFileInfo(file).dir().entryList(QDir::Files).size(), 1);
    }
}

void tst_PrivateFile::aFileIsReplacedAsAWhole()
{
    const QString file = path(u"file"_s);
    QVERIFY(write(file, "a longer text"));
    QVERIFY(QFile::setPermissions(file, fileOfOwner | QFile::ReadOther));
    QCOMPARE(PrivateFile::replace(file, "short"), QString());
    QCOMPARE(contentOf(file), QByteArray("short"));
    QCOMPARE(QFile::permissions(file), fileOfOwner);
}

void tst_PrivateFile::whatIsThereFirstStays()
{
    const QString file = path(u"file"_s);
    QCOMPARE(PrivateFile::create(file, "first"), QString());
    QCOMPARE(PrivateFile::create(file, "second"), QString());
    QCOMPARE(contentOf(file), QByteArray("first"));
    QCOMPARE(QDir(folder->path()).entryList(QDir::Files), QStringList{u"file"_s});
}

void tst_PrivateFile::largeFilesAndFoldersReadAsNothing()
{
    QCOMPARE(PrivateFile::read(path(u"absent"_s)), QByteArray());
    QCOMPARE(PrivateFile::read(folder->path()), QByteArray());
    QVERIFY(write(path(u"large"_s), QByteArray(4097, 'x')));
    QCOMPARE(PrivateFile::read(path(u"large"_s)), QByteArray());
    QVERIFY(write(path(u"full"_s), QByteArray(4096, 'x')));
    QCOMPARE(PrivateFile::read(path(u"full"_s)).size(), 4096);
    QCOMPARE(PrivateFile::read(path(u"large"_s), 5000).size(), 4097);
    QCOMPARE(PrivateFile::read(path(u"full"_s), 4095), QByteArray());
}

void tst_PrivateFile::aPlaceThatCannotBeWrittenIsAProblem()
{
    QVERIFY(write(path(u"file"_s), "x"));
    QVERIFY(!PrivateFile::replace(path(u"file/below"_s), "y").isEmpty());
    QVERIFY(!PrivateFile::create(path(u"file/below"_s), "y").isEmpty());
    QVERIFY(!PrivateFile::replace(folder->path(), "y").isEmpty());
}

void tst_PrivateFile::theIdentityIsMadeOnceAtRandom()
{
    const DeviceIdentity first = DeviceIdentity::get();
    QCOMPARE(first.problem, QString());
    const QRegularExpression form(u"^quillmote-[0-9a-f]{32}$"_s);
    QVERIFY2(form.match(first.text).hasMatch(), qPrintable(first.text));
    QCOMPARE(DeviceIdentity::get().text, first.text);
    QCOMPARE(contentOf(identityPath()), first.text.toLatin1() + '\n');
    QCOMPARE(QFile::permissions(identityPath()), fileOfOwner);
    QVERIFY(QFile::remove(identityPath()));
    QVERIFY(DeviceIdentity::get().text != first.text);
}

void tst_PrivateFile::aFileThatHoldsNoIdentityIsReplaced_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut") << QByteArray("quillmote-0123");
    QTest::newRow("long") << "quillmote-" + QByteArray(33, 'a');
    QTest::newRow("two lines") << "quillmote-" + QByteArray(32, 'a') + "\nx";
    QTest::newRow("bytes") << QByteArray("\xff\x00\x1b", 3);
    QTest::newRow("large") << QByteArray(100'000, 'a');
}

void tst_PrivateFile::aFileThatHoldsNoIdentityIsReplaced()
{
    QFETCH(QByteArray, content);
    QVERIFY(write(identityPath(), content));
    const DeviceIdentity identity = DeviceIdentity::get();
    QCOMPARE(identity.problem, QString());
    QCOMPARE(contentOf(identityPath()), identity.text.toLatin1() + '\n');
}

void tst_PrivateFile::anIdentityThatCannotBeKeptIsAProblem()
{
    QVERIFY(write(path(u"config"_s), "a file, no folder"));
    const DeviceIdentity identity = DeviceIdentity::get();
    QVERIFY(!identity.problem.isEmpty());
    QVERIFY(identity.text.startsWith(u"quillmote-"_s));
}

void tst_PrivateFile::theLastServerIsRemembered_data()
{
    QTest::addColumn<QString>("name");
    for (const QStringView name : {u"den", u"den #2", u"caf\u00e9 \"x\"", u"a\x1b[2Jb"}) {
        QTest::addRow("%s", name.toUtf8().constData()) << name.toString();
    }
}

void tst_PrivateFile::theLastServerIsRemembered()
{
    QFETCH(QString, name);
    QCOMPARE(LastServer::name(), QString());
    LastServer::remember(name);
    QCOMPARE(LastServer::name(), name);
    QCOMPARE(QFile::permissions(lastServerPath()), fileOfOwner);
    LastServer::remember(u"other"_s);
    QCOMPARE(LastServer::name(), u"other"_s);
}

void tst_PrivateFile::garbageIsNoLastServer_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("den");
    QTest::newRow("cut") << QByteArray(R"({"name":"de)");
    QTest::newRow("list") << QByteArray(R"(["den"])");
    QTest::newRow("number") << QByteArray(R"({"name":5})");
    QTest::newRow("longer than names are") << R"({"name":")" + QByteArray(64, 'x') + R"("})";
    QTest::newRow("bytes") << QByteArray("\xff\x00\x1b", 3);
}

void tst_PrivateFile::garbageIsNoLastServer()
{
    QFETCH(QByteArray, content);
    QVERIFY(write(lastServerPath(), content));
    QCOMPARE(LastServer::name(), QString());
    LastServer::remember(u"den"_s);
    QCOMPARE(LastServer::name(), u"den"_s);
}

QTEST_GUILESS_MAIN(tst_PrivateFile)
#include "tst_PrivateFile.moc"
