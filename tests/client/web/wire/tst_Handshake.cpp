// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/Handshake.h"

#include "web/wire/OneTimeCode.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <new>
#include <set>

#include <sodium.h>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_Handshake : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void bothSidesYieldTheVectors_data();
    void bothSidesYieldTheVectors();
    void theIntroductionIsRead();
    void whatIsNoIntroductionIsRefused_data();
    void whatIsNoIntroductionIsRefused();
    void anotherSecretIsRefused_data();
    void anotherSecretIsRefused();
    void theFirstMessageIsRefusedIfOneBitDiffers();
    void theSecondMessageIsRefusedIfOneBitDiffers();
    void aMessageIsRefusedIfOneBitDiffers();
    void aCutOrPaddedMessageIsRefused();
    void aWorthlessPublicKeyIsRefusedByTheComputer_data() { addWorthlessKeys(); }
    void aWorthlessPublicKeyIsRefusedByTheComputer();
    void aWorthlessPublicKeyIsRefusedByThePhone_data() { addWorthlessKeys(); }
    void aWorthlessPublicKeyIsRefusedByThePhone();
    void aRecordedConnectionCannotBeReplayed();
    void anAnswerOfAnotherHandshakeIsRefused();
    void aRecordedConnectionAndItsSecretOpenNothingLater();
    void messagesAreOpenedOnceAndInOrder_data();
    void messagesAreOpenedOnceAndInOrder();
    void theLongestMessageIsTheLongest();
    void aChannelEndsWithItsNumbers();
    void keysAreWiped();
    void codesYieldTheVectors();
    void typedCodesAreForgiven_data();
    void typedCodesAreForgiven();
    void whatIsNoCodeIsRefused_data();
    void whatIsNoCodeIsRefused();
    void codesAreRandom();

private:
    void addWorthlessKeys() const;

    QJsonObject vectors;
};

namespace {

const QByteArray secret = QByteArray::fromHex("00112233445566778899aabbccddeeff").repeated(2);
const QByteArray phoneId("0123456789abcdef");
constexpr QByteArrayView protocol = "Noise_NNpsk0_25519_XSalsa20Poly1305_SHA512";

QByteArray hex(const QJsonValue &value)
{
    return QByteArray::fromHex(value.toString().toLatin1());
}

QByteArray flipped(QByteArray bytes, qsizetype bit)
{
    bytes[bit / 8] = char(bytes[bit / 8] ^ 1 << bit % 8);
    return bytes;
}

/// Both ends of a connection.
struct Ends
{
    Channel phone;
    Channel computer;
};

Ends connected()
{
    Initiator initiator(Credential::Phone, phoneId, secret);
    auto accepted = acceptHandshake(initiator.first("{}"), secret, "{}");
    auto opened = initiator.finish(accepted->answer);
    return {std::move(opened->channel), std::move(accepted->channel)};
}

/// What both sides know after the phone's public key.
SymmetricState stateAfterPublicKey(QByteArrayView head, QByteArrayView publicKey)
{
    SymmetricState state(protocol);
    state.mixHash(head);
    state.mixKeyAndHash(secret);
    state.mixHash(publicKey);
    state.mixKey(publicKey);
    return state;
}

} // namespace

void tst_Handshake::initTestCase()
{
    QFile file(QStringLiteral(HANDSHAKE_VECTORS));
    QVERIFY(file.open(QIODevice::ReadOnly));
    vectors = QJsonDocument::fromJson(file.readAll()).object();
    QCOMPARE(vectors.value("protocol"_L1).toString(), QString::fromLatin1(protocol));
}

void tst_Handshake::bothSidesYieldTheVectors_data()
{
    QTest::addColumn<QJsonObject>("vector");
    QTest::addColumn<int>("credential");
    const QJsonArray handshakes = vectors.value("handshakes"_L1).toArray();
    QCOMPARE(handshakes.size(), 3);
    for (int kind = 0; kind < 3; ++kind) {
        const QJsonObject vector = handshakes[kind].toObject();
        QTest::newRow(qUtf8Printable(vector.value("title"_L1).toString())) << vector << kind;
    }
}

