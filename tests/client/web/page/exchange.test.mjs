// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { fullAddress } from "../../../../client/web/page/address.js";
import { sizeText } from "../../../../client/web/page/amounts.js";
import { getClipboard, setClipboard } from "../../../../client/web/page/clipboard.js";
import { Settings, defaults } from "../../../../client/web/page/settings.js";
import { fileName, fullPace, gentlePace, Transfers } from "../../../../client/web/page/transfers.js";
import { FakeLink, refusal, settle } from "./FakeLink.mjs";

const piece = 128 * 1024;

/** A computer that keeps files. */
class FileLink extends FakeLink {
    files = new Map();
    arriving = new Map();

    answer = ({ request, fields, body }) => {
        switch (request) {
        case "file.put":
            return fields.file === undefined ? this.#begin(fields) : this.#append(fields, body);
        case "file.cancel":
            this.arriving.delete(fields.file);
            return { fields: {}, body: null };
        case "file.get":
            return this.#read(fields);
        default:
            throw refusal("unknown-request");
        }
    };

    #begin({ name, size, open }) {
        const file = this.asked.length;
        this.arriving.set(file, { name, size, open, bytes: Buffer.alloc(0) });
        return { fields: { file }, body: null };
    }

    #append({ file }, body) {
        const arriving = this.arriving.get(file);
        if (!arriving) {
            throw refusal("not-found");
        }
        arriving.bytes = Buffer.concat([arriving.bytes, body]);
        const received = arriving.bytes.length;
        if (received < arriving.size) {
            return { fields: { received }, body: null };
        }
        this.arriving.delete(file);
        this.files.set(arriving.name, Uint8Array.from(arriving.bytes));
        return { fields: { received, complete: true, name: arriving.name, ...this.end }, body: null };
    }

    #read({ name, offset, length }) {
        const file = this.files.get(name);
        if (!file) {
            throw refusal("not-found");
        }
        return { fields: { size: file.length }, body: file.slice(offset, offset + length) };
    }
}

function bytes(size) {
    return Uint8Array.from({ length: size }, (_, at) => (at * 31 + (at >> 9)) % 256);
}

function file(name, content) {
    return Object.assign(new Blob([content]), { name });
}

async function finished(transfers) {
    while (transfers.list.some(({ state }) => state === "waiting" || state === "running")) {
        await settle();
    }
}

