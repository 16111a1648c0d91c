// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Folder.h"

#include "platform/posix/Descriptor.h"
#include "support/Folders.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

using namespace Qt::StringLiterals;
using platform::Folder;

namespace {

int openDescriptors()
{
    return static_cast<int>(QDir(u"/proc/self/fd"_s)
                                .entryList(QDir::NoDotAndDotDot | QDir::Files | QDir::System)
                                .size());
}

/// Limits what this process may write into one file, as a full disk does.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit lower = before;
        lower.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &lower);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit before{};
};

/// Removes the abandoned drafts; in how many steps.
int clean(Folder &folder)
{
    const auto cleaning = folder.cleaning();
    int steps = 1;
    while (cleaning->step()) {
        ++steps;
    }
    return steps;
}

} // namespace

class tst_Folder : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void namesAreOneComponentOfTextWithoutControls_data();
    void namesAreOneComponentOfTextWithoutControls();
    void onlyDirectoriesByTheirFullPathAreOpened_data();
    void onlyDirectoriesByTheirFullPathAreOpened();

    void aPublishedDraftHasExactlyItsBytes();
    void aDraftIsPrivateAndItsFileIsNot();
    void aDraftThatIsNotPublishedLeavesNothing();
    void nothingIsEverReplaced_data();
    void nothingIsEverReplaced();
    void oneHundredFilesOfOneName();
    void aDraftThatWasReplacedIsNotPublished_data();
    void aDraftThatWasReplacedIsNotPublished();
    void aDraftInARemovedDirectoryFails();
    void aFileBeyondTheLimitFails();
    void aDirectoryThatMovesKeepsItsDrafts();

    void onlyAbandonedDraftsAreRemoved();
    void aLargeDirectoryIsCleanedInSteps();
    void aDraftOfAKilledProcessIsAbandoned();

    void plainFilesAreListedInTheOrderOfTheirBytes();
    void listsContinueAfterAName();
    void aLongDirectoryIsListedInShortSteps();

    void anyPartOfAFileIsRead_data();
    void anyPartOfAFileIsRead();
    void whatIsNoPlainFileIsNotRead_data();
    void whatIsNoPlainFileIsNotRead();
    void aLinkThatIsSwappedInIsNeverFollowed();
    void nothingIsLeftOpen();

private:
    QString path(const QString &name) const { return base->filePath(name); }
    std::unique_ptr<Folder> opened() const { return Folder::open(path(u"in"_s), reason); }
    /// A published file's name; empty if that failed.
    QByteArray put(const QByteArray &name, const QByteArray &bytes) const;
    QStringList names() const
    {
        return QDir(path(u"in"_s))
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    static QList<Folder::Entry> listed(Folder &folder, const QByteArray &after, int limit,
                                       bool *more = nullptr);
    static QByteArrayList namesOf(const QList<Folder::Entry> &entries);

    std::unique_ptr<QTemporaryDir> base;
    mutable QString reason;
};

void tst_Folder::init()
{
    base = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(base->path()).mkdir(u"in"_s));
    reason.clear();
}

void tst_Folder::cleanup()
{
    base.reset();
}

QByteArray tst_Folder::put(const QByteArray &name, const QByteArray &bytes) const
{
    const auto folder = opened();
    const auto draft = folder ? folder->draft(reason) : nullptr;
    if (!draft || !draft->append(bytes, reason)) {
        return {};
    }
    return draft->publish(name, reason).value_or(QByteArray());
}

QList<Folder::Entry> tst_Folder::listed(Folder &folder, const QByteArray &after, int limit,
                                        bool *more)
{
    QString problem;
    const auto listing = folder.list(after, limit, problem);
    if (!listing) {
        return {};
    }
    while (listing->step()) {
    }
    if (more != nullptr) {
        *more = listing->hasMore();
    }
    return listing->entries();
}

