// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DesktopEntryBridge.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace platform;
using namespace Qt::StringLiterals;

namespace {

QByteArray entryOf(const QByteArray &name, const QByteArray &moreLines = {})
{
    return "[Desktop Entry]\nType=Application\nExec=/bin/true\nName=" + name + '\n' + moreLines;
}

const QString Finder = u"com.apple.finder"_s;
const QString Music = u"com.apple.iTunes"_s;

} // namespace

/// Which program a bundle identifier stands for, among the entries and lists of an invented
/// desktop.
class tst_DesktopEntryBridge : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void identifierIsTheNameOfAnEntry();
    void userEntryHidesTheSystemsOne();
    void dashInTheNameIsAFolder();
    void identifierLeadsNowhereElse_data();
    void identifierLeadsNowhereElse();
    void entryThatCannotStartIsNone_data();
    void entryThatCannotStartIsNone();
    void entriesAreReadAfresh();

    void finderIsTheFileManager();
    void musicIsTheMusicPlayer();
    void ownEntryComesBeforeTheDefault();
    void deletedEntryGivesWayToTheDefault();
    void otherIdentifiersHaveNoDefault();
    void defaultIsTakenInTheStandardsOrder_data();
    void defaultIsTakenInTheStandardsOrder();
    void defaultThatCannotStartIsPassedOver();
    void removedAssociationIsNotTaken();
    void removalHoldsForLaterFoldersOnly();
    void desktopsOwnListCannotAdd();
    void programForAnotherDesktopIsNotGuessed();
    void noListsAreNoDefault();

private:
    /// Writes a file below the invented root, such as "data/applications/a.desktop".
    void write(const QString &file, const QByteArray &text) const;
    /// "(none)" when there is no application.
    QString nameOf(const QString &identifier) const;

    std::unique_ptr<QTemporaryDir> root;
};

void tst_DesktopEntryBridge::init()
{
    root = std::make_unique<QTemporaryDir>();
}

void tst_DesktopEntryBridge::write(const QString &file, const QByteArray &text) const
{
    const QString path = root->filePath(file);
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile entry(path);
    QVERIFY(entry.open(QIODevice::WriteOnly));
    entry.write(text);
}

QString tst_DesktopEntryBridge::nameOf(const QString &identifier) const
{
    DesktopEntryBridge bridge({
        root->filePath(u"config"_s),
        {root->filePath(u"etc"_s)},
        root->filePath(u"data"_s),
        {root->filePath(u"local"_s), root->filePath(u"usr"_s)},
        {u"Vorna"_s, u"GNOME"_s},
    });
    const auto application = bridge.applicationWithBundleIdentifier(identifier);
    return application == nullptr ? u"(none)"_s : application->name();
}

void tst_DesktopEntryBridge::identifierIsTheNameOfAnEntry()
{
    write(u"usr/applications/org.example.Player.desktop"_s, entryOf("Player"));
    QCOMPARE(nameOf(u"org.example.Player"_s), u"Player"_s);
    QCOMPARE(nameOf(u"org.example.player"_s), u"(none)"_s);
    QCOMPARE(nameOf(u"org.example"_s), u"(none)"_s);
}

void tst_DesktopEntryBridge::userEntryHidesTheSystemsOne()
{
    write(u"usr/applications/a.desktop"_s, entryOf("System"));
    write(u"local/applications/a.desktop"_s, entryOf("Administrator"));
    QCOMPARE(nameOf(u"a"_s), u"Administrator"_s);
    write(u"data/applications/a.desktop"_s, entryOf("User"));
    QCOMPARE(nameOf(u"a"_s), u"User"_s);
    write(u"data/applications/a.desktop"_s, entryOf("User", "Hidden=true\n"));
    QCOMPARE(nameOf(u"a"_s), u"(none)"_s);
}

