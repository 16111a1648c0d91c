// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Texts and double clicks from the program quillmote, as they arrive in a text field of another
// program.

#include "support/Folders.h"
#include "support/session/ClipboardOwner.h"
#include "support/session/QuillmoteRun.h"
#include "support/session/ServerScene.h"
#include "support/x11/InputWatcher.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

/// A program with a text field that has the focus.
class Field
{
public:
    explicit Field(const ServerScene &scene, int pasteTime = 30) : surroundings(scene)
    {
        QFile::remove(record());
        process.setProcessEnvironment(scene.session().environment());
        process.start(QStringLiteral(TEXT_FIELD), {record(), QString::number(pasteTime)});
    }

    bool isReady() const
    {
        return waitUntil([this] {
            const auto window = surroundings.view().dialog(process.processId(), u"Field"_s);
            return window && surroundings.view().activeWindow() == window->id &&
                   QFile::exists(record());
        });
    }

    QByteArray content() const { return Folders::fileBytes(record()); }
    QByteArray text() const { return content().startsWith("text ") ? content().mid(5) : content(); }
    bool holds(const QString &text) const
    {
        return waitUntil([&] { return this->text() == text.toUtf8(); });
    }
    QPoint center() const
    {
        return surroundings.view().dialog(process.processId(), u"Field"_s)->place.center();
    }

private:
    QString record() const { return surroundings.session().path(u"field"_s); }

    const ServerScene &surroundings;
    ChildProcess process;
};

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(60'000);
    return process.readAllStandardOutput() + process.readAllStandardError();
}

const QByteArray overwriteNote =
    "note: Some characters have no key; they are pasted, which overwrites the clipboard there. "
    "--restore puts its text back.\n";

} // namespace

class tst_QuillmoteType : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void aSentenceArrivesExactly();
    void aSentenceArrivesExactlyEachTime();
    void keysAloneLeaveTheClipboardAlone();
    void standardInputIsTypedWithoutItsLastLineBreak();
    void everySignArrivesOnEveryLayout_data();
    void everySignArrivesOnEveryLayout();
    void aSlowProgramIsGivenMoreTime();
    void aLongTextArrivesInPieces();
    void whatCannotBeTypedIsRefusedBeforeTheFirstKey_data();
    void whatCannotBeTypedIsRefusedBeforeTheFirstKey();
    void theOldTextIsPutBack();
    void whatCannotBePutBackIsKeptAndNothingIsTyped_data();
    void whatCannotBePutBackIsKeptAndNothingIsTyped();
    void anInterruptedTypingPutsTheOldTextBack();
    void theRemoteTypesTheSameWay();
    void aDoubleClickIsTakenForOne();
    void clicksAreRepeated();

private:
    QuillmoteRun type(const QStringList &arguments, const QByteArray &input = {}) const
    {
        return Quillmote(*scene).run(QStringList{u"type"_s} + arguments, input);
    }
    bool setLayout(const QString &layout) const
    {
        return outputOf(u"setxkbmap"_s,
                        {u"-display"_s, scene->session().display(), u"-layout"_s, layout})
            .isEmpty();
    }
    std::optional<QByteArray> clipboard() const { return ClipboardOwner::read(scene->session()); }

    std::unique_ptr<ServerScene> scene;
};

void tst_QuillmoteType::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    QVERIFY(scene->start());
}

void tst_QuillmoteType::cleanup()
{
    QVERIFY(setLayout(u"us"_s));
}

void tst_QuillmoteType::cleanupTestCase()
{
    if (scene) {
        QCOMPARE(scene->problemAtEnd(), QByteArray());
    }
}

void tst_QuillmoteType::aSentenceArrivesExactly()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    const QuillmoteRun run = type({u"--json"_s, u"Gr\u00fc\u00dfe, Welt."_s, u"Ende."_s});
    QCOMPARE(run.status, 0);
    const QString note = QJsonDocument::fromJson(run.errors).object().value("note"_L1).toString();
    QCOMPARE("note: " + note.toUtf8() + '\n', overwriteNote);
    QVERIFY2(field.holds(u"Gr\u00fc\u00dfe, Welt. Ende."_s), field.text().constData());
    QCOMPARE(QJsonDocument::fromJson(run.output).object(),
             (QJsonObject{{u"ok"_s, true}, {u"keys"_s, 14}, {u"pastes"_s, 3}}));
    QCOMPARE(clipboard(), std::optional<QByteArray>("."));
}

