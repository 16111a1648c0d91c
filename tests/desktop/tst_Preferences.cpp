// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/session/ServerScene.h"
#include "support/x11/Pictures.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

using Item = TrayMenu::Item;
using namespace std::chrono_literals;

namespace {

/// The lines of text in the dialog, from the top.
enum class Row { Title, Approval, Download, Logon, Close };
constexpr int RowCount = 5;

constexpr QSize Size(480, 320);
constexpr int LabelFromLeft = 60;    ///< In the text of the check boxes.
constexpr QPoint CloseBox(-10, -10); ///< Of the window manager, from the top right corner.
// In the file dialog, from its top left corner.
constexpr QPoint FirstFolder(150, 70);
constexpr QPoint ChooseButton(573, 359);

const QString Title = u"Config Dialog"_s;
const QString BrowserTitle = u"Find Directory"_s;
const QString ApprovalKey = u"pairNeedsApproval"_s;
const QString LogonKey = u"startAtLogon"_s;
const QString DownloadKey = u"downloadDirectory"_s;

} // namespace

/// The preferences dialog, used with mouse and keyboard.
class tst_Preferences : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void looksAsItShould_data();
    void looksAsItShould();
    void keepsItsSize();
    void everyWayToCloseTakesTheValues_data();
    void everyWayToCloseTakesTheValues();
    void mouseTogglesTheCheckBoxes();
    void keyboardReachesEveryControl();
    void storedValuesAreShownAndStoredAgain();
    void nothingIsStoredBeforeTheClose();
    void logonEntryComesAndGoesAtTheClose();
    void approvalIsInForceFromTheCloseOn();
    void devicesAreServedWhileItIsOpen();
    void folderEnteredWhileBrowsingIsTakenAtOnce();
    void folderEnteredByMouseIsWhereFilesGo();
    void folderOnlyChosenIsNotTaken();
    void isNotOpenedTwice();
    void endOfTheProgramWhileItIsOpenIsInOrder();

private:
    bool open();
    bool close() { return scene->clickButton(preferences, 0) && scene->waitUntilGone(preferences); }
    bool closeByEscape();
    QPoint placeOf(Row row) const;
    QImage pictureOf(Row row) const;
    bool clickRow(Row row) const;
    bool toggleApprovalByKeys() const;
    bool browse();
    bool leaveBrowser() const;
    bool hasLogonEntry() const;

    const DesktopUser &user() const { return scene->user(); }
    QString home() const { return scene->session().home(); }
    QVariant stored(const QString &key) const { return scene->storedSetting(key); }

    std::unique_ptr<ServerScene> scene;
    SeenWindow preferences;
    SeenWindow browser;
};

void tst_Preferences::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_Preferences::init()
{
    scene->beginAnew();
}

void tst_Preferences::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

bool tst_Preferences::open()
{
    if (!scene->menu().choose(Item::Preferences)) {
        return false;
    }
    const auto dialog = scene->waitForDialog(Title);
    preferences = dialog.value_or(SeenWindow());
    return dialog && waitUntil([this] {
               return Pictures::textLines(scene->view().picture(preferences.place)).size() ==
                      RowCount;
           });
}

bool tst_Preferences::closeByEscape()
{
    return user().tapKey(u"Escape"_s) && scene->waitUntilGone(preferences);
}

/// In the text of a check box, or beside the row's other controls.
QPoint tst_Preferences::placeOf(Row row) const
{
    const QList<int> lines = Pictures::textLines(scene->view().settledPicture(preferences.place));
    return preferences.place.topLeft() + QPoint(LabelFromLeft, lines.value(static_cast<int>(row)));
}

QImage tst_Preferences::pictureOf(Row row) const
{
    constexpr int HalfHeight = 9;
    const int y = placeOf(row).y();
    // placeOf() has waited for the whole dialog; by then the pointer is elsewhere too.
    return scene->view().picture(QRect(preferences.place.left() + 20, y - HalfHeight,
                                       preferences.place.width() - 150, 2 * HalfHeight));
}

bool tst_Preferences::clickRow(Row row) const
{
    return user().click(placeOf(row));
}

