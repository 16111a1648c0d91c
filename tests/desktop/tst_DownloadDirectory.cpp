// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Confinement.h"
#include "support/Folders.h"
#include "support/NotificationDesk.h"
#include "support/ServerScene.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

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

QString response(const std::optional<QVariantMap> &answer)
{
    return answer ? answer->value(QStringLiteral("serverResponse")).toString()
                  : QStringLiteral("no answer");
}

/// Larger than itself, so that the file is complete once it has arrived.
QByteArray request(const QString &name, const QString &size = QStringLiteral("0"))
{
    return commandText(QStringLiteral("FILE_TRANSFER_AND_OPEN"),
                       {{QStringLiteral("cmdParameters"), QStringList{name, size}}});
}

} // namespace

/// Where files go that a handheld sends, and where never.
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
        return m_scene->session().home() + QLatin1Char('/') + name;
    }
    QString received(const QString &name) const { return home(QStringLiteral("received/") + name); }
    bool launch(const std::function<void()> &confinement = [] {});
    QStringList heldInHome() const;
    bool servesOthers() const { return Handheld(m_scene->port()).isServed(); }

    std::unique_ptr<ServerScene> m_scene;
};

void tst_DownloadDirectory::init()
{
    m_scene = std::make_unique<ServerScene>(DesktopSession::Tray | DesktopSession::SessionBus);
    QCOMPARE(m_scene->session().problem(), QByteArray());
    for (const char *folder : {"received/trip/day", "Pictures", "Music/mine"})
        QVERIFY(QDir().mkpath(home(QLatin1String(folder))));
    m_scene->storeSetting(QStringLiteral("downloadDirectory"), home(QStringLiteral("received")));
    QVERIFY(Folders::write(home(QStringLiteral(".bashrc")), "# mine\n"));
    QVERIFY(Folders::write(home(QStringLiteral("Pictures/cat.jpg")), "cat\n"));
    QCOMPARE(::mkfifo(home(QStringLiteral("pipe")).toUtf8().constData(), 0600), 0);
    const auto link = [this](const char *target, const char *name) {
        return ::symlink(target, received(QLatin1String(name)).toUtf8().constData()) == 0;
    };
    QVERIFY(link(home(QStringLiteral("Pictures")).toUtf8().constData(), "Pictures"));
    QVERIFY(link("../Music/mine", "Music"));
    QVERIFY(link("../.bashrc", "settings"));
    QVERIFY(link("../new", "dangling"));
    QVERIFY(link("..", "up"));
    QVERIFY(link("trip", "latest"));
}

void tst_DownloadDirectory::cleanup()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    m_scene.reset();
}

bool tst_DownloadDirectory::launch(const std::function<void()> &confinement)
{
    m_scene->launch(confinement);
    return m_scene->port() != 0;
}

/// The files and folders in the home that the server has open.
QStringList tst_DownloadDirectory::heldInHome() const
{
    QStringList held;
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(m_scene->server().processId()));
    const auto all = QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System;
    for (const QFileInfo &descriptor : descriptors.entryInfoList(all))
        if (descriptor.symLinkTarget().startsWith(m_scene->session().home()))
            held.append(descriptor.symLinkTarget());
    return held;
}

void tst_DownloadDirectory::linkLeadsNowhereOutside_data()
{
    QTest::addColumn<int>("system");
    for (size_t system = 0; system < systems().size(); ++system)
        QTest::newRow(systems()[system].name) << static_cast<int>(system);
}

void tst_DownloadDirectory::linkLeadsNowhereOutside()
{
    QFETCH(int, system);
    QVERIFY(launch(systems()[static_cast<size_t>(system)].confinement));
    QVERIFY(servesOthers());
    const auto before = Folders::listing(m_scene->session().home());
    // As text the first of them lie in the directory.
    for (const char *name :
         {"Pictures/../.bashrc", "Music/../.bashrc", "Music/../new", "up/received/../.bashrc",
          "Pictures/../received/new", "Pictures/cat.jpg", "Pictures/new", "Music/new", "up/.bashrc",
          "settings", "dangling", "latest/../../.bashrc", "trip/../../new", "../.bashrc",
          "Pictures/../pipe", "Music/../../pipe", "up/pipe"}) {
        Handheld handheld(m_scene->port());
        QCOMPARE(response(handheld.ask(request(QLatin1String(name)))),
                 QStringLiteral("START_BINARY_TRANSFER"));
        QVERIFY(handheld.sendAndSettle("some bytes"));
        QVERIFY(!handheld.hasUnreadAnswer());
    }
    QVERIFY(servesOthers());
    QCOMPARE(Folders::differences(before, Folders::listing(m_scene->session().home())),
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
        Handheld handheld(m_scene->port());
        const QByteArray bytes = request(QLatin1String(name));
        QCOMPARE(response(handheld.ask(bytes)), QStringLiteral("START_BINARY_TRANSFER"));
        QCOMPARE(response(handheld.answer()), QStringLiteral("OK"));
        QCOMPARE(Folders::fileBytes(received(QLatin1String(file))), bytes);
    }
}