void tst_QuillmoteType::aSentenceArrivesExactlyEachTime()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    for (int round = 0; round < 3; ++round) {
        QCOMPARE(Quillmote(*scene).run({u"key"_s, u"Cmd+A"_s}).status, 0);
        QCOMPARE(type({u"\u00e9a.b!c\u00fc.%1"_s.arg(round)}).status, 0);
        QVERIFY2(field.holds(u"\u00e9a.b!c\u00fc.%1"_s.arg(round)), field.text().constData());
    }
}

void tst_QuillmoteType::keysAloneLeaveTheClipboardAlone()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    const ClipboardOwner owner(scene->session(), "mine\nand two lines");
    QVERIFY(owner.isServing());
    const QuillmoteRun run = type({u"--restore"_s, u"Only keys, 100"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    QVERIFY2(field.holds(u"Only keys, 100"_s), field.text().constData());
    QCOMPARE(clipboard(), std::optional<QByteArray>("mine\nand two lines"));
}

void tst_QuillmoteType::standardInputIsTypedWithoutItsLastLineBreak()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    QCOMPARE(type({}, "caf\xc3\xa9\r\n").status, 0);
    QVERIFY2(field.holds(u"caf\u00e9"_s), field.text().constData());
    QCOMPARE(type({}, "").status, 0);
    const QuillmoteRun two = type({}, "a\n\n");
    QCOMPARE(two.status, 2);
    QVERIFY2(two.errors.contains("a line break, and servers cannot type Return"),
             two.errors.constData());
    QCOMPARE(field.text(), QByteArray("caf\xc3\xa9"));
}

void tst_QuillmoteType::everySignArrivesOnEveryLayout_data()
{
    QTest::addColumn<QString>("layout");
    QTest::addColumn<QStringList>("options");
    QTest::newRow("us") << u"us"_s << QStringList{};
    QTest::newRow("us by Shift") << u"us"_s << QStringList{u"--us-keyboard"_s};
    QTest::newRow("de") << u"de"_s << QStringList{};
    QTest::newRow("fr") << u"fr"_s << QStringList{};
    // Programs take Ctrl+V from the Latin layout that comes along.
    QTest::newRow("ru") << u"ru,us"_s << QStringList{u"--paste"_s};
    QTest::newRow("tr") << u"tr"_s << QStringList{u"--paste"_s};
}

void tst_QuillmoteType::everySignArrivesOnEveryLayout()
{
    QFETCH(QString, layout);
    QFETCH(QStringList, options);
    QVERIFY(setLayout(layout));
    const Field field(*scene);
    QVERIFY(field.isReady());
    // The characters without a key stand together: each separate group is one more paste.
    QString text = u"(aZ, Iyz) ; x{ a = b; }!#$%&()*+.:<>?@^_`{|}~\u00fc  ',-/0123456789;=[\\]"_s;
    if (options.contains(u"--us-keyboard"_s)) {
        text += u" \"quoted\""_s;
    }
    // This test is about which characters arrive, not how fast a busy machine pastes them.
    const QuillmoteRun run =
        type(options + QStringList{u"--paste-wait"_s, u"1500"_s, u"--"_s, text});
    QVERIFY2(run.status == 0, run.errors.constData());
    QVERIFY2(field.holds(text), field.text().constData());
}

void tst_QuillmoteType::aSlowProgramIsGivenMoreTime()
{
    const Field field(*scene, 700);
    QVERIFY(field.isReady());
    QCOMPARE(type({u"--paste-wait"_s, u"1500"_s, u"a.b!c"_s}).status, 0);
    QVERIFY2(field.holds(u"a.b!c"_s), field.text().constData());
}

void tst_QuillmoteType::aLongTextArrivesInPieces()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    QStringList words;
    for (int number = 0; number < 700; ++number) {
        words += QString::number(number) + u'.';
    }
    QCOMPARE(type({u"--paste"_s, words.join(u' ')}).status, 0);
    QVERIFY2(field.holds(words.join(u' ')), field.text().constData());
}