/// The toolkit animates the click of a shortcut; meanwhile the box looks pressed.
bool tst_Preferences::toggleApprovalByKeys() const
{
    const QImage before = pictureOf(Row::Approval);
    return user().tapKey(u"alt+a"_s) &&
           waitUntil([&] { return pictureOf(Row::Approval) != before; });
}

/// Opens the file dialog and puts it where it does not cover the preferences.
bool tst_Preferences::browse()
{
    // From the dialog's first control over the line edit.
    const bool isPressed = user().moveWindow(preferences.id, {10, 430}) &&
                           user().tapKey(u"Tab"_s) && user().tapKey(u"Tab"_s) &&
                           user().tapKey(u"space"_s);
    browser = scene->waitForDialog(BrowserTitle).value_or(SeenWindow());
    const qint64 process = scene->server().processId();
    const auto isMoved = [&] {
        browser = scene->view().dialog(process, BrowserTitle).value_or(SeenWindow());
        preferences = scene->view().dialog(process, Title).value_or(SeenWindow());
        return browser.place.bottom() < preferences.place.top();
    };
    return isPressed && user().moveWindow(browser.id, {200, 0}) && waitUntil(isMoved);
}

bool tst_Preferences::leaveBrowser() const
{
    const qint64 process = scene->server().processId();
    const auto hasList = [&] { return scene->view().menu(process).has_value(); };
    const auto isGone = [&] { return !scene->view().dialog(process, BrowserTitle).has_value(); };
    const auto closeList = [&] {
        return user().tapKey(u"Escape"_s) && waitUntil([&] { return !hasList(); });
    };
    // Typing may have opened a list of completions, which takes the first Escape.
    return !scene->view().settledPicture().isNull() && (!hasList() || closeList()) &&
           user().tapKey(u"Escape"_s) && waitUntil(isGone) &&
           waitUntil([this] { return scene->view().activeWindow() == preferences.id; });
}

bool tst_Preferences::hasLogonEntry() const
{
    const QString path = scene->session().path(u"config/autostart"_s);
    return !QDir(path).entryList({u"*.desktop"_s}).isEmpty();
}

void tst_Preferences::looksAsItShould_data()
{
    QTest::addColumn<QStringList>("variables");
    QTest::addColumn<QSize>("size");
    QTest::newRow("normal") << QStringList() << Size;
    QTest::newRow("large-letters")
        << QStringList{u"QT_FONT_DPI=144"_s, u"QT_ENABLE_HIGHDPI_SCALING=0"_s} << Size;
    QTest::newRow("scaled-by-the-desktop") << QStringList{u"QT_FONT_DPI=144"_s} << Size * 3 / 2;
    QTest::newRow("scaled-twice") << QStringList{u"QT_SCALE_FACTOR=2"_s} << Size * 2;
}

void tst_Preferences::looksAsItShould()
{
    QFETCH(QStringList, variables);
    QFETCH(QSize, size);
    scene->storeSetting(DownloadKey, home() + u"/Pictures/Of a long journey"_s);
    for (const QString &variable : variables) {
        qputenv(variable.section(u'=', 0, 0).toLatin1().constData(),
                variable.section(u'=', 1).toLatin1());
    }
    const bool isOpen = scene->start() && open();
    for (const QString &variable : variables) {
        qunsetenv(variable.section(u'=', 0, 0).toLatin1().constData());
    }
    QVERIFY(isOpen);
    QCOMPARE(preferences.title, Title);
    QCOMPARE(preferences.place.size(), size);
    QVERIFY(
        scene->view().saveScreenshot(u"preferences-"_s + QLatin1String(QTest::currentDataTag())));
    QVERIFY(close());
}

void tst_Preferences::keepsItsSize()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    QCOMPARE(preferences.place.size(), Size);
    const QPoint corner = preferences.place.bottomRight() + QPoint(1, 1);
    QVERIFY(user().drag(corner, corner + QPoint(100, 100)));
    // A double click on the title bar would maximize a window that can be resized.
    QVERIFY(user().doubleClick(preferences.place.topLeft() + QPoint(100, -10)));
    QVERIFY(clickRow(Row::Approval));
    const auto now = scene->view().dialog(scene->server().processId(), Title);
    QVERIFY(now);
    QCOMPARE(now->place.size(), Size);
}

