// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// File systems that cannot rename without replacing, and those that have no second links either:
// the calls are replaced by ones that fail as they do there.

#include "platform/Folder.h"
#include "platform/posix/FolderSystem.h"
#include "support/Folders.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using platform::Folder;

namespace {

bool hasLinks = true;
int linksMade = 0;

} // namespace

namespace platform {

int renameToFreeName(int /*directory*/, const char * /*name*/, const char * /*newName*/)
{
    errno = EINVAL;
    return -1;
}

qint64 modifiedMilliseconds(const struct stat & /*status*/)
{
    return 0;
}

} // namespace platform

extern "C" int linkat(int from, const char *name, int to, const char *newName, int flags) noexcept
{
    if (!hasLinks) {
        errno = EPERM;
        return -1;
    }
    const auto result = static_cast<int>(syscall(SYS_linkat, from, name, to, newName, flags));
    linksMade += result == 0 ? 1 : 0;
    return result;
}

class tst_PlainFileSystems : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsEverReplaced_data();
    void nothingIsEverReplaced();
};

void tst_PlainFileSystems::nothingIsEverReplaced_data()
{
    QTest::addColumn<bool>("links");
    QTest::newRow("with links") << true;
    QTest::newRow("without links") << false;
}

void tst_PlainFileSystems::nothingIsEverReplaced()
{
    QFETCH(bool, links);
    hasLinks = links;
    linksMade = 0;
    const QTemporaryDir directory;
    const QString place = directory.filePath(u"a.txt"_s);
    QVERIFY(Folders::write(place, "mine"));
    QString reason;
    const auto folder = Folder::open(directory.path(), reason);
    const auto draft = folder->draft(reason);
    QVERIFY(draft->append("theirs", reason));
    QCOMPARE(draft->publish("a.txt", reason), std::optional(QByteArray("a (2).txt")));
    QCOMPARE(Folders::fileBytes(place), QByteArray("mine"));
    QCOMPARE(Folders::fileBytes(directory.filePath(u"a (2).txt"_s)), QByteArray("theirs"));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden),
             QStringList({u"a (2).txt"_s, u"a.txt"_s}));
    QCOMPARE(linksMade, links ? 1 : 0);
}

QTEST_GUILESS_MAIN(tst_PlainFileSystems)
#include "tst_PlainFileSystems.moc"
