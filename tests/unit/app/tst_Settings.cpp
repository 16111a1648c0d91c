// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/Window.h"

#include "doubles/RecordedBalloons.h"
#include "doubles/RecordingHost.h"
#include "doubles/RecordingWindowAdapters.h"
#include "support/MessageRecorder.h"
#include "support/protocol/ServedPeer.h"
#include "support/session/DialogVisitor.h"
#include "support/session/PrivateHome.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// While it lives, settings are stored in memory, and a test can check the state at that moment.
class WatchedStore
{
public:
    WatchedStore()
    {
        static const QSettings::Format format =
            QSettings::registerFormat(u"watched"_s, read, write);
        QSettings::setDefaultFormat(format);
        written.clear();
    }
    ~WatchedStore()
    {
        onWrite = nullptr;
        QSettings::setDefaultFormat(QSettings::NativeFormat);
    }
    WatchedStore(const WatchedStore &) = delete;
    WatchedStore &operator=(const WatchedStore &) = delete;

    static inline QSettings::SettingsMap written;
    /// Called before the stored values take effect.
    static inline std::function<void()> onWrite;

private:
    static bool read(QIODevice & /*device*/, QSettings::SettingsMap &map)
    {
        map = written;
        return true;
    }
    static bool write(QIODevice & /*device*/, const QSettings::SettingsMap &map)
    {
        if (onWrite) {
            onWrite();
        }
        written = map;
        return true;
    }
};

} // namespace

/// The settings as the whole application restores and stores them.
class tst_Settings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Q_INIT_RESOURCE(VornaServer); }
    void init();
    void cleanup();

    void anEmptyStoreGivesTheDefaults();
    void theDefaultDirectoryIsNotMade();
    void storedValuesAreRestored_data();
    void storedValuesAreRestored();
    void oddValuesAreConverted_data();
    void oddValuesAreConverted();
    void closingThePreferencesStoresAllThree();
    void theValuesAreInTheStoreAtOnce();
    void everyWayOfClosingStores_data();
    void everyWayOfClosingStores();
    void changesWaitForTheClose();
    void theLoginListThenTheServerThenTheStoreLearnTheValues();
    void theNextDialogShowsWhatWasTaken();
    void nothingElseIsStoredAtTheEnd();
    void aDirectoryIsStoredUnchecked_data();
    void aDirectoryIsStoredUnchecked();
    void untilTheDialogWasClosedFilesGoToTheDesktop();

private:
    /// Opens the preferences and closes them after the visit.
    void openPreferences(const std::function<void(QDialog &)> &visit = [](QDialog &) {});
    QVariantMap shownPreferences();
    static QVariant stored(const char *key) { return QSettings().value(key); }

    std::unique_ptr<PrivateHome> home;
    RecordingHost host;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<Window> window;
};

void tst_Settings::init()
{
    home = std::make_unique<PrivateHome>();
    messages = std::make_unique<MessageRecorder>();
    host.reset();
    recordedBalloons().clear();
}

void tst_Settings::cleanup()
{
    window.reset();
    messages.reset();
    QSettings().clear();
    home.reset();
}

void tst_Settings::openPreferences(const std::function<void(QDialog &)> &visit)
{
    const DialogVisitor<QDialog> visitor([&](QDialog &dialog) {
        visit(dialog);
        dialog.close();
    });
    window->openPreferencesDialog();
    QCOMPARE(visitor.visited(), 1);
}

QVariantMap tst_Settings::shownPreferences()
{
    QVariantMap shown;
    openPreferences([&](QDialog &dialog) {
        for (const char *key : {"PairApproval", "Logon"}) {
            shown[QLatin1StringView(key)] =
                dialog.findChild<QCheckBox *>(QLatin1StringView(key))->isChecked();
        }
        shown[u"Download"_s] = dialog.findChild<QLineEdit *>(u"Download"_s)->text();
    });
    return shown;
}

// ---- Restoring ----------------------------------------------------------------------------------

void tst_Settings::anEmptyStoreGivesTheDefaults()
{
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    QCOMPARE(QSettings().allKeys(), QStringList());
    QCOMPARE(shownPreferences(), QVariantMap({{u"PairApproval"_s, false},
                                              {u"Logon"_s, true},
                                              {u"Download"_s, home->path() + u"/Downloads"_s}}));
}

void tst_Settings::theDefaultDirectoryIsNotMade()
{
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences();
    window.reset();
    QVERIFY(!QFile::exists(home->path(u"Downloads"_s)));
}