describe("files to the computer", () => {
    test("arrive exactly, one after the other", async () => {
        const link = new FileLink();
        const transfers = new Transfers(link);
        const [long, short] = [bytes(3 * piece + 17), bytes(5)];
        transfers.send([file("long.bin", long), file("short.bin", short)]);
        await finished(transfers);
        assert.deepEqual(link.files.get("long.bin"), long);
        assert.deepEqual(link.files.get("short.bin"), short);
        assert.deepEqual(transfers.list.map(({ state, done }) => [state, done]),
            [["complete", long.length], ["complete", 5]]);
        const begins = link.asked.map(({ fields }) => fields.name).filter(Boolean);
        assert.deepEqual(begins, ["long.bin", "short.bin"]);
    });

    test("may be empty", async () => {
        const link = new FileLink();
        const transfers = new Transfers(link);
        transfers.send([file("empty", "")]);
        await finished(transfers);
        assert.equal(transfers.list[0].state, "complete");
        assert.equal(link.files.get("empty").length, 0);
        assert.equal(link.asked[1].body.length, 0, "a body of no bytes, not none");
    });

    test("have the name that the computer gave them", async () => {
        const link = new FileLink();
        link.end = { name: "a (2).txt", opened: false };
        const transfers = new Transfers(link);
        transfers.send([file("a.txt", "a")], true);
        await finished(transfers);
        assert.equal(link.asked[0].fields.open, true);
        assert.equal(transfers.list[0].name, "a (2).txt");
        assert.equal(transfers.list[0].couldOpen, false);
    });

    test("have at most four pieces under way", async () => {
        const link = new FileLink();
        link.isPatient = true;
        const transfers = new Transfers(link);
        transfers.send([file("a", bytes(10 * piece))]);
        await settle();
        link.answerOne();
        await settle();
        assert.equal(link.unanswered, 4);
        assert.ok(link.asked.slice(1).every(({ body }) => body.length === piece));
        link.answerOne();
        await settle();
        assert.equal(link.unanswered, 4);
    });

    test("have one small piece under way while the touchpad is used", async () => {
        const link = new FileLink();
        link.isPatient = true;
        let pace = gentlePace;
        const transfers = new Transfers(link, () => pace);
        transfers.send([file("a", bytes(10 * piece))]);
        await settle();
        link.answerOne();
        await settle();
        assert.equal(link.unanswered, 1);
        assert.equal(link.asked[1].body.length, 32 * 1024);
        pace = fullPace;
        link.answerOne();
        await settle();
        assert.equal(link.unanswered, 4);
    });

    test("can be cancelled, and the next one goes on", async () => {
        const link = new FileLink();
        link.isPatient = true;
        const transfers = new Transfers(link);
        transfers.send([file("a", bytes(10 * piece)), file("b", "b")]);
        await settle();
        link.answerOne();
        await settle();
        transfers.cancel(transfers.list[0]);
        link.isPatient = false;
        while (link.unanswered > 0) {
            link.answerOne();
            await settle();
        }
        await finished(transfers);
        assert.deepEqual(transfers.list.map(({ state }) => state), ["cancelled", "complete"]);
        assert.deepEqual([...link.files.keys()], ["b"]);
        assert.equal(link.arriving.size, 0, "the computer was told");
    });

    test("can be cancelled before they begin", async () => {
        const link = new FileLink();
        const transfers = new Transfers(link);
        transfers.send([file("a", bytes(piece)), file("b", "b")]);
        transfers.cancel(transfers.list[1]);
        await finished(transfers);
        assert.deepEqual([...link.files.keys()], ["a"]);
    });

    test("fail when the connection is lost, and begin again when the user wants it", async () => {
        const link = new FileLink();
        link.isPatient = true;
        const transfers = new Transfers(link);
        const content = bytes(6 * piece);
        transfers.send([file("a", content), file("b", "b")]);
        await settle();
        link.answerOne();
        await settle();
        link.lose();
        await finished(transfers);
        assert.deepEqual(transfers.list.map(({ state, reason }) => [state, reason.error]),
            [["failed", "lost"], ["failed", "not-connected"]]);
        link.find();
        link.isPatient = false;
        link.asked.length = 0;
        await settle();
        assert.deepEqual(link.asked, [], "nothing is repeated by itself");
        transfers.retry(transfers.list[0]);
        await finished(transfers);
        assert.deepEqual(link.files.get("a"), content);
        assert.equal(transfers.list[1].state, "failed");
    });

    test("fail when the phone cannot read them, and the computer forgets them", async () => {
        const link = new FileLink();
        const transfers = new Transfers(link);
        const gone = file("gone", bytes(piece));
        gone.slice = () => ({ arrayBuffer: () => Promise.reject(new Error("NotReadableError")) });
        transfers.send([gone]);
        await finished(transfers);
        assert.equal(transfers.list[0].reason.error, "unreadable");
        await settle();
        assert.equal(link.arriving.size, 0);
    });

    test("stop at the first piece that the computer refuses", async () => {
        const link = new FileLink();
        const answer = link.answer;
        link.answer = (asked) => {
            if (asked.body && link.asked.length > 3) {
                throw refusal("failed");
            }
            return answer(asked);
        };
        const transfers = new Transfers(link);
        transfers.send([file("a", bytes(50 * piece))]);
        await finished(transfers);
        assert.equal(transfers.list[0].reason.error, "failed");
        assert.ok(link.asked.length < 10, String(link.asked.length));
    });

    test("are forgotten when they have ended", async () => {
        const transfers = new Transfers(new FileLink());
        transfers.send([file("a", "a")]);
        await finished(transfers);
        transfers.clear();
        assert.deepEqual(transfers.list, []);
    });

    const names = [
        ["photo.jpg", "photo.jpg"], ["a/b.txt", "a_b.txt"], ["", "_"], ["..", "_"], ["a\u0000b", "a_b"],
        [`${"ä".repeat(300)}.jpeg`, `${"ä".repeat(125)}.jpeg`], ["👍".repeat(100), "👍".repeat(63)],
    ];
    for (const [name, expected] of names) {
        test(`have a name that a directory takes: ${name.slice(0, 12)}`, () => {
            assert.equal(fileName(name), expected);
            assert.ok(Buffer.byteLength(fileName(name)) <= 255);
        });
    }

    test("are named so that the computer takes them", async () => {
        const link = new FileLink();
        const transfers = new Transfers(link);
        transfers.send([file("a/b", "x")]);
        await finished(transfers);
        assert.deepEqual([...link.files.keys()], ["a_b"]);
    });
});