void tst_DesktopEntryBridge::dashInTheNameIsAFolder()
{
    write(u"usr/applications/a/b/c-d.desktop"_s, entryOf("Inner"));
    QCOMPARE(nameOf(u"a-b-c-d"_s), u"Inner"_s);
    write(u"usr/applications/a-b/c-d.desktop"_s, entryOf("Folder with a dash"));
    QCOMPARE(nameOf(u"a-b-c-d"_s), u"Inner"_s);
    write(u"usr/applications/a-b-c-d.desktop"_s, entryOf("Outer"));
    QCOMPARE(nameOf(u"a-b-c-d"_s), u"Outer"_s);
    write(u"local/applications/a-b/c/d.desktop"_s, entryOf("Earlier"));
    QCOMPARE(nameOf(u"a-b-c-d"_s), u"Earlier"_s);
}

void tst_DesktopEntryBridge::identifierLeadsNowhereElse_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::newRow("empty") << u""_s;
    QTest::newRow("upwards") << u"../outside"_s;
    QTest::newRow("upwards by dashes") << u"..-outside"_s;
    QTest::newRow("absolute") << u"/etc/outside"_s;
    QTest::newRow("folder") << u"a/inside"_s;
    QTest::newRow("hidden folder") << u".a-inside"_s;
    QTest::newRow("very long") << QString(100'000, u'a');
    QTest::newRow("very many dashes") << QString(100'000, u'-');
    QTest::newRow("folder within itself") << u"a-"_s.repeated(50'000) + u"inside"_s;
    QTest::newRow("zero byte") << QString(QChar(u'\0'));
}

void tst_DesktopEntryBridge::identifierLeadsNowhereElse()
{
    QFETCH(QString, identifier);
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    write(u"usr/outside.desktop"_s, entryOf("Outside"));
    write(u"usr/applications/a/inside.desktop"_s, entryOf("Inside"));
    write(u"usr/applications/.a/inside.desktop"_s, entryOf("Hidden"));
    QVERIFY(QFile::link(u"."_s, root->filePath(u"usr/applications/a/a"_s)));
    QCOMPARE(nameOf(identifier), u"(none)"_s);
}

void tst_DesktopEntryBridge::entryThatCannotStartIsNone_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("binary") << QByteArray("\0\1\2\xff", 4);
    QTest::newRow("link") << QByteArray("[Desktop Entry]\nType=Link\nName=a\nURL=http://a/\n");
    QTest::newRow("deleted") << entryOf("a", "Hidden=true\n");
    QTest::newRow("not installed") << entryOf("a", "TryExec=/nowhere/a\n");
    QTest::newRow("open quote") << entryOf("a", "Exec=\"/bin/true\n");
}

void tst_DesktopEntryBridge::entryThatCannotStartIsNone()
{
    QFETCH(QByteArray, text);
    write(u"usr/applications/a.desktop"_s, text);
    QCOMPARE(nameOf(u"a"_s), u"(none)"_s);
}

void tst_DesktopEntryBridge::entriesAreReadAfresh()
{
    DesktopEntryBridge bridge({{}, {}, root->filePath(u"data"_s), {}, {}});
    QVERIFY(bridge.applicationWithBundleIdentifier(u"a"_s) == nullptr);
    write(u"data/applications/a.desktop"_s, entryOf("New"));
    QVERIFY(bridge.applicationWithBundleIdentifier(u"a"_s) != nullptr);
}

void tst_DesktopEntryBridge::finderIsTheFileManager()
{
    write(u"usr/applications/files.desktop"_s, entryOf("Files"));
    write(u"usr/applications/mimeapps.list"_s,
          "[Default Applications]\ninode/directory=files.desktop\n");
    QCOMPARE(nameOf(Finder), u"Files"_s);
    QCOMPARE(nameOf(Music), u"(none)"_s);
}

void tst_DesktopEntryBridge::musicIsTheMusicPlayer()
{
    write(u"usr/applications/player.desktop"_s, entryOf("Player"));
    write(u"usr/applications/mimeapps.list"_s,
          "[Default Applications]\naudio/mpeg=player.desktop\n");
    QCOMPARE(nameOf(Music), u"Player"_s);
    QCOMPARE(nameOf(Finder), u"(none)"_s);
}

void tst_DesktopEntryBridge::ownEntryComesBeforeTheDefault()
{
    write(u"usr/applications/player.desktop"_s, entryOf("Player"));
    write(u"usr/applications/com.apple.iTunes.desktop"_s, entryOf("The real one"));
    write(u"config/mimeapps.list"_s, "[Default Applications]\naudio/mpeg=player.desktop\n");
    QCOMPARE(nameOf(Music), u"The real one"_s);
}

void tst_DesktopEntryBridge::deletedEntryGivesWayToTheDefault()
{
    write(u"usr/applications/player.desktop"_s, entryOf("Player"));
    write(u"usr/applications/com.apple.iTunes.desktop"_s, entryOf("The real one", "Hidden=true\n"));
    write(u"config/mimeapps.list"_s, "[Default Applications]\naudio/mpeg=player.desktop\n");
    QCOMPARE(nameOf(Music), u"Player"_s);
}

void tst_DesktopEntryBridge::otherIdentifiersHaveNoDefault()
{
    write(u"usr/applications/any.desktop"_s, entryOf("Any"));
    write(u"config/mimeapps.list"_s,
          "[Default Applications]\n=any.desktop\naudio/mpeg=any.desktop\n"
          "inode/directory=any.desktop\n");
    QCOMPARE(nameOf(u"dk.Otee.Unity_Unitron"_s), u"(none)"_s);
    QCOMPARE(nameOf(u"com.apple.Safari"_s), u"(none)"_s);
    write(u"usr/applications/dk.Otee.Unity_Unitron.desktop"_s, entryOf("Unitron"));
    QCOMPARE(nameOf(u"dk.Otee.Unity_Unitron"_s), u"Unitron"_s);
}

/// Each row has its own source and all that come after it.
void tst_DesktopEntryBridge::defaultIsTakenInTheStandardsOrder_data()
{
    QTest::addColumn<int>("firstSource");
    QTest::newRow("user, first desktop") << 0;
    QTest::newRow("user, second desktop") << 1;
    QTest::newRow("user") << 2;
    QTest::newRow("administrator, desktop") << 3;
    QTest::newRow("administrator") << 4;
    QTest::newRow("user's data, desktop") << 5;
    QTest::newRow("user's data") << 6;
    QTest::newRow("local data") << 7;
    QTest::newRow("system data, desktop") << 8;
    QTest::newRow("system data") << 9;
    QTest::newRow("added by the user") << 10;
    QTest::newRow("added by the administrator") << 11;
    QTest::newRow("able, user's data") << 12;
    QTest::newRow("able, system data") << 13;
}

void tst_DesktopEntryBridge::defaultIsTakenInTheStandardsOrder()
{
    struct Source
    {
        QString file;
        QByteArray group;
    };
    const QByteArray chosen = "Default Applications";
    const QByteArray added = "Added Associations";
    const QByteArray able = "MIME Cache";
    const QList<Source> sources{
        {u"config/vorna-mimeapps.list"_s, chosen},
        {u"config/gnome-mimeapps.list"_s, chosen},
        {u"config/mimeapps.list"_s, chosen},
        {u"etc/vorna-mimeapps.list"_s, chosen},
        {u"etc/mimeapps.list"_s, chosen},
        {u"data/applications/vorna-mimeapps.list"_s, chosen},
        {u"data/applications/mimeapps.list"_s, chosen},
        {u"local/applications/mimeapps.list"_s, chosen},
        {u"usr/applications/gnome-mimeapps.list"_s, chosen},
        {u"usr/applications/mimeapps.list"_s, chosen},
        {u"config/mimeapps.list"_s, added},
        {u"etc/mimeapps.list"_s, added},
        {u"data/applications/mimeinfo.cache"_s, able},
        {u"usr/applications/mimeinfo.cache"_s, able},
    };
    QFETCH(int, firstSource);
    QHash<QString, QByteArray> files;
    for (int number = firstSource; number < sources.size(); ++number) {
        const QByteArray name = "player-" + QByteArray::number(number);
        write(u"usr/applications/"_s + QString::fromUtf8(name) + u".desktop"_s, entryOf(name));
        files[sources[number].file] +=
            '[' + sources[number].group + "]\naudio/mpeg=" + name + ".desktop;\n";
    }
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        write(file.key(), file.value());
    }
    QCOMPARE(nameOf(Music), u"player-"_s + QString::number(firstSource));
}

