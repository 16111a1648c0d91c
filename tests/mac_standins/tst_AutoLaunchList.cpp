// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "CoreFoundationStandIn.h"
#include "StandIn.h"
#include "doubles/RecordingSessionStart.h"
#include "platform/mac/AutoLaunchList.h"
#include "platform/mac/CFText.h"
#include "startup/settingsManagerMac.h"
#include "unit/platform/LoginItemsContract.h"

#include <QTest>

using namespace Qt::StringLiterals;

using namespace platform;
using standin::world;

namespace {

const QString application = u"loginwindow"_s;
const QString key = u"AutoLaunchedApplicationDictionary"_s;

CFOwner<CFMutableArrayRef> newArray()
{
    return CFOwner<CFMutableArrayRef>(
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
}

CFOwner<CFMutableDictionaryRef> newDictionary()
{
    return CFOwner<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

/// An entry as another program would write it, with a key that only that program uses.
CFOwner<CFMutableDictionaryRef> entryWithPath(const QString &path)
{
    auto entry = newDictionary();
    CFDictionarySetValue(entry.get(), stringOf(u"Path"_s).get(), stringOf(path).get());
    CFDictionarySetValue(entry.get(), stringOf(u"AliasData"_s).get(),
                         stringOf(u"of "_s + path).get());
    return entry;
}

void writeList(const QStringList &paths)
{
    const auto list = newArray();
    for (const QString &path : paths) {
        CFArrayAppendValue(list.get(), entryWithPath(path).get());
    }
    standin::writePreference(application, key, list.get());
}

CFArrayRef writtenList()
{
    return static_cast<CFArrayRef>(standin::writtenPreference(application, key));
}

CFTypeRef writtenValue(CFIndex index, const char *name)
{
    const auto entry = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(writtenList(), index));
    return CFDictionaryGetValue(entry, stringOf(QLatin1StringView(name)).get());
}

QStringList writtenTexts(const char *name)
{
    QStringList texts;
    for (CFIndex index = 0; index < CFArrayGetCount(writtenList()); ++index) {
        const CFTypeRef value = writtenValue(index, name);
        texts.append(value == nullptr ? QString() : standin::textIn(value));
    }
    return texts;
}

void setStartAtLogon(bool isEnabled)
{
    SessionStartRecord record;
    settingsManagerMac(makeLoginItems(), std::make_unique<RecordingSessionStart>(record))
        .startAtLogon(isEnabled);
}

class AutoLaunchListKeepsTheContract : public LoginItemsContract
{
    void seed(const QStringList &paths) override { writeList(paths); }

    std::unique_ptr<LoginItems> open() override
    {
        standin::loseUnsynchronised();
        return makeLoginItems();
    }
};

} // namespace

class tst_AutoLaunchList : public QObject
{
    Q_OBJECT

private slots:
    void init() { standin::reset(); }
    void cleanup()
    {
        standin::forgetPreferences();
        QCOMPARE(standin::liveObjects(), 0);
    }

