// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Texts, addresses and files that go from a phone's page to the desktop and back, in a real
// browser.

#include "support/Folders.h"
#include "support/session/ClipboardOwner.h"
#include "support/session/PhoneScene.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTest>

namespace {

/// Longer than one piece on its way, in lines as people have them.
QString longText(const QString &line)
{
    return (line.repeated(20) + u'\n').repeated(2'000);
}

constexpr int LargeFile = 3'000'000;

QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QRandomGenerator random(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes) {
        byte = static_cast<char>(random.generate());
    }
    return bytes;
}

/// As a text of JavaScript.
QString quoted(const QString &text)
{
    const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(list.sliced(1, list.size() - 2));
}

PageElement element(const char *selector)
{
    return PageElement::of(QString::fromLatin1(selector));
}

} // namespace

class tst_PhoneExchange : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void aTextGoesToTheDesktop_data();
    void aTextGoesToTheDesktop();
    void theTextOfTheDesktopIsFetched_data();
    void theTextOfTheDesktopIsFetched();
    void anAddressIsOpened();
    void severalFilesArriveAsTheyAre();
    void aFileIsOpenedIfThatIsWanted();
    void aFileIsCancelled();
    void aFileOfTheComputerIsFetched();
    void settingsAreKept();
    void thePhoneIsRenamedAndLeaves();

private:
    QString store(const QString &name, const QByteArray &content) const;
    QString directory() const { return scene->session().path(u"received files"_s); }

    /// The server's drafts, too.
    QStringList received() const { return QDir(directory()).entryList(QDir::Files | QDir::Hidden); }

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener;
    std::unique_ptr<PhoneScene> phones;
    std::unique_ptr<PhonePage> page;
};

void tst_PhoneExchange::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    opener = std::make_unique<RecordingOpener>(scene->session());
    QVERIFY(QDir().mkpath(directory()));
    scene->storeSetting(u"downloadDirectory"_s, directory());
    QVERIFY(scene->start());
    phones = std::make_unique<PhoneScene>(scene->session());
    page = std::make_unique<PhonePage>(phones->phoneBrowser());
    QCOMPARE(phones->problem(), QByteArray());
    phones->startWeb();
    QVERIFY(page->goTo(phones->web().pairingAddress()));
    QVERIFY(page->awaitReady());
}

void tst_PhoneExchange::init()
{
    opener->clear();
    QVERIFY(page->reload());
    QVERIFY(page->awaitReady());
    QVERIFY(page->tap(element("#tab-exchange")));
}

void tst_PhoneExchange::cleanupTestCase()
{
    if (page) {
        QCOMPARE(page->messages().join(u'\n'), QString());
    }
    page.reset();
    QCOMPARE(phones->web().problemAtEnd(), QByteArray());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

QString tst_PhoneExchange::store(const QString &name, const QByteArray &content) const
{
    QDir().mkpath(scene->session().path(u"phone"_s));
    const QString path = scene->session().path(u"phone/"_s + name);
    return Folders::write(path, content) ? path : QString();
}

void tst_PhoneExchange::aTextGoesToTheDesktop_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("short") << u"Grüße, 😀\n  zweite Zeile"_s;
    QTest::newRow("long") << longText(u"€äab"_s);
}

void tst_PhoneExchange::aTextGoesToTheDesktop()
{
    QFETCH(QString, text);
    page->evaluate(u"document.getElementById('clip-text').value = %1"_s.arg(quoted(text)));
    QVERIFY(page->tap(element("#clip-send")));
    QVERIFY(waitUntil(
        [&] { return ClipboardOwner::read(scene->session()) == std::optional(text.toUtf8()); }));
}

void tst_PhoneExchange::theTextOfTheDesktopIsFetched_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("short") << u"Vom Rechner: 👍"_s;
    QTest::newRow("long") << longText(u"1€äx"_s);
}

void tst_PhoneExchange::theTextOfTheDesktopIsFetched()
{
    QFETCH(QString, text);
    const ClipboardOwner owner(scene->session(), text.toUtf8());
    QVERIFY(owner.isServing());
    QVERIFY(page->tap(element("#clip-get")));
    QVERIFY(waitUntil([&] {
        return page->evaluate(u"document.getElementById('clip-text').value"_s).toString() == text;
    }));
    // On to the phone's own clipboard, as far as a page may.
    QVERIFY(page->tap(element("#clip-copy")));
    QVERIFY(page->await(u"!document.getElementById('notice').hidden"_s));
}

void tst_PhoneExchange::anAddressIsOpened()
{
    QVERIFY(page->fill(element("#address"), u"example.org/a b?c=d"_s));
    QVERIFY(page->tap(element("#address-form button")));
    QVERIFY(waitUntil([this] { return opener->opened().size() == 1; }));
    QVERIFY2(opener->opened().first().startsWith("https://example.org/a"_L1),
             qPrintable(opener->opened().first()));
}