void tst_Handshake::bothSidesYieldTheVectors()
{
    QFETCH(QJsonObject, vector);
    QFETCH(int, credential);
    const QByteArray key = hex(vector["secret"_L1]);
    Initiator initiator(Credential(credential), hex(vector["id"_L1]), key,
                        KeyPair::fromSecret(Key(hex(vector["phoneEphemeral"_L1]))));
    const QByteArray first = initiator.first(hex(vector["payload1"_L1]));
    QCOMPARE(first.toHex(), hex(vector["message1"_L1]).toHex());

    auto accepted = acceptHandshake(first, key, hex(vector["payload2"_L1]),
                                    KeyPair::fromSecret(Key(hex(vector["computerEphemeral"_L1]))));
    QVERIFY(accepted);
    QCOMPARE(accepted->payload, hex(vector["payload1"_L1]));
    QCOMPARE(accepted->answer.toHex(), hex(vector["message2"_L1]).toHex());

    auto opened = initiator.finish(accepted->answer);
    QVERIFY(opened);
    QCOMPARE(opened->payload, hex(vector["payload2"_L1]));
    const QJsonArray messages = vector["messages"_L1].toArray();
    QVERIFY(messages.size() >= 2);
    for (const QJsonValue &message : messages) {
        const bool isOfPhone = message["from"_L1] == "phone"_L1;
        Channel &sender = isOfPhone ? opened->channel : accepted->channel;
        Channel &receiver = isOfPhone ? accepted->channel : opened->channel;
        const QByteArray sealed = sender.seal(hex(message["plain"_L1]));
        QCOMPARE(sealed.toHex(), hex(message["sealed"_L1]).toHex());
        QCOMPARE(receiver.open(sealed), hex(message["plain"_L1]));
    }
}

void tst_Handshake::theIntroductionIsRead()
{
    const QByteArray zeros(16, '\0');
    QCOMPARE(readIntroduction(Initiator(Credential::Code, {}, secret).first({})),
             (Introduction{Credential::Code, zeros}));
    QCOMPARE(readIntroduction(Initiator(Credential::Phone, phoneId, secret).first({})),
             (Introduction{Credential::Phone, phoneId}));
    QCOMPARE(readIntroduction(Initiator(Credential::Desk, {}, secret).first({})),
             (Introduction{Credential::Desk, zeros}));
}

void tst_Handshake::whatIsNoIntroductionIsRefused_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<int>("behind");
    const QByteArray zeros(16, '\0');
    const QByteArray one("\x01", 1);
    const QByteArray zero(1, '\0');
    constexpr int least = 48;
    QTest::newRow("nothing") << QByteArray() << 0;
    QTest::newRow("one byte too few") << one + zero + zeros << least - 1;
    QTest::newRow("longer than any") << one + zero + zeros << 4096 - 17;
    QTest::newRow("version 0") << zero + zero + zeros << least;
    QTest::newRow("version 2") << "\x02" + zero + zeros << least;
    QTest::newRow("another kind") << one + "\x03" + zeros << least;
    QTest::newRow("a code with an id") << one + zero + phoneId << least;
    QTest::newRow("a desk with an id") << one + "\x02" + phoneId << least;
}

void tst_Handshake::whatIsNoIntroductionIsRefused()
{
    QFETCH(QByteArray, head);
    QFETCH(int, behind);
    const QByteArray first = head + QByteArray(behind, 'x');
    QCOMPARE(readIntroduction(first), std::nullopt);
    QVERIFY(!acceptHandshake(first, secret, {}));
}

void tst_Handshake::anotherSecretIsRefused_data()
{
    QTest::addColumn<QByteArray>("other");
    QTest::newRow("of another bit") << flipped(secret, 255);
    QTest::newRow("too short") << secret.left(31);
    QTest::newRow("too long") << secret + '\0';
    QTest::newRow("empty") << QByteArray();
}