    void theBundlesPathIsReadBeforeTheList();
    void aPathIsReadInEveryForm_data();
    void aPathIsReadInEveryForm();
    void aProgramWithoutABundleHasNoPath();
    void enablingAppendsAVisibleEntryThenSynchronises();
    void disablingRemovesTheFirstEntryThenSynchronises();
    void whatIsAsAskedAlreadyIsNotWritten_data();
    void whatIsAsAskedAlreadyIsNotWritten();
    void entriesOfOtherProgramsKeepTheirKeys();
    void aHiddenEntryIsWrittenAsOne();
    void namesAreLookedForBySystemsOwnSearch();
    void entriesOfOtherTypesArePassedOver();
    void aMissingListIsMade();
    void aValueThatIsNoListIsLeftAlone();
    void anIndexOutsideOfTheListIsTolerated_data();
    void anIndexOutsideOfTheListIsTolerated();
};

void tst_AutoLaunchList::theBundlesPathIsReadBeforeTheList()
{
    makeLoginItems();
    QCOMPARE(standin::calls().filter(u"Copy"_s),
             QStringList({u"CFBundleCopyBundleURL main bundle"_s,
                          u"CFPreferencesCopyAppValue loginwindow/"_s + key}));
}

void tst_AutoLaunchList::aPathIsReadInEveryForm_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("hasCStrings");
    for (const bool hasCStrings : {true, false}) {
        const auto row = [&](const char *name, const QString &path) {
            QTest::addRow("%s%s", name, hasCStrings ? "" : ", not readable in place")
                << path << hasCStrings;
        };
        row("plain", u"/Applications/VornaServer.app"_s);
        row("empty", u""_s);
        row("beyond ASCII", QString::fromUtf8("/Users/J\xc3\xb6rg/Vorna\xe2\x82\xac.app"));
        row("beyond 16 bits", QString::fromUtf8("/Users/\xf0\x9f\x98\x80/VornaServer.app"));
    }
}

void tst_AutoLaunchList::aPathIsReadInEveryForm()
{
    QFETCH(QString, path);
    QFETCH(bool, hasCStrings);
    world().bundlePath = path;
    world().hasCStrings = hasCStrings;
    QCOMPARE(makeLoginItems()->applicationPath(), path);
}

void tst_AutoLaunchList::aProgramWithoutABundleHasNoPath()
{
    world().bundlePath.reset();
    QCOMPARE(makeLoginItems()->applicationPath(), QString());
}

void tst_AutoLaunchList::enablingAppendsAVisibleEntryThenSynchronises()
{
    writeList({u"/Applications/Other.app"_s});
    setStartAtLogon(true);
    QCOMPARE(writtenTexts("Path"),
             QStringList({u"/Applications/Other.app"_s, u"/Applications/VornaServer.app"_s}));
    QCOMPARE(standin::numberIn(writtenValue(1, "Hide")), 0);
    QCOMPARE(standin::callsNamed(u"CFPreferences"_s).mid(1),
             QStringList({u"CFPreferencesSetAppValue loginwindow/"_s + key,
                          u"CFPreferencesAppSynchronize loginwindow"_s}));
}

void tst_AutoLaunchList::disablingRemovesTheFirstEntryThenSynchronises()
{
    writeList({u"/a/Other.app"_s, u"/b/vornaserver.APP"_s, u"/c/VornaServer.app"_s});
    setStartAtLogon(false);
    QCOMPARE(writtenTexts("Path"), QStringList({u"/a/Other.app"_s, u"/c/VornaServer.app"_s}));
    QCOMPARE(standin::callsNamed(u"CFPreferences"_s).mid(1),
             QStringList({u"CFPreferencesSetAppValue loginwindow/"_s + key,
                          u"CFPreferencesAppSynchronize loginwindow"_s}));
}

void tst_AutoLaunchList::whatIsAsAskedAlreadyIsNotWritten_data()
{
    QTest::addColumn<bool>("isEnabled");
    QTest::addColumn<QString>("path");
    QTest::newRow("present") << true << "/elsewhere/VORNASERVER.app/Contents";
    QTest::newRow("absent") << false << "/Applications/Other.app";
}

void tst_AutoLaunchList::whatIsAsAskedAlreadyIsNotWritten()
{
    QFETCH(bool, isEnabled);
    QFETCH(QString, path);
    writeList({path});
    setStartAtLogon(isEnabled);
    QCOMPARE(standin::callsNamed(u"CFPreferencesSet"_s), QStringList());
    QCOMPARE(standin::callsNamed(u"CFPreferencesAppSynchronize"_s), QStringList());
}

void tst_AutoLaunchList::entriesOfOtherProgramsKeepTheirKeys()
{
    writeList({u"/a/First.app"_s, u"/b/Second.app"_s});
    setStartAtLogon(true);
    QCOMPARE(writtenTexts("AliasData"),
             QStringList({u"of /a/First.app"_s, u"of /b/Second.app"_s, u""_s}));
    setStartAtLogon(false);
    QCOMPARE(writtenTexts("AliasData"), QStringList({u"of /a/First.app"_s, u"of /b/Second.app"_s}));
}

