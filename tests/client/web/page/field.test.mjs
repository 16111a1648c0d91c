// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the field makes of what keyboards of phones and others do to it.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Computer } from "../../../../client/web/page/computer.js";
import { StickyKeys } from "../../../../client/web/page/stickykeys.js";
import { TextField } from "../../../../client/web/page/textfield.js";
import { TextQueue } from "../../../../client/web/page/textqueue.js";
import { FakeLink, settle } from "./FakeLink.mjs";
import { FakeScreen } from "./FakeScreen.mjs";

/** As much of a text area as the field uses. */
class FakeArea extends EventTarget {
    value = "";
    style = {};
    parentElement = { classList: { toggle: (_, isThere) => { this.isFilled = isThere; } } };

    setSelectionRange() {}
}

/** A field with the focus, a keyboard for it, and a computer. */
class Desk {
    link = new FakeLink();
    sticky = new StickyKeys();
    area = new FakeArea();
    computer = new Computer(this.link, new FakeScreen());

    constructor() {
        globalThis.document = {
            activeElement: this.area,
            createElement: () => ({ getContext: () => ({ measureText: (text) => ({ width: 4 * text.length }) }) }),
        };
        globalThis.getComputedStyle = () => ({ font: "16px sans-serif" });
        this.field = new TextField(this.area, new TextQueue(this.computer), this.sticky, () => this.computer.isReady);
    }

    /** The keyboard announces a change; false if the page does not want it. */
    announces(inputType, more = {}) {
        const event = Object.assign(new Event("beforeinput", { cancelable: true, ...more }), { inputType });
        return this.area.dispatchEvent(event);
    }

    /** The keyboard puts a text in the place of the last characters. */
    async types(text, instead = 0, inputType = "insertText") {
        if (this.announces(inputType)) {
            this.area.value = this.area.value.slice(0, this.area.value.length - instead) + text;
            this.area.dispatchEvent(Object.assign(new Event("input"), { inputType }));
        }
        await settle();
    }

    async deletes(inputType = "deleteContentBackward", characters = 1) {
        await this.types("", characters, inputType);
    }

    /** A key of a keyboard that says which; false if the page takes it. */
    async presses(key, { held = [], keyCode = 1, isAltGraph = false } = {}) {
        const event = Object.assign(new Event("keydown", { cancelable: true }), {
            key, keyCode, isComposing: false, ctrlKey: held.includes("Control"), altKey: held.includes("Alt"),
            shiftKey: held.includes("Shift"), metaKey: held.includes("Meta"),
            getModifierState: (name) => name === "AltGraph" && isAltGraph,
        });
        const isLeft = this.area.dispatchEvent(event);
        await settle();
        return isLeft;
    }

    composes(type) {
        this.area.dispatchEvent(new Event(`composition${type}`));
    }

    get typed() {
        return this.area.value.replace(/^\u00a0+/, "");
    }
}

test("letters, words and corrections are typed", async () => {
    const desk = new Desk();
    await desk.types("t");
    await desk.types("eh");
    await desk.types("the ", 3, "insertReplacementText");
    assert.deepEqual(desk.link.inShort, ["text t", "text eh", "key Backspace", "key Backspace", "text he "]);
    assert.equal(desk.typed, "the ");
    assert.ok(desk.area.isFilled);
});

test("a composition is typed while it changes", async () => {
    const desk = new Desk();
    desk.composes("start");
    await desk.types("wo", 0, "insertCompositionText");
    await desk.types("wör", 2, "insertCompositionText");
    desk.composes("end");
    await settle();
    assert.deepEqual(desk.link.inShort, ["text wo", "key Backspace", "text ör"]);
    assert.equal(desk.typed, "wör");
});

test("Backspace deletes what was typed before the field was emptied, too", async () => {
    const desk = new Desk();
    for (let press = 0; press < 60; press += 1) {
        await desk.deletes();
    }
    assert.equal(desk.link.inShort.join(), Array(60).fill("key Backspace").join());
});