void tst_DesktopEntryBridge::defaultThatCannotStartIsPassedOver()
{
    write(u"usr/applications/gone.desktop"_s, entryOf("Gone", "TryExec=/nowhere/gone\n"));
    write(u"usr/applications/player.desktop"_s, entryOf("Player"));
    write(u"usr/applications/other.desktop"_s, entryOf("Other"));
    write(u"config/mimeapps.list"_s,
          "[Default Applications]\naudio/mpeg=missing.desktop;gone.desktop;player.desktop;\n");
    write(u"etc/mimeapps.list"_s, "[Default Applications]\naudio/mpeg=other.desktop\n");
    QCOMPARE(nameOf(Music), u"Player"_s);
}

void tst_DesktopEntryBridge::removedAssociationIsNotTaken()
{
    write(u"usr/applications/unwanted.desktop"_s, entryOf("Unwanted"));
    write(u"usr/applications/player.desktop"_s, entryOf("Player"));
    write(u"usr/applications/mimeinfo.cache"_s,
          "[MIME Cache]\naudio/mpeg=unwanted.desktop;player.desktop;\n");
    QCOMPARE(nameOf(Music), u"Unwanted"_s);
    write(u"config/mimeapps.list"_s, "[Removed Associations]\naudio/mpeg=unwanted.desktop;\n");
    QCOMPARE(nameOf(Music), u"Player"_s);
}

