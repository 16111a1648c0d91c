// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import { accept, nacl } from "./computer.mjs";
import { concat, fromBase64, fromHex, utf8 } from "../../../../client/web/page/wire/bytes.js";
import { Channel, longestPlain } from "../../../../client/web/page/wire/channel.js";
import { CipherState, lastNumber } from "../../../../client/web/page/wire/cipher.js";
import { codeFromText, secretOfCode } from "../../../../client/web/page/wire/code.js";
import {
    Initiator,
    mixPublicKey,
    protocolName,
    stateAfterSecret,
} from "../../../../client/web/page/wire/handshake.js";
import { hkdf, hmac } from "../../../../client/web/page/wire/hkdf.js";
import { readText, writeText } from "../../../../client/web/page/wire/text.js";

const vectors = JSON.parse(
    readFileSync(new URL("handshake_vectors.json", import.meta.url), "utf8"),
);
const secret = fromHex("00112233445566778899aabbccddeeff".repeat(2));
const phoneId = utf8("0123456789abcdef");
const nothing = utf8("{}");

function hex(bytes) {
    return Buffer.from(bytes).toString("hex");
}

function keyPair(seed) {
    return nacl.box.keyPair.fromSecretKey(seed);
}

function flipped(bytes, bit) {
    const changed = bytes.slice();
    changed[bit >> 3] ^= 1 << (bit % 8);
    return changed;
}

function initiator(seed = nacl.randomBytes(32)) {
    return new Initiator({ kind: "phone", id: phoneId, secret }, keyPair(seed));
}

/** Both ends of a connection. */
function connected() {
    const phone = initiator();
    const { answer, channel } = accept(phone.first(nothing), secret, nothing);
    return { phone: phone.finish(answer).channel, computer: channel };
}

test("the protocol is that of the vectors", () => {
    assert.equal(vectors.protocol, protocolName);
    assert.equal(vectors.handshakes.length, 3);
});

for (const vector of vectors.handshakes) {
    test(`the page yields the vectors of ${vector.title}`, () => {
        const credential = {
            kind: vector.kind,
            id: fromHex(vector.id),
            secret: fromHex(vector.secret),
        };
        const phone = new Initiator(credential, keyPair(fromHex(vector.phoneEphemeral)));
        assert.equal(hex(phone.first(fromHex(vector.payload1))), vector.message1);
        const opened = phone.finish(fromHex(vector.message2));
        assert.equal(hex(opened.payload), vector.payload2);
        for (const message of vector.messages) {
            if (message.from === "phone") {
                assert.equal(hex(opened.channel.seal(fromHex(message.plain))), message.sealed);
            } else {
                assert.equal(hex(opened.channel.open(fromHex(message.sealed))), message.plain);
            }
        }
        assert.ok(vector.messages.length >= 2);
    });

    test(`the page goes through the steps of ${vector.title}`, () => {
        let chainingKey = utf8(protocolName.padEnd(64, "\0"));
        const inputs = { psk: "secret", "e of the phone": "phonePublic" };
        inputs["e of the computer"] = "computerPublic";
        inputs.ee = "shared";
        for (const step of vector.steps) {
            if (inputs[step.after]) {
                [chainingKey] = hkdf(chainingKey, fromHex(vector[inputs[step.after]]));
            }
            assert.equal(hex(chainingKey), step.chainingKey, step.after);
        }
        const [ofPhone, ofComputer] = hkdf(chainingKey, new Uint8Array());
        assert.equal(hex(ofPhone.slice(0, 32)), vector.keyOfPhone);
        assert.equal(hex(ofComputer.slice(0, 32)), vector.keyOfComputer);
    });
}

test("HMAC hashes a key that is longer than a block", () => {
    const key = new Uint8Array(131).fill(0xaa);
    const text = utf8("Test Using Larger Than Block-Size Key - Hash Key First");
    assert.equal(
        hex(hmac(key, text)),
        "80b24263c7c1a3ebb71493c1dd7be8b49b46d1f41b4aeec1121b013783f8f352" +
            "6b56d037e05f2598bd0fd2215d6a1e5295e64f73f63f0aec8b915a985d786598",
    );
});