void tst_PhoneExchange::severalFilesArriveAsTheyAre()
{
    const QMap<QString, QByteArray> files{
        {u"large.bin"_s, randomBytes(LargeFile, 1)},
        {u"empty.txt"_s, {}},
        {u"Größe 😀.jpg"_s, randomBytes(131'072, 2)},
        {u"a byte more than a piece"_s, randomBytes(131'073, 3)},
    };
    QStringList paths;
    for (const auto &[name, content] : files.asKeyValueRange()) {
        paths.append(store(name, content));
    }
    QVERIFY(page->choose(element("#view-exchange label.file"), paths));
    QVERIFY(page->await(
        u"document.querySelectorAll('#transfers [data-state=complete]').length === %1"_s.arg(
            files.size())));
    QStringList names = received();
    names.sort();
    QCOMPARE(names, files.keys());
    for (const auto &[name, content] : files.asKeyValueRange()) {
        QVERIFY2(Folders::fileBytes(directory() + u'/' + name) == content, qPrintable(name));
    }
    // The same again stands beside it.
    QVERIFY(page->choose(element("#view-exchange label.file"), {paths.first()}));
    QVERIFY(waitUntil([&] { return received().size() == files.size() + 1; }));
    QCOMPARE(opener->opened(), QStringList());
}

void tst_PhoneExchange::aFileIsOpenedIfThatIsWanted()
{
    QVERIFY(page->setSetting(u"opensFiles"_s, true));
    QVERIFY(page->tap(element("#tab-exchange")));
    QVERIFY(page->choose(element("#view-exchange label.file"),
                         {store(u"opened.txt"_s, "text of a phone\n")}));
    QVERIFY(waitUntil([this] { return !opener->opened().isEmpty(); }));
    QCOMPARE(opener->opened(), QStringList{directory() + u"/opened.txt"_s});
    QVERIFY(page->setSetting(u"opensFiles"_s, false));
}

/// On a line that is slow enough to do it in time.
void tst_PhoneExchange::aFileIsCancelled()
{
    const QStringList before = received();
    QVERIFY(phones->shapeCable(1));
    QVERIFY(page->choose(element("#view-exchange label.file"),
                         {store(u"cancelled.bin"_s, randomBytes(LargeFile, 4)),
                          store(u"afterwards.bin"_s, randomBytes(1000, 5))}));
    QVERIFY(page->await(u"document.querySelector('#transfers progress')?.value > 0 || "
                        "[...document.querySelectorAll('#transfers progress')].some(bar => "
                        "bar.value > 0)"_s));
    QVERIFY(waitUntil([&] { return received().size() > before.size(); }));
    QVERIFY(page->tap(element("#transfers [data-state=running] button:not([hidden])")));
    QVERIFY(page->awaits(element("#transfers [data-state=cancelled]")));
    QVERIFY(phones->shapeCable(1000));
    QVERIFY(page->awaits(element("#transfers [data-state=complete]")));
    QVERIFY(waitUntil([&] { return received().size() == before.size() + 1; }));
    QVERIFY(QFile::exists(directory() + u"/afterwards.bin"_s));
}

void tst_PhoneExchange::aFileOfTheComputerIsFetched()
{
    const QByteArray content = randomBytes(LargeFile, 6);
    QVERIFY(Folders::write(directory() + u"/from the computer.bin"_s, content));
    QVERIFY(page->tap(element("#files-show")));
    const QString path = scene->session().path(u"phone/fetched"_s);
    QCOMPARE(page->download(PageElement::button(u"Get: from the computer.bin"_s), path),
             u"from the computer.bin"_s);
    QVERIFY(Folders::fileBytes(path) == content);
}

void tst_PhoneExchange::settingsAreKept()
{
    QVERIFY(page->tap(element("#tab-settings")));
    QVERIFY(page->tap(element("#view-settings [data-setting=isNatural]")));
    QVERIFY(page->select(element("#view-settings [data-setting=language]"), u"de"_s));
    QVERIFY(page->await(u"document.documentElement.lang === 'de'"_s));
    QVERIFY(page->reload());
    QVERIFY(page->awaitReady());
    QCOMPARE(page->evaluate(u"document.documentElement.lang"_s), QJsonValue(u"de"_s));
    QVERIFY(page->tap(element("#tab-settings")));
    QCOMPARE(
        page->evaluate(u"document.querySelector('[data-setting=isNatural]').checked"_s).toBool(),
        false);
    QVERIFY(page->tap(element("#view-settings [data-setting=isNatural]")));
    QVERIFY(page->select(element("#view-settings [data-setting=language]"), u"auto"_s));
}

void tst_PhoneExchange::thePhoneIsRenamedAndLeaves()
{
    QVERIFY(page->tap(element("#tab-settings")));
    QVERIFY(page->fill(element("#phone-name"), u"Annas Telefon"_s));
    QVERIFY(page->tapKey(u"Enter"_s));
    QVERIFY(page->tap(element("#leave")));
    QVERIFY(page->await(u"document.body.dataset.state === 'door'"_s));
    QVERIFY(page->reload());
    QVERIFY(page->await(u"document.body.dataset.state === 'door'"_s));
}

QTEST_GUILESS_MAIN(tst_PhoneExchange)
#include "tst_PhoneExchange.moc"
