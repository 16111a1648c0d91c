// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/process/Confinement.h"
#include "support/session/NotificationDesk.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// What the system lets the server do to follow a path.
struct System
{
    const char *name;
    std::function<void()> confinement;
};

const std::vector<System> &systems()
{
    static const std::vector<System> all = {
        {"the kernel follows the path", [] {}},
        {"an old kernel", Confinement::withoutCall(SYS_openat2, ENOSYS)},
        {"a sandbox", Confinement::withoutCall(SYS_openat2, EPERM)},
    };
    return all;
}

/// Larger than itself, so that the file is complete once it has arrived.
QByteArray request(const QString &name, const QString &size = u"0"_s)
{
    return fileRequest(name, size);
}

} // namespace

/// Where the server stores files from a handheld, and where it never does.
class tst_DownloadDirectory : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void linkLeadsNowhereOutside_data();
    void linkLeadsNowhereOutside();
    void wayInsideIsFollowed_data();
    void wayInsideIsFollowed();
    void directoryMayBeALink();
    void pipeThatIsReadGetsNothing();
    void pipeBehindALinkDoesNotStopTheServer();
    void withoutAFullPathNothingIsSaved_data();
    void withoutAFullPathNothingIsSaved();
    void transferHoldsOneDescriptor();

private:
    QString home(const QString &name) const
    {
        return scene->session().home() + QLatin1Char('/') + name;
    }
    QString received(const QString &name) const { return home(u"received/"_s + name); }
    bool launch(const std::function<void()> &confinement = [] {});
    QStringList heldInHome() const;
    bool servesOthers() const { return Handheld(scene->port()).isServed(); }

    std::unique_ptr<ServerScene> scene;
};

void tst_DownloadDirectory::init()
{
    scene = std::make_unique<ServerScene>(DesktopSession::Tray | DesktopSession::SessionBus);
    QCOMPARE(scene->session().problem(), QByteArray());
    for (const char *folder : {"received/trip/day", "Pictures", "Music/mine"}) {
        QVERIFY(QDir().mkpath(home(QLatin1String(folder))));
    }
    scene->storeSetting(u"downloadDirectory"_s, home(u"received"_s));
    QVERIFY(Folders::write(home(u".bashrc"_s), "# mine\n"));
    QVERIFY(Folders::write(home(u"Pictures/cat.jpg"_s), "cat\n"));
    QCOMPARE(::mkfifo(home(u"pipe"_s).toUtf8().constData(), 0600), 0);
    const auto link = [this](const char *target, const char *name) {
        return ::symlink(target, received(QLatin1String(name)).toUtf8().constData()) == 0;
    };
    QVERIFY(link(home(u"Pictures"_s).toUtf8().constData(), "Pictures"));
    QVERIFY(link("../Music/mine", "Music"));
    QVERIFY(link("../.bashrc", "settings"));
    QVERIFY(link("../new", "dangling"));
    QVERIFY(link("..", "up"));
    QVERIFY(link("trip", "latest"));
}

void tst_DownloadDirectory::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    scene.reset();
}

bool tst_DownloadDirectory::launch(const std::function<void()> &confinement)
{
    scene->launch(confinement);
    return scene->port() != 0;
}

/// The files and folders in the home that the server has open.
QStringList tst_DownloadDirectory::heldInHome() const
{
    QStringList held;
    const QDir descriptors(u"/proc/%1/fd"_s.arg(scene->server().processId()));
    const auto all = QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System;
    for (const QFileInfo &descriptor : descriptors.entryInfoList(all)) {
        if (descriptor.symLinkTarget().startsWith(scene->session().home())) {
            held.append(descriptor.symLinkTarget());
        }
    }
    return held;
}

void tst_DownloadDirectory::linkLeadsNowhereOutside_data()
{
    QTest::addColumn<int>("system");
    for (size_t system = 0; system < systems().size(); ++system) {
        QTest::newRow(systems()[system].name) << static_cast<int>(system);
    }
}

void tst_DownloadDirectory::linkLeadsNowhereOutside()
{
    QFETCH(int, system);
    QVERIFY(launch(systems()[static_cast<size_t>(system)].confinement));
    QVERIFY(servesOthers());
    const auto before = Folders::listing(scene->session().home());
    // As text the first of them lie in the directory.
    for (const char *name :
         {"Pictures/../.bashrc", "Music/../.bashrc", "Music/../new", "up/received/../.bashrc",
          "Pictures/../received/new", "Pictures/cat.jpg", "Pictures/new", "Music/new", "up/.bashrc",
          "settings", "dangling", "latest/../../.bashrc", "trip/../../new", "../.bashrc",
          "Pictures/../pipe", "Music/../../pipe", "up/pipe"}) {
        Handheld handheld(scene->port());
        QCOMPARE(response(handheld.ask(request(QLatin1String(name)))), u"START_BINARY_TRANSFER"_s);
        QVERIFY(handheld.sendAndSettle("some bytes"));
        QVERIFY(!handheld.hasUnreadAnswer());
    }
    QVERIFY(servesOthers());
    QCOMPARE(Folders::differences(before, Folders::listing(scene->session().home())),
             QStringList());
}

void tst_DownloadDirectory::wayInsideIsFollowed_data()
{
    linkLeadsNowhereOutside_data();
}

