// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/ExecLine.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace platform;
using namespace Qt::StringLiterals;

namespace {

/// An entry with these lines in its main group.
DesktopEntry entryOf(const QByteArray &lines)
{
    return {KeyFile::parse("[Desktop Entry]\nType=Application\n" + lines),
            u"/data/applications/org.example.Player.desktop"_s};
}

/// Readable in failure messages, unlike an absent list.
QStringList orInvalid(const std::optional<QStringList> &arguments)
{
    return arguments.value_or(QStringList{u"(invalid)"_s});
}

} // namespace

/// How files of other programs are understood.
class tst_DesktopEntry : public QObject
{
    Q_OBJECT

private slots:
    void valueIsReadWithItsEscapes_data();
    void valueIsReadWithItsEscapes();
    void listIsSplitAtSemicolons_data();
    void listIsSplitAtSemicolons();
    void keyCountsInItsGroupOnly();
    void lastOfTwoKeysCounts();
    void escapedTextIsReadBack_data();
    void escapedTextIsReadBack();

    void commandLineIsSplit_data();
    void commandLineIsSplit();
    void fieldCodesAreExpanded_data();
    void fieldCodesAreExpanded();
    void quotedArgumentIsReadBack_data();
    void quotedArgumentIsReadBack();

    void nameIsInTheLanguageOfTheLocale_data();
    void nameIsInTheLanguageOfTheLocale();
    void programIsTheFirstArgument_data();
    void programIsTheFirstArgument();
    void applicationMustBeStartable_data();
    void applicationMustBeStartable();
    void tryExecMustNameAnExecutable();
    void desktopsAreDistinguished_data();
    void desktopsAreDistinguished();

    void fileOverTheLimitHasNoKeys();
    void namedPipeIsNotWaitedFor();
    void anyBytesAreTakenWithoutHarm_data();
    void anyBytesAreTakenWithoutHarm();
};

void tst_DesktopEntry::valueIsReadWithItsEscapes_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("value");
    QTest::newRow("plain") << QByteArray("Key=value") << u"value"_s;
    QTest::newRow("empty") << QByteArray("Key=") << u""_s;
    QTest::newRow("blanks around") << QByteArray(" \tKey =  value \t") << u"value"_s;
    QTest::newRow("line end of another system") << QByteArray("Key=value\r") << u"value"_s;
    QTest::newRow("equals sign") << QByteArray("Key=a=b") << u"a=b"_s;
    QTest::newRow("blank") << QByteArray(R"(Key=\svalue\s)") << u" value "_s;
    QTest::newRow("layout") << QByteArray(R"(Key=a\nb\tc\rd)") << u"a\nb\tc\rd"_s;
    QTest::newRow("backslash") << QByteArray(R"(Key=a\\nb)") << uR"(a\nb)"_s;
    QTest::newRow("unknown escape") << QByteArray(R"(Key=a\"b)") << uR"(a\"b)"_s;
    QTest::newRow("lone backslash") << QByteArray("Key=a\\") << u"a\\"_s;
    QTest::newRow("other scripts") << QByteArray("Key=Müsik 音楽") << u"Müsik 音楽"_s;
    QTest::newRow("blank of another script") << QByteArray("Key=a\u00a0") << u"a\u00a0"_s;
}

void tst_DesktopEntry::valueIsReadWithItsEscapes()
{
    QFETCH(QByteArray, line);
    const KeyFile keys = KeyFile::parse("[Group]\n" + line + "\n");
    QVERIFY(keys.string(u"Group"_s, u"Key"_s).has_value());
    QTEST(*keys.string(u"Group"_s, u"Key"_s), "value");
}

void tst_DesktopEntry::listIsSplitAtSemicolons_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QStringList>("items");
    QTest::newRow("none") << QByteArray() << QStringList();
    QTest::newRow("one") << QByteArray("a") << QStringList{u"a"_s};
    QTest::newRow("one, ended") << QByteArray("a;") << QStringList{u"a"_s};
    QTest::newRow("two") << QByteArray("a;b;") << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("empty items") << QByteArray(";;a;;") << QStringList{u"a"_s};
    QTest::newRow("semicolon") << QByteArray(R"(a\;b;c)") << QStringList{u"a;b"_s, u"c"_s};
    QTest::newRow("backslash") << QByteArray(R"(a\\;b)") << QStringList{u"a\\"_s, u"b"_s};
    QTest::newRow("escape") << QByteArray(R"(a\sb;c)") << QStringList{u"a b"_s, u"c"_s};
}

