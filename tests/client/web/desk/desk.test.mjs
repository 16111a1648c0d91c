// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import {
    ageOf,
    arrivals,
    clockText,
    codeViewOf,
    drawingOf,
    isClosed,
    plainAddress,
    troublesOf,
} from "../../../../client/web/page/deskmodel.js";
import { languageOf, languages, textsOf } from "../../../../client/web/page/desktexts.js";

const page = new URL("../../../../client/web/page/", import.meta.url);
const read = (name) => readFileSync(new URL(name, page), "utf8");

const pixel = { id: "a", name: "Pixel", connected: true };
const gone = { ...pixel, connected: false };
const iPhone = { id: "b", name: "iPhone", connected: true };

/** What the program says, with other fields. */
function stateWith(fields) {
    return {
        server: { state: "ready", listenAddress: "", canStart: true, problem: "" },
        addresses: [{ address: "192.0.2.1" }],
        phones: [],
        code: null,
        problem: "",
        ...fields,
    };
}

/** The modules of a drawing, with the frame, as rows of "1" and "0". */
function modulesOf({ side, path }) {
    const modules = Array.from({ length: side }, () => Array(side).fill("0"));
    for (const [, x, y, length, back] of path.matchAll(/M(\d+) (\d+)h(\d+)v1h-(\d+)z/g)) {
        assert.equal(length, back);
        modules[Number(y)].fill("1", Number(x), Number(x) + Number(length));
    }
    return modules.map((row) => row.join(""));
}

test("a code is drawn module by module in a white frame", () => {
    const drawing = drawingOf(["1101", "0000", "0110", "1111"]);
    const empty = "0".repeat(12);
    assert.deepEqual(modulesOf(drawing), [
        ...Array(4).fill(empty),
        "000011010000",
        empty,
        "000001100000",
        "000011110000",
        ...Array(4).fill(empty),
    ]);
});

test("the time left counts a second that has begun", () => {
    const texts = [120_000, 119_999, 61_000, 60_001, 9_500, 1, 0, -5000].map(clockText);
    assert.deepEqual(texts, ["2:00", "2:00", "1:01", "1:01", "0:10", "0:01", "0:00", "0:00"]);
});

test("an age is told in the largest unit that fits", () => {
    const minute = 60_000;
    assert.equal(ageOf(0), null);
    assert.equal(ageOf(minute - 1), null);
    assert.equal(ageOf(-minute), null); // the clock was set
    assert.deepEqual(ageOf(minute), { count: 1, unit: "minute" });
    assert.deepEqual(ageOf(60 * minute - 1), { count: 59, unit: "minute" });
    assert.deepEqual(ageOf(60 * minute), { count: 1, unit: "hour" });
    assert.deepEqual(ageOf(24 * 60 * minute - 1), { count: 23, unit: "hour" });
    assert.deepEqual(ageOf(49 * 60 * minute), { count: 2, unit: "day" });
});

test("phones that connect are noticed, those that were connected are not", () => {
    const now = stateWith({ phones: [pixel, iPhone] });
    assert.deepEqual(arrivals(null, now), []);
    assert.deepEqual(arrivals(stateWith({}), now), [pixel, iPhone]);
    assert.deepEqual(arrivals(stateWith({ phones: [gone, iPhone] }), now), [pixel]);
    assert.deepEqual(arrivals(now, now), []);
    assert.deepEqual(arrivals(now, stateWith({ phones: [gone] })), []);
});

test("the code is followed from state to state", () => {
    const code = { text: "ABCD-EFGH-JKMN-PQRS" };
    const withCode = stateWith({ code, phones: [gone] });
    const shown = { view: "shown" };
    const none = { view: "none" };
    const follow = (last, before, fields) => codeViewOf(last, before, stateWith(fields));

    assert.deepEqual(codeViewOf(none, null, withCode), shown);
    assert.deepEqual(follow(none, null, { phones: [pixel] }), none);
    // A new phone has used it, or a known one that lost nothing.
    assert.deepEqual(follow(shown, withCode, { phones: [gone, iPhone] }), {
        view: "paired",
        phone: iPhone,
    });
    assert.deepEqual(follow(shown, withCode, { phones: [pixel] }), {
        view: "paired",
        phone: pixel,
    });
    assert.deepEqual(follow(shown, withCode, { phones: [gone] }), { view: "over" });
    assert.deepEqual(follow(shown, withCode, { phones: [gone], addresses: [] }), {
        view: "offline",
    });
    assert.deepEqual(follow({ view: "offline" }, stateWith({ addresses: [] }), {}), none);
    // What has happened stays until there is another code.
    const paired = { view: "paired", phone: iPhone };
    const known = stateWith({ phones: [iPhone] });
    assert.deepEqual(codeViewOf(paired, known, known), paired);
    assert.deepEqual(codeViewOf(paired, known, withCode), shown);
    assert.deepEqual(codeViewOf({ view: "over" }, known, known), { view: "over" });
});