QByteArrayList tst_Folder::namesOf(const QList<Folder::Entry> &entries)
{
    QByteArrayList list;
    for (const Folder::Entry &entry : entries) {
        list.append(entry.name);
    }
    return list;
}

void tst_Folder::namesAreOneComponentOfTextWithoutControls_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("isName");
    const auto row = [](const char *title, const QByteArray &name, bool isName) {
        QTest::newRow(title) << name << isName;
    };
    row("plain", "a.txt", true);
    row("longest", QByteArray(255, 'a'), true);
    row("too long", QByteArray(256, 'a'), false);
    row("empty", "", false);
    row("this directory", ".", false);
    row("the one above", "..", false);
    row("three dots", "...", true);
    row("hidden", ".a", true);
    row("option", "--help", true);
    row("blanks", "  ", true);
    row("backslash", "a\\..\\b", true);
    row("signs of addresses", "100%2e#?.txt", true);
    row("component", "a/b", false);
    row("absolute", "/a", false);
    row("ends in a slash", "a/", false);
    row("line feed", "a\nb", false);
    row("zero", QByteArray("a\0b", 3), false);
    row("delete", "a\x7f", false);
    row("control of Latin-1", "a\xc2\x85", false);
    row("all planes", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", true);
    row("Latin-1", "\xe4", false);
    row("overlong slash",
        "a\xc0\xaf"
        "b",
        false);
    row("half of a pair", "\xed\xa0\xbd", false);
    row("a draft's", ".vornaserver-abc.part", false);
    row("nearly a draft's", "vornaserver-abc.part", true);
}

void tst_Folder::namesAreOneComponentOfTextWithoutControls()
{
    QFETCH(QByteArray, name);
    QTEST(Folder::isName(name), "isName");
}

void tst_Folder::onlyDirectoriesByTheirFullPathAreOpened_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<bool>("isOpened");
    // "%1" is the folder around.
    QTest::newRow("directory") << u"%1/in"_s << true;
    QTest::newRow("link to it") << u"%1/link"_s << true;
    QTest::newRow("missing") << u"%1/missing"_s << false;
    QTest::newRow("file") << u"%1/file"_s << false;
    QTest::newRow("relative") << u"."_s << false;
    QTest::newRow("empty") << QString() << false;
}

void tst_Folder::onlyDirectoriesByTheirFullPathAreOpened()
{
    QFETCH(QString, directory);
    directory.replace(u"%1"_s, base->path());
    QVERIFY(QFile::link(u"in"_s, path(u"link"_s)));
    QVERIFY(Folders::write(path(u"file"_s), "x"));
    QTEST(Folder::open(directory, reason) != nullptr, "isOpened");
    QTEST(reason.isEmpty(), "isOpened");
}

void tst_Folder::aPublishedDraftHasExactlyItsBytes()
{
    QByteArray bytes;
    for (int i = 0; i < 100'000; ++i) {
        bytes.append(static_cast<char>(i * 7));
    }
    const auto folder = opened();
    const auto draft = folder->draft(reason);
    QVERIFY(draft->append(bytes, reason));
    QVERIFY(draft->append({}, reason));
    QVERIFY(draft->append(bytes, reason));
    QCOMPARE(draft->publish("a.bin", reason), std::optional(QByteArray("a.bin")));
    QCOMPARE(Folders::fileBytes(path(u"in/a.bin"_s)), bytes + bytes);
    QCOMPARE(names(), QStringList(u"a.bin"_s));
}

