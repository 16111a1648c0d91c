// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionDoor.h"

#include "support/Folders.h"
#include "support/process/PretendedUser.h"
#include "support/protocol/SessionCrowd.h"
#include "unit/session/SessionFixture.h"

#include <QFile>
#include <QFileInfo>

#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

int modeOf(const QString &path)
{
    struct stat status
    {
    };
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 07777)
                                                                    : -1;
}

/// A socket that is bound there, and listens if that is wanted; not removed by its end.
class BoundSocket
{
public:
    BoundSocket(const QString &path, bool isListening)
        : descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, QFile::encodeName(path).constData(),
                     sizeof address.sun_path - 1);
        isBound = bind(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
                  (!isListening || listen(descriptor, 1) == 0);
    }
    ~BoundSocket() { ::close(descriptor); }

    bool isBound = false;

private:
    int descriptor;
};

} // namespace

class tst_SessionDoor : public SessionFixture
{
    Q_OBJECT

private slots:
    void onlyTheUserMayUseTheSocket();
    void closingRemovesTheSocket();
    void theDoorMayBeOpenedAgain();
    void openingAnOpenDoorKeepsItsSessions();
    void closingLeavesASocketOfAnotherServer();
    void aSecondServerHasNoSocket();
    void anAbandonedSocketIsReplaced();
    void aSocketInUseIsNotReplaced();
    void otherFilesAreNotReplaced();
    void aDirectoryThatIsOpenToOthersIsNotUsed_data();
    void aDirectoryThatIsOpenToOthersIsNotUsed();
    void aDirectoryThatIsALinkIsNotUsed();
    void aDirectoryOfAnotherUserIsNotUsed();
    void aPathThatIsTooLongIsReported();
    void withoutARuntimeDirectoryThereIsNoSocket();

    void furtherSessionsAreSentAway();
    void aCrowdIsAnswered();
    void withoutADescriptorASessionIsSentAway();
    void closingSaysGoodbye();
};

void tst_SessionDoor::onlyTheUserMayUseTheSocket()
{
    const mode_t before = umask(0);
    door.reset();
    QVERIFY(QDir(runtime.path() + u"/vornaserver"_s).removeRecursively());
    restart();
    umask(before);
    QCOMPARE(modeOf(runtime.path() + u"/vornaserver"_s), 0700);
    QCOMPARE(modeOf(path()), 0600);
    QCOMPARE(modeOf(path() + u".lock"_s), 0600);
}

void tst_SessionDoor::closingRemovesTheSocket()
{
    door->close();
    QVERIFY(!QFileInfo::exists(path()));
    QVERIFY(!SessionClient(path()).isConnected());
}

void tst_SessionDoor::theDoorMayBeOpenedAgain()
{
    for (int i = 0; i < 3; ++i) {
        door->close();
        door->open(runtime.path());
        QVERIFY(!SessionClient(path()).greeting().isEmpty());
    }
    QCOMPARE(messages->all(), QStringList());
}

void tst_SessionDoor::openingAnOpenDoorKeepsItsSessions()
{
    SessionClient client(path());
    QVERIFY(!client.greeting().isEmpty());
    door->open(runtime.path());
    QVERIFY(client.ask(u"ping"_s).isOk());
    QVERIFY(!SessionClient(path()).greeting().isEmpty());
    QCOMPARE(messages->all(), QStringList());
}

void tst_SessionDoor::closingLeavesASocketOfAnotherServer()
{
    QVERIFY(QFile::remove(path()));
    const BoundSocket other(path(), true);
    QVERIFY(other.isBound);
    door.reset();
    QVERIFY(modeOf(path()) >= 0);
    QVERIFY(QFile::remove(path()));
}

void tst_SessionDoor::aSecondServerHasNoSocket()
{
    SessionClient client(path());
    client.greeting();
    {
        SessionDoor second(services);
        second.open(runtime.path());
        QCOMPARE(messages->all(), QStringList{u"debug: No session socket: "_s + path() +
                                              u": another server has it. "_s});
    }
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
    QVERIFY(!SessionClient(path()).greeting().isEmpty());
}

void tst_SessionDoor::anAbandonedSocketIsReplaced()
{
    door.reset();
    QVERIFY(BoundSocket(path(), true).isBound);
    QVERIFY(modeOf(path()) >= 0);
    restart();
    QVERIFY(!SessionClient(path()).greeting().isEmpty());
    QCOMPARE(messages->all(), QStringList());
}

/// Its lock was removed.
void tst_SessionDoor::aSocketInUseIsNotReplaced()
{
    door.reset();
    const BoundSocket other(path(), true);
    QVERIFY(other.isBound);
    const auto before = QFileInfo(path()).fileTime(QFile::FileModificationTime);
    restart();
    QCOMPARE(QFileInfo(path()).fileTime(QFile::FileModificationTime), before);
    QCOMPARE(messages->all().size(), 1);
    QVERIFY(QFile::remove(path()));
}

