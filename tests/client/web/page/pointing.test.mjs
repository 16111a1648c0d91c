// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { Computer } from "../../../../client/web/page/computer.js";
import { Gestures } from "../../../../client/web/page/gestures.js";
import { Speed, pointerGain } from "../../../../client/web/page/motion.js";
import { Pacer } from "../../../../client/web/page/pacer.js";
import { FakeLink, settle } from "./FakeLink.mjs";
import { FakeScreen } from "./FakeScreen.mjs";

/** Fingers on a pad, and the actions that come of them. */
class Hand {
    actions = [];
    time = 1000;
    #places = new Map();

    constructor(options = {}) {
        this.gestures = new Gestures((action) => this.actions.push(action), options);
    }

    down(id, x, y, more = {}) {
        this.#places.set(id, { x, y });
        this.#touch("start", [{ id, x, y, ...more }]);
        return this;
    }

    /** Each finger moves by what is given for its id, in so many steps of a frame each. */
    move(ways, steps = 8, frame = 16) {
        for (let step = 0; step < steps; step += 1) {
            this.wait(frame);
            this.#touch("move", Object.entries(ways).map(([key, [dx, dy]]) => {
                const place = this.#places.get(Number(key));
                place.x += dx / steps;
                place.y += dy / steps;
                return { id: Number(key), x: place.x, y: place.y };
            }));
        }
        return this;
    }

    up(...ids) {
        ids.forEach((id) => this.#places.delete(id));
        this.#touch("end", ids.map((id) => ({ id, x: 0, y: 0 })));
        return this;
    }

    cancel(id) {
        this.#places.delete(id);
        this.#touch("cancel", [{ id, x: 0, y: 0 }]);
        return this;
    }

    /** Time passes, and tick() is called when it is wanted. */
    wait(milliseconds) {
        const end = this.time + milliseconds;
        while (this.gestures.nextTime !== null && this.gestures.nextTime <= end) {
            this.time = Math.max(this.time, this.gestures.nextTime) + (this.gestures.isGliding ? 16 : 0);
            this.gestures.tick(this.time);
        }
        this.time = Math.max(this.time, end);
        return this;
    }

    #touch(type, touches) {
        this.gestures.touch(type, touches, this.time, [...this.#places.keys()]);
    }

    /** The sum of all actions of a type. */
    sum(type) {
        return this.actions.filter((action) => action.type === type).reduce(
            (sum, { dx = 0, dy = 0 }) => ({ dx: sum.dx + dx, dy: sum.dy + dy }), { dx: 0, dy: 0 });
    }

    /** The actions in short, repeated ones once: "press left", "move". */
    get inShort() {
        return this.actions.map(({ type, button }) => (button ? `${type} ${button}` : type))
            .filter((name, at, all) => name !== all[at - 1] || name.includes(" "));
    }
}

const withoutDrag = { tapToDrag: false };

describe("one finger", () => {
    test("a tap is a click", () => {
        const hand = new Hand(withoutDrag).down(1, 100, 100).wait(80).up(1);
        assert.deepEqual(hand.inShort, ["click left"]);
    });

    test("a tap that may become a drag presses at once and releases soon", () => {
        const hand = new Hand().down(1, 100, 100).wait(80).up(1);
        assert.deepEqual(hand.inShort, ["press left"]);
        hand.wait(230);
        assert.deepEqual(hand.inShort, ["press left", "release left"]);
    });

    test("two taps are two clicks", () => {
        const hand = new Hand().down(1, 100, 100).wait(60).up(1).wait(90).down(2, 103, 99).wait(60).up(2).wait(400);
        assert.deepEqual(hand.inShort, ["press left", "release left", "press left", "release left"]);
    });

    test("three taps are three clicks", () => {
        const hand = new Hand();
        for (let tap = 1; tap <= 3; tap += 1) {
            hand.down(tap, 100, 100).wait(50).up(tap).wait(80);
        }
        hand.wait(400);
        assert.equal(hand.inShort.filter((name) => name === "press left").length, 3);
        assert.equal(hand.inShort.filter((name) => name === "release left").length, 3);
    });

    test("a tap without tapping to click does nothing", () => {
        const hand = new Hand({ tapToClick: false }).down(1, 100, 100).wait(80).up(1).wait(400);
        assert.deepEqual(hand.inShort, []);
    });

    test("a long touch that does not move is no tap", () => {
        const hand = new Hand({ canDrag: false }).down(1, 100, 100).wait(300).up(1).wait(400);
        assert.deepEqual(hand.inShort, []);
    });

    test("moving moves the pointer, and is no tap", () => {
        const hand = new Hand().down(1, 100, 100).move({ 1: [80, -40] }).up(1).wait(400);
        assert.deepEqual(hand.inShort, ["move"]);
        assert.ok(hand.sum("move").dx > 40);
        assert.ok(hand.sum("move").dy < -20);
    });

    test("fast strokes go much farther than slow ones of the same length", () => {
        const slow = new Hand().down(1, 100, 100).move({ 1: [60, 0] }, 60).sum("move").dx;
        const fast = new Hand().down(1, 100, 100).move({ 1: [60, 0] }, 2).sum("move").dx;
        assert.ok(fast > 3 * slow, `${fast} ${slow}`);
    });

    test("slow moves have fractions, so that every pixel can be reached", () => {
        const hand = new Hand().down(1, 100, 100).wait(300).move({ 1: [12, 0] }, 48, 16);
        const steps = hand.actions.filter(({ type }) => type === "move").map(({ dx }) => dx);
        assert.ok(steps.length > 10 && steps.every((dx) => dx > 0 && dx < 0.4), String(steps));
    });

    test("the speed of the pointer is chosen", () => {
        const way = (pointerSpeed) =>
            new Hand({ pointerSpeed }).down(1, 100, 100).move({ 1: [80, 0] }).sum("move").dx;
        assert.ok(Math.abs(way(2) - 2 * way(1)) < 0.001);
    });

    test("a tap, and then a touch that moves, drags until the finger is lifted", () => {
        const hand = new Hand().down(1, 100, 100).wait(60).up(1).wait(100)
            .down(2, 100, 100).move({ 2: [60, 0] }).wait(1000);
        assert.deepEqual(hand.inShort, ["press left", "move"]);
        hand.up(2).wait(500);
        assert.deepEqual(hand.inShort, ["press left", "move", "release left"]);
    });

    test("a tap, and a touch long after it, only moves", () => {
        const hand = new Hand().down(1, 100, 100).wait(60).up(1).wait(260).down(2, 100, 100).move({ 2: [60, 0] }).up(2);
        assert.deepEqual(hand.inShort, ["press left", "release left", "move"]);
    });

    test("holding still vibrates, and then drags", () => {
        const hand = new Hand().down(1, 100, 100).wait(399);
        assert.deepEqual(hand.inShort, []);
        hand.wait(2);
        assert.deepEqual(hand.inShort, ["vibrate"]);
        hand.move({ 1: [50, 0] }).up(1).wait(400);
        assert.deepEqual(hand.inShort, ["vibrate", "press left", "move", "release left"]);
    });

    test("holding still and lifting does nothing", () => {
        const hand = new Hand().down(1, 100, 100).wait(900).up(1).wait(400);
        assert.deepEqual(hand.inShort, ["vibrate"]);
    });

    test("a tap, and then a touch that stays, holds the button", () => {
        const hand = new Hand().down(1, 100, 100).wait(60).up(1).wait(100).down(2, 100, 100).wait(2000);
        assert.deepEqual(hand.inShort, ["press left", "vibrate"]);
        hand.up(2);
        assert.deepEqual(hand.inShort, ["press left", "vibrate", "release left"]);
    });

    test("a trembling finger still holds", () => {
        const hand = new Hand().down(1, 100, 100).move({ 1: [3, 1] }, 4).wait(400);
        assert.deepEqual(hand.inShort, ["vibrate"]);
    });

    test("a desktop that cannot hold a button gets clicks only", () => {
        const hand = new Hand({ canDrag: false }).down(1, 100, 100).wait(900).move({ 1: [50, 0] }).up(1)
            .wait(50).down(2, 100, 100).wait(50).up(2).wait(400);
        assert.deepEqual(hand.inShort, ["move", "click left"]);
    });

    test("another finger can go on with a drag", () => {
        const hand = new Hand().down(1, 100, 100).wait(450).move({ 1: [50, 0] }).down(2, 200, 100).up(1);
        assert.deepEqual(hand.inShort, ["vibrate", "press left", "move"]);
        const before = hand.sum("move").dx;
        hand.move({ 2: [50, 0] });
        assert.ok(hand.sum("move").dx > before + 30);
        hand.up(2);
        assert.equal(hand.inShort.at(-1), "release left");
    });

    test("a cancelled touch releases what it held", () => {
        const hand = new Hand().down(1, 100, 100).wait(450).move({ 1: [50, 0] }).cancel(1);
        assert.equal(hand.inShort.at(-1), "release left");
        assert.equal(hand.gestures.nextTime, null);
    });

    test("a cancelled touch is no tap", () => {
        const hand = new Hand().down(1, 100, 100).wait(50).cancel(1).wait(500);
        assert.deepEqual(hand.inShort, []);
    });

    test("a finger that was lifted unseen holds nothing", () => {
        const hand = new Hand().down(1, 100, 100).wait(450).move({ 1: [50, 0] });
        hand.gestures.touch("start", [{ id: 2, x: 10, y: 10 }], hand.time, [2]);
        assert.equal(hand.inShort.at(-1), "release left");
    });
});

describe("several fingers", () => {
    test("a tap of two is a right click", () => {
        const hand = new Hand().down(1, 100, 100).wait(20).down(2, 160, 100).wait(80).up(1).wait(30).up(2).wait(400);
        assert.deepEqual(hand.inShort, ["click right"]);
    });

    test("a tap of three is a middle click", () => {
        const hand = new Hand().down(1, 100, 100).down(2, 160, 100).down(3, 220, 100).wait(80)
            .up(2).up(1).wait(20).up(3).wait(400);
        assert.deepEqual(hand.inShort, ["click middle"]);
    });

    test("a tap of four is nothing", () => {
        const hand = new Hand();
        [1, 2, 3, 4].forEach((id) => hand.down(id, 50 * id, 100));
        hand.wait(80).up(1, 2, 3, 4).wait(400);
        assert.deepEqual(hand.inShort, []);
    });

    test("two that stay long are no tap", () => {
        const hand = new Hand().down(1, 100, 100).down(2, 160, 100).wait(600).up(1, 2).wait(400);
        assert.deepEqual(hand.inShort, []);
    });

    test("a tap of two ends the press of the tap before it", () => {
        const hand = new Hand().down(1, 100, 100).wait(50).up(1).wait(50).down(1, 100, 100).down(2, 160, 100)
            .wait(50).up(1, 2).wait(400);
        assert.deepEqual(hand.inShort, ["press left", "release left", "click right"]);
    });

    test("two scroll, and the content follows them", () => {
        const hand = new Hand({ glides: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, -80], 2: [0, -80] }, 12).up(1, 2).wait(500);
        assert.deepEqual(hand.inShort, ["scroll"]);
        assert.equal(hand.sum("scroll").dx, 0);
        assert.ok(hand.sum("scroll").dy > 240, "content up is the wheel down");
    });

    test("two scroll the other way if that is chosen", () => {
        const hand = new Hand({ glides: false, isNatural: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, -80], 2: [0, -80] }, 12).up(1, 2);
        assert.ok(hand.sum("scroll").dy < -240);
    });

    test("two scroll to the side", () => {
        const hand = new Hand({ glides: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [80, 6], 2: [80, 6] }, 12).up(1, 2);
        assert.ok(hand.sum("scroll").dx < -240);
        assert.equal(hand.sum("scroll").dy, 0);
    });

    test("one scrolls as fast while the other rests", () => {
        const both = new Hand({ glides: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, 120], 2: [0, 120] }, 24).up(1, 2).sum("scroll").dy;
        const resting = new Hand({ glides: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 2: [0, 120] }, 24).up(1, 2);
        assert.deepEqual(resting.inShort, ["scroll"]);
        assert.ok(Math.abs(resting.sum("scroll").dy / both - 1) < 0.2, `${resting.sum("scroll").dy} ${both}`);
    });

    test("one scrolls while the other has rested for long", () => {
        const hand = new Hand({ glides: false }).down(1, 100, 300).wait(2000).down(2, 160, 300)
            .move({ 2: [0, 90] }, 18).up(2).wait(500).down(2, 160, 300).move({ 2: [0, 90] }, 18).up(2, 1).wait(500);
        assert.deepEqual(hand.inShort, ["vibrate", "scroll"]);
    });

    test("one scrolls while the other rests above it", () => {
        const hand = new Hand({ glides: false }).down(1, 150, 200).down(2, 150, 300).move({ 2: [0, 90] }, 18).up(2).up(1);
        assert.deepEqual(hand.inShort, ["scroll"]);
    });

    test("a fast stroke goes on for a moment, and a touch stops it without a click", () => {
        const hand = new Hand().down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, -160], 2: [0, -160] }, 8).up(1, 2);
        const before = hand.sum("scroll").dy;
        assert.ok(hand.gestures.isGliding);
        hand.wait(100);
        assert.ok(hand.sum("scroll").dy > before + 100);
        hand.down(3, 100, 100);
        assert.ok(!hand.gestures.isGliding);
        const stopped = hand.sum("scroll").dy;
        hand.wait(50).up(3).wait(500);
        assert.equal(hand.sum("scroll").dy, stopped);
        assert.deepEqual(hand.inShort, ["scroll"]);
    });

    test("what goes on by itself ends by itself, soon", () => {
        const hand = new Hand().down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, -400], 2: [0, -400] }, 4).up(1, 2).wait(1000);
        assert.ok(!hand.gestures.isGliding);
        assert.equal(hand.gestures.nextTime, null);
    });

    test("fingers that stop before they are lifted do not glide", () => {
        const hand = new Hand().down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, -160], 2: [0, -160] }, 8).wait(200).up(1, 2);
        assert.ok(!hand.gestures.isGliding);
    });

    test("nothing glides for users who prefer less motion", () => {
        const hand = new Hand({ glides: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, -160], 2: [0, -160] }, 8).up(1, 2);
        assert.ok(!hand.gestures.isGliding);
    });

    test("the last finger after scrolling does not move the pointer while it is lifted", () => {
        const hand = new Hand({ glides: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, 80], 2: [0, 80] }).up(1).move({ 2: [3, 9] }, 2).up(2).wait(400);
        assert.deepEqual(hand.inShort, ["scroll"]);
    });

    test("the last finger after scrolling moves the pointer when it goes on", () => {
        const hand = new Hand({ glides: false }).down(1, 100, 300).down(2, 160, 300)
            .move({ 1: [0, 80], 2: [0, 80] }).up(1).move({ 2: [60, 0] });
        assert.deepEqual(hand.inShort, ["scroll", "move"]);
    });

    test("a second finger makes scrolling of moving", () => {
        const hand = new Hand({ glides: false }).down(1, 100, 300).move({ 1: [40, 0] }).down(2, 200, 300)
            .move({ 1: [0, 60], 2: [0, 60] }).up(1, 2).wait(400);
        assert.deepEqual(hand.inShort, ["move", "scroll"]);
    });

    test("fingers that go apart zoom in, and Control is released at the end", () => {
        const hand = new Hand().down(1, 150, 300).down(2, 210, 300).move({ 1: [-60, 0], 2: [60, 0] }, 12);
        assert.deepEqual(hand.inShort, ["zoom"]);
        const notches = -hand.sum("zoom").dy / 120;
        assert.ok(notches > 6 && notches < 12, `three times as far is ${notches} notches`);
        hand.up(1);
        assert.deepEqual(hand.inShort, ["zoom", "zoomEnd"]);
        hand.up(2).wait(400);
        assert.deepEqual(hand.inShort, ["zoom", "zoomEnd"]);
    });

    test("fingers that come together zoom out", () => {
        const hand = new Hand().down(1, 100, 300).down(2, 300, 300).move({ 1: [70, 0], 2: [-70, 0] }, 12).up(1, 2);
        assert.ok(hand.sum("zoom").dy > 240);
    });

    test("a cancelled pinch releases Control", () => {
        const hand = new Hand().down(1, 150, 300).down(2, 210, 300).move({ 1: [-60, 0], 2: [60, 0] }).cancel(1);
        assert.equal(hand.inShort.at(-1), "zoomEnd");
    });
});