void tst_Preferences::everyWayToCloseTakesTheValues_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("by its Close button") << "button";
    QTest::newRow("by the box in the title bar") << "box";
    QTest::newRow("by Escape") << "Escape";
    QTest::newRow("by Alt+F4") << "alt+F4";
}

void tst_Preferences::everyWayToCloseTakesTheValues()
{
    QFETCH(QString, way);
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    if (way == "button"_L1) {
        QVERIFY(scene->clickButton(preferences, 0));
    } else if (way == "box"_L1) {
        QVERIFY(user().click(preferences.place.topRight() + CloseBox));
    } else {
        QVERIFY(user().tapKey(way));
    }
    QVERIFY(scene->waitUntilGone(preferences));
    QVERIFY(waitUntil([this] { return stored(ApprovalKey).toBool(); }));
    QCOMPARE(stored(LogonKey).toBool(), true);
    QCOMPARE(stored(DownloadKey).toString(), home() + u"/Downloads"_s);
}

void tst_Preferences::mouseTogglesTheCheckBoxes()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    const QImage approval = pictureOf(Row::Approval);
    const QImage logon = pictureOf(Row::Logon);
    QVERIFY(clickRow(Row::Approval));
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(pictureOf(Row::Approval) != approval);
    QVERIFY(pictureOf(Row::Logon) != logon);
    QVERIFY(scene->view().saveScreenshot(u"preferences-toggled"_s));
    QVERIFY(close());
    QVERIFY(waitUntil([this] { return stored(LogonKey).isValid(); }));
    QCOMPARE(stored(ApprovalKey).toBool(), true);
    QCOMPARE(stored(LogonKey).toBool(), false);

    QVERIFY(open());
    QVERIFY(clickRow(Row::Approval));
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return stored(LogonKey).toBool(); }));
    QCOMPARE(stored(ApprovalKey).toBool(), false);
}

void tst_Preferences::keyboardReachesEveryControl()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(user().tapKey(u"space"_s));
    for (int i = 0; i < 3; ++i) {
        QVERIFY(user().tapKey(u"Tab"_s));
    }
    QVERIFY(user().tapKey(u"space"_s));
    QVERIFY(user().tapKey(u"Tab"_s));
    QVERIFY(user().tapKey(u"space"_s));
    QVERIFY(scene->waitUntilGone(preferences));
    QVERIFY(waitUntil([this] { return stored(LogonKey).isValid(); }));
    QCOMPARE(stored(ApprovalKey).toBool(), true);
    QCOMPARE(stored(LogonKey).toBool(), false);
}

void tst_Preferences::storedValuesAreShownAndStoredAgain()
{
    scene->storeSetting(ApprovalKey, true);
    scene->storeSetting(LogonKey, false);
    scene->storeSetting(DownloadKey, u"/not/there at all"_s);
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(scene->view().saveScreenshot(u"preferences-stored-values"_s));
    QVERIFY(closeByEscape());
    QCOMPARE(stored(ApprovalKey).toBool(), true);
    QCOMPARE(stored(LogonKey).toBool(), false);
    QCOMPARE(stored(DownloadKey).toString(), u"/not/there at all"_s);

    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return !stored(ApprovalKey).toBool(); }));
    QCOMPARE(stored(LogonKey).toBool(), true);
}

void tst_Preferences::nothingIsStoredBeforeTheClose()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(toggleApprovalByKeys());
    // An answer shows that the server has seen all that came before.
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(pairing(u"early"_s))), u"OK"_s);
    QVERIFY(!QFileInfo::exists(scene->session().settingsFile()));
    QVERIFY(close());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(ApprovalKey).toBool(), true);
    QCOMPARE(stored(LogonKey).toBool(), false);
}