void tst_DownloadDirectory::directoryMayBeALink()
{
    m_scene->storeSetting(QStringLiteral("downloadDirectory"),
                          received(QStringLiteral("Pictures")));
    QVERIFY(launch());
    Handheld handheld(m_scene->port());
    QCOMPARE(response(handheld.ask(request(QStringLiteral("new")))),
             QStringLiteral("START_BINARY_TRANSFER"));
    QCOMPARE(response(handheld.answer()), QStringLiteral("OK"));
    QVERIFY(QFile::exists(home(QStringLiteral("Pictures/new"))));
}

/// It opens at once, as what nobody reads does not.
void tst_DownloadDirectory::pipeThatIsReadGetsNothing()
{
    const QByteArray path = received(QStringLiteral("pipe")).toUtf8();
    QCOMPARE(::mkfifo(path.constData(), 0600), 0);
    const int reader = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader != -1);
    QVERIFY(launch());
    Handheld handheld(m_scene->port());
    QCOMPARE(response(handheld.ask(request(QStringLiteral("pipe")))),
             QStringLiteral("START_BINARY_TRANSFER"));
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
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(request(QStringLiteral("Pictures/../pipe"))));
    QVERIFY(servesOthers());
    QCOMPARE(response(handheld.answer()), QStringLiteral("START_BINARY_TRANSFER"));
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
    m_scene->storeSetting(QStringLiteral("downloadDirectory"), directory);
    NotificationDesk desk(m_scene->session().busAddress());
    QVERIFY(desk.isReady());
    QVERIFY(launch());
    QVERIFY(servesOthers());
    const auto before = Folders::listing(m_scene->session().home());
    const QString told =
        QStringLiteral("The file is not saved: the download directory \"%1\" is not a full path. "
                       "Choose a folder in Preferences. ")
            .arg(directory);
    const auto timesTold = [&] {
        const auto all = desk.notifications();
        return std::count_if(all.begin(), all.end(), [&](const Notification &notification) {
            return notification.body == told;
        });
    };
    for (int file = 1; file <= 2; ++file) {
        Handheld handheld(m_scene->port());
        QCOMPARE(response(handheld.ask(request(QStringLiteral("photo")))),
                 QStringLiteral("START_BINARY_TRANSFER"));
        QVERIFY(handheld.sendAndSettle("some bytes"));
        QVERIFY(handheld.sendAndSettle("and more"));
        QVERIFY(!handheld.hasUnreadAnswer());
        QVERIFY(waitUntil([&] { return timesTold() == file; }));
    }
    QCOMPARE(Folders::differences(before, Folders::listing(m_scene->session().home())),
             QStringList());
    QCOMPARE(timesTold(), 2);
}

void tst_DownloadDirectory::transferHoldsOneDescriptor()
{
    QVERIFY(launch());
    const QString large = QStringLiteral("1000000");
    for (const char *name :
         {"settings", "Music/new", "trip", "trip/day/../../../new", "pipe/new"}) {
        Handheld refused(m_scene->port());
        QCOMPARE(response(refused.ask(request(QLatin1String(name), large))),
                 QStringLiteral("START_BINARY_TRANSFER"));
        QCOMPARE(heldInHome(), QStringList());
    }
    Handheld handheld(m_scene->port());
    const QString photo = QStringLiteral("trip/day/photo");
    QCOMPARE(response(handheld.ask(request(photo, large))),
             QStringLiteral("START_BINARY_TRANSFER"));
    QCOMPARE(heldInHome(), QStringList{received(photo)});
    handheld.leave();
    QVERIFY(waitUntil([&] { return heldInHome().isEmpty(); }));
}

QTEST_GUILESS_MAIN(tst_DownloadDirectory)
#include "tst_DownloadDirectory.moc"