void tst_Folder::aDraftIsPrivateAndItsFileIsNot()
{
    const mode_t before = umask(027);
    const auto folder = opened();
    const auto draft = folder->draft(reason);
    umask(before);
    const QStringList whileItComes = names();
    QCOMPARE(whileItComes.size(), 1);
    struct stat status
    {
    };
    QCOMPARE(stat(qPrintable(path(u"in/"_s + whileItComes.first())), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0600U);
    QVERIFY(draft->publish("a", reason));
    QCOMPARE(stat(qPrintable(path(u"in/a"_s)), &status), 0);
    QCOMPARE(status.st_mode & 0777U, 0640U);
}

void tst_Folder::aDraftThatIsNotPublishedLeavesNothing()
{
    const auto folder = opened();
    auto draft = folder->draft(reason);
    QVERIFY(draft->append("abc", reason));
    QCOMPARE(names().size(), 1);
    QCOMPARE(listed(*folder, {}, 10).size(), 0);
    QVERIFY(!folder->read(names().first().toUtf8(), 0, 10));
    draft.reset();
    QCOMPARE(names(), QStringList());
}

void tst_Folder::nothingIsEverReplaced_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"file", "folder", "dangling link", "link to a file", "pipe"}) {
        QTest::newRow(kind) << QString::fromLatin1(kind);
    }
}

void tst_Folder::nothingIsEverReplaced()
{
    QFETCH(QString, kind);
    const QString place = path(u"in/a.txt"_s);
    QVERIFY(Folders::write(path(u"outside"_s), "mine"));
    if (kind == u"file"_s) {
        QVERIFY(Folders::write(place, "mine"));
    } else if (kind == u"folder"_s) {
        QVERIFY(QDir().mkdir(place));
    } else if (kind == u"pipe"_s) {
        QCOMPARE(mkfifo(qPrintable(place), 0600), 0);
    } else {
        QVERIFY(QFile::link(kind == u"dangling link"_s ? path(u"missing"_s) : path(u"outside"_s),
                            place));
    }
    const auto before = Folders::listing(base->path());
    QCOMPARE(put("a.txt", "theirs"), QByteArray("a (2).txt"));
    QCOMPARE(Folders::differences(before, Folders::listing(base->path())),
             QStringList(u"in/a (2).txt"_s));
    QCOMPARE(Folders::fileBytes(path(u"in/a (2).txt"_s)), QByteArray("theirs"));
}

void tst_Folder::oneHundredFilesOfOneName()
{
    for (int number = 1; number <= 100; ++number) {
        const QByteArray expected = number == 1 ? "a" : "a (" + QByteArray::number(number) + ')';
        QCOMPARE(put("a", QByteArray::number(number)), expected);
    }
    QCOMPARE(names().size(), 100);
    QCOMPARE(Folders::fileBytes(path(u"in/a (77)"_s)), QByteArray("77"));
}

void tst_Folder::aDraftThatWasReplacedIsNotPublished_data()
{
    QTest::addColumn<bool>("byALink");
    QTest::newRow("by a link") << true;
    QTest::newRow("by nothing") << false;
}

void tst_Folder::aDraftThatWasReplacedIsNotPublished()
{
    QFETCH(bool, byALink);
    const auto folder = opened();
    auto draft = folder->draft(reason);
    const QString place = path(u"in/"_s + names().first());
    QVERIFY(QFile::remove(place));
    QVERIFY(!byALink || QFile::link(u"/etc/passwd"_s, place));
    QVERIFY(!draft->publish("a", reason));
    QVERIFY(!reason.isEmpty());
    draft.reset();
    // The link is not ours to remove.
    QCOMPARE(names().size(), byALink ? 1 : 0);
}

void tst_Folder::aDraftInARemovedDirectoryFails()
{
    const auto folder = opened();
    const auto draft = folder->draft(reason);
    QVERIFY(QDir(path(u"in"_s)).removeRecursively());
    QVERIFY(draft->append("abc", reason));
    QVERIFY(!draft->publish("a", reason));
    QVERIFY2(reason.contains(u"in"_s), qPrintable(reason));
    QVERIFY(!folder->draft(reason));
    QCOMPARE(listed(*folder, {}, 10).size(), 0);
    QVERIFY(!QFile::exists(path(u"in"_s)));
}

