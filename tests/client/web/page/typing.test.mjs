// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { Computer } from "../../../../client/web/page/computer.js";
import { StickyKeys } from "../../../../client/web/page/stickykeys.js";
import { Stopwatch } from "../../../../client/web/page/stopwatch.js";
import { deletableUnits, textDifference } from "../../../../client/web/page/textdiff.js";
import { TextQueue } from "../../../../client/web/page/textqueue.js";
import { FakeLink, refusal, settle } from "./FakeLink.mjs";
import { FakeScreen } from "./FakeScreen.mjs";

describe("the difference of two texts", () => {
    const rows = [
        ["nothing", "abc", "abc", 0, ""],
        ["a letter", "", "a", 0, "a"],
        ["a word after another", "Hello", "Hello world", 0, " world"],
        ["a deleted letter", "Hello", "Hell", 1, ""],
        ["a corrected word", "teh", "the", 2, "he"],
        ["a correction before the end", "teh cat", "the cat", 6, "he cat"],
        ["everything deleted", "abc", "", 3, ""],
        ["an umlaut for a vowel", "wor", "wör", 2, "ör"],
        ["an emoji", "a", "a👍", 0, "👍"],
        ["a deleted emoji", "a👍", "a", 1, ""],
        ["an emoji for another whose first half is the same", "😀", "😁", 1, "😁"],
        ["another skin", "👍", "👍🏽", 0, "🏽"],
        ["the first skin again", "👍🏽", "👍", 1, "👍"],
        ["a deleted family", "👨‍👩‍👧‍👦", "", 1, ""],
        ["a deleted flag", "🇩🇪🇫🇷", "🇩🇪", 1, ""],
        ["a deleted keycap", "1️⃣", "", 1, ""],
        ["a deleted heart with its selector", "❤️", "", 1, ""],
        ["a deleted flag of a region", "🏴󠁧󠁢󠁳󠁣󠁴󠁿", "", 1, ""],
        ["a combining mark goes alone", "e\u0301", "e", 1, ""],
        ["signs of Devanagari go one by one", "क्षि", "क्ष", 1, ""],
        ["a line break", "a", "a\nb", 0, "\nb"],
        ["digits are no keycaps", "12", "1", 1, ""],
    ];
    for (const [name, before, after, deletions, text] of rows) {
        test(name, () => assert.deepEqual(textDifference(before, after), { deletions, text }));
    }

    test("what is deleted and typed makes the new text of any old one", () => {
        const parts = ["a", "b", "é", "👍", "👍🏽", "🇩🇪", "👨‍👩‍👧", " ", "क्षि", "1️⃣"];
        let seed = 7;
        const random = (limit) => {
            seed = (seed * 1103515245 + 12345) % 2147483648;
            return Math.floor(seed / 65536) % limit;
        };
        const newText = () => Array.from({ length: random(6) }, () => parts[random(parts.length)]).join("");
        for (let round = 0; round < 3000; round += 1) {
            const [before, after] = [newText(), newText()];
            const { deletions, text } = textDifference(before, after);
            const units = deletableUnits(before);
            assert.equal(units.slice(0, units.length - deletions).join("") + text, after);
        }
    });
});