describe("fingers that are meant otherwise", () => {
    test("a palm does nothing, and is no second finger", () => {
        const hand = new Hand().down(1, 50, 400, { radius: 60 }).down(2, 100, 100).move({ 2: [50, 0], 1: [9, 9] })
            .up(2).up(1).wait(400);
        assert.deepEqual(hand.inShort, ["move"]);
    });

    test("a thumb that holds the phone at its edge does nothing", () => {
        const hand = new Hand().down(1, 2, 400, { isAtEdge: true }).wait(600).down(2, 100, 100).wait(50).up(2).wait(400);
        assert.deepEqual(hand.inShort, ["press left", "release left"]);
    });

    test("a stroke that begins at the edge counts", () => {
        const hand = new Hand().down(1, 2, 400, { isAtEdge: true }).move({ 1: [80, 0] }).up(1).wait(400);
        assert.deepEqual(hand.inShort, ["move"]);
    });

    test("one finger scrolls on the strip, up and down only", () => {
        const hand = new Hand({ glides: false }).down(1, 380, 300, { isOnStrip: true }).move({ 1: [15, 80] }, 12).up(1);
        assert.deepEqual(hand.inShort, ["scroll"]);
        assert.equal(hand.sum("scroll").dx, 0);
        assert.ok(hand.sum("scroll").dy < -200);
    });
});

