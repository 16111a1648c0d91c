// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What programs of GTK and Qt make of virtual keyboards and pointers.

#include "adapters/WlrootsScene.h"
#include "platform/linux/input/NamedKeySymbols.h"
#include "support/Folders.h"
#include "support/RandomText.h"
#include "support/process/ChildProcess.h"

#include <QJsonObject>
#include <QRandomGenerator>

using namespace platform;

class tst_WlrootsPrograms : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void takeEveryCharacter_data() { addPrograms(); }
    void takeEveryCharacter();
    void scrollByLessThanANotch_data() { addPrograms(); }
    void scrollByLessThanANotch();

private:
    static void addPrograms();
    QJsonObject state() const;

    std::unique_ptr<WlrootsScene> scene;
    ChildProcess program;
};

void tst_WlrootsPrograms::addPrograms()
{
    QTest::addColumn<QStringList>("command");
    const QString fixtures = QStringLiteral(CONTROLS_FIXTURES);
    QTest::newRow("GTK") << QStringList{fixtures + u"/gtk_controls.py"_s};
    QTest::newRow("Qt") << QStringList{QStringLiteral(QT_CONTROLS)};
}

void tst_WlrootsPrograms::init()
{
    scene = std::make_unique<WlrootsScene>();
    QVERIFY(scene->isReady());
    scene->window.reset();
    QFETCH(QStringList, command);
    auto environment = scene->session.environment();
    // Without a graphics card, and without asking the bus of the machine.
    environment.insert(u"GSK_RENDERER"_s, u"cairo"_s);
    environment.insert(u"GDK_BACKEND"_s, u"wayland"_s);
    environment.insert(u"GTK_A11Y"_s, u"none"_s);
    // What the session tells the server's sanitizer would make the program slow.
    environment.insert(u"ASAN_OPTIONS"_s, qEnvironmentVariable("ASAN_OPTIONS"));
    program.setProcessEnvironment(environment);
    program.setStandardErrorFile(scene->session.path(u"controls.log"_s));
    program.start(command.takeFirst(), {scene->session.path(u"controls"_s)});
    const auto isShown = [this] {
        const QByteArray tree = scene->session.ask(SwaySession::Question::Tree).toJson();
        return tree.contains("\"pid\"") && !state().isEmpty();
    };
    QVERIFY(waitUntil(isShown, std::chrono::seconds(60)));
}

void tst_WlrootsPrograms::cleanup()
{
    program.terminate();
    program.waitForFinished();
    scene.reset();
}

QJsonObject tst_WlrootsPrograms::state() const
{
    const QByteArray record = Folders::fileBytes(scene->session.path(u"controls"_s));
    return QJsonDocument::fromJson(record).object();
}

void tst_WlrootsPrograms::takeEveryCharacter()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    const auto isTaken = [](char32_t character) {
        return keysymOf(character) != 0 && RandomText::isAssigned(character);
    };
    const QString text = RandomText(seed).mixed(2000, u"abc XYZ 0123{[]}|@\\\"'~^`"_s, isTaken);
    QVERIFY(scene->type(text));
    QVERIFY(waitUntil([&] { return state().value(u"text"_s).toString().size() >= text.size(); }));
    QCOMPARE(state().value(u"text"_s).toString(), text);
}

void tst_WlrootsPrograms::scrollByLessThanANotch()
{
    constexpr auto pause = std::chrono::milliseconds(500); // Lists may move on for a while.
    const auto place = [this] { return state().value(u"list"_s).toDouble(); };
    // Programs let the first turn go by: of a pointer that has just come, or after another kind.
    const auto turnsBy = [&](int amount) {
        const double before = place();
        const auto hasMoved = [&] {
            scene->input().scroll(0, amount);
            QTest::qWait(static_cast<int>(pause.count()));
            return place() > before;
        };
        return waitUntil(hasMoved) ? place() - before : 0;
    };
    scene->input().moveTo({640, 360});
    const double notch = turnsBy(120);
    const double less = turnsBy(30);
    QVERIFY(less > 0);
    QVERIFY2(less < notch / 2, qPrintable(QString::number(less / notch)));
}

QTEST_GUILESS_MAIN(tst_WlrootsPrograms)
#include "tst_WlrootsPrograms.moc"
