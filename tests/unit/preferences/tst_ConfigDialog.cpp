// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "preferences/ConfigDialog.h"

#include "preferences/ConfigurationPage.h"
#include "support/session/DialogVisitor.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QVariantMap someParameters()
{
    return {{u"PairApproval"_s, true}, {u"Logon"_s, false}, {u"Download"_s, u"/some/where"_s}};
}

QVariantMap parametersOf(const ConfigDialog &dialog)
{
    return dialog.property("parameters").toMap();
}

QPushButton *button(const ConfigDialog &dialog, const QString &text)
{
    // Not those of the file dialog.
    for (QPushButton *candidate : dialog.findChildren<QPushButton *>()) {
        if (candidate->text() == text && candidate->window() == &dialog) {
            return candidate;
        }
    }
    return nullptr;
}

} // namespace

class tst_ConfigDialog : public QObject
{
    Q_OBJECT

private slots:
    void theMetaObjectListsItsMethodsInTheirOrder();
    void theParametersAreAReadOnlyProperty();
    void theSizeIsFixed();
    void everyControlHasItsRoomWithLargeLetters();
    void theLayoutHoldsThePagesThenTheCloseButton();
    void thePageHoldsThreeGroups();
    void theControlsBearTheirTextsAndKeys();
    void theControlsShowTheParameters_data();
    void theControlsShowTheParameters();
    void missingParametersAreShownAsOffAndEmpty();
    void buildingAnnouncesNothing();

    void tickingABoxChangesTheMapSilently_data();
    void tickingABoxChangesTheMapSilently();
    void changingABoxByProgramChangesNothing();
    void aChangedDirectoryIsAnnouncedAtOnce();
    void theDirectoryCannotBeTyped();
    void aParameterMayBeSetDirectly();
    void thePropertyIsACopy();

    void browsingChangesTheDirectory();
    void theBrowserIsReused();
    void theDialogClosesWithItsValues_data();
    void theDialogClosesWithItsValues();
};

void tst_ConfigDialog::theMetaObjectListsItsMethodsInTheirOrder()
{
    const QMetaObject &meta = ConfigDialog::staticMetaObject;
    QList<QByteArray> methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        const char *kind = method.methodType() == QMetaMethod::Signal ? "signal " : "slot ";
        methods.append(kind + method.methodSignature() + ' ' + method.parameterNames().join(','));
    }
    QCOMPARE(methods,
             QList<QByteArray>({"signal updateSignal(QString,QVariant) paramName,value",
                                "slot setParameter(bool) var", "slot setParameter(QString) var"}));
}

void tst_ConfigDialog::theParametersAreAReadOnlyProperty()
{
    const QMetaObject &meta = ConfigDialog::staticMetaObject;
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 1);
    const QMetaProperty property = meta.property(meta.propertyOffset());
    QCOMPARE(property.name(), "parameters");
    QCOMPARE(property.metaType(), QMetaType::fromType<QVariantMap>());
    QVERIFY(property.isReadable());
    QVERIFY(!property.isWritable());
}

void tst_ConfigDialog::theSizeIsFixed()
{
    ConfigDialog dialog(someParameters());
    QCOMPARE(dialog.minimumSize(), QSize(480, 320));
    QCOMPARE(dialog.maximumSize(), QSize(480, 320));
    dialog.show();
    dialog.resize(1000, 1000);
    QCOMPARE(dialog.size(), QSize(480, 320));
    QCOMPARE(dialog.windowTitle(), u"Config Dialog"_s);
    QVERIFY(dialog.parent() == nullptr);
}

void tst_ConfigDialog::everyControlHasItsRoomWithLargeLetters()
{
    const QFont usual = QApplication::font();
    QFont large = usual;
    large.setPointSizeF(usual.pointSizeF() * 2.2);
    QApplication::setFont(large);
    const ConfigDialog dialog(someParameters());
    QApplication::setFont(usual);
    const QSize needed = dialog.layout()->totalMinimumSize();
    QVERIFY(needed.width() <= dialog.width());
    QVERIFY2(needed.height() <= dialog.height(), qPrintable(QString::number(needed.height())));
}

void tst_ConfigDialog::theLayoutHoldsThePagesThenTheCloseButton()
{
    const ConfigDialog dialog(someParameters());
    const auto *main = qobject_cast<QVBoxLayout *>(dialog.layout());
    QVERIFY(main != nullptr);
    QCOMPARE(main->count(), 4);
    const auto *pages = qobject_cast<QHBoxLayout *>(main->itemAt(0)->layout());
    QVERIFY(pages != nullptr);
    auto *stack = qobject_cast<QStackedWidget *>(pages->itemAt(0)->widget());
    QVERIFY(stack != nullptr);
    QCOMPARE(pages->stretch(0), 1);
    QCOMPARE(stack->count(), 1);
    QVERIFY(qobject_cast<ConfigurationPage *>(stack->widget(0)) != nullptr);

    QVERIFY(main->itemAt(1)->spacerItem() != nullptr);
    QCOMPARE(main->stretch(1), 1);
    QVERIFY(main->itemAt(2)->spacerItem() != nullptr);
    QCOMPARE(main->itemAt(2)->spacerItem()->sizeHint().height(), 12);
    const auto *buttons = qobject_cast<QHBoxLayout *>(main->itemAt(3)->layout());
    QVERIFY(buttons != nullptr);
    QCOMPARE(buttons->count(), 2);
    QCOMPARE(buttons->stretch(0), 1);
    QCOMPARE(buttons->itemAt(1)->widget(), button(dialog, u"Close"_s));
}