void tst_DesktopEntry::listIsSplitAtSemicolons()
{
    QFETCH(QByteArray, value);
    const KeyFile keys = KeyFile::parse("[Group]\nKey=" + value);
    QTEST(keys.strings(u"Group"_s, u"Key"_s), "items");
}

void tst_DesktopEntry::keyCountsInItsGroupOnly()
{
    const KeyFile keys = KeyFile::parse("Key=none\n"
                                        "[One]\nKey=first\n#Key=comment\n"
                                        "[Two]\nKey=second\n"
                                        "[Broken\nKey=third\n");
    QCOMPARE(keys.string(u"One"_s, u"Key"_s), std::optional(u"first"_s));
    QCOMPARE(keys.string(u"Two"_s, u"Key"_s), std::optional(u"second"_s));
    QCOMPARE(keys.string(u""_s, u"Key"_s), std::nullopt);
    QCOMPARE(keys.string(u"Broken"_s, u"Key"_s), std::nullopt);
    QCOMPARE(keys.string(u"Three"_s, u"Key"_s), std::nullopt);
}

void tst_DesktopEntry::lastOfTwoKeysCounts()
{
    const KeyFile keys = KeyFile::parse("[Group]\nKey=first\nKey=second\n");
    QCOMPARE(keys.string(u"Group"_s, u"Key"_s), std::optional(u"second"_s));
}

void tst_DesktopEntry::escapedTextIsReadBack_data()
{
    QTest::addColumn<QString>("text");
    for (const QString &text :
         {u""_s, u"plain"_s, u" "_s, u"  two before"_s, u"two after  "_s, u"a\nb\r\tc"_s,
          uR"(back\slash\n)"_s, u"\\"_s, u"a;b=c#d[e]"_s, u"\u00a0音楽\u2003"_s}) {
        QTest::addRow("%s", text.toUtf8().toPercentEncoding().constData()) << text;
    }
}

void tst_DesktopEntry::escapedTextIsReadBack()
{
    QFETCH(QString, text);
    const KeyFile keys = KeyFile::parse("[Group]\nKey=" + KeyFile::escaped(text).toUtf8() + '\n');
    QCOMPARE(keys.string(u"Group"_s, u"Key"_s), std::optional(text));
}

void tst_DesktopEntry::commandLineIsSplit_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("arguments");
    const QStringList invalid{u"(invalid)"_s};
    QTest::newRow("empty") << u""_s << QStringList();
    QTest::newRow("blanks") << u"  \t "_s << QStringList();
    QTest::newRow("one") << u"player"_s << QStringList{u"player"_s};
    QTest::newRow("three") << u" a  b\tc "_s << QStringList{u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("quoted") << uR"("a b" c)"_s << QStringList{u"a b"_s, u"c"_s};
    QTest::newRow("empty argument") << uR"(a "" b)"_s << QStringList{u"a"_s, u""_s, u"b"_s};
    QTest::newRow("escapes in quotes") << uR"("a\"b\`c\$d\\e")"_s << QStringList{uR"(a"b`c$d\e)"_s};
    QTest::newRow("backslash that is none") << uR"("a\nb")"_s << QStringList{uR"(a\nb)"_s};
    QTest::newRow("single quotes")
        << uR"(sh -c 'a "b" \$c')"_s << QStringList{u"sh"_s, u"-c"_s, uR"(a "b" \$c)"_s};
    QTest::newRow("escaped blank") << uR"(a\ b c)"_s << QStringList{u"a b"_s, u"c"_s};
    QTest::newRow("characters of a shell")
        << u"a; b|c $(d) ~ *"_s << QStringList{u"a;"_s, u"b|c"_s, u"$(d)"_s, u"~"_s, u"*"_s};
    QTest::newRow("number sign") << u"a b#c \"#d\" #e f"_s
                                 << QStringList{u"a"_s, u"b#c"_s, u"#d"_s};
    QTest::newRow("nothing but a comment") << u"#a b"_s << QStringList();
    QTest::newRow("open quote") << uR"(a "b c)"_s << invalid;
    QTest::newRow("open single quote") << u"a 'b c"_s << invalid;
    QTest::newRow("open escape") << u"a\\"_s << invalid;
    QTest::newRow("open escape in quotes") << uR"("a\")"_s << invalid;
}

