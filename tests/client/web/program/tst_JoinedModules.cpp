// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/JoinedModules.h"

#include "support/Waiting.h"

#include <QFile>
#include <QHash>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

using Files = QHash<QString, QByteArray>;

std::optional<QByteArray> joined(const Files &files)
{
    return joinedModules(u"app.js"_s, [&](const QString &path) {
        return files.contains(path) ? std::optional(files.value(path)) : std::nullopt;
    });
}

std::optional<QByteArray> ofPage(const QString &path)
{
    QFile file(QString::fromUtf8(PAGE_FOLDER) + u'/' + path);
    return file.open(QIODevice::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

/// What node writes when it runs a module, or only checks it; its complaints if it fails.
QByteArray runByNode(const QByteArray &module, const QStringList &options = {})
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"joined.mjs"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(module) != module.size()) {
        return "not written";
    }
    file.close();
    QProcess node;
    node.start(QString::fromUtf8(NODE_PROGRAM), options + QStringList{file.fileName()});
    if (!node.waitForFinished(GenerousMilliseconds)) {
        return "not finished";
    }
    return node.readAllStandardError() + node.readAllStandardOutput();
}

} // namespace

class tst_JoinedModules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void doTheSameAsTheModules();
    void runEachModuleOnceBehindThoseThatItImports();
    void areNoneIfSomethingCannotBeJoined_data();
    void areNoneIfSomethingCannotBeJoined();
    void arePossibleForThePages_data();
    void arePossibleForThePages();
};

void tst_JoinedModules::doTheSameAsTheModules()
{
    const auto module = joined({
        {u"app.js"_s, "import { twice, Thing as Other } from \"./lib/a.js\";\n"
                      "import {\n    late,\n    value,\n} from \"./b.js\";\n"
                      "console.log(twice(4), new Other().name, await1(), late(), value);\n"
                      "function await1() { return 'hoisted'; }\n"},
        {u"lib/a.js"_s, "import { value } from \"../b.js\";\n"
                        "const own = 2;\n"
                        "export function twice(x) { return x * own; }\n"
                        "export class Thing { name = `thing ${value}`; }\n"},
        {u"b.js"_s, "const own = 5;\nfunction late() { return hidden(); }\n"
                    "export const value = own + 1;\nexport { late };\n"
                    "/** @returns {import(\"./c.js\").C} */\nexport async function unused() "
                    "{}\nfunction hidden() { return own; }\n"},
    });
    QVERIFY(module);
    QCOMPARE(runByNode(*module), "8 thing 6 hoisted 5 6\n");
}

void tst_JoinedModules::runEachModuleOnceBehindThoseThatItImports()
{
    const auto module = joined({
        {u"app.js"_s, "import { a } from \"./a.js\";\nimport { c } from \"./c.js\";\n"
                      "console.log(a, c);\n"},
        {u"a.js"_s, "import { c } from \"./c.js\";\nconsole.log('a');\nexport const a = c + 1;\n"},
        {u"c.js"_s, "console.log('c');\nexport const c = 1;\n"},
    });
    QVERIFY(module);
    QCOMPARE(runByNode(*module), "c\na\n2 1\n");
}

void tst_JoinedModules::areNoneIfSomethingCannotBeJoined_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("imported");

    const QByteArray import = "import { a } from \"./a.js\";\n";
    QTest::newRow("a missing module")
        << QByteArray("import { b } from \"./b.js\";\n") << QByteArray("export const a = 1;\n");
    QTest::newRow("a circle") << import
                              << QByteArray(
                                     "import { b } from \"./app.js\";\nexport const a = 1;\n");
    QTest::newRow("a default export") << import << QByteArray("export default 1;\n");
    QTest::newRow("a variable that changes") << import << QByteArray("export let a = 1;\n");
    QTest::newRow("everything of a module")
        << QByteArray("import * as a from \"./a.js\";\n") << QByteArray("export const a = 1;\n");
    QTest::newRow("exports of another module")
        << import << QByteArray("export { a } from \"./b.js\";\n");
    QTest::newRow("an import in the middle")
        << QByteArray("const a = import(\"./a.js\");\n") << QByteArray("export const a = 1;\n");
    QTest::newRow("waiting at the top") << import << QByteArray("export const a = 1;\nawait a;\n");
}

void tst_JoinedModules::areNoneIfSomethingCannotBeJoined()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QByteArray, imported);

    QVERIFY(!joined({{u"app.js"_s, script}, {u"a.js"_s, imported}}));
}

void tst_JoinedModules::arePossibleForThePages_data()
{
    QTest::addColumn<QString>("script");

    QTest::newRow("phone") << u"app.js"_s;
    if (ofPage(u"desk.js"_s)) {
        QTest::newRow("desktop") << u"desk.js"_s;
    }
}

void tst_JoinedModules::arePossibleForThePages()
{
    QFETCH(const QString, script);
    const auto module = joinedModules(script, ofPage);
    QVERIFY(module);
    QCOMPARE(runByNode(*module, {u"--check"_s}), "");
}

QTEST_GUILESS_MAIN(tst_JoinedModules)
#include "tst_JoinedModules.moc"