void tst_ConfigDialog::thePageHoldsThreeGroups()
{
    const ConfigDialog dialog(someParameters());
    const auto *page = dialog.findChild<ConfigurationPage *>();
    const auto *layout = qobject_cast<QVBoxLayout *>(page->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->count(), 4);
    const QStringList titles = {u"Server configuration"_s, u""_s, u""_s};
    const QStringList keys = {u"PairApproval"_s, u"Download"_s, u"Logon"_s};
    for (int index = 0; index < 3; ++index) {
        const auto *group = qobject_cast<QGroupBox *>(layout->itemAt(index)->widget());
        QVERIFY(group != nullptr);
        QCOMPARE(group->title(), titles[index]);
        QVERIFY(group->findChild<QWidget *>(keys[index]) != nullptr);
    }
    QVERIFY(layout->itemAt(3)->spacerItem() != nullptr);
    QCOMPARE(layout->stretch(3), 1);
}

void tst_ConfigDialog::theControlsBearTheirTextsAndKeys()
{
    const ConfigDialog dialog(someParameters());
    QCOMPARE(dialog.findChild<QCheckBox *>(u"PairApproval"_s)->text(), u"P&air needs approval"_s);
    QCOMPARE(dialog.findChild<QCheckBox *>(u"Logon"_s)->text(), u"Start at Logon"_s);
    const auto *directory = dialog.findChild<QLineEdit *>(u"Download"_s);
    QVERIFY(directory->isReadOnly());
    QCOMPARE(directory->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(directory->sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
    QVERIFY(button(dialog, u"Choose"_s) != nullptr);
    const auto *browser = dialog.findChild<QFileDialog *>();
    QCOMPARE(browser->fileMode(), QFileDialog::Directory);
    QCOMPARE(browser->windowModality(), Qt::NonModal);
}

void tst_ConfigDialog::theControlsShowTheParameters_data()
{
    QTest::addColumn<bool>("needsApproval");
    QTest::addColumn<bool>("startsAtLogon");
    QTest::addColumn<QString>("directory");
    QTest::newRow("both off") << false << false << "";
    QTest::newRow("approval") << true << false << "/a b";
    QTest::newRow("logon") << false << true << u"/\u00e9\u2603"_s;
    QTest::newRow("both on") << true << true << "relative";
}

void tst_ConfigDialog::theControlsShowTheParameters()
{
    QFETCH(bool, needsApproval);
    QFETCH(bool, startsAtLogon);
    QFETCH(QString, directory);
    const QVariantMap parameters = {{u"PairApproval"_s, needsApproval},
                                    {u"Logon"_s, startsAtLogon},
                                    {u"Download"_s, directory}};
    const ConfigDialog dialog(parameters);
    QCOMPARE(dialog.findChild<QCheckBox *>(u"PairApproval"_s)->isChecked(), needsApproval);
    QCOMPARE(dialog.findChild<QCheckBox *>(u"Logon"_s)->isChecked(), startsAtLogon);
    QCOMPARE(dialog.findChild<QLineEdit *>(u"Download"_s)->text(), directory);
    QCOMPARE(parametersOf(dialog), parameters);
}

void tst_ConfigDialog::missingParametersAreShownAsOffAndEmpty()
{
    const ConfigDialog dialog({});
    QVERIFY(!dialog.findChild<QCheckBox *>(u"PairApproval"_s)->isChecked());
    QVERIFY(!dialog.findChild<QCheckBox *>(u"Logon"_s)->isChecked());
    QCOMPARE(dialog.findChild<QLineEdit *>(u"Download"_s)->text(), QString());
    QCOMPARE(parametersOf(dialog), QVariantMap());
}

void tst_ConfigDialog::buildingAnnouncesNothing()
{
    // If the text had been announced, the map would now contain it.
    const ConfigDialog dialog({{u"Logon"_s, true}});
    QCOMPARE(parametersOf(dialog).keys(), QStringList{u"Logon"_s});
}

// ---- Changes ------------------------------------------------------------------------------------

void tst_ConfigDialog::tickingABoxChangesTheMapSilently_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("approval") << "PairApproval";
    QTest::newRow("logon") << "Logon";
}

void tst_ConfigDialog::tickingABoxChangesTheMapSilently()
{
    QFETCH(QString, key);
    const ConfigDialog dialog(someParameters());
    const QSignalSpy changes(&dialog, &ConfigDialog::updateSignal);
    auto *box = dialog.findChild<QCheckBox *>(key);
    const bool before = box->isChecked();
    QVariantMap expected = someParameters();
    for (const bool isChecked : {!before, before}) {
        box->click();
        expected[key] = isChecked;
        QCOMPARE(parametersOf(dialog), expected);
    }
    QCOMPARE(changes.count(), 0);
}

void tst_ConfigDialog::changingABoxByProgramChangesNothing()
{
    const ConfigDialog dialog(someParameters());
    dialog.findChild<QCheckBox *>(u"Logon"_s)->setChecked(true);
    QCOMPARE(parametersOf(dialog), someParameters());
}

void tst_ConfigDialog::aChangedDirectoryIsAnnouncedAtOnce()
{
    const ConfigDialog dialog(someParameters());
    const QSignalSpy changes(&dialog, &ConfigDialog::updateSignal);
    dialog.findChild<QLineEdit *>(u"Download"_s)->setText(u"/else/where"_s);
    QVariantMap expected = someParameters();
    expected[u"Download"_s] = u"/else/where"_s;
    QCOMPARE(parametersOf(dialog), expected);
    QCOMPARE(changes.count(), 1);
    QCOMPARE(changes.at(0).at(0).toString(), u"Download"_s);
    QCOMPARE(changes.at(0).at(1).value<QVariant>(), QVariant(u"/else/where"_s));
}

void tst_ConfigDialog::theDirectoryCannotBeTyped()
{
    const ConfigDialog dialog(someParameters());
    QTest::keyClicks(dialog.findChild<QLineEdit *>(u"Download"_s), u"typed"_s);
    QCOMPARE(parametersOf(dialog), someParameters());
}

void tst_ConfigDialog::aParameterMayBeSetDirectly()
{
    ConfigDialog dialog({{u"Logon"_s, true}});
    const QSignalSpy changes(&dialog, &ConfigDialog::updateSignal);
    dialog.setParameter(u"Logon"_s, false);
    dialog.setParameter(u"new"_s, 5);
    QCOMPARE(parametersOf(dialog), QVariantMap({{u"Logon"_s, false}, {u"new"_s, 5}}));
    QCOMPARE(changes.count(), 0);
}

void tst_ConfigDialog::thePropertyIsACopy()
{
    const ConfigDialog dialog(someParameters());
    QVariantMap copy = parametersOf(dialog);
    copy[u"Logon"_s] = true;
    QCOMPARE(parametersOf(dialog), someParameters());
}

// ---- Browsing and closing -----------------------------------------------------------------------

void tst_ConfigDialog::browsingChangesTheDirectory()
{
    const QTemporaryDir directory;
    const ConfigDialog dialog(someParameters());
    QSignalSpy changes(&dialog, &ConfigDialog::updateSignal);
    const DialogVisitor<QFileDialog> visitor([&](QFileDialog &browser) {
        emit browser.directoryEntered(directory.path());
        // The change takes effect before the browser closes, and closing does not undo it.
        QCOMPARE(parametersOf(dialog).value(u"Download"_s).toString(), directory.path());
        browser.reject();
    });
    QTest::mouseClick(button(dialog, u"Choose"_s), Qt::LeftButton);
    QCOMPARE(visitor.visited(), 1);
    QCOMPARE(changes.count(), 1);
    QCOMPARE(dialog.findChild<QLineEdit *>(u"Download"_s)->text(), directory.path());
    QCOMPARE(parametersOf(dialog).value(u"Download"_s).toString(), directory.path());
}

void tst_ConfigDialog::theBrowserIsReused()
{
    const ConfigDialog dialog(someParameters());
    QList<QFileDialog *> browsers;
    for (int time = 0; time < 2; ++time) {
        const DialogVisitor<QFileDialog> visitor([&](QFileDialog &browser) {
            browsers.append(&browser);
            static_cast<QDialog &>(browser).done(QDialog::Accepted);
        });
        button(dialog, u"Choose"_s)->click();
        QCOMPARE(visitor.visited(), 1);
        browsers.last()->setProperty("visited", false);
    }
    QCOMPARE(browsers.size(), 2);
    QCOMPARE(browsers[0], browsers[1]);
    QCOMPARE(dialog.findChildren<QFileDialog *>(), QList<QFileDialog *>{browsers[0]});
    // Its result is not used.
    QCOMPARE(parametersOf(dialog), someParameters());
}

void tst_ConfigDialog::theDialogClosesWithItsValues_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("the button") << "button";
    QTest::newRow("escape") << "escape";
    QTest::newRow("the title bar") << "close";
}

void tst_ConfigDialog::theDialogClosesWithItsValues()
{
    QFETCH(QString, way);
    ConfigDialog dialog(someParameters());
    const DialogVisitor<ConfigDialog> visitor([&](ConfigDialog &open) {
        open.findChild<QCheckBox *>(u"Logon"_s)->click();
        if (way == u"button"_s) {
            QTest::mouseClick(button(open, u"Close"_s), Qt::LeftButton);
        } else if (way == u"escape"_s) {
            QTest::keyClick(&open, Qt::Key_Escape);
        } else {
            open.close();
        }
    });
    dialog.exec();
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(parametersOf(dialog).value(u"Logon"_s).toBool(), true);
}

QTEST_MAIN(tst_ConfigDialog)
#include "tst_ConfigDialog.moc"