describe("speed", () => {
    test("the gain never falls when the finger is faster", () => {
        const gains = Array.from({ length: 60 }, (_, step) => pointerGain(step / 20));
        assert.deepEqual([...gains].sort((one, other) => one - other), gains);
        assert.ok(gains[0] < 1 && gains.at(-1) > 3);
    });

    test("is forgotten after a rest", () => {
        const speed = new Speed();
        speed.add(50, 0, 0);
        speed.add(50, 0, 16);
        assert.ok(speed.at(16).x > 2);
        assert.equal(speed.at(200).size, 0);
    });
});

describe("pacer", () => {
    function newPacer() {
        const sent = [];
        const screen = new FakeScreen();
        const answers = [];
        const pacer = new Pacer((request, { dx, dy }) => {
            sent.push([request, dx, dy]);
            return new Promise((resolve) => { answers.push(resolve); });
        }, screen);
        return { pacer, sent, screen, frame: () => screen.showFrame(), answers };
    }

    test("sends the first move of a frame at once and the others together at the next", () => {
        const { pacer, sent, frame } = newPacer();
        pacer.move(1, 0);
        pacer.move(2, 1);
        pacer.move(3, 1);
        assert.deepEqual(sent, [["move", 1, 0]]);
        frame();
        assert.deepEqual(sent, [["move", 1, 0], ["move", 5, 2]]);
        frame();
        assert.equal(sent.length, 2);
    });

    test("asks for no frames while the moves come with them", () => {
        const { pacer, sent, screen } = newPacer();
        for (const wait of [0, 17, 14, 18]) {
            screen.time += wait;
            pacer.move(1, 0);
        }
        assert.equal(sent.length, 4);
        assert.deepEqual(screen.wanted, []);
    });

    test("sends one message a frame from a finger that is felt three times in each", async () => {
        const { pacer, sent, screen, frame, answers } = newPacer();
        for (let step = 0; step < 30; step += 1) {
            pacer.move(1, 0);
            if (step % 3 === 2) {
                frame();
                answers.forEach((answer) => answer());
                await settle();
            } else {
                screen.time += 0.1;
            }
        }
        const sum = sent.reduce((total, [, dx]) => total + dx, 0);
        assert.equal(sum, 30);
        assert.ok(sent.length <= 11, `${sent.length} messages`);
    });

    test("sends at most four that are unanswered, and then what has added up", async () => {
        const { pacer, sent, frame, answers } = newPacer();
        for (let step = 0; step < 10; step += 1) {
            pacer.move(1, 0);
            frame();
        }
        assert.equal(sent.length, 4);
        answers[0]();
        await settle();
        assert.deepEqual(sent.at(-1), ["move", 6, 0]);
    });

    test("loses nothing by rounding", () => {
        const { pacer, sent, frame, answers } = newPacer();
        for (let step = 0; step < 4; step += 1) {
            pacer.scroll(0.4, -0.4);
            frame();
            answers.forEach((answer) => answer());
        }
        const sum = sent.reduce((total, [, dx]) => total + dx, 0);
        assert.ok(sent.every(([, dx, dy]) => Number.isInteger(dx) && Number.isInteger(dy)));
        assert.equal(sum, 2);
    });

    test("keeps hundredths of a pixel", () => {
        const { pacer, sent } = newPacer();
        pacer.move(0.333, 0);
        assert.deepEqual(sent, [["move", 0.33, 0]]);
    });

    test("sends nothing for nothing", () => {
        const { pacer, sent, frame } = newPacer();
        pacer.scroll(0.1, 0);
        frame();
        assert.deepEqual(sent, []);
    });

    test("does not send what waits after clear()", async () => {
        const { pacer, sent, frame, answers } = newPacer();
        pacer.move(1, 0);
        pacer.move(1, 0);
        pacer.clear();
        frame();
        answers[0]();
        await settle();
        assert.equal(sent.length, 1);
    });
});