void tst_Handshake::anotherSecretIsRefused()
{
    QFETCH(QByteArray, other);
    const QByteArray first = Initiator(Credential::Code, {}, secret).first("{}");
    QVERIFY(acceptHandshake(first, secret, {}));
    QVERIFY(!acceptHandshake(first, other, {}));
    const QByteArray withOther = Initiator(Credential::Code, {}, other).first("{}");
    QCOMPARE(acceptHandshake(withOther, other, {}).has_value(), other.size() == secretSize);
}

void tst_Handshake::theFirstMessageIsRefusedIfOneBitDiffers()
{
    const QByteArray first = Initiator(Credential::Phone, phoneId, secret).first("{}");
    QVERIFY(acceptHandshake(first, secret, {}));
    for (qsizetype bit = 0; bit < first.size() * 8; ++bit) {
        QVERIFY2(!acceptHandshake(flipped(first, bit), secret, {}), qPrintable(u"%1"_s.arg(bit)));
    }
}

void tst_Handshake::theSecondMessageIsRefusedIfOneBitDiffers()
{
    const QByteArray seed(32, '7');
    const auto initiator = [&] {
        return Initiator(Credential::Code, {}, secret, KeyPair::fromSecret(Key(seed)));
    };
    const QByteArray first = initiator().first("{}");
    const QByteArray answer = acceptHandshake(first, secret, "{}")->answer;
    for (qsizetype bit = 0; bit < answer.size() * 8; ++bit) {
        Initiator same = initiator();
        QCOMPARE(same.first("{}"), first);
        QVERIFY2(!same.finish(flipped(answer, bit)), qPrintable(u"%1"_s.arg(bit)));
    }
    Initiator same = initiator();
    same.first("{}");
    QVERIFY(same.finish(answer));
}

void tst_Handshake::aMessageIsRefusedIfOneBitDiffers()
{
    constexpr qsizetype bits = (5 + CipherState::tagSize) * 8;
    for (qsizetype bit = 0; bit < bits; ++bit) {
        Ends ends = connected();
        const QByteArray sealed = ends.phone.seal("{}\nab");
        QCOMPARE(sealed.size() * 8, bits);
        QVERIFY(!ends.computer.open(flipped(sealed, bit)));
        QVERIFY(ends.computer.hasFailed());
        QVERIFY2(!ends.computer.open(sealed), "a channel that has failed opens nothing more");
        QVERIFY(ends.computer.seal("{}\n").isEmpty());
    }
}

void tst_Handshake::aCutOrPaddedMessageIsRefused()
{
    const QByteArray seed(32, '7');
    Initiator initiator(Credential::Code, {}, secret, KeyPair::fromSecret(Key(seed)));
    const QByteArray first = initiator.first("{}");
    const QByteArray answer = acceptHandshake(first, secret, "{}")->answer;
    for (qsizetype size = 0; size <= first.size() + 1; ++size) {
        const QByteArray cut = (first + '\0').first(size);
        QCOMPARE(acceptHandshake(cut, secret, "{}").has_value(), size == first.size());
    }
    for (qsizetype size = 0; size <= answer.size() + 1; ++size) {
        Initiator same(Credential::Code, {}, secret, KeyPair::fromSecret(Key(seed)));
        same.first("{}");
        const QByteArray cut = (answer + '\0').first(size);
        QCOMPARE(same.finish(cut).has_value(), size == answer.size());
    }
    Initiator same(Credential::Code, {}, secret, KeyPair::fromSecret(Key(seed)));
    same.first("{}");
    const QByteArray longPayload(longestHandshakeMessage, 'x');
    QVERIFY(!same.finish(acceptHandshake(first, secret, longPayload)->answer));
    for (qsizetype size = 0; size <= CipherState::tagSize + 3; ++size) {
        Ends ends = connected();
        const QByteArray cut = (ends.phone.seal("{}") + '\0').first(size);
        QCOMPARE(ends.computer.open(cut).has_value(), size == CipherState::tagSize + 2);
    }
}