void tst_DesktopEntry::commandLineIsSplit()
{
    QFETCH(QString, line);
    QTEST(orInvalid(ExecLine::split(line)), "arguments");
}

void tst_DesktopEntry::fieldCodesAreExpanded_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("expanded");
    const QStringList invalid{u"(invalid)"_s};
    QTest::newRow("no code") << QStringList{u"a"_s, u""_s} << QStringList{u"a"_s, u""_s};
    QTest::newRow("files") << QStringList{u"a"_s, u"%f"_s, u"%F"_s, u"b"_s}
                           << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("addresses") << QStringList{u"a"_s, u"%u"_s, u"%U"_s} << QStringList{u"a"_s};
    QTest::newRow("within") << QStringList{u"--open=%u"_s} << QStringList{u"--open="_s};
    QTest::newRow("icon") << QStringList{u"a"_s, u"%i"_s}
                          << QStringList{u"a"_s, u"--icon"_s, u"disc"_s};
    QTest::newRow("name and file")
        << QStringList{u"%c"_s, u"at %k"_s} << QStringList{u"My Player"_s, u"at /a/b.desktop"_s};
    QTest::newRow("percent") << QStringList{u"100%%"_s, u"%%f"_s, u"%%%f"_s}
                             << QStringList{u"100%"_s, u"%f"_s, u"%"_s};
    QTest::newRow("out of date") << QStringList{u"%d%D%n%N%v%m"_s, u"a"_s} << QStringList{u"a"_s};
    QTest::newRow("unknown") << QStringList{u"a"_s, u"%x"_s} << invalid;
    QTest::newRow("percent at the end") << QStringList{u"a%"_s} << invalid;
}

void tst_DesktopEntry::fieldCodesAreExpanded()
{
    QFETCH(QStringList, arguments);
    const ExecLine::FieldValues values{u"My Player"_s, u"disc"_s, u"/a/b.desktop"_s};
    QTEST(orInvalid(ExecLine::expand(arguments, values)), "expanded");
}

void tst_DesktopEntry::quotedArgumentIsReadBack_data()
{
    QTest::addColumn<QString>("argument");
    for (const QString &argument :
         {u"/usr/bin/player"_s, u"/opt/my player/run"_s, uR"(/a"b'c`d)"_s, u"/$HOME/$(id)"_s,
          u"/100%/%f/%%"_s, uR"(/back\slash\\)"_s, u"/音楽/Müsik"_s, u"/new\nline"_s, u""_s}) {
        QTest::addRow("%s", argument.toUtf8().toPercentEncoding().constData()) << argument;
    }
}

void tst_DesktopEntry::quotedArgumentIsReadBack()
{
    QFETCH(QString, argument);
    const auto arguments = ExecLine::split(u"before "_s + ExecLine::quoted(argument) + u" after"_s);
    QCOMPARE(orInvalid(ExecLine::expand(orInvalid(arguments), {})),
             (QStringList{u"before"_s, argument, u"after"_s}));
}

void tst_DesktopEntry::nameIsInTheLanguageOfTheLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("name");
    QTest::newRow("none") << u""_s << u"Music"_s;
    QTest::newRow("C") << u"C.UTF-8"_s << u"Music"_s;
    QTest::newRow("language") << u"de"_s << u"Musik"_s;
    QTest::newRow("country without its own") << u"de_CH.UTF-8"_s << u"Musik"_s;
    QTest::newRow("country") << u"de_AT.UTF-8"_s << u"Musi"_s;
    QTest::newRow("country before modifier") << u"sr_RS.UTF-8@latin"_s << u"Muzika RS"_s;
    QTest::newRow("modifier") << u"sr_ME@latin"_s << u"Muzika"_s;
    QTest::newRow("another language") << u"fr_FR.UTF-8"_s << u"Music"_s;
}