void tst_Folder::aFileBeyondTheLimitFails()
{
    const FileSizeLimit limit(1000);
    const auto folder = opened();
    auto draft = folder->draft(reason);
    QVERIFY(draft->append(QByteArray(1000, 'a'), reason));
    QVERIFY(!draft->append("b", reason));
    QVERIFY(!reason.isEmpty());
    draft.reset();
    QCOMPARE(names(), QStringList());
}

void tst_Folder::aDirectoryThatMovesKeepsItsDrafts()
{
    const auto folder = opened();
    const auto draft = folder->draft(reason);
    QVERIFY(QFile::rename(path(u"in"_s), path(u"moved"_s)));
    QVERIFY(QDir(base->path()).mkdir(u"in"_s));
    QVERIFY(draft->publish("a", reason));
    QVERIFY(QFile::exists(path(u"moved/a"_s)));
    QCOMPARE(names(), QStringList());
}

void tst_Folder::onlyAbandonedDraftsAreRemoved()
{
    const auto folder = opened();
    const auto draft = folder->draft(reason);
    const QString running = names().first();
    QVERIFY(Folders::write(path(u"outside"_s), "mine"));
    QVERIFY(Folders::write(path(u"in/.vornaserver-abandoned.part"_s), "x"));
    QVERIFY(Folders::write(path(u"in/.vornaserver-other"_s), "x"));
    QVERIFY(Folders::write(path(u"in/file.part"_s), "x"));
    QVERIFY(QFile::link(path(u"outside"_s), path(u"in/.vornaserver-link.part"_s)));
    QVERIFY(QDir().mkdir(path(u"in/.vornaserver-folder.part"_s)));
    QCOMPARE(mkfifo(qPrintable(path(u"in/.vornaserver-pipe.part"_s)), 0600), 0);
    const auto before = Folders::listing(base->path());
    clean(*opened());
    QCOMPARE(Folders::differences(before, Folders::listing(base->path())),
             QStringList(u"in/.vornaserver-abandoned.part"_s));
    QVERIFY(names().contains(running));
    QVERIFY(draft->publish("a", reason));
    clean(*opened());
    QVERIFY(names().contains(u"a"_s));
}

void tst_Folder::aLargeDirectoryIsCleanedInSteps()
{
    for (int i = 0; i < 100; ++i) {
        QVERIFY(Folders::write(path(u"in/.vornaserver-%1.part"_s.arg(i)), "x"));
    }
    QVERIFY(clean(*opened()) > 1);
    QCOMPARE(names(), QStringList());
}

void tst_Folder::aDraftOfAKilledProcessIsAbandoned()
{
    std::array<int, 2> ready{};
    QCOMPARE(pipe(ready.data()), 0);
    const QByteArray directory = path(u"in"_s).toUtf8();
    const pid_t child = fork();
    if (child == 0) {
        const auto folder = Folder::open(QString::fromUtf8(directory), reason);
        const auto draft = folder->draft(reason);
        const bool isWritten = draft && draft->append("half", reason) && write(ready[1], "x", 1);
        while (isWritten) {
            pause();
        }
        _exit(1);
    }
    char byte = 0;
    QCOMPARE(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);
    QCOMPARE(names().size(), 1);
    clean(*opened());
    QCOMPARE(names().size(), 1);
    kill(child, SIGKILL);
    QCOMPARE(waitpid(child, nullptr, 0), child);
    clean(*opened());
    QCOMPARE(names(), QStringList());
}