describe("files of the computer", () => {
    for (const size of [0, 1, piece, 9 * piece + 3]) {
        test(`are exact: ${size} bytes`, async () => {
            const link = new FileLink();
            link.files.set("a", bytes(size));
            const transfers = new Transfers(link);
            transfers.fetch({ name: "a", size: 5 });
            await finished(transfers);
            const [transfer] = transfers.list;
            assert.equal(transfer.state, "complete");
            assert.deepEqual(new Uint8Array(await transfer.blob.arrayBuffer()), bytes(size));
        });
    }

    test("come with four pieces under way", async () => {
        const link = new FileLink();
        link.files.set("a", bytes(20 * piece));
        link.isPatient = true;
        const transfers = new Transfers(link);
        transfers.fetch({ name: "a", size: 20 * piece });
        await settle();
        assert.equal(link.unanswered, 1);
        link.answerOne();
        await settle();
        assert.equal(link.unanswered, 4);
    });

    test("fail if they change meanwhile", async () => {
        const link = new FileLink();
        link.files.set("a", bytes(20 * piece));
        link.isPatient = true;
        const transfers = new Transfers(link);
        transfers.fetch({ name: "a", size: 20 * piece });
        await settle();
        link.answerOne();
        await settle();
        link.files.set("a", bytes(3));
        while (link.unanswered > 0) {
            link.answerOne();
            await settle();
        }
        assert.equal(transfers.list[0].reason.error, "changed");
        assert.equal(transfers.list[0].blob, null);
    });

    test("fail if they are gone", async () => {
        const transfers = new Transfers(new FileLink());
        transfers.fetch({ name: "a", size: 1 });
        await finished(transfers);
        assert.equal(transfers.list[0].reason.error, "not-found");
    });

    test("can be cancelled", async () => {
        const link = new FileLink();
        link.files.set("a", bytes(20 * piece));
        link.isPatient = true;
        const transfers = new Transfers(link);
        transfers.fetch({ name: "a", size: 20 * piece });
        await settle();
        transfers.cancel(transfers.list[0]);
        link.answerOne();
        await settle();
        assert.equal(link.unanswered, 0);
        assert.equal(transfers.list[0].state, "cancelled");
        assert.equal(transfers.list[0].blob, null);
    });
});

describe("the clipboard", () => {
    test("is set in pieces that belong together", async () => {
        const link = new FakeLink();
        const text = "ä€👍\r\n\u0000".repeat(20_000);
        await setClipboard(link, text);
        const sent = Buffer.concat(link.asked.map(({ body }) => body)).toString("utf8");
        assert.equal(sent, text);
        assert.ok(link.asked.every(({ body }) => body.length <= piece));
        assert.deepEqual(link.asked.map(({ fields }) => fields.more), [true, false]);
    });

    test("is set to an empty text", async () => {
        const link = new FakeLink();
        await setClipboard(link, "");
        assert.deepEqual(link.asked.map(({ fields, body }) => [fields.more, body.length]), [[false, 0]]);
    });

    test("is fetched in pieces that may end within a character", async () => {
        const link = new FakeLink();
        const text = "\ufeffä€👍".repeat(30_000);
        const content = Buffer.from(text, "utf8");
        link.answer = ({ fields }) => ({
            fields: { size: content.length }, body: content.subarray(fields.offset, fields.offset + piece),
        });
        assert.equal(await getClipboard(link), text);
    });

    test("is fetched when it is empty", async () => {
        const link = new FakeLink();
        link.answer = () => ({ fields: { size: 0 }, body: new Uint8Array() });
        assert.equal(await getClipboard(link), "");
    });
});

describe("what people read and write", () => {
    const addresses = [
        ["example.org", "https://example.org"], [" http://a.b/c ", "http://a.b/c"], ["den:8080/x", "https://den:8080/x"],
        ["mailto:a@b.c", "mailto:a@b.c"], ["//example.org", "https://example.org"], ["", ""],
        ["localhost:80", "https://localhost:80"],
    ];
    for (const [typed, address] of addresses) {
        test(`the address ${typed}`, () => assert.equal(fullAddress(typed), address));
    }

    const sizes = [
        [0, "0 B"], [999, "999 B"], [1000, "1.0 kB"], [9_940, "9.9 kB"], [9_960, "10 kB"], [3_456_789, "3.5 MB"],
        [4.2e9, "4.2 GB"], [7e15, "7,000 TB"],
    ];
    for (const [amount, shown] of sizes) {
        test(`the size ${amount}`, () => assert.equal(sizeText(amount, "en"), shown));
    }

    test("settings are kept, and foreign values are not taken", () => {
        const kept = new Map();
        const storage = { getItem: (key) => kept.get(key) ?? null, setItem: (key, value) => kept.set(key, value) };
        const settings = new Settings(storage);
        settings.set("pointerSpeed", 2);
        assert.equal(new Settings(storage).get("pointerSpeed"), 2);
        for (const broken of ["{", "null", "[1]", "{\"pointerSpeed\":\"fast\",\"other\":1}"]) {
            kept.set([...kept.keys()][0], broken);
            assert.equal(new Settings(storage).get("pointerSpeed"), defaults.pointerSpeed);
        }
    });

    test("settings work in a browser that keeps nothing", () => {
        const settings = new Settings({
            getItem() { throw new Error("denied"); }, setItem() { throw new Error("denied"); },
        });
        settings.set("leftHanded", true);
        assert.equal(settings.get("leftHanded"), true);
        assert.equal(new Settings(null).get("leftHanded"), false);
    });
});