void tst_Settings::storedValuesAreRestored_data()
{
    QTest::addColumn<bool>("needsApproval");
    QTest::addColumn<bool>("startsAtLogon");
    QTest::addColumn<QString>("directory");
    QTest::newRow("both off") << false << false << "/a b";
    QTest::newRow("approval") << true << false << "";
    QTest::newRow("logon") << false << true << "relative";
    QTest::newRow("both on") << true << true << u"/\u00e9\u2603, \"x\""_s;
}

void tst_Settings::storedValuesAreRestored()
{
    QFETCH(bool, needsApproval);
    QFETCH(bool, startsAtLogon);
    QFETCH(QString, directory);
    QSettings().setValue("pairNeedsApproval", needsApproval);
    QSettings().setValue("startAtLogon", startsAtLogon);
    QSettings().setValue("downloadDirectory", directory);
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    QCOMPARE(host.loginItems.entries.size(), startsAtLogon ? 1 : 0);
    QCOMPARE(shownPreferences(), QVariantMap({{u"PairApproval"_s, needsApproval},
                                              {u"Logon"_s, startsAtLogon},
                                              {u"Download"_s, directory}}));
}

void tst_Settings::oddValuesAreConverted_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("isOn");
    QTest::newRow("text false") << QVariant(u"false"_s) << false;
    QTest::newRow("text 0") << QVariant(u"0"_s) << false;
    QTest::newRow("number 1") << QVariant(1) << true;
    QTest::newRow("any text") << QVariant(u"yes"_s) << true;
    QTest::newRow("empty text") << QVariant(u""_s) << false;
}

void tst_Settings::oddValuesAreConverted()
{
    QFETCH(QVariant, value);
    QFETCH(bool, isOn);
    QSettings().setValue("startAtLogon", value);
    QSettings().setValue("pairNeedsApproval", value);
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    const QVariantMap shown = shownPreferences();
    QCOMPARE(shown[u"Logon"_s].toBool(), isOn);
    QCOMPARE(shown[u"PairApproval"_s].toBool(), isOn);
}

// ---- Storing ------------------------------------------------------------------------------------

void tst_Settings::closingThePreferencesStoresAllThree()
{
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences([](QDialog &dialog) {
        dialog.findChild<QCheckBox *>(u"PairApproval"_s)->click();
        dialog.findChild<QCheckBox *>(u"Logon"_s)->click();
        dialog.findChild<QLineEdit *>(u"Download"_s)->setText(u"/else/where"_s);
    });
    QCOMPARE(stored("pairNeedsApproval").toBool(), true);
    QCOMPARE(stored("startAtLogon").toBool(), false);
    QCOMPARE(stored("downloadDirectory").toString(), u"/else/where"_s);
    QStringList keys = QSettings().allKeys();
    keys.sort();
    QCOMPARE(keys,
             QStringList({u"downloadDirectory"_s, u"pairNeedsApproval"_s, u"startAtLogon"_s}));
    QVERIFY(!window->findChild<Server *>()->deviceIsPresent(u"device"_s));
}

void tst_Settings::theValuesAreInTheStoreAtOnce()
{
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences();
    // Another program reads the file, not our memory.
    const QByteArray file = contentOf(home->path(u"config/Ostrovane/VornaServer.conf"_s));
    QVERIFY(file.contains("startAtLogon=true"));
    QVERIFY(file.contains("pairNeedsApproval=false"));
    QVERIFY(file.contains("downloadDirectory="));
}

void tst_Settings::everyWayOfClosingStores_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
    QTest::newRow("accept") << "accept";
    QTest::newRow("reject") << "reject";
}

void tst_Settings::everyWayOfClosingStores()
{
    QFETCH(QString, way);
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences([&](QDialog &dialog) {
        dialog.findChild<QCheckBox *>(u"PairApproval"_s)->click();
        if (way == u"escape"_s) {
            QTest::keyClick(&dialog, Qt::Key_Escape);
        } else if (way == u"accept"_s) {
            dialog.accept();
        } else if (way == u"reject"_s) {
            dialog.reject();
        }
    });
    QCOMPARE(stored("pairNeedsApproval").toBool(), true);
}