void tst_Folder::plainFilesAreListedInTheOrderOfTheirBytes()
{
    const auto name = [this](const char *bytes) {
        return path(u"in/"_s) + QString::fromUtf8(bytes);
    };
    for (const char *file : {"b", "B", "\xc3\xa4", "a b", "10", "9", ".hidden", "%41"}) {
        QVERIFY(Folders::write(name(file), "12345"));
    }
    QVERIFY(QDir().mkdir(name("folder")));
    QVERIFY(QFile::link(name("b"), name("link")));
    QVERIFY(QFile::link(name("folder"), name("folderlink")));
    QVERIFY(QFile::link(name("nowhere"), name("dangling")));
    QCOMPARE(mkfifo(qPrintable(name("pipe")), 0600), 0);
    const platform::Folder::Entry old{"9", 5, 1'234'567'890'123};
    const timespec time{1'234'567'890, 123'000'000};
    const std::array times{time, time};
    QCOMPARE(utimensat(AT_FDCWD, qPrintable(name("9")), times.data(), 0), 0);
    const Descriptor latin(
        open((path(u"in"_s).toUtf8() + "/\xe4").constData(), O_CREAT | O_WRONLY, 0600));
    QVERIFY(latin.isOpen());
    const auto folder = opened();
    const auto draft = folder->draft(reason);
    bool more = true;
    const auto files = listed(*folder, {}, 100, &more);
    QCOMPARE(namesOf(files),
             QByteArrayList({"%41", ".hidden", "10", "9", "B", "a b", "b", "\xc3\xa4"}));
    QVERIFY(!more);
    QVERIFY(files.at(3) == old);
}

void tst_Folder::listsContinueAfterAName()
{
    for (const char *file : {"a", "b", "c", "d"}) {
        QVERIFY(Folders::write(path(u"in/"_s + QString::fromUtf8(file)), "1"));
    }
    // What is no plain file takes no place.
    QVERIFY(QDir().mkdir(path(u"in/0"_s)));
    QVERIFY(QFile::link(u"a"_s, path(u"in/e"_s)));
    const auto folder = opened();
    bool more = false;
    QCOMPARE(namesOf(listed(*folder, {}, 3, &more)), QByteArrayList({"a", "b", "c"}));
    QVERIFY(more);
    QCOMPARE(namesOf(listed(*folder, "c", 3, &more)), QByteArrayList({"d"}));
    QVERIFY(!more);
    QCOMPARE(namesOf(listed(*folder, {}, 4, &more)).size(), 4);
    QVERIFY(!more);
    QCOMPARE(namesOf(listed(*folder, "bb", 1, &more)), QByteArrayList({"c"}));
    QVERIFY(more);
    QCOMPARE(listed(*folder, "d", 3, &more).size(), 0);
    QVERIFY(!more);
}

/// The limit is generous for a loaded machine with sanitizers: one pass in one step takes longer.
void tst_Folder::aLongDirectoryIsListedInShortSteps()
{
    constexpr int count = 8'000;
    const Descriptor directory(open(qPrintable(path(u"in"_s)), O_RDONLY | O_DIRECTORY));
    for (int i = 0; i < count; ++i) {
        const Descriptor file(
            openat(directory.get(), QByteArray::number(i).constData(), O_CREAT | O_WRONLY, 0600));
        QVERIFY(file.isOpen());
    }
    const auto folder = opened();
    const auto listing = folder->list({}, 1000, reason);
    int steps = 1;
    while (listing->step()) {
        ++steps;
    }
    QVERIFY2(steps >= count / 2048, qPrintable(QString::number(steps)));
    QCOMPARE(listing->entries().size(), 1000);
    QCOMPARE(listing->entries().first().name, QByteArray("0"));
    QVERIFY(listing->hasMore());
}

void tst_Folder::anyPartOfAFileIsRead_data()
{
    QTest::addColumn<qint64>("offset");
    QTest::addColumn<qint64>("length");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("all") << qint64(0) << qint64(10) << QByteArray("0123456789");
    QTest::newRow("more than all") << qint64(0) << qint64(11) << QByteArray("0123456789");
    QTest::newRow("middle") << qint64(3) << qint64(2) << QByteArray("34");
    QTest::newRow("end") << qint64(9) << qint64(5) << QByteArray("9");
    QTest::newRow("at the end") << qint64(10) << qint64(5) << QByteArray("");
    QTest::newRow("beyond the end") << qint64(1'000'000'000'000) << qint64(5) << QByteArray("");
    QTest::newRow("nothing") << qint64(0) << qint64(0) << QByteArray("");
}

void tst_Folder::anyPartOfAFileIsRead()
{
    QFETCH(qint64, offset);
    QFETCH(qint64, length);
    QVERIFY(Folders::write(path(u"in/a"_s), "0123456789"));
    const auto piece = opened()->read("a", offset, length);
    QVERIFY(piece);
    QTEST(piece->bytes, "bytes");
    QCOMPARE(piece->size, 10);
}

void tst_Folder::whatIsNoPlainFileIsNotRead_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"missing", "folder", "link", "dangling", "pipe", "socket", "device",
                             "../outside", ".", "..", "", "/etc/passwd", "folder/inside"}) {
        QTest::newRow(*name == '\0' ? "empty" : name) << QByteArray(name);
    }
}

