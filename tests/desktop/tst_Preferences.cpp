// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/Pictures.h"
#include "support/ServerScene.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

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

const QString Title = QStringLiteral("Config Dialog");
const QString BrowserTitle = QStringLiteral("Find Directory");
const QString ApprovalKey = QStringLiteral("pairNeedsApproval");
const QString LogonKey = QStringLiteral("startAtLogon");
const QString DownloadKey = QStringLiteral("downloadDirectory");

QByteArray pairing(const QString &device)
{
    return commandText(QStringLiteral("SERVER_PAIR"),
                       {{QStringLiteral("cmdParameters"), QStringList{device, "Anna"}}});
}

QString response(const std::optional<QVariantMap> &answer)
{
    return answer ? answer->value(QStringLiteral("serverResponse")).toString()
                  : QStringLiteral("no answer");
}

} // namespace

/// The preferences dialog, used with mouse and keyboard.
class tst_Preferences : public QObject
{
    Q_OBJECT

private slots:
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
    bool close() { return m_scene->clickButton(m_dialog, 0) && m_scene->waitUntilGone(m_dialog); }
    bool closeByEscape();
    QPoint placeOf(Row row) const;
    QImage pictureOf(Row row) const;
    bool clickRow(Row row) const;
    bool toggleApprovalByKeys() const;
    bool browse();
    bool leaveBrowser() const;
    bool hasLogonEntry() const;

    const DesktopUser &user() const { return m_scene->user(); }
    QString home() const { return m_scene->session().home(); }
    QVariant stored(const QString &key) const { return m_scene->storedSetting(key); }

    std::unique_ptr<ServerScene> m_scene;
    SeenWindow m_dialog;
    SeenWindow m_browser;
};

void tst_Preferences::init()
{
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
}

void tst_Preferences::cleanup()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    m_scene.reset();
}

bool tst_Preferences::open()
{
    if (!m_scene->menu().choose(Item::Preferences))
        return false;
    const auto dialog = m_scene->waitForDialog(Title);
    m_dialog = dialog.value_or(SeenWindow());
    return dialog && waitUntil([this] {
               return Pictures::textLines(m_scene->view().picture(m_dialog.place)).size() ==
                      RowCount;
           });
}

bool tst_Preferences::closeByEscape()
{
    return user().tapKey(QStringLiteral("Escape")) && m_scene->waitUntilGone(m_dialog);
}

/// In the text of a check box, or beside the row's other controls.
QPoint tst_Preferences::placeOf(Row row) const
{
    const QList<int> lines = Pictures::textLines(m_scene->view().settledPicture(m_dialog.place));
    return m_dialog.place.topLeft() + QPoint(LabelFromLeft, lines.value(static_cast<int>(row)));
}

QImage tst_Preferences::pictureOf(Row row) const
{
    constexpr int HalfHeight = 9;
    const int y = placeOf(row).y();
    // Settled as a whole; then the pointer is elsewhere too.
    return m_scene->view().picture(QRect(m_dialog.place.left() + 20, y - HalfHeight,
                                         m_dialog.place.width() - 150, 2 * HalfHeight));
}

bool tst_Preferences::clickRow(Row row) const
{
    return user().click(placeOf(row));
}

/// The toolkit lets a shortcut's click take a moment, in which the box looks pressed.
bool tst_Preferences::toggleApprovalByKeys() const
{
    const QImage before = pictureOf(Row::Approval);
    return user().tapKey(QStringLiteral("alt+a")) &&
           waitUntil([&] { return pictureOf(Row::Approval) != before; });
}

/// Opens the file dialog and puts it where it does not cover the preferences.
bool tst_Preferences::browse()
{
    // From the dialog's first control over the line edit.
    const bool isPressed = user().moveWindow(m_dialog.id, {10, 430}) && user().tapKey("Tab") &&
                           user().tapKey("Tab") && user().tapKey("space");
    m_browser = m_scene->waitForDialog(BrowserTitle).value_or(SeenWindow());
    const qint64 process = m_scene->server().processId();
    const auto isMoved = [&] {
        m_browser = m_scene->view().dialog(process, BrowserTitle).value_or(SeenWindow());
        m_dialog = m_scene->view().dialog(process, Title).value_or(SeenWindow());
        return m_browser.place.bottom() < m_dialog.place.top();
    };
    return isPressed && user().moveWindow(m_browser.id, {200, 0}) && waitUntil(isMoved);
}

bool tst_Preferences::leaveBrowser() const
{
    // What was typed there may have opened a list of completions, which takes an Escape of its own.
    const auto isGone = [this] {
        return !m_scene->view().dialog(m_scene->server().processId(), BrowserTitle).has_value();
    };
    for (int i = 0; i < 2 && !isGone(); ++i)
        if (!user().tapKey(QStringLiteral("Escape")))
            return false;
    return waitUntil(isGone) &&
           waitUntil([this] { return m_scene->view().activeWindow() == m_dialog.id; });
}