void tst_DesktopEntry::nameIsInTheLanguageOfTheLocale()
{
    QFETCH(QString, locale);
    const auto entry = entryOf("Name=Music\nName[de]=Musik\nName[de_AT]=Musi\n"
                               "Name[sr@latin]=Muzika\nName[sr_RS]=Muzika RS\nName[]=Nothing\n");
    QTEST(entry.name(locale), "name");
}

void tst_DesktopEntry::programIsTheFirstArgument_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("program");
    QTest::newRow("no Exec") << QByteArray() << u""_s;
    QTest::newRow("empty") << QByteArray("Exec=\n") << u""_s;
    QTest::newRow("with arguments") << QByteArray("Exec=/usr/bin/a --b %f\n") << u"/usr/bin/a"_s;
    QTest::newRow("quoted") << QByteArray(R"(Exec="/opt/a b/\\$c" d)") << u"/opt/a b/$c"_s;
    QTest::newRow("percent") << QByteArray(R"(Exec="/opt/100%%/a")") << u"/opt/100%/a"_s;
    QTest::newRow("open quote") << QByteArray("Exec=\"/usr/bin/a\n") << u""_s;
    QTest::newRow("unknown code later") << QByteArray("Exec=/usr/bin/a %x\n") << u"/usr/bin/a"_s;
    QTest::newRow("by env") << QByteArray("Exec=/usr/bin/env A=1 B=a%%b \"/opt/a b\" C=2\n")
                            << u"/opt/a b"_s;
    QTest::newRow("env alone") << QByteArray("Exec=env\n") << u""_s;
    QTest::newRow("in another group")
        << QByteArray("[Desktop Action a]\nExec=/usr/bin/a\n") << u""_s;
}

void tst_DesktopEntry::programIsTheFirstArgument()
{
    QFETCH(QByteArray, lines);
    QTEST(entryOf(lines).program(), "program");
}

void tst_DesktopEntry::applicationMustBeStartable_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<bool>("isApplication");
    QTest::newRow("program") << QByteArray("Exec=/bin/sh\n") << true;
    QTest::newRow("bus name") << QByteArray("DBusActivatable=true\n") << true;
    QTest::newRow("nothing to start") << QByteArray("Name=a\n") << false;
    QTest::newRow("deleted") << QByteArray("Exec=/bin/sh\nHidden=true\n") << false;
    QTest::newRow("not deleted") << QByteArray("Exec=/bin/sh\nHidden=false\n") << true;
    QTest::newRow("unclear") << QByteArray("Exec=/bin/sh\nHidden=maybe\n") << true;
    QTest::newRow("link") << QByteArray("Exec=/bin/sh\nType=Link\n") << false;
    QTest::newRow("installed") << QByteArray("Exec=/bin/sh\nTryExec=/bin/sh\n") << true;
    QTest::newRow("installed, by name") << QByteArray("Exec=/bin/sh\nTryExec=sh\n") << true;
    QTest::newRow("not installed") << QByteArray("Exec=/bin/sh\nTryExec=/nowhere/sh\n") << false;
    QTest::newRow("not installed, by name") << QByteArray("Exec=/bin/sh\nTryExec=no-sh\n") << false;
}

void tst_DesktopEntry::applicationMustBeStartable()
{
    QFETCH(QByteArray, lines);
    QTEST(entryOf(lines).isApplication(), "isApplication");
}