test("the second message is refused if one bit differs", () => {
    const seed = nacl.randomBytes(32);
    const first = initiator(seed).first(nothing);
    const { answer } = accept(first, secret, nothing);
    for (let bit = 0; bit < answer.length * 8; bit += 3) {
        const same = initiator(seed);
        same.first(nothing);
        assert.equal(same.finish(flipped(answer, bit)), null, `bit ${bit}`);
    }
    const same = initiator(seed);
    same.first(nothing);
    assert.ok(same.finish(answer));
});

test("a second message that is cut or too long is refused", () => {
    const seed = nacl.randomBytes(32);
    const { answer } = accept(initiator(seed).first(nothing), secret, nothing);
    const long = accept(initiator(seed).first(nothing), secret, new Uint8Array(4096)).answer;
    for (const cut of [new Uint8Array(), answer.slice(0, 47), answer.slice(0, -1), long]) {
        const same = initiator(seed);
        same.first(nothing);
        assert.equal(same.finish(cut), null);
    }
});

test("a computer with another secret is refused", () => {
    const phone = initiator();
    const first = phone.first(nothing);
    assert.equal(accept(first, flipped(secret, 7), nothing), null);
    const guess = stateAfterSecret(first.slice(0, 18), flipped(secret, 7));
    const ephemeral = nacl.box.keyPair();
    mixPublicKey(guess, first.slice(18, 50));
    mixPublicKey(guess, ephemeral.publicKey);
    guess.mixKey(nacl.scalarMult(ephemeral.secretKey, first.slice(18, 50)));
    assert.equal(phone.finish(concat(ephemeral.publicKey, guess.sealAndHash(nothing))), null);
});

test("an answer to another handshake is refused", () => {
    const one = initiator();
    const other = initiator();
    const { answer } = accept(one.first(nothing), secret, nothing);
    other.first(nothing);
    assert.equal(other.finish(answer), null);
    assert.ok(one.finish(answer));
});

test("a public key that leads to zeros is refused", () => {
    assert.equal(vectors.worthlessPublicKeys.length, 14);
    for (const key of vectors.worthlessPublicKeys) {
        const phone = initiator();
        const first = phone.first(nothing);
        const state = stateAfterSecret(first.slice(0, 18), secret);
        mixPublicKey(state, first.slice(18, 50));
        assert.ok(state.openAndHash(first.slice(50)));
        mixPublicKey(state, fromHex(key));
        state.mixKey(new Uint8Array(32));
        assert.equal(phone.finish(concat(fromHex(key), state.sealAndHash(nothing))), null, key);
    }
});

test("a message is refused if one bit differs, and nothing follows", () => {
    for (let bit = 0; bit < 8 * 21; bit += 1) {
        const { phone, computer } = connected();
        const sealed = computer.seal(utf8("{}\nab"));
        assert.equal(phone.open(flipped(sealed, bit)), null);
        assert.equal(phone.open(sealed), null);
        assert.equal(phone.seal(utf8("{}\n")), null);
        assert.ok(phone.hasFailed);
    }
});

for (const [title, order, count] of [
    ["in order", [0, 1, 2], 3],
    ["one repeated", [0, 0, 1], 1],
    ["two swapped", [1, 0, 2], 0],
    ["one lost", [0, 2], 1],
    ["sent back to its sender", [3], 0],
]) {
    test(`messages are opened once and in order: ${title}`, () => {
        const { phone, computer } = connected();
        const sealed = [0, 1, 2].map(() => computer.seal(utf8("same")));
        sealed.push(phone.seal(utf8("same")));
        const opened = order.map((place) => phone.open(sealed[place]));
        assert.equal(opened.filter((plain) => plain).length, count);
        assert.ok(opened.slice(0, count).every((plain) => plain));
    });
}

test("the longest message is the longest", () => {
    const { phone, computer } = connected();
    const longest = new Uint8Array(longestPlain);
    assert.equal(phone.seal(new Uint8Array(longestPlain + 1)), null);
    assert.equal(computer.open(phone.seal(longest)).length, longestPlain);
    const lenient = new CipherState(secret.slice());
    const strict = new Channel(new CipherState(secret.slice()), new CipherState(secret.slice()));
    assert.equal(strict.open(lenient.seal(new Uint8Array(longestPlain + 1))), null);
});

test("a channel ends with its numbers", () => {
    const last = () => new CipherState(secret.slice(), lastNumber - 1);
    const channel = new Channel(last(), last());
    assert.ok(channel.seal(nothing));
    assert.equal(channel.seal(nothing), null);
    assert.ok(channel.hasFailed);
});