void tst_Handshake::addWorthlessKeys() const
{
    QTest::addColumn<QByteArray>("publicKey");
    const QJsonArray keys = vectors.value("worthlessPublicKeys"_L1).toArray();
    QCOMPARE(keys.size(), 14);
    for (const QJsonValue &key : keys) {
        QTest::newRow(qPrintable(key.toString())) << hex(key);
    }
}

void tst_Handshake::aWorthlessPublicKeyIsRefusedByTheComputer()
{
    QFETCH(QByteArray, publicKey);
    const QByteArray head = QByteArray("\x01\x00", 2) + QByteArray(16, '\0');
    SymmetricState state = stateAfterPublicKey(head, publicKey);
    const QByteArray first = head + publicKey + state.sealAndHash("{}");
    QVERIFY(!acceptHandshake(first, secret, {}));
}

/// The one who answers has the secret and knows the shared key, as everybody does.
void tst_Handshake::aWorthlessPublicKeyIsRefusedByThePhone()
{
    QFETCH(QByteArray, publicKey);
    const QByteArray ephemeral(32, '7');
    Initiator initiator(Credential::Code, {}, secret, KeyPair::fromSecret(Key(ephemeral)));
    const QByteArray first = initiator.first("{}");
    SymmetricState state = stateAfterPublicKey(first.first(18), first.sliced(18, 32));
    QVERIFY(state.openAndHash(first.sliced(50)));
    state.mixHash(publicKey);
    state.mixKey(publicKey);
    state.mixKey(QByteArray(32, '\0'));
    QVERIFY(!initiator.finish(publicKey + state.sealAndHash("{}")));
}

void tst_Handshake::aRecordedConnectionCannotBeReplayed()
{
    Initiator initiator(Credential::Phone, phoneId, secret);
    const QByteArray first = initiator.first("{}");
    auto accepted = acceptHandshake(first, secret, "{}");
    auto opened = initiator.finish(accepted->answer);
    const QByteArray message = opened->channel.seal("{}\n");
    QVERIFY(accepted->channel.open(message));

    auto again = acceptHandshake(first, secret, "{}");
    QVERIFY2(again, "the first message alone is no proof");
    QVERIFY(again->answer != accepted->answer);
    QVERIFY(!again->channel.open(message));
}

void tst_Handshake::anAnswerOfAnotherHandshakeIsRefused()
{
    Initiator one(Credential::Phone, phoneId, secret);
    Initiator other(Credential::Phone, phoneId, secret);
    const QByteArray first = one.first("{}");
    QVERIFY(first != other.first("{}"));
    const QByteArray answer = acceptHandshake(first, secret, "{}")->answer;
    QVERIFY(!other.finish(answer));
    QVERIFY(one.finish(answer));
}

/// Whoever has recorded everything and learns the secret later reaches the state before "ee" and no
/// further: what he lacks is the shared key, of which both sides have forgotten their halves.
void tst_Handshake::aRecordedConnectionAndItsSecretOpenNothingLater()
{
    Initiator initiator(Credential::Phone, phoneId, secret);
    const QByteArray first = initiator.first("{}");
    auto accepted = acceptHandshake(first, secret, "{}");
    auto opened = initiator.finish(accepted->answer);
    const QByteArray message = opened->channel.seal("{\"text\":\"open sesame\"}\n");

    const QByteArray phoneKey = first.sliced(18, 32);
    const QByteArray computerKey = accepted->answer.first(32);
    const auto reached = [&] {
        SymmetricState state = stateAfterPublicKey(first.first(18), phoneKey);
        [&] { QVERIFY2(state.openAndHash(first.sliced(50)), "his way is the right one so far"); }();
        state.mixHash(computerKey);
        state.mixKey(computerKey);
        return state;
    };
    const KeyPair ownKeys = KeyPair::random();
    const QList<QByteArray> guesses{{},
                                    QByteArray(32, '\0'),
                                    secret,
                                    phoneKey,
                                    computerKey,
                                    ownKeys.sharedWith(phoneKey)->view().toByteArray(),
                                    ownKeys.sharedWith(computerKey)->view().toByteArray()};
    for (const QByteArray &guess : guesses) {
        SymmetricState state = reached();
        if (!guess.isEmpty()) {
            state.mixKey(guess);
        }
        QVERIFY(!state.openAndHash(accepted->answer.sliced(32)));
        QVERIFY(!state.split().first.open(message));
        QVERIFY(!state.split().second.open(message));
    }
    QVERIFY(accepted->channel.open(message));
}