void tst_Folder::whatIsNoPlainFileIsNotRead()
{
    QFETCH(QByteArray, name);
    QVERIFY(Folders::write(path(u"outside"_s), "mine"));
    QVERIFY(Folders::write(path(u"in/file"_s), "mine"));
    QVERIFY(QDir().mkdir(path(u"in/folder"_s)));
    QVERIFY(Folders::write(path(u"in/folder/inside"_s), "mine"));
    QVERIFY(QFile::link(u"file"_s, path(u"in/link"_s)));
    QVERIFY(QFile::link(u"nowhere"_s, path(u"in/dangling"_s)));
    QVERIFY(QFile::link(u"/dev/zero"_s, path(u"in/device"_s)));
    // A pipe that is written to opens at once.
    QCOMPARE(mkfifo(qPrintable(path(u"in/pipe"_s)), 0600), 0);
    const Descriptor writer(open(qPrintable(path(u"in/pipe"_s)), O_RDWR | O_NONBLOCK));
    const Descriptor listener(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, qPrintable(path(u"in/socket"_s)), sizeof address.sun_path);
    QCOMPARE(bind(listener.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    const auto folder = opened();
    QVERIFY(folder->read("file", 0, 10));
    QVERIFY(!folder->read(name, 0, 10));
}

void tst_Folder::aLinkThatIsSwappedInIsNeverFollowed()
{
    QVERIFY(Folders::write(path(u"secret"_s), "secret"));
    QVERIFY(Folders::write(path(u"in/a"_s), "public"));
    QVERIFY(QFile::link(path(u"secret"_s), path(u"in/b"_s)));
    const QByteArray a = path(u"in/a"_s).toUtf8();
    const QByteArray b = path(u"in/b"_s).toUtf8();
    std::atomic<bool> isOver = false;
    std::thread swapping([&] {
        while (!isOver) {
            renameat2(AT_FDCWD, a.constData(), AT_FDCWD, b.constData(), RENAME_EXCHANGE);
        }
    });
    const auto folder = opened();
    int reads = 0;
    bool isSecretSeen = false;
    for (int i = 0; i < 5'000; ++i) {
        const auto piece = folder->read("a", 0, 10);
        reads += piece ? 1 : 0;
        isSecretSeen = isSecretSeen || (piece && piece->bytes != "public");
    }
    isOver = true;
    swapping.join();
    QVERIFY(!isSecretSeen);
    QVERIFY(reads > 0 && reads < 5'000);
}

void tst_Folder::nothingIsLeftOpen()
{
    const int before = openDescriptors();
    for (int i = 0; i < 3; ++i) {
        put("a", "abc");
        const auto folder = opened();
        folder->draft(reason);
        folder->read("a", 0, 1);
        folder->read("missing", 0, 1);
        listed(*folder, {}, 1);
        clean(*folder);
    }
    QCOMPARE(openDescriptors(), before);
}

QTEST_GUILESS_MAIN(tst_Folder)
#include "tst_Folder.moc"