bool tst_Preferences::hasLogonEntry() const
{
    const QString path = m_scene->session().path(QStringLiteral("config/autostart"));
    return !QDir(path).entryList({QStringLiteral("*.desktop")}).isEmpty();
}

void tst_Preferences::looksAsItShould_data()
{
    QTest::addColumn<QStringList>("variables");
    QTest::addColumn<QSize>("size");
    QTest::newRow("normal") << QStringList() << Size;
    QTest::newRow("large-letters")
        << QStringList{"QT_FONT_DPI=144", "QT_ENABLE_HIGHDPI_SCALING=0"} << Size;
    QTest::newRow("scaled-by-the-desktop") << QStringList{"QT_FONT_DPI=144"} << Size * 3 / 2;
    QTest::newRow("scaled-twice") << QStringList{"QT_SCALE_FACTOR=2"} << Size * 2;
}

void tst_Preferences::looksAsItShould()
{
    QFETCH(QStringList, variables);
    QFETCH(QSize, size);
    m_scene->storeSetting(DownloadKey, home() + QStringLiteral("/Pictures/Of a long journey"));
    for (const QString &variable : variables)
        qputenv(variable.section('=', 0, 0).toLatin1().constData(),
                variable.section('=', 1).toLatin1());
    const bool isOpen = m_scene->start() && open();
    for (const QString &variable : variables)
        qunsetenv(variable.section('=', 0, 0).toLatin1().constData());
    QVERIFY(isOpen);
    QCOMPARE(m_dialog.title, Title);
    QCOMPARE(m_dialog.place.size(), size);
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("preferences-") +
                                           QLatin1String(QTest::currentDataTag())));
    QVERIFY(close());
}

void tst_Preferences::keepsItsSize()
{
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QCOMPARE(m_dialog.place.size(), Size);
    const QPoint corner = m_dialog.place.bottomRight() + QPoint(1, 1);
    QVERIFY(user().drag(corner, corner + QPoint(100, 100)));
    // The title bar is what a double click makes the window fill the screen by.
    QVERIFY(user().doubleClick(m_dialog.place.topLeft() + QPoint(100, -10)));
    QVERIFY(clickRow(Row::Approval));
    const auto now = m_scene->view().dialog(m_scene->server().processId(), Title);
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
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    if (way == QLatin1String("button"))
        QVERIFY(m_scene->clickButton(m_dialog, 0));
    else if (way == QLatin1String("box"))
        QVERIFY(user().click(m_dialog.place.topRight() + CloseBox));
    else
        QVERIFY(user().tapKey(way));
    QVERIFY(m_scene->waitUntilGone(m_dialog));
    QVERIFY(waitUntil([this] { return stored(ApprovalKey).toBool(); }));
    QCOMPARE(stored(LogonKey).toBool(), true);
    QCOMPARE(stored(DownloadKey).toString(), home() + QStringLiteral("/Downloads"));
}

void tst_Preferences::mouseTogglesTheCheckBoxes()
{
    QVERIFY(m_scene->start());
    QVERIFY(open());
    const QImage approval = pictureOf(Row::Approval);
    const QImage logon = pictureOf(Row::Logon);
    QVERIFY(clickRow(Row::Approval));
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(pictureOf(Row::Approval) != approval);
    QVERIFY(pictureOf(Row::Logon) != logon);
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("preferences-toggled")));
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
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(user().tapKey(QStringLiteral("space")));
    for (int i = 0; i < 3; ++i)
        QVERIFY(user().tapKey(QStringLiteral("Tab")));
    QVERIFY(user().tapKey(QStringLiteral("space")));
    QVERIFY(user().tapKey(QStringLiteral("Tab")));
    QVERIFY(user().tapKey(QStringLiteral("space")));
    QVERIFY(m_scene->waitUntilGone(m_dialog));
    QVERIFY(waitUntil([this] { return stored(LogonKey).isValid(); }));
    QCOMPARE(stored(ApprovalKey).toBool(), true);
    QCOMPARE(stored(LogonKey).toBool(), false);
}

void tst_Preferences::storedValuesAreShownAndStoredAgain()
{
    m_scene->storeSetting(ApprovalKey, true);
    m_scene->storeSetting(LogonKey, false);
    m_scene->storeSetting(DownloadKey, QStringLiteral("/not/there at all"));
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("preferences-stored-values")));
    QVERIFY(closeByEscape());
    QCOMPARE(stored(ApprovalKey).toBool(), true);
    QCOMPARE(stored(LogonKey).toBool(), false);
    QCOMPARE(stored(DownloadKey).toString(), QStringLiteral("/not/there at all"));

    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return !stored(ApprovalKey).toBool(); }));
    QCOMPARE(stored(LogonKey).toBool(), true);
}

void tst_Preferences::nothingIsStoredBeforeTheClose()
{
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(clickRow(Row::Logon));
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(toggleApprovalByKeys());
    // An answer shows that the server has seen all that came before.
    Handheld handheld(m_scene->port());
    QCOMPARE(response(handheld.ask(pairing("early"))), QStringLiteral("OK"));
    QVERIFY(!QFileInfo::exists(m_scene->session().settingsFile()));
    QVERIFY(close());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(ApprovalKey).toBool(), true);
    QCOMPARE(stored(LogonKey).toBool(), false);
}