describe("the queue of texts and keys", () => {
    function newQueue() {
        const link = new FakeLink();
        const queue = new TextQueue(new Computer(link, new FakeScreen()));
        return { link, queue };
    }

    test("types what is added and deletes what is gone", async () => {
        const { link, queue } = newQueue();
        queue.change("", "helo");
        await settle();
        queue.change("helo", "hello");
        await settle();
        assert.deepEqual(link.inShort, ["text helo", "key Backspace", "text lo"]);
    });

    test("makes one of the changes that come while another is under way", async () => {
        const { link, queue } = newQueue();
        link.isPatient = true;
        queue.change("", "w");
        queue.change("w", "wo");
        queue.change("wo", "wor");
        queue.change("wor", "wör");
        assert.deepEqual(link.inShort, ["text w"]);
        link.answerOne();
        await settle();
        assert.deepEqual(link.inShort, ["text w", "text ör"]);
    });

    test("keeps keys and texts in order", async () => {
        const { link, queue } = newQueue();
        link.isPatient = true;
        queue.change("", "a");
        queue.change("a", "ab");
        queue.key("Enter");
        queue.change("", "c");
        for (let answer = 0; answer < 4; answer += 1) {
            link.answerOne();
            await settle();
        }
        assert.deepEqual(link.inShort, ["text a", "text b", "key Enter", "text c"]);
    });

    test("sends what waits before a click", async () => {
        const { link, queue } = newQueue();
        link.isPatient = true;
        queue.change("", "a");
        queue.change("a", "ab");
        queue.flush();
        assert.deepEqual(link.inShort, ["text a", "text b"]);
    });

    test("goes on after something that could not be typed", async () => {
        const { link, queue } = newQueue();
        link.answer = ({ fields }) => {
            if (fields.text === "☃") {
                throw refusal("failed");
            }
            return { fields: {}, body: null };
        };
        queue.change("", "☃");
        queue.change("☃", "☃a");
        await settle();
        assert.deepEqual(link.inShort, ["text ☃", "text a"]);
    });

    test("types nothing of what waited when the connection was lost", async () => {
        const { link, queue } = newQueue();
        link.isPatient = true;
        queue.change("", "a");
        queue.change("a", "ab");
        queue.key("Enter");
        link.lose();
        queue.clear();
        await settle();
        link.find();
        link.isPatient = false;
        queue.change("", "c");
        await settle();
        assert.deepEqual(link.inShort, ["text a", "text c"]);
    });

    test("types a pasted page in pieces that are whole characters", async () => {
        const { link, queue } = newQueue();
        const page = "👍x".repeat(5000);
        queue.change("", page);
        await settle();
        const pieces = link.asked.map(({ fields }) => fields.text);
        assert.equal(pieces.join(""), page);
        assert.ok(pieces.length > 1 && pieces.every((piece) => piece.isWellFormed?.() ?? true));
    });
});

describe("sticky keys", () => {
    test("a tap is for one key", () => {
        const sticky = new StickyKeys();
        sticky.tap("Control", 0);
        assert.equal(sticky.stateOf("Control"), "once");
        assert.deepEqual(sticky.take(), ["Control"]);
        assert.deepEqual(sticky.take(), []);
    });

    test("two quick taps lock until a third", () => {
        const sticky = new StickyKeys();
        sticky.tap("Shift", 0);
        sticky.tap("Shift", 300);
        assert.equal(sticky.stateOf("Shift"), "locked");
        assert.deepEqual([...sticky.take(), ...sticky.take()], ["Shift", "Shift"]);
        sticky.tap("Shift", 500);
        assert.deepEqual(sticky.take(), []);
    });

    test("two slow taps are on and off", () => {
        const sticky = new StickyKeys();
        sticky.tap("Alt", 0);
        sticky.tap("Alt", 900);
        assert.equal(sticky.stateOf("Alt"), "off");
    });

    test("several are pressed in one order", () => {
        const sticky = new StickyKeys();
        sticky.tap("Shift", 0);
        sticky.tap("Meta", 0);
        sticky.tap("Control", 0);
        assert.deepEqual(sticky.take(), ["Control", "Shift", "Meta"]);
    });

    test("a locked one stays when one for a key goes", () => {
        const sticky = new StickyKeys();
        sticky.tap("Alt", 0);
        sticky.tap("Alt", 100);
        sticky.tap("Control", 500);
        assert.deepEqual(sticky.take(), ["Control", "Alt"]);
        assert.deepEqual(sticky.take(), ["Alt"]);
    });

    test("each change is said", () => {
        const sticky = new StickyKeys();
        let changes = 0;
        sticky.addEventListener("change", () => { changes += 1; });
        sticky.tap("Alt", 0);
        sticky.take();
        sticky.take();
        sticky.clear();
        assert.equal(changes, 3);
    });
});

describe("the time of a talk", () => {
    test("runs, rests, goes on, and begins again", () => {
        const watch = new Stopwatch();
        assert.equal(watch.textAt(5000), "0:00");
        watch.toggle(1000);
        assert.equal(watch.textAt(66_900), "1:05");
        watch.toggle(66_900);
        assert.equal(watch.textAt(900_000), "1:05");
        watch.toggle(900_000);
        assert.equal(watch.textAt(900_000 + 3_600_000), "1:01:05");
        watch.clear(4_600_000);
        assert.equal(watch.textAt(4_602_000), "0:02");
    });
});