describe("the computer", () => {
    function newComputer() {
        const link = new FakeLink();
        const computer = new Computer(link, new FakeScreen());
        return { link, computer };
    }

    test("moves before it clicks", () => {
        const { link, computer } = newComputer();
        computer.move(1, 0);
        computer.move(2, 0);
        computer.click("left");
        assert.deepEqual(link.inShort, ["move 1 0", "move 2 0", "button left"]);
    });

    test("holds modifiers while it clicks", () => {
        const { link, computer } = newComputer();
        computer.click("left", ["Control", "Shift"]);
        assert.deepEqual(link.inShort, [
            "key Control press", "key Shift press", "button left", "key Shift release", "key Control release",
        ]);
    });

    test("holds Control while it zooms", () => {
        const { link, computer } = newComputer();
        computer.zoom(-120);
        computer.zoom(-120);
        computer.endZoom();
        computer.endZoom();
        assert.deepEqual(link.inShort, [
            "key Control press", "scroll 0 -120", "scroll 0 -120", "key Control release",
        ]);
    });

    test("releases everything when nobody looks", () => {
        const { link, computer } = newComputer();
        computer.press("left", ["Alt"]);
        computer.zoom(-1);
        link.asked.length = 0;
        computer.releaseEverything();
        assert.deepEqual(link.inShort, ["key Control release", "button left release", "key Alt release"]);
    });

    test("gets nothing while it is away, and nothing of that later", () => {
        const { link, computer } = newComputer();
        computer.press("left");
        computer.move(1, 0);
        computer.move(1, 0);
        link.asked.length = 0;
        link.lose();
        computer.move(5, 5);
        computer.click("left");
        computer.key("a");
        link.find();
        computer.release("left");
        computer.move(2, 0);
        computer.click("right");
        assert.deepEqual(link.inShort, ["move 2 0", "button right"]);
    });

    test("gets nothing before VornaServer is ready", () => {
        const { link, computer } = newComputer();
        link.server = { ...link.server, state: "asking" };
        computer.click("left");
        computer.move(1, 1);
        assert.deepEqual(link.asked, []);
    });
});