void tst_Handshake::messagesAreOpenedOnceAndInOrder_data()
{
    QTest::addColumn<QList<int>>("order"); // of the phone's messages; 3 is the computer's own
    QTest::addColumn<int>("opened");
    QTest::newRow("in order") << QList{0, 1, 2} << 3;
    QTest::newRow("one repeated") << QList{0, 0, 1} << 1;
    QTest::newRow("two swapped") << QList{1, 0, 2} << 0;
    QTest::newRow("one lost") << QList{0, 2} << 1;
    QTest::newRow("the first one again at the end") << QList{0, 1, 2, 0} << 3;
    QTest::newRow("sent back to its sender") << QList{3} << 0;
}

void tst_Handshake::messagesAreOpenedOnceAndInOrder()
{
    QFETCH(QList<int>, order);
    QFETCH(int, opened);
    Ends ends = connected();
    const QList<QByteArray> sealed{ends.phone.seal("same"), ends.phone.seal("same"),
                                   ends.phone.seal("same"), ends.computer.seal("same")};
    for (qsizetype place = 0; place < order.size(); ++place) {
        QCOMPARE(ends.computer.open(sealed[order[place]]).has_value(), place < opened);
    }
}

void tst_Handshake::theLongestMessageIsTheLongest()
{
    Ends ends = connected();
    const QByteArray longest(Channel::longestPlain, 'x');
    QVERIFY(ends.phone.seal(longest + 'x').isEmpty());
    QVERIFY2(!ends.phone.hasFailed(), "what was not sealed took no number");
    const QByteArray sealed = ends.phone.seal(longest);
    QCOMPARE(sealed.size(), Channel::longestSealed);
    QCOMPARE(ends.computer.open(sealed), longest);

    const auto state = [] { return CipherState(Key(QByteArrayView(secret))); };
    CipherState unbounded = state();
    Channel strict(state(), state());
    QVERIFY(!strict.open(*unbounded.seal(longest + 'x')));
}

void tst_Handshake::aChannelEndsWithItsNumbers()
{
    const auto atTheEnd = [] {
        return CipherState(Key(QByteArrayView(secret)), CipherState::lastNumber - 1);
    };
    Channel phone(atTheEnd(), atTheEnd());
    Channel computer(atTheEnd(), atTheEnd());
    QCOMPARE(computer.open(phone.seal("last")), "last");
    QVERIFY(phone.seal("more").isEmpty());
    QVERIFY(phone.hasFailed());

    CipherState used(Key(QByteArrayView(secret)), CipherState::lastNumber);
    QVERIFY(!used.seal("more"));
    // What this library seals with that number, as nobody does who keeps to the rules.
    std::array<unsigned char, crypto_secretbox_NONCEBYTES> nonce{};
    std::fill_n(nonce.begin() + 16, 8, 0xff);
    QByteArray sealed(CipherState::tagSize, '\0');
    crypto_secretbox_easy(reinterpret_cast<unsigned char *>(sealed.data()), nullptr, 0,
                          nonce.data(), Key(QByteArrayView(secret)).data());
    QVERIFY(!used.open(sealed));
}