void tst_Preferences::logonEntryComesAndGoesAtTheClose()
{
    QVERIFY(scene->start());
    QVERIFY(hasLogonEntry());
    QVERIFY(open());
    const QImage ticked = pictureOf(Row::Logon);
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(pictureOf(Row::Logon) != ticked);
    QVERIFY(hasLogonEntry());
    QVERIFY(close());
    QVERIFY(waitUntil([this] { return !hasLogonEntry(); }));

    QVERIFY(open());
    const QImage unticked = pictureOf(Row::Logon);
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(pictureOf(Row::Logon) != unticked);
    QVERIFY(!hasLogonEntry());
    QVERIFY(close());
    QVERIFY(waitUntil([this] { return hasLogonEntry(); }));
}

void tst_Preferences::approvalIsInForceFromTheCloseOn()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(pairing(u"before the close"_s))), u"OK"_s);
    QVERIFY(close());
    QVERIFY(handheld.send(pairing(u"after the close"_s)));
    const auto question = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(question);
    QVERIFY(user().tapKey(u"Escape"_s));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
    QVERIFY(scene->waitUntilGone(*question));

    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(close());
    QCOMPARE(response(handheld.ask(pairing(u"after the close"_s))), u"OK"_s);
}

void tst_Preferences::devicesAreServedWhileItIsOpen()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(serverInfo())), u"OK"_s);
    QVERIFY(scene->showsLight(StatusLight::Green));
    QVERIFY(browse());
    QCOMPARE(response(handheld.ask(serverInfo())), u"OK"_s);
}

void tst_Preferences::folderEnteredWhileBrowsingIsTakenAtOnce()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(browse());
    const QImage before = pictureOf(Row::Download);
    QVERIFY(user().type(u".."_s));
    QVERIFY(user().tapKey(u"Return"_s));
    QVERIFY(waitUntil([&] { return pictureOf(Row::Download) != before; }));
    QVERIFY(scene->view().saveScreenshot(u"preferences-browsing"_s));
    QVERIFY(!QFileInfo::exists(scene->session().settingsFile()));
    // It is taken although the file dialog is cancelled.
    QVERIFY(leaveBrowser());
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(DownloadKey).toString(), QFileInfo(home()).path());
}

void tst_Preferences::folderEnteredByMouseIsWhereFilesGo()
{
    const QString folder = home() + u"/Music"_s;
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(browse());
    const QImage before = pictureOf(Row::Download);
    QVERIFY(user().doubleClick(browser.place.topLeft() + FirstFolder));
    QVERIFY(waitUntil([&] { return pictureOf(Row::Download) != before; }));
    QVERIFY(leaveBrowser());
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(DownloadKey).toString(), folder);

    Handheld handheld(scene->port());
    const QByteArray request = fileRequest(u"song"_s, u"1"_s);
    QCOMPARE(response(handheld.ask(request)), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QCOMPARE(Folders::fileBytes(folder + u"/song"_s), request);
}

void tst_Preferences::folderOnlyChosenIsNotTaken()
{
    QVERIFY(QDir().mkpath(home() + u"/Music"_s));
    QVERIFY(scene->start());
    QVERIFY(open());
    QVERIFY(browse());
    QVERIFY(user().click(browser.place.topLeft() + FirstFolder));
    QVERIFY(user().click(browser.place.topLeft() + ChooseButton));
    QVERIFY(scene->waitUntilGone(browser));
    QVERIFY(waitUntil([this] { return scene->view().activeWindow() == preferences.id; }));
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(DownloadKey).toString(), home() + u"/Downloads"_s);
}

void tst_Preferences::isNotOpenedTwice()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    const qint64 process = scene->server().processId();
    const auto icon = scene->view().trayIcon(process);
    QVERIFY(icon);
    QVERIFY(user().click(icon->center(), DesktopUser::Button::Right));
    QVERIFY(!waitUntil([&] { return scene->view().menu(process).has_value(); }, 1s));
    QCOMPARE(scene->view().dialogs(process).size(), 1);
}

void tst_Preferences::endOfTheProgramWhileItIsOpenIsInOrder()
{
    QVERIFY(scene->start());
    QVERIFY(open());
    QCOMPARE(scene->server().end(), std::optional(0));
}

QTEST_GUILESS_MAIN(tst_Preferences)
#include "tst_Preferences.moc"