test("numbers beyond 32 bits are told apart", () => {
    const number = 2 ** 40 + 5;
    const sealed = new CipherState(secret.slice(), number).seal(nothing);
    assert.ok(new CipherState(secret.slice(), number).open(sealed));
    assert.equal(new CipherState(secret.slice(), 5).open(sealed), null);
});

test("the keys are wiped at the end", () => {
    const keys = [nacl.randomBytes(32), nacl.randomBytes(32)];
    const channel = new Channel(new CipherState(keys[0]), new CipherState(keys[1]));
    channel.close();
    assert.deepEqual(keys, [new Uint8Array(32), new Uint8Array(32)]);
    const seed = nacl.randomBytes(32);
    const ephemeral = keyPair(seed);
    const phone = new Initiator({ kind: "code", secret }, ephemeral);
    phone.finish(accept(phone.first(nothing), secret, nothing).answer);
    assert.deepEqual(ephemeral.secretKey, new Uint8Array(32));
});

test("codes yield the vectors", () => {
    assert.equal(vectors.codes.length, 3);
    for (const { text, bytes, secret: expected } of vectors.codes) {
        const code = codeFromText(text);
        assert.equal(hex(code), bytes);
        assert.equal(hex(secretOfCode(code)), expected);
    }
});

test("typed codes are forgiven", () => {
    const code = hex(codeFromText("10AB-CDEF-GHJK-MNPQ"));
    for (const typed of [
        "10ABCDEFGHJKMNPQ",
        "10ab-cdef-ghjk-mnpq",
        " 10AB CDEF\tGHJK\u00a0MNPQ\n",
        "-1-0ABCDEFGH--JKMNPQ-",
        "10AB\u2013CDEF\u2014GHJK\u2010MNPQ",
        "IOABCDEFGHJKMNPQ",
        "loABCDEFGHJKMNPQ",
        "iOABCDEFGHJKMNPQ",
    ]) {
        assert.equal(hex(codeFromText(typed)), code, typed);
    }
});

test("what is no code is refused", () => {
    for (const typed of [
        "",
        "----",
        "10AB-CDEF-GHJK-MNP",
        "10AB-CDEF-GHJK-MNPQ-R",
        "10AB-CDEF-GHJK-MNPU",
        "10AB.CDEF.GHJK.MNPQ",
        "10AB-CDEF-GHJ\u212a-MNPQ",
        "10AB-CDEF-GHJK-MNP\u017f",
        "10AB-CDEF-GHJK-MNP\u0420",
        "10AB-CDEF-GHJK-MNPQ" + " ".repeat(1000),
    ]) {
        assert.equal(codeFromText(typed), null, typed);
    }
});

test("a text that is written is read", () => {
    const everyByte = Uint8Array.from({ length: 256 }, (_, byte) => byte);
    for (const [object, body] of [
        [{}, new Uint8Array()],
        [{ text: "a\nΩß😀" }, everyByte],
        [{ id: 1, nested: { list: [{}] } }, Uint8Array.of(10, 10)],
    ]) {
        const read = readText(writeText(object, body));
        assert.deepEqual(read.object, object);
        assert.deepEqual(read.body, body);
    }
});

test("a mark of the byte order is not written as it is", () => {
    const text = "\ufeffa\ufeff";
    const written = writeText({ text });
    assert.equal(written.indexOf(0xef), -1);
    assert.equal(readText(written).object.text, text);
});

test("what is no text is refused", () => {
    for (const bytes of [
        "",
        "\n",
        "{}",
        "{}x",
        "{\n}\n",
        "[]\n",
        "null\n",
        '"a"\n',
        "7\n",
        "{}{}\n",
        '{"a":\n',
        "\ufeff{}\n",
    ]) {
        assert.equal(readText(utf8(bytes)), null, bytes);
    }
    for (const broken of [[0xff], [0xe2, 0x82], [0xed, 0xa0, 0x80]]) {
        const bytes = concat(utf8('{"a":"'), Uint8Array.from(broken), utf8('"}\n'));
        assert.equal(readText(bytes), null);
    }
});

test("what names no bytes is refused", () => {
    assert.equal(fromHex("0"), null);
    assert.equal(fromHex("zz"), null);
    assert.equal(fromBase64("*"), null);
    assert.equal(hex(fromBase64("AAH/")), "0001ff");
});