test("deleting a word that is not in the field is a key, not a guess", async () => {
    const desk = new Desk();
    await desk.deletes("deleteWordBackward", 24);
    assert.deepEqual(desk.link.inShort, ["key Backspace Control"]);
    await desk.types("ab cd");
    await desk.deletes("deleteWordBackward", 2);
    assert.deepEqual(desk.link.inShort.slice(2), ["key Backspace", "key Backspace"]);
});

test("Enter is a key, and begins a new text", async () => {
    const desk = new Desk();
    await desk.types("ls");
    await desk.types("\n", 0, "insertLineBreak");
    assert.deepEqual(desk.link.inShort, ["text ls", "key Enter"]);
    assert.equal(desk.typed, "");
    assert.ok(!desk.area.isFilled);
});

test("an Enter that cannot be prevented is typed once", async () => {
    const desk = new Desk();
    desk.announces("insertParagraph", { cancelable: false });
    desk.area.value += "\n";
    desk.area.dispatchEvent(new Event("input"));
    await settle();
    assert.deepEqual(desk.link.inShort, ["text \n"]);
    assert.equal(desk.typed, "");
});

test("a character with a modifier is a shortcut without the capital of a sentence", async () => {
    const desk = new Desk();
    desk.sticky.tap("Control", 0);
    await desk.types("C");
    await desk.types("d");
    assert.deepEqual(desk.link.inShort, ["key c Control", "text d"]);
    assert.equal(desk.typed, "d");
});

test("Shift makes a capital", async () => {
    const desk = new Desk();
    desk.sticky.tap("Shift", 0);
    await desk.types("a");
    assert.deepEqual(desk.link.inShort, ["key a Shift"]);
});

test("Backspace and Enter have the modifiers, too", async () => {
    const desk = new Desk();
    desk.sticky.tap("Control", 0);
    await desk.deletes();
    desk.sticky.tap("Alt", 0);
    await desk.types("\n", 0, "insertParagraph");
    assert.deepEqual(desk.link.inShort, ["key Backspace Control", "key Enter Alt"]);
});

test("keys of a real keyboard are keys, and its letters are texts", async () => {
    const desk = new Desk();
    assert.equal(await desk.presses("ArrowLeft", { held: ["Shift"] }), false);
    assert.equal(await desk.presses("F5"), false);
    assert.equal(await desk.presses("c", { held: ["Control"] }), false);
    assert.equal(await desk.presses("a"), true);
    assert.equal(await desk.presses("Enter"), true);
    assert.equal(await desk.presses("Backspace"), true);
    assert.equal(await desk.presses("@", { held: ["Control", "Alt"], isAltGraph: true }), true);
    assert.equal(await desk.presses("ä", { held: ["Alt"] }), true);
    assert.deepEqual(desk.link.inShort, ["key ArrowLeft Shift", "key F5", "key c Control"]);
});

test("keys of which a phone does not say which are not believed", async () => {
    const desk = new Desk();
    assert.equal(await desk.presses("Unidentified", { keyCode: 229 }), true);
    assert.equal(await desk.presses("Tab", { keyCode: 229 }), true);
    assert.deepEqual(desk.link.asked, []);
});

test("a text is forgotten when the caret is elsewhere", async () => {
    const desk = new Desk();
    await desk.types("abc");
    desk.field.forget();
    await desk.types("d");
    assert.deepEqual(desk.link.inShort, ["text abc", "text d"]);
});

test("a long text is forgotten at the end of a word, not within a composition", async () => {
    const desk = new Desk();
    await desk.types("x".repeat(300));
    assert.equal(desk.typed.length, 300);
    desk.composes("start");
    await desk.types(" ");
    assert.equal(desk.typed.length, 301);
    desk.composes("end");
    await new Promise((resolve) => { setTimeout(resolve); });
    assert.equal(desk.typed, "");
});

test("nothing can be typed while the computer is away, and nothing of it comes later", async () => {
    const desk = new Desk();
    desk.link.lose();
    assert.equal(desk.announces("insertText"), false);
    desk.area.value += "b"; // by a keyboard that does not ask
    desk.area.dispatchEvent(new Event("input"));
    assert.equal(desk.typed, "");
    await desk.presses("Escape");
    desk.link.find();
    await desk.types("c");
    assert.deepEqual(desk.link.inShort, ["text c"]);
});