void tst_AutoLaunchList::aHiddenEntryIsWrittenAsOne()
{
    const auto items = makeLoginItems();
    items->append(u"/a/Hidden.app"_s, true);
    items->save();
    QCOMPARE(standin::numberIn(writtenValue(0, "Hide")), 1);
}

void tst_AutoLaunchList::namesAreLookedForBySystemsOwnSearch()
{
    writeList({u"/a/Other.app"_s, u"/b/VornaServer.app"_s, u"/c/VornaServer.app"_s});
    setStartAtLogon(true);
    QCOMPARE(standin::callsNamed(u"CFStringFind"_s),
             QStringList({u"CFStringFind VornaServer.app"_s, u"CFStringFind VornaServer.app"_s}));
}

void tst_AutoLaunchList::entriesOfOtherTypesArePassedOver()
{
    const int seven = 7;
    const CFOwner<CFNumberRef> number(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &seven));
    const auto withNumber = newDictionary();
    CFDictionarySetValue(withNumber.get(), stringOf(u"Path"_s).get(), number.get());
    const auto list = newArray();
    CFArrayAppendValue(list.get(), stringOf(u"VornaServer.app"_s).get());
    CFArrayAppendValue(list.get(), withNumber.get());
    CFArrayAppendValue(list.get(), newDictionary().get());
    CFArrayAppendValue(list.get(), entryWithPath(u"/Applications/VornaServer.app"_s).get());
    standin::writePreference(application, key, list.get());

    const auto items = makeLoginItems();
    QCOMPARE(items->count(), 4);
    for (int index = 0; index < 3; ++index) {
        QCOMPARE(items->pathAt(index), QString());
        QVERIFY(!items->pathContains(index, u"VornaServer.app"_s));
    }
    setStartAtLogon(false);
    QCOMPARE(CFArrayGetCount(writtenList()), 3);
    QCOMPARE(standin::textIn(CFArrayGetValueAtIndex(writtenList(), 0)), u"VornaServer.app"_s);
}

void tst_AutoLaunchList::aMissingListIsMade()
{
    setStartAtLogon(false);
    QCOMPARE(writtenList(), nullptr);
    setStartAtLogon(true);
    QCOMPARE(writtenTexts("Path"), QStringList(u"/Applications/VornaServer.app"_s));
}

void tst_AutoLaunchList::aValueThatIsNoListIsLeftAlone()
{
    standin::writePreference(application, key, stringOf(u"another program's"_s).get());
    QCOMPARE(makeLoginItems()->count(), 0);
    setStartAtLogon(true);
    QCOMPARE(standin::textIn(standin::writtenPreference(application, key)), u"another program's"_s);
    QCOMPARE(standin::callsNamed(u"CFPreferencesSet"_s), QStringList());
}

void tst_AutoLaunchList::anIndexOutsideOfTheListIsTolerated_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("before") << -1;
    QTest::newRow("after") << 1;
}

void tst_AutoLaunchList::anIndexOutsideOfTheListIsTolerated()
{
    QFETCH(int, index);
    writeList({u"/a/Other.app"_s});
    const auto items = makeLoginItems();
    QCOMPARE(items->pathAt(index), QString());
    QVERIFY(!items->pathContains(index, u"Other"_s));
    items->removeAt(index);
    QCOMPARE(items->count(), 1);
}

int main(int argc, char *argv[])
{
    const QCoreApplication program(argc, argv);
    AutoLaunchListKeepsTheContract contract;
    tst_AutoLaunchList details;
    const int failures = QTest::qExec(&contract, argc, argv);
    return failures + QTest::qExec(&details, argc, argv);
}
#include "tst_AutoLaunchList.moc"