void tst_SessionDoor::otherFilesAreNotReplaced()
{
    door.reset();
    QVERIFY(Folders::write(path(), "text"));
    restart();
    QCOMPARE(Folders::fileBytes(path()), QByteArray("text"));
    QCOMPARE(messages->all().size(), 1);
    QVERIFY(QFile::remove(path()));
}

void tst_SessionDoor::aDirectoryThatIsOpenToOthersIsNotUsed_data()
{
    QTest::addColumn<int>("mode");
    for (const int mode : {0710, 0740, 0720, 0701, 0704, 0702, 0777}) {
        QTest::addRow("%o", mode) << mode;
    }
}

void tst_SessionDoor::aDirectoryThatIsOpenToOthersIsNotUsed()
{
    QFETCH(int, mode);
    door.reset();
    const QByteArray folder = QFile::encodeName(runtime.path() + u"/vornaserver"_s);
    QCOMPARE(chmod(folder.constData(), mode_t(mode)), 0);
    restart();
    QCOMPARE(chmod(folder.constData(), 0700), 0);
    QVERIFY(!QFileInfo::exists(path()));
    QCOMPARE(messages->all().size(), 1);
}

void tst_SessionDoor::aDirectoryThatIsALinkIsNotUsed()
{
    QTemporaryDir elsewhere;
    const QString folder = elsewhere.path() + u"/vornaserver"_s;
    QVERIFY(QFile::link(runtime.path() + u"/vornaserver"_s, folder));
    door->close();
    door->open(elsewhere.path());
    QVERIFY(!QFileInfo::exists(path()));
    QCOMPARE(messages->all().size(), 1);
}

void tst_SessionDoor::aDirectoryOfAnotherUserIsNotUsed()
{
    door.reset();
    const PretendedUser somebodyElse;
    restart();
    QVERIFY(!QFileInfo::exists(path()));
    QCOMPARE(messages->all().size(), 1);
}

void tst_SessionDoor::aPathThatIsTooLongIsReported()
{
    const QString deep = runtime.path() + u'/' + QString(100, u'x');
    QVERIFY(QDir().mkpath(deep));
    door->close();
    door->open(deep);
    QCOMPARE(messages->all(),
             QStringList{u"debug: No session socket: "_s + deep +
                         u"/vornaserver/_7.socket: the path is too long for a socket. "_s});
}

void tst_SessionDoor::withoutARuntimeDirectoryThereIsNoSocket()
{
    door->close();
    door->open(QString());
    QCOMPARE(messages->all(), QStringList{u"debug: No session socket: the system has no directory "
                                          u"for it. "_s});
}

void tst_SessionDoor::furtherSessionsAreSentAway()
{
    std::vector<std::unique_ptr<SessionClient>> clients;
    for (int i = 0; i < 128; ++i) {
        clients.push_back(std::make_unique<SessionClient>(path()));
        QCOMPARE(clients.back()->next()->event(), u"hello"_s);
    }
    SessionClient further(path());
    further.send(u"ping"_s);
    const auto goodbye = further.next();
    QVERIFY(goodbye);
    QCOMPARE(goodbye->event(), u"goodbye"_s);
    QCOMPARE(goodbye->error(), u"too-much"_s);
    QVERIFY(further.waitUntilClosed());
    for (const auto &client : clients) {
        QCOMPARE(errorOf(*client, u"ping"_s), u"ok"_s);
    }
    clients.back()->leave();
    QVERIFY(waitUntil([this] { return door->sessions() == 127; }));
    SessionClient next(path());
    QCOMPARE(next.next()->event(), u"hello"_s);
}

void tst_SessionDoor::aCrowdIsAnswered()
{
    SessionCrowd crowd(path(), 400);
    QVERIFY(crowd.isAnswered());
    QCOMPARE(crowd.greeted(), 128);
    QCOMPARE(crowd.sentAway(), 272);
}

void tst_SessionDoor::withoutADescriptorASessionIsSentAway()
{
    hasDescriptors = false;
    SessionClient client(path());
    QCOMPARE(client.next()->error(), u"too-much"_s);
    hasDescriptors = true;
    SessionClient next(path());
    QCOMPARE(next.next()->event(), u"hello"_s);
}

void tst_SessionDoor::closingSaysGoodbye()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    client.send(u"ping"_s); // Unread when the door closes.
    door->close();
    QCOMPARE(record.calls.constLast(), u"release a"_s);
    const auto goodbye = client.event(u"goodbye"_s);
    QVERIFY(goodbye);
    QCOMPARE(goodbye->error(), u"stopped"_s);
    QVERIFY(client.waitUntilClosed());
    QCOMPARE(door->sessions(), 0u);
}

QTEST_GUILESS_MAIN(tst_SessionDoor)
#include "tst_SessionDoor.moc"