void tst_Settings::changesWaitForTheClose()
{
    QSettings().setValue("startAtLogon", false);
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences([&](QDialog &dialog) {
        dialog.findChild<QCheckBox *>(u"Logon"_s)->click();
        dialog.findChild<QCheckBox *>(u"PairApproval"_s)->click();
        dialog.findChild<QLineEdit *>(u"Download"_s)->setText(u"/else/where"_s);
        QCOMPARE(host.loginItems.entries.size(), 0);
        QCOMPARE(QSettings().allKeys(), QStringList{u"startAtLogon"_s});
        QCOMPARE(stored("startAtLogon").toBool(), false);
        QVERIFY(window->findChild<Server *>()->deviceIsPresent(u"device"_s));
    });
    QCOMPARE(host.loginItems.entries.size(), 1);
    QCOMPARE(stored("startAtLogon").toBool(), true);
}

void tst_Settings::theLoginListThenTheServerThenTheStoreLearnTheValues()
{
    const WatchedStore store;
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    QCOMPARE(host.loginItems.entries.size(), 1);
    // What each of the three knows at the moment at which another one is informed.
    const auto state = [this](const char *moment) {
        // An accepted device is known from then on, so each check uses another one.
        const bool isAsked =
            !window->findChild<Server *>()->deviceIsPresent(QLatin1StringView(moment));
        return u"%1: logon entries %2, approval %3, stored %4"_s.arg(QLatin1StringView(moment))
            .arg(host.loginItems.entries.size())
            .arg(isAsked)
            .arg(WatchedStore::written.size());
    };
    QStringList seen;
    host.loginItems.onSave = [&] { seen.append(state("list saved")); };
    WatchedStore::onWrite = [&] { seen.append(state("settings stored")); };
    openPreferences([](QDialog &dialog) {
        dialog.findChild<QCheckBox *>(u"Logon"_s)->click();
        dialog.findChild<QCheckBox *>(u"PairApproval"_s)->click();
    });
    host.loginItems.onSave = nullptr;
    QCOMPARE(seen, QStringList({u"list saved: logon entries 0, approval 0, stored 0"_s,
                                u"settings stored: logon entries 0, approval 1, stored 0"_s}));
    QCOMPARE(WatchedStore::written.value(u"startAtLogon"_s).toBool(), false);
    QCOMPARE(WatchedStore::written.value(u"pairNeedsApproval"_s).toBool(), true);
}

void tst_Settings::theNextDialogShowsWhatWasTaken()
{
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences([](QDialog &dialog) {
        dialog.findChild<QCheckBox *>(u"PairApproval"_s)->click();
        dialog.findChild<QLineEdit *>(u"Download"_s)->setText(u"/else/where"_s);
    });
    QCOMPARE(shownPreferences(), QVariantMap({{u"PairApproval"_s, true},
                                              {u"Logon"_s, true},
                                              {u"Download"_s, u"/else/where"_s}}));
}

void tst_Settings::nothingElseIsStoredAtTheEnd()
{
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences();
    window->update(u"Logon"_s, false);
    window.reset();
    QCOMPARE(stored("startAtLogon").toBool(), true);
    QCOMPARE(stored("pairedDeviceList").toStringList(), QStringList());
    QVERIFY(QSettings().contains("pairedDeviceList"));
}

void tst_Settings::aDirectoryIsStoredUnchecked_data()
{
    QTest::addColumn<QString>("directory");
    QTest::newRow("not there") << "/nonexistent/directory";
    QTest::newRow("relative") << "../x/";
    QTest::newRow("blanks") << "  ";
    QTest::newRow("signs of the file's own syntax") << "/a=b;[c], \"d\"\\e%20";
    QTest::newRow("letters beyond Latin-1") << u"/\u2603"_s;
}

void tst_Settings::aDirectoryIsStoredUnchecked()
{
    QFETCH(QString, directory);
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    openPreferences(
        [&](QDialog &dialog) { dialog.findChild<QLineEdit *>(u"Download"_s)->setText(directory); });
    QCOMPARE(stored("downloadDirectory").toString(), directory);
}

void tst_Settings::untilTheDialogWasClosedFilesGoToTheDesktop()
{
    const QString desktop = home->subdirectory(u"Desktop"_s);
    const QString downloads = home->subdirectory(u"Downloads"_s);
    window = std::make_unique<Window>(recordingWindowAdapters(host));
    ServedPeer peer(*window->findChild<Server *>());
    const QByteArray request =
        "{ cmdType = FILE_TRANSFER_AND_OPEN; cmdParameters = (note, 1000); }";
    peer.ask(request);
    QCOMPARE(contentOf(desktop + u"/note"_s), request);

    openPreferences();
    ServedPeer other(*window->findChild<Server *>());
    other.ask(request);
    QCOMPARE(contentOf(downloads + u"/note"_s), request);
}

QTEST_MAIN(tst_Settings)
#include "tst_Settings.moc"