void tst_DownloadDirectory::wayInsideIsFollowed()
{
    QFETCH(int, system);
    QVERIFY(launch(systems()[static_cast<size_t>(system)].confinement));
    const std::pair<const char *, const char *> ways[] = {
        {"plain", "plain"},
        {"trip/day/photo", "trip/day/photo"},
        {"trip/../returned", "returned"},
        {"latest/photo", "trip/photo"},
        {"latest/../beside", "beside"},
        {"latest/day/../deep", "trip/deep"},
        {"/absolute", "absolute"},
    };
    for (const auto &[name, file] : ways) {
        Handheld handheld(scene->port());
        const QByteArray bytes = request(QLatin1String(name));
        QCOMPARE(response(handheld.ask(bytes)), u"START_BINARY_TRANSFER"_s);
        QCOMPARE(response(handheld.answer()), u"OK"_s);
        QCOMPARE(Folders::fileBytes(received(QLatin1String(file))), bytes);
    }
}

void tst_DownloadDirectory::directoryMayBeALink()
{
    scene->storeSetting(u"downloadDirectory"_s, received(u"Pictures"_s));
    QVERIFY(launch());
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(request(u"new"_s))), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(response(handheld.answer()), u"OK"_s);
    QVERIFY(QFile::exists(home(u"Pictures/new"_s)));
}

/// Unlike a pipe without a reader, it opens at once.
void tst_DownloadDirectory::pipeThatIsReadGetsNothing()
{
    const QByteArray path = received(u"pipe"_s).toUtf8();
    QCOMPARE(::mkfifo(path.constData(), 0600), 0);
    const int reader = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader != -1);
    QVERIFY(launch());
    Handheld handheld(scene->port());
    QCOMPARE(response(handheld.ask(request(u"pipe"_s))), u"START_BINARY_TRANSFER"_s);
    QVERIFY(handheld.sendAndSettle("some bytes"));
    char byte = 0;
    const ssize_t count = ::read(reader, &byte, 1);
    ::close(reader);
    QCOMPARE(count, ssize_t{0});
    QVERIFY(!handheld.hasUnreadAnswer());
    QVERIFY(servesOthers());
}

void tst_DownloadDirectory::pipeBehindALinkDoesNotStopTheServer()
{
    QVERIFY(launch());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(request(u"Pictures/../pipe"_s)));
    QVERIFY(servesOthers());
    QCOMPARE(response(handheld.answer()), u"START_BINARY_TRANSFER"_s);
}

void tst_DownloadDirectory::withoutAFullPathNothingIsSaved_data()
{
    QTest::addColumn<QString>("directory");
    QTest::newRow("none") << "";
    QTest::newRow("relative") << "received";
    QTest::newRow("the working directory") << ".";
}

/// The folder chooser may leave such a setting behind. The home is the server's working directory.
void tst_DownloadDirectory::withoutAFullPathNothingIsSaved()
{
    QFETCH(QString, directory);
    scene->storeSetting(u"downloadDirectory"_s, directory);
    NotificationDesk desk(scene->session().busAddress());
    QVERIFY(desk.isReady());
    QVERIFY(launch());
    QVERIFY(servesOthers());
    const auto before = Folders::listing(scene->session().home());
    const QString reported =
        u"The file is not saved: the download directory \"%1\" is not a full path. "
        "Choose a folder in Preferences. "_s.arg(directory);
    const auto timesReported = [&] {
        const auto all = desk.notifications();
        return std::count_if(all.begin(), all.end(), [&](const Notification &notification) {
            return notification.body == reported;
        });
    };
    for (int file = 1; file <= 2; ++file) {
        Handheld handheld(scene->port());
        QCOMPARE(response(handheld.ask(request(u"photo"_s))), u"START_BINARY_TRANSFER"_s);
        QVERIFY(handheld.sendAndSettle("some bytes"));
        QVERIFY(handheld.sendAndSettle("and more"));
        QVERIFY(!handheld.hasUnreadAnswer());
        QVERIFY(waitUntil([&] { return timesReported() == file; }));
    }
    QCOMPARE(Folders::differences(before, Folders::listing(scene->session().home())),
             QStringList());
    QCOMPARE(timesReported(), 2);
}

void tst_DownloadDirectory::transferHoldsOneDescriptor()
{
    QVERIFY(launch());
    const QString large = u"1000000"_s;
    for (const char *name :
         {"settings", "Music/new", "trip", "trip/day/../../../new", "pipe/new"}) {
        Handheld refused(scene->port());
        QCOMPARE(response(refused.ask(request(QLatin1String(name), large))),
                 u"START_BINARY_TRANSFER"_s);
        QCOMPARE(heldInHome(), QStringList());
    }
    Handheld handheld(scene->port());
    const QString photo = u"trip/day/photo"_s;
    QCOMPARE(response(handheld.ask(request(photo, large))), u"START_BINARY_TRANSFER"_s);
    QCOMPARE(heldInHome(), QStringList{received(photo)});
    handheld.leave();
    QVERIFY(waitUntil([&] { return heldInHome().isEmpty(); }));
}

QTEST_GUILESS_MAIN(tst_DownloadDirectory)
#include "tst_DownloadDirectory.moc"