void tst_DesktopEntryBridge::removalHoldsForLaterFoldersOnly()
{
    write(u"usr/applications/player.desktop"_s, entryOf("Player"));
    write(u"config/mimeapps.list"_s, "[Added Associations]\naudio/mpeg=player.desktop;\n");
    write(u"etc/mimeapps.list"_s, "[Removed Associations]\naudio/mpeg=player.desktop;\n");
    QCOMPARE(nameOf(Music), u"Player"_s);
}

void tst_DesktopEntryBridge::desktopsOwnListCannotAdd()
{
    write(u"usr/applications/player.desktop"_s, entryOf("Player"));
    write(u"config/vorna-mimeapps.list"_s, "[Added Associations]\naudio/mpeg=player.desktop;\n");
    QCOMPARE(nameOf(Music), u"(none)"_s);
}

void tst_DesktopEntryBridge::programForAnotherDesktopIsNotGuessed()
{
    write(u"usr/applications/other.desktop"_s, entryOf("Other", "OnlyShowIn=KDE;\n"));
    write(u"usr/applications/player.desktop"_s, entryOf("Player", "OnlyShowIn=GNOME;\n"));
    write(u"usr/applications/mimeinfo.cache"_s,
          "[MIME Cache]\naudio/mpeg=other.desktop;player.desktop;\n");
    QCOMPARE(nameOf(Music), u"Player"_s);
    write(u"config/mimeapps.list"_s, "[Default Applications]\naudio/mpeg=other.desktop\n");
    QCOMPARE(nameOf(Music), u"Other"_s);
}

void tst_DesktopEntryBridge::noListsAreNoDefault()
{
    QCOMPARE(nameOf(Music), u"(none)"_s);
    QCOMPARE(nameOf(Finder), u"(none)"_s);
    write(u"config/mimeapps.list"_s, QByteArray("\0\xff[Default", 10));
    QCOMPARE(nameOf(Music), u"(none)"_s);
}

QTEST_GUILESS_MAIN(tst_DesktopEntryBridge)
#include "tst_DesktopEntryBridge.moc"
