// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "StandIn.h"
#include "platform/SessionStart.h"
#include "platform/mac/AppService.h"
#include "platform/mac/LaunchAgent.h"
#include "support/MessageRecorder.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using platform::LaunchAgent;

namespace {

const QString bundle = u"/Applications/VornaServer.app"_s;

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// How another reader of property lists reads the file.
QString readAsPropertyList(const QString &fileName)
{
    QProcess python;
    python.start(u"python3"_s, {u"-c"_s,
                                u"import plistlib, json, sys\n"
                                "print(json.dumps(plistlib.load(open(sys.argv[1], 'rb')), "
                                "sort_keys=True, ensure_ascii=False))"_s,
                                fileName});
    python.waitForFinished();
    return QString::fromUtf8(python.readAllStandardOutput() + python.readAllStandardError())
        .trimmed();
}

} // namespace

/// A system without a register of its own: before macOS 13.
class tst_LaunchAgent : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        standin::reset();
        folder = std::make_unique<QTemporaryDir>();
    }

    void theAgentOpensTheBundleAtLogon_data();
    void theAgentOpensTheBundleAtLogon();
    void enablingAgainLeavesTheFileAsItIs();
    void aBundleThatMovedIsFollowed();
    void disablingRemovesOnlyOurFile();
    void aProgramWithoutABundleIsNotStarted();
    void aFolderThatCannotBeWrittenIsReported();
    void nothingHalfWrittenIsLeftBehind();
    void theUsersAgentsAreUsedWithoutARegister();

private:
    QString agents() const { return folder->filePath(u"LaunchAgents"_s); }
    QString file() const { return agents() + u"/org.example.plist"_s; }
    LaunchAgent agent() const { return LaunchAgent(agents(), u"org.example"_s); }

    std::unique_ptr<QTemporaryDir> folder;
};

void tst_LaunchAgent::theAgentOpensTheBundleAtLogon_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("plain") << bundle;
    QTest::newRow("signs of XML") << "/Users/a&b/<x> \"y\" 'z'/V.app";
    QTest::newRow("end of a section") << "/Users/]]>/V.app";
    QTest::newRow("beyond ASCII") << QString::fromUtf8("/Users/J\xc3\xb6rg \xf0\x9f\x98\x80/V.app");
}

void tst_LaunchAgent::theAgentOpensTheBundleAtLogon()
{
    QFETCH(QString, path);
    agent().setEnabled(true, path);
    const QString quoted = QString(path).replace(u'"', u"\\\""_s);
    QCOMPARE(readAsPropertyList(file()),
             u"{\"Label\": \"org.example\", \"LimitLoadToSessionType\": \"Aqua\", "
             "\"ProgramArguments\": [\"/usr/bin/open\", \"-g\", \""_s +
                 quoted + u"\"], \"RunAtLoad\": true}"_s);
}

void tst_LaunchAgent::enablingAgainLeavesTheFileAsItIs()
{
    agent().setEnabled(true, bundle);
    QFile written(file());
    QVERIFY(written.open(QIODevice::ReadWrite));
    const QDateTime longAgo(QDate(2001, 1, 1), QTime(12, 0));
    QVERIFY(written.setFileTime(longAgo, QFileDevice::FileModificationTime));
    written.close();
    agent().setEnabled(true, bundle);
    QCOMPARE(QFileInfo(file()).lastModified(), longAgo);
}

void tst_LaunchAgent::aBundleThatMovedIsFollowed()
{
    agent().setEnabled(true, bundle);
    agent().setEnabled(true, u"/elsewhere/VornaServer.app"_s);
    QVERIFY(contentOf(file()).contains("/elsewhere/VornaServer.app"));
    QVERIFY(!contentOf(file()).contains("/Applications"));
}

void tst_LaunchAgent::disablingRemovesOnlyOurFile()
{
    LaunchAgent(agents(), u"org.other"_s).setEnabled(true, bundle);
    agent().setEnabled(true, bundle);
    agent().setEnabled(false, bundle);
    agent().setEnabled(false, bundle);
    QCOMPARE(QDir(agents()).entryList(QDir::Files), QStringList(u"org.other.plist"_s));
}

void tst_LaunchAgent::aProgramWithoutABundleIsNotStarted()
{
    agent().setEnabled(true, u"/usr/local/bin"_s);
    agent().setEnabled(true, u""_s);
    QVERIFY(!QFile::exists(file()));
}

void tst_LaunchAgent::aFolderThatCannotBeWrittenIsReported()
{
    QFile inTheWay(agents());
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
    const MessageRecorder messages;
    agent().setEnabled(true, bundle);
    QCOMPARE(messages.warnings().size(), 1);
    QVERIFY2(messages.warnings().first().contains(file()), qPrintable(messages.warnings().first()));
}

/// A new file replaces the old one instead of being written into it: a concurrent reader sees all
/// or nothing.
void tst_LaunchAgent::nothingHalfWrittenIsLeftBehind()
{
    agent().setEnabled(true, u"/old/VornaServer.app"_s);
    QFile reader(file());
    QVERIFY(reader.open(QIODevice::ReadOnly));
    agent().setEnabled(true, bundle);
    QVERIFY(reader.readAll().contains("/old/VornaServer.app</string>"));
    QCOMPARE(QDir(agents()).entryList(QDir::Files | QDir::Hidden),
             QStringList(u"org.example.plist"_s));
}

void tst_LaunchAgent::theUsersAgentsAreUsedWithoutARegister()
{
    QVERIFY(!platform::AppService::isAvailable());
    const QString expected = QDir::homePath() + u"/Library/LaunchAgents/"_s +
                             QStringLiteral(VORNA_BUNDLE_IDENTIFIER) + u".plist"_s;
    platform::makeSessionStart()->setEnabled(true, bundle);
    QVERIFY2(contentOf(expected).contains(VORNA_BUNDLE_IDENTIFIER), qPrintable(expected));
    platform::makeSessionStart()->setEnabled(false, bundle);
    QVERIFY(!QFile::exists(expected));
}

QTEST_GUILESS_MAIN(tst_LaunchAgent)
#include "tst_LaunchAgent.moc"