void tst_Preferences::logonEntryComesAndGoesAtTheClose()
{
    QVERIFY(m_scene->start());
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
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    Handheld handheld(m_scene->port());
    QCOMPARE(response(handheld.ask(pairing("before the close"))), QStringLiteral("OK"));
    QVERIFY(close());
    QVERIFY(handheld.send(pairing("after the close")));
    const auto question = m_scene->waitForDialog(QStringLiteral("VornaServer"));
    QVERIFY(question);
    QVERIFY(user().tapKey(QStringLiteral("Escape")));
    QCOMPARE(response(handheld.answer()), QStringLiteral("ERROR"));
    QVERIFY(m_scene->waitUntilGone(*question));

    QVERIFY(open());
    QVERIFY(toggleApprovalByKeys());
    QVERIFY(close());
    QCOMPARE(response(handheld.ask(pairing("after the close"))), QStringLiteral("OK"));
}

void tst_Preferences::devicesAreServedWhileItIsOpen()
{
    QVERIFY(m_scene->start());
    QVERIFY(open());
    Handheld handheld(m_scene->port());
    QCOMPARE(response(handheld.ask(commandText(QStringLiteral("SERVER_INFO")))),
             QStringLiteral("OK"));
    QVERIFY(m_scene->showsLight(StatusLight::Green));
    QVERIFY(browse());
    QCOMPARE(response(handheld.ask(commandText(QStringLiteral("SERVER_INFO")))),
             QStringLiteral("OK"));
}

void tst_Preferences::folderEnteredWhileBrowsingIsTakenAtOnce()
{
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(browse());
    const QImage before = pictureOf(Row::Download);
    QVERIFY(user().type(QStringLiteral("..")));
    QVERIFY(user().tapKey(QStringLiteral("Return")));
    QVERIFY(waitUntil([&] { return pictureOf(Row::Download) != before; }));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("preferences-browsing")));
    QVERIFY(!QFileInfo::exists(m_scene->session().settingsFile()));
    // Taken although the file dialog is left without choosing.
    QVERIFY(leaveBrowser());
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(DownloadKey).toString(), QFileInfo(home()).path());
}

void tst_Preferences::folderEnteredByMouseIsWhereFilesGo()
{
    const QString folder = home() + QStringLiteral("/Music");
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(browse());
    const QImage before = pictureOf(Row::Download);
    QVERIFY(user().doubleClick(m_browser.place.topLeft() + FirstFolder));
    QVERIFY(waitUntil([&] { return pictureOf(Row::Download) != before; }));
    QVERIFY(leaveBrowser());
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(DownloadKey).toString(), folder);

    Handheld handheld(m_scene->port());
    const QByteArray request =
        commandText(QStringLiteral("FILE_TRANSFER_AND_OPEN"),
                    {{QStringLiteral("cmdParameters"), QStringList{"song", "1"}}});
    QCOMPARE(response(handheld.ask(request)), QStringLiteral("START_BINARY_TRANSFER"));
    QCOMPARE(response(handheld.answer()), QStringLiteral("OK"));
    QCOMPARE(Folders::fileBytes(folder + QStringLiteral("/song")), request);
}

void tst_Preferences::folderOnlyChosenIsNotTaken()
{
    QVERIFY(QDir().mkpath(home() + QStringLiteral("/Music")));
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QVERIFY(browse());
    QVERIFY(user().click(m_browser.place.topLeft() + FirstFolder));
    QVERIFY(user().click(m_browser.place.topLeft() + ChooseButton));
    QVERIFY(m_scene->waitUntilGone(m_browser));
    QVERIFY(waitUntil([this] { return m_scene->view().activeWindow() == m_dialog.id; }));
    QVERIFY(closeByEscape());
    QVERIFY(waitUntil([this] { return stored(DownloadKey).isValid(); }));
    QCOMPARE(stored(DownloadKey).toString(), home() + QStringLiteral("/Downloads"));
}

void tst_Preferences::isNotOpenedTwice()
{
    QVERIFY(m_scene->start());
    QVERIFY(open());
    const qint64 process = m_scene->server().processId();
    const auto icon = m_scene->view().trayIcon(process);
    QVERIFY(icon);
    QVERIFY(user().click(icon->center(), DesktopUser::Button::Right));
    QVERIFY(!waitUntil([&] { return m_scene->view().menu(process).has_value(); }, 1s));
    QCOMPARE(m_scene->view().dialogs(process).size(), 1);
}

void tst_Preferences::endOfTheProgramWhileItIsOpenIsInOrder()
{
    QVERIFY(m_scene->start());
    QVERIFY(open());
    QCOMPARE(m_scene->server().end(), std::optional(0));
}

QTEST_GUILESS_MAIN(tst_Preferences)
#include "tst_Preferences.moc"