void tst_QuillmoteType::whatCannotBeTypedIsRefusedBeforeTheFirstKey_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("line break") << u"a.\nb"_s;
    QTest::newRow("double quote") << u"a. \"b\""_s;
    QTest::newRow("euro") << u"a. 5 \u20ac"_s;
}

void tst_QuillmoteType::whatCannotBeTypedIsRefusedBeforeTheFirstKey()
{
    QFETCH(QString, text);
    const Field field(*scene);
    QVERIFY(field.isReady());
    const ClipboardOwner owner(scene->session(), "mine");
    QVERIFY(owner.isServing());
    const QuillmoteRun run = type({text});
    QCOMPARE(run.status, 2);
    QVERIFY2(run.errors.startsWith("quillmote: The text cannot be typed: "),
             run.errors.constData());
    // Anything typed before would stand in front of this.
    QCOMPARE(type({u"end"_s}).status, 0);
    QVERIFY2(field.holds(u"end"_s), field.text().constData());
    QCOMPARE(clipboard(), std::optional<QByteArray>("mine"));
}

void tst_QuillmoteType::theOldTextIsPutBack()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    const ClipboardOwner owner(scene->session(), "(mine; \xc3\xa9");
    QVERIFY(owner.isServing());
    const QuillmoteRun run = type({u"--restore"_s, u"a.b!"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    QVERIFY2(field.holds(u"a.b!"_s), field.text().constData());
    QCOMPARE(clipboard(), std::optional<QByteArray>("(mine; \xc3\xa9"));
}

void tst_QuillmoteType::whatCannotBePutBackIsKeptAndNothingIsTyped_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("target");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("question mark")
        << QByteArray("why?") << QString() << 2 << QByteArray("it holds a question mark");
    QTest::newRow("beyond Latin-1")
        << QByteArray("5 \xe2\x82\xac") << QString() << 2 << QByteArray("it holds a question mark");
    QTest::newRow("two lines") << QByteArray("a\nb") << QString() << 2
                               << QByteArray("the wire cannot carry");
    QTest::newRow("items") << QByteArray("a\", \"b") << QString() << 2
                           << QByteArray("the wire cannot carry");
    QTest::newRow("long") << QByteArray(1201, 'x') << QString() << 2
                          << QByteArray("it is too long");
    QTest::newRow("no text") << QByteArray("\x89PNG") << u"image/png"_s << 1
                             << QByteArray("it is no text, or nothing");
}

void tst_QuillmoteType::whatCannotBePutBackIsKeptAndNothingIsTyped()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, target);
    const Field field(*scene);
    QVERIFY(field.isReady());
    const ClipboardOwner owner(scene->session(), content, target);
    QVERIFY(owner.isServing());
    const QuillmoteRun run = type({u"--restore"_s, u"a.b"_s});
    QTEST(run.status, "status");
    QFETCH(QByteArray, reason);
    QVERIFY2(run.errors.contains(reason), run.errors.constData());
    QVERIFY2(run.errors.contains("Nothing was typed."), run.errors.constData());
    QCOMPARE(type({u"end"_s}).status, 0);
    QVERIFY2(field.holds(u"end"_s), field.text().constData());
    QCOMPARE(ClipboardOwner::read(scene->session(), target), std::optional(content));
}