void tst_Handshake::keysAreWiped()
{
    Key key{QByteArrayView(secret)};
    const Key taken(std::move(key));
    QCOMPARE(taken.view(), secret);
    // What was moved from is looked at on purpose.
    QCOMPARE(key.view(), QByteArray(32, '\0')); // NOLINT(bugprone-use-after-move)

    alignas(Key) std::array<char, sizeof(Key)> room;
    room.fill('x');
    const Key *inRoom = new (room.data()) Key(QByteArrayView(secret));
    QCOMPARE(QByteArrayView(room.data(), 32), secret);
    inRoom->~Key();
    QCOMPARE(QByteArrayView(room.data(), 32), QByteArray(32, '\0'));
}

void tst_Handshake::codesYieldTheVectors()
{
    const QJsonArray codes = vectors.value("codes"_L1).toArray();
    QCOMPARE(codes.size(), 3);
    for (const QJsonValue &vector : codes) {
        const QString text = vector["text"_L1].toString();
        const auto code = OneTimeCode::fromText(text);
        QVERIFY(code);
        QCOMPARE(code->text(), text);
        QCOMPARE(code->compactText(), QString(text).remove(u'-'));
        QCOMPARE(code->secret().toHex(), hex(vector["secret"_L1]).toHex());
    }
}

void tst_Handshake::typedCodesAreForgiven_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("as it is shown") << u"10AB-CDEF-GHJK-MNPQ"_s;
    QTest::newRow("without hyphens") << u"10ABCDEFGHJKMNPQ"_s;
    QTest::newRow("lowercase") << u"10ab-cdef-ghjk-mnpq"_s;
    QTest::newRow("blanks") << u" 10AB CDEF\tGHJK\u00a0MNPQ\n"_s;
    QTest::newRow("hyphens elsewhere") << u"-1-0ABCDEFGH--JKMNPQ-"_s;
    QTest::newRow("dashes of a phone") << u"10AB\u2013CDEF\u2014GHJK\u2010MNPQ"_s;
    QTest::newRow("I and O") << u"IOABCDEFGHJKMNPQ"_s;
    QTest::newRow("l and o") << u"loABCDEFGHJKMNPQ"_s;
    QTest::newRow("i and O") << u"iOABCDEFGHJKMNPQ"_s;
}

void tst_Handshake::typedCodesAreForgiven()
{
    QFETCH(QString, typed);
    const auto code = OneTimeCode::fromText(typed);
    QVERIFY(code);
    QCOMPARE(code->text(), u"10AB-CDEF-GHJK-MNPQ"_s);
}

void tst_Handshake::whatIsNoCodeIsRefused_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("nothing") << QString();
    QTest::newRow("hyphens") << u"----"_s;
    QTest::newRow("a character too few") << u"10AB-CDEF-GHJK-MNP"_s;
    QTest::newRow("a character too many") << u"10AB-CDEF-GHJK-MNPQ-R"_s;
    QTest::newRow("U is no character of it") << u"10AB-CDEF-GHJK-MNPU"_s;
    QTest::newRow("punctuation") << u"10AB.CDEF.GHJK.MNPQ"_s;
    QTest::newRow("a Kelvin sign") << u"10AB-CDEF-GHJ\u212a-MNPQ"_s;
    QTest::newRow("a long s") << u"10AB-CDEF-GHJK-MNP\u017f"_s;
    QTest::newRow("another script") << u"10AB-CDEF-GHJK-MNP\u0420"_s;
    QTest::newRow("far too long") << u"10AB-CDEF-GHJK-MNPQ"_s + QString(1000, u' ');
}

void tst_Handshake::whatIsNoCodeIsRefused()
{
    QFETCH(QString, typed);
    QVERIFY(!OneTimeCode::fromText(typed));
}

void tst_Handshake::codesAreRandom()
{
    std::set<QString> codes;
    for (int i = 0; i < 100; ++i) {
        const QString text = OneTimeCode::random().text();
        QCOMPARE(OneTimeCode::fromText(text)->text(), text);
        codes.insert(text);
    }
    QCOMPARE(codes.size(), size_t(100));
}

QTEST_GUILESS_MAIN(tst_Handshake)
#include "tst_Handshake.moc"