void tst_DesktopEntry::tryExecMustNameAnExecutable()
{
    QTemporaryDir folder;
    QFile program(folder.filePath(u"program"_s));
    QVERIFY(program.open(QIODevice::WriteOnly));
    const QByteArray lines = "Exec=/bin/sh\nTryExec=" + program.fileName().toUtf8() + '\n';
    QVERIFY(!entryOf(lines).isApplication());
    QVERIFY(program.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    QVERIFY(entryOf(lines).isApplication());
}

void tst_DesktopEntry::desktopsAreDistinguished_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QStringList>("desktops");
    QTest::addColumn<bool>("isMeant");
    const QStringList gnome{u"ubuntu"_s, u"GNOME"_s};
    QTest::newRow("for all") << QByteArray() << gnome << true;
    QTest::newRow("for ours") << QByteArray("OnlyShowIn=KDE;GNOME;\n") << gnome << true;
    QTest::newRow("for others") << QByteArray("OnlyShowIn=KDE;\n") << gnome << false;
    QTest::newRow("not for ours") << QByteArray("NotShowIn=GNOME;\n") << gnome << false;
    QTest::newRow("not for others") << QByteArray("NotShowIn=KDE;\n") << gnome << true;
    QTest::newRow("no desktop") << QByteArray("OnlyShowIn=KDE;\n") << QStringList() << false;
}

void tst_DesktopEntry::desktopsAreDistinguished()
{
    QFETCH(QByteArray, lines);
    QFETCH(QStringList, desktops);
    QTEST(entryOf(lines).isMeantFor(desktops), "isMeant");
}

void tst_DesktopEntry::fileOverTheLimitHasNoKeys()
{
    QTemporaryDir folder;
    QFile file(folder.filePath(u"large.desktop"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QByteArray head = "[Desktop Entry]\nType=Application\nExec=/bin/sh\n#";
    file.write(head + QByteArray(KeyFile::sizeLimit - head.size(), 'x'));
    QVERIFY(file.flush());
    QVERIFY(DesktopEntry::read(file.fileName()).isApplication());
    file.write("x");
    QVERIFY(file.flush());
    QVERIFY(!DesktopEntry::read(file.fileName()).isApplication());
}

void tst_DesktopEntry::namedPipeIsNotWaitedFor()
{
    QTemporaryDir folder;
    const QString pipe = folder.filePath(u"pipe.desktop"_s);
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(!DesktopEntry::read(pipe).isApplication());
}

void tst_DesktopEntry::anyBytesAreTakenWithoutHarm_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("brackets") << QByteArray(200'000, '[');
    QTest::newRow("one bracket") << QByteArray("[");
    QTest::newRow("empty group") << QByteArray("[]\nExec=a\n");
    QTest::newRow("equals signs") << "[Desktop Entry]\n" + QByteArray(200'000, '=');
    QTest::newRow("zero byte in the value") << QByteArray("[Desktop Entry]\nExec=/bin/\0sh\n", 29);
    QTest::newRow("broken UTF-8") << QByteArray("[Desktop Entry]\n\xff\xfe=\xc3\nName=\xe2\x82\n");
    QTest::newRow("quotes") << "[Desktop Entry]\nExec=" + QByteArray(200'001, '"') + '\n';
    QTest::newRow("backslashes") << "[Desktop Entry]\nExec=" + QByteArray(200'001, '\\') + '\n';
    QTest::newRow("percent signs") << "[Desktop Entry]\nExec=" + QByteArray(200'001, '%') + '\n';
    QRandomGenerator random(4711);
    for (int round = 0; round < 50; ++round) {
        QByteArray noise(2000, '\0');
        for (char &byte : noise) {
            // Half of the bytes have a meaning in such files.
            byte = random.bounded(2) == 0 ? "[]=\\\"'%;#\n $`sntrfuEx"[random.bounded(22)]
                                          : static_cast<char>(random.bounded(256));
        }
        QTest::addRow("noise %d", round) << "[Desktop Entry]\nExec=" + noise;
    }
}

void tst_DesktopEntry::anyBytesAreTakenWithoutHarm()
{
    QFETCH(QByteArray, text);
    const DesktopEntry entry(KeyFile::parse(text), u"/a.desktop"_s);
    // None of them is an application by its type.
    QVERIFY(!entry.isApplication());
    QVERIFY(!entry.program().contains(QChar(u'\0')));
    for (const QString &argument : entry.command(u"de_AT@euro"_s)) {
        QVERIFY(!argument.contains(QChar(u'\0')));
    }
    QVERIFY(!entry.name(QString::fromLatin1(text)).contains(QChar(u'\0')));
}

QTEST_GUILESS_MAIN(tst_DesktopEntry)
#include "tst_DesktopEntry.moc"