test("an address is shown as people write it", () => {
    assert.equal(plainAddress("::ffff:192.0.2.7"), "192.0.2.7");
    assert.equal(plainAddress("192.0.2.7"), "192.0.2.7");
    assert.equal(plainAddress("::ffff:c000:207"), "::ffff:c000:207");
    assert.equal(plainAddress("2001:db8::ffff:1"), "2001:db8::ffff:1");
});

test("the server is closed when it listens to this computer only", () => {
    const closed = (listenAddress, state = "ready") => isClosed({ state, listenAddress });
    assert.equal(closed("127.0.0.1"), true);
    assert.equal(closed("::1"), true);
    assert.equal(closed(""), false);
    assert.equal(closed("192.0.2.1"), false);
    assert.equal(closed(null), null);
    assert.equal(closed("127.0.0.1", "missing"), null);
});

test("troubles are told with what can be done about them", () => {
    const keys = (link, state) =>
        troublesOf(link, state).map(({ key, deed }) => [key, deed ?? null]);
    const missing = { state: "missing", canStart: true, problem: "" };
    assert.deepEqual(keys("connected", stateWith({})), []);
    assert.deepEqual(keys("connecting", null), []);
    assert.deepEqual(keys("lost", stateWith({ addresses: [] })), [["trouble.lost", null]]);
    for (const link of ["expired", "unpaired", "shut-out"]) {
        assert.equal(keys(link, null).length, 1);
    }
    assert.deepEqual(keys("connected", stateWith({ server: missing })), [
        ["trouble.missing", "startServer"],
    ]);
    assert.deepEqual(
        keys("connected", stateWith({ server: { ...missing, canStart: false }, addresses: [] })),
        [
            ["trouble.missing", null],
            ["trouble.offline", null],
        ],
    );
    const failed = { server: { ...missing, problem: "No." }, problem: "Disk full." };
    assert.deepEqual(
        troublesOf("connected", stateWith(failed)).map(({ values }) => values.problem),
        ["No.", "Disk full."],
    );
});

test("every language has every text, with the same values", () => {
    const values = (text) => (text.match(/\{\w+\}/g) ?? []).sort();
    for (const language of Object.values(languages)) {
        assert.deepEqual(Object.keys(language), Object.keys(languages.en));
        for (const [key, text] of Object.entries(language)) {
            assert.deepEqual(values(text), values(languages.en[key]), key);
        }
    }
});

test("every text that the page asks for is there, and no other one", () => {
    const asked = new Set();
    for (const [, key] of read("desk.html").matchAll(/data-text="([^"]+)"/g)) {
        asked.add(key);
    }
    for (const name of ["desk.js", "deskmodel.js"]) {
        for (const [, key] of read(name).matchAll(/"([a-z][a-zA-Z0-9]*(?:\.[a-zA-Z0-9]+)?)"/g)) {
            asked.add(key);
        }
    }
    for (const view of ["over", "none", "offline", "paired"]) {
        asked.add(`code.${view}`);
    }
    const known = Object.keys(languages.en);
    const inDots = [...asked].filter((key) => /^(trouble|code|phones|settings)\./.test(key));
    assert.ok(inDots.length > 30);
    assert.deepEqual(inDots.filter((key) => !known.includes(key)), []);
    assert.deepEqual(known.filter((key) => !asked.has(key)), []);
});

test("the browser's first language that is known is taken", () => {
    assert.equal(languageOf(["fr-FR", "de-AT", "en"]), "de");
    assert.equal(languageOf(["EN-us"]), "en");
    assert.equal(languageOf(["fr"]), "en");
    assert.equal(languageOf([]), "en");
});

test("values stand where the braces are", () => {
    assert.equal(textsOf("de")("phones.question", { name: "$& {name}" }), "$& {name} entfernen?");
});

test("every part that the script looks for is in the page", () => {
    const ids = new Set([...read("desk.html").matchAll(/ id="([^"]+)"/g)].map(([, id]) => id));
    const sought = [...read("desk.js").matchAll(/part\("([^"]+)"\)/g)].map(([, id]) => id);
    assert.ok(sought.length > 20);
    assert.deepEqual(sought.filter((id) => !ids.has(id)), []);
});