void tst_QuillmoteType::anInterruptedTypingPutsTheOldTextBack()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    const ClipboardOwner owner(scene->session(), "mine");
    QVERIFY(owner.isServing());
    ChildProcess program;
    Quillmote(*scene).start(program, {u"type"_s, u"--restore"_s, u"a."_s.repeated(500)});
    QVERIFY(waitUntil([&] { return field.text().startsWith("a.a."); }));
    QCOMPARE(kill(static_cast<pid_t>(program.processId()), SIGINT), 0);
    QVERIFY(program.waitForFinished(20'000));
    QCOMPARE(program.exitStatus(), QProcess::CrashExit);
    QCOMPARE(program.exitCode(), SIGINT);
    QVERIFY(field.text().size() < 900);
    QCOMPARE(clipboard(), std::optional<QByteArray>("mine"));
}

void tst_QuillmoteType::theRemoteTypesTheSameWay()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    const QString socket = scene->session().path(u"tmux"_s);
    const auto tmux = [&](const QStringList &arguments) {
        return outputOf(u"tmux"_s, QStringList{u"-S"_s, socket} + arguments);
    };
    const auto shows = [&](const QByteArray &text) {
        return waitUntil([&] { return tmux({u"capture-pane"_s, u"-p"_s}).contains(text); });
    };
    tmux({u"-u"_s, u"-f"_s, u"/dev/null"_s, u"new-session"_s, u"-d"_s, u"-x"_s, u"100"_s, u"-y"_s,
          u"20"_s,
          u"%1 remote --host 127.0.0.1 --port %2"_s.arg(qEnvironmentVariable("VORNA_QUILLMOTE"))
              .arg(scene->port())});
    const auto end = qScopeGuard([&] { tmux({u"kill-server"_s}); });
    QVERIFY(shows("| ready |"));
    QVERIFY(shows("Return, Tab, Backspace and Escape cannot be sent."));
    QVERIFY(shows("This overwrites the clipboard there."));
    tmux({u"send-keys"_s, u"-l"_s, u"Ja. Gr\u00fc\u00dfe! OK"_s});
    QVERIFY2(field.holds(u"Ja. Gr\u00fc\u00dfe! OK"_s), field.text().constData());
    for (const QString &key : {u"."_s, u"x"_s, u"."_s, u"y"_s}) {
        tmux({u"send-keys"_s, u"-l"_s, key});
    }
    QVERIFY2(field.holds(u"Ja. Gr\u00fc\u00dfe! OK.x.y"_s), field.text().constData());
    tmux({u"send-keys"_s, u"Enter"_s});
    QVERIFY(shows("| Return cannot be sent |"));
    tmux({u"send-keys"_s, u"-l"_s, u"\u20ac"_s});
    QVERIFY(shows("| \xe2\x82\xac cannot be sent |"));
    // A character that controls the terminal is not shown as it is.
    tmux({u"send-keys"_s, u"-l"_s, u"\u009b"_s});
    QVERIFY(shows("| U+009B cannot be sent |"));
    QCOMPARE(field.text(), QByteArray("Ja. Gr\xc3\xbc\xc3\x9f"
                                      "e! OK.x.y"));
}

void tst_QuillmoteType::aDoubleClickIsTakenForOne()
{
    const Field field(*scene);
    QVERIFY(field.isReady());
    const QPoint place = field.center();
    QVERIFY(scene->user().moveTo(place));
    const QuillmoteRun run = Quillmote(*scene).run({u"click"_s, u"double"_s});
    QCOMPARE(run.status, 0);
    QVERIFY2(waitUntil([&] { return field.content() == "double click 1"; }),
             field.content().constData());
    QCOMPARE(run.errors, QByteArray());
}

void tst_QuillmoteType::clicksAreRepeated()
{
    InputWatcher watcher(scene->session().display(), {0, 0, 300, 300});
    QVERIFY(scene->user().moveTo({100, 100}));
    QCOMPARE(Quillmote(*scene).run({u"click"_s, u"right"_s, u"--repeat"_s, u"3"_s}).status, 0);
    QCOMPARE(Quillmote(*scene).run({u"click"_s, u"double"_s, u"--repeat=2"_s}).status, 0);
    QVERIFY(waitUntil([&] { return watcher.buttons().size() >= 14; }));
    watcher.sync();
    QList<int> pressed;
    QList<quint32> times;
    for (const ButtonInput &input : watcher.buttons()) {
        if (input.isDown) {
            pressed += input.button;
            times += input.serverTime;
        }
    }
    QCOMPARE(pressed, (QList<int>{3, 3, 3, 1, 1, 1, 1}));
    // The time that desktops allow between the two clicks of a double click.
    constexpr quint32 doubleClickTime = 400;
    for (const int first : {3, 5}) {
        const quint32 between = times[first + 1] - times[first];
        QVERIFY2(between < doubleClickTime, QByteArray::number(between).constData());
        qInfo("%u ms between the clicks.", between);
    }
    const auto refused = Quillmote(*scene).run({u"click"_s, u"middle"_s});
    QCOMPARE(refused.status, 2);
    QCOMPARE(refused.errors, QByteArray("quillmote: There is no click \"middle\"; it is left, "
                                        "right, center or double.\n"));
}

QTEST_GUILESS_MAIN(tst_QuillmoteType)
#include "tst_QuillmoteType.moc"
