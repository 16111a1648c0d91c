// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import assert from "node:assert/strict";
import { test } from "node:test";

import { code, Computer, deskSecret, FakeWorld, knownPhone, settle } from "./fakes.mjs";
import { isCode, Link, Refusal, stored } from "../../../../client/web/page/link.js";

const role = { phone: "phone", desk: "desk" };

/** A link that has begun, in its own world. */
async function begin({ as = role.phone, isKnown = false, fragment = "", computer } = {}) {
    const there = computer ?? new Computer();
    const world = new FakeWorld(there);
    world.fragment = fragment;
    if (isKnown) {
        knownPhone(world, there);
    }
    const states = [];
    const link = new Link({ credentials: stored(as, world), name: "Phone", world });
    link.addEventListener("state", () => states.push(link.state));
    link.start();
    await settle();
    return { computer: there, world, link, states };
}

function nameOf(text) {
    return text.object.request;
}

/** What becomes of a promise: its value, or the word of its refusal. */
function outcome(promise) {
    return promise.catch((refusal) => {
        assert.ok(refusal instanceof Refusal);
        return refusal.error;
    });
}

test("without a code and a secret there is nothing to connect with", async () => {
    const { link, computer, states, world } = await begin();
    assert.equal(link.state, "unpaired");
    assert.deepEqual(states, []);
    assert.equal(computer.connections.length, 0);
    await world.pass(60_000);
    assert.equal(computer.looks, 0);
});

test("the code in the address is taken out of it and makes a known phone", async () => {
    const { link, computer, world, states } = await begin({ fragment: code });
    assert.equal(world.fragment, "");
    assert.deepEqual(states, ["connecting", "connected"]);
    assert.deepEqual(link.server, {
        state: "ready",
        name: "den",
        can: ["key"],
        message: undefined,
    });
    assert.equal(computer.last.received[0].object.name, "Phone");
    const { id, secret } = JSON.parse(world.forever.text);
    assert.equal(Buffer.from(computer.phones.get(id)).toString("base64"), secret);
});

test("a phone that is known needs no code", async () => {
    const { link, computer } = await begin({ isKnown: true });
    assert.equal(link.state, "connected");
    assert.equal(computer.last.first[1], 1);
});

test("a phone that is known makes no second one of itself by reading a code again", async () => {
    const { computer, world } = await begin({ isKnown: true, fragment: code });
    assert.equal(computer.connections.length, 1);
    assert.equal(computer.last.first[1], 1);
    assert.equal(world.fragment, "");
});

test("a phone that is no longer known takes the code that was read", async () => {
    const { link, computer, world } = await begin();
    knownPhone(world, new Computer());
    const again = new Link({ credentials: withCode(world), name: "Phone", world });
    again.start();
    await settle();
    assert.deepEqual(
        computer.connections.map(({ first }) => first[1]),
        [1, 0],
    );
    assert.equal(again.state, "connected");
    assert.equal(link.state, "unpaired");
});

function withCode(world) {
    world.fragment = code;
    return stored(role.phone, world);
}

test("a code that is typed connects, one that is none does not", async () => {
    const { link, computer } = await begin();
    assert.equal(link.takeCode("ABCD"), false);
    assert.equal(computer.connections.length, 0);
    assert.ok(link.takeCode("abcd-efgh-jkmn-pqrs"));
    await settle();
    assert.equal(link.state, "connected");
    assert.equal(link.takeCode("ABCD"), false);
    assert.equal(link.state, "connected");
    assert.ok(isCode(code));
    assert.ok(!isCode("ABCD"));
});

test("a code that is typed comes before what is stored", async () => {
    const computer = new Computer();
    const world = new FakeWorld(computer);
    knownPhone(world, new Computer());
    const credentials = stored(role.phone, world);
    assert.ok(credentials.takeCode(code));
    const link = new Link({ credentials, name: "Phone", world });
    link.start();
    await settle();
    assert.deepEqual(
        computer.connections.map(({ first }) => first[1]),
        [0],
    );
    assert.equal(link.state, "connected");
});

test("a code that is read into the open page connects", async () => {
    const { link, world } = await begin();
    world.fragment = code;
    await world.happen("hashchange");
    assert.equal(world.fragment, "");
    assert.equal(link.state, "connected");
});

test("a link that was stopped leaves the code to the next one", async () => {
    const { link, world } = await begin();
    link.stop();
    world.fragment = code;
    await world.happen("hashchange");
    assert.equal(world.fragment, code);
});

test("a code that is over is told from a phone that was removed", async () => {
    const computer = new Computer();
    computer.codes.clear();
    const late = await begin({ fragment: code, computer });
    assert.equal(late.link.state, "expired");

    const removed = await begin({ isKnown: true });
    const stillStored = removed.world.forever.text;
    removed.computer.last.end(4004);
    await settle();
    assert.equal(removed.link.state, "removed");
    assert.equal(removed.world.forever.text, stillStored, "anybody can close a connection");

    const unknown = new FakeWorld(computer);
    knownPhone(unknown, new Computer());
    const credentials = stored(role.phone, unknown);
    const link = new Link({ credentials, name: "Phone", world: unknown });
    link.start();
    await settle();
    assert.equal(link.state, "removed");
    await unknown.pass(60_000);
    assert.equal(computer.connections.length, 2, "nothing is tried again");
    computer.codes.add(code);
    assert.ok(link.takeCode(code));
    await settle();
    assert.equal(link.state, "connected");
});

test("a browser that keeps nothing connects all the same", async () => {
    const computer = new Computer();
    const world = new FakeWorld(computer);
    world.forever.write = () => {};
    const link = new Link({ credentials: withCode(world), name: "Phone", world });
    link.start();
    await settle();
    assert.equal(link.state, "connected");
    computer.last.end(1006);
    await world.pass(500);
    assert.equal(link.state, "connected", "the secret lasts as long as the page");
});

for (const [title, text] of [
    ["no JSON", "{"],
    ["null", "null"],
    ["a number", "7"],
    ["an id that is too short", '{"id":"00","secret":"AAAA"}'],
    ["no secret", `{"id":"${"00".repeat(16)}"}`],
    ["a secret that is too short", `{"id":"${"00".repeat(16)}","secret":"AAAA"}`],
]) {
    test(`what is stored and is no secret is passed over: ${title}`, async () => {
        const world = new FakeWorld(new Computer());
        world.forever.write(text);
        const link = new Link({ credentials: stored(role.phone, world), name: "Phone", world });
        link.start();
        assert.equal(link.state, "unpaired");
    });
}

test("too many wrong secrets wait as long as they are told", async () => {
    const computer = new Computer();
    computer.closes = [4002, "30"];
    const { link, world } = await begin({ isKnown: true, computer });
    assert.equal(link.state, "shut-out");
    assert.equal(link.waitSeconds, 30);
    await world.pass(29_000);
    assert.equal(computer.connections.length, 1);
    computer.closes = null;
    await world.pass(1500);
    assert.equal(link.state, "connected");
    assert.equal(link.waitSeconds, 0);
});

test("a wait that is no number is a short one", async () => {
    const computer = new Computer();
    computer.closes = [4002, "soon"];
    const { link } = await begin({ isKnown: true, computer });
    assert.equal(link.waitSeconds, 1);
});

test("a refused phone does not ask again by itself", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.last.say({ event: "server", state: "refused" });
    computer.last.end(4005);
    await settle();
    assert.equal(link.server.state, "refused");
    assert.equal(link.state, "refused");
    await world.pass(60_000);
    assert.equal(computer.connections.length, 1);
    link.start();
    await settle();
    assert.equal(link.state, "connected");
});

test("a window whose place another one takes waits until its user wants it back", async () => {
    const { link, computer, world, states } = await begin({ isKnown: true });
    computer.answer = () => undefined;
    const clicked = outcome(link.request("button"));
    computer.last.end(4006);
    assert.equal(await clicked, "lost");
    assert.deepEqual(states, ["connecting", "connected", "elsewhere"]);
    for (const isShown of [false, true]) {
        world.isShown = isShown;
        await world.happen("visibilitychange");
        await world.happen("offline");
        await world.happen("online");
        await world.pass(60_000);
    }
    assert.equal(link.state, "elsewhere");
    assert.equal(computer.looks, 0);
    assert.equal(computer.connections.length, 1);
    assert.equal(world.timers, 0);
    link.start();
    await settle();
    assert.equal(link.state, "connected");
});

test("a window that nobody sees gives up its place as well", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    world.isShown = false;
    await world.happen("visibilitychange");
    computer.last.end(4006);
    await settle();
    world.isShown = true;
    await world.happen("visibilitychange");
    await world.pass(60_000);
    assert.equal(link.state, "elsewhere");
    assert.equal(computer.connections.length, 1);
});

test("a phone that comes back over a dead connection is not told that it is elsewhere", async () => {
    const { link, computer, world, states } = await begin({ isKnown: true });
    computer.isSilent = true;
    await world.pass(5000);
    computer.isSilent = false;
    await world.pass(400);
    assert.equal(link.state, "connected");
    computer.connections[0].end(4006); // reaches the phone late
    await world.pass(1000);
    assert.equal(link.state, "connected");
    assert.deepEqual(states, ["connecting", "connected", "lost", "connected"]);
});

test("answers go to their requests, in whatever order they come", async () => {
    const { link, computer } = await begin({ isKnown: true });
    computer.answer = () => undefined;
    const one = link.request("file.list", { after: "a" });
    const other = link.request("screens");
    const [first, second] = computer.last.received.slice(-2).map(({ object }) => object);
    assert.equal(first.after, "a");
    assert.equal(link.unanswered, 2);
    computer.last.say({ id: second.id, ok: true, screens: [] });
    computer.last.say({ id: first.id, ok: true, files: ["b"] }, Uint8Array.of(1, 2));
    assert.deepEqual((await other).fields.screens, []);
    const { fields, body } = await one;
    assert.deepEqual(fields.files, ["b"]);
    assert.deepEqual([...body], [1, 2]);
    assert.equal(link.unanswered, 0);
});

test("what is refused says why", async () => {
    const { link, computer } = await begin({ isKnown: true });
    computer.answer = ({ id }) => ({ id, error: "unknown-key", message: "There is no such key." });
    await assert.rejects(link.request("key", { key: "Entre" }), {
        error: "unknown-key",
        message: "There is no such key.",
    });
    const refusals = [];
    link.addEventListener("refusal", ({ detail }) => refusals.push(detail));
    assert.ok(link.post("key", { key: "Entre" }));
    await settle();
    assert.deepEqual(refusals, [
        { request: "key", error: "unknown-key", message: "There is no such key." },
    ]);
});

test("bodies are sent exactly, and an empty one is told from none", async () => {
    const { link, computer } = await begin({ isKnown: true });
    await link.request("file.put", { file: 1 }, Uint8Array.of(0, 10, 255));
    await link.request("file.put", { file: 1 }, new Uint8Array());
    await link.request("file.put", { name: "a", size: 0 });
    const [some, empty, none] = computer.last.received.slice(-3);
    assert.deepEqual([...some.body], [0, 10, 255]);
    assert.equal(some.object.body, undefined);
    assert.equal(empty.object.body, 0);
    assert.equal(none.object.body, undefined);
});

test("what is too long for a message is refused and harms nothing", async () => {
    const { link } = await begin({ isKnown: true });
    const long = new Uint8Array(256 * 1024);
    assert.equal(await outcome(link.request("file.put", { file: 1 }, long)), "too-long");
    assert.equal(link.unanswered, 0);
    await link.request("screens");
    assert.equal(link.state, "connected");
});

test("events of the computer arrive, those of the server apart", async () => {
    const { link, computer } = await begin({ isKnown: true });
    const events = [];
    let isServerTold = false;
    link.addEventListener("event", ({ detail }) => events.push(detail.event));
    link.addEventListener("server", () => (isServerTold = true));
    computer.last.say({ event: "clipboard" });
    computer.last.say({ event: "server", state: "missing", message: "It does not run." });
    await settle();
    assert.deepEqual(events, ["clipboard"]);
    assert.ok(isServerTold);
    assert.equal(link.server.state, "missing");
    assert.equal(link.server.message, "It does not run.");
});

test("nothing is sent while there is no connection", async () => {
    const { link, computer } = await begin();
    assert.equal(link.post("key", { key: "a" }), false);
    assert.equal(await outcome(link.request("key", { key: "a" })), "not-connected");
    assert.ok(link.takeCode(code));
    computer.hello = () => undefined;
    await settle();
    assert.equal(link.post("key", { key: "b" }), false, "not before the computer has greeted");
    delete computer.hello;
    assert.ok(link.takeCode(code));
    await settle();
    assert.ok(link.post("key", { key: "c" }));
    await settle();
    assert.deepEqual(
        computer.last.received.map((text) => text.object.key).filter((key) => key),
        ["c"],
    );
});

test("what was under way when the connection ended fails and is never repeated", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.answer = () => undefined;
    const click = outcome(link.request("button", {}));
    link.post("key", { key: "a" });
    computer.last.end(1006);
    await settle();
    assert.equal(link.state, "lost");
    assert.equal(await click, "lost");
    assert.equal(link.unanswered, 0);
    await world.pass(1000);
    assert.equal(link.state, "connected");
    assert.equal(computer.connections.length, 2);
    assert.deepEqual(computer.requests, ["button", "key"]);
});

test("a silent computer is lost soon after it should have answered", async () => {
    const { link, computer, world, states } = await begin({ isKnown: true });
    await world.pass(10_000);
    assert.equal(link.state, "connected");
    computer.isSilent = true;
    link.post("move", { dx: 1, dy: 1 });
    await world.pass(1400);
    assert.equal(link.state, "connected");
    await world.pass(400);
    assert.equal(link.state, "lost");
    assert.deepEqual(states, ["connecting", "connected", "lost"]);
});

test("half a second without an answer raises a doubt, which the next answer ends", async () => {
    const { link, computer, world, states } = await begin({ isKnown: true });
    const doubts = [];
    link.addEventListener("doubt", () => doubts.push(link.isDoubtful));
    await world.pass(10_000);
    assert.deepEqual(doubts, []);
    computer.isSilent = true;
    link.post("move", { dx: 1, dy: 1 });
    await world.pass(450);
    assert.equal(link.isDoubtful, false);
    await world.pass(350);
    assert.deepEqual(doubts, [true]);
    computer.isSilent = false;
    computer.last.say({ event: "server", state: "ready", name: "den", can: ["key"] });
    await settle();
    assert.deepEqual(doubts, [true, false]);
    assert.deepEqual(states, ["connecting", "connected"]);
});

test("a connection that is lost is no longer in doubt", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.isSilent = true;
    link.post("move", { dx: 1, dy: 1 });
    await world.pass(1000);
    assert.ok(link.isDoubtful);
    await world.pass(1000);
    assert.equal(link.state, "lost");
    assert.equal(link.isDoubtful, false);
});

test("pings show that the computer is there, once a second while the page is seen", async () => {
    const { computer, world } = await begin({ isKnown: true });
    const pings = () => computer.last.received.filter((text) => nameOf(text) === "ping").length;
    await world.pass(10_100);
    assert.ok(pings() >= 9 && pings() <= 10, `${pings()} pings`);
    world.isShown = false;
    await world.happen("visibilitychange");
    const before = pings();
    await world.pass(10_000);
    assert.equal(pings(), before);
    world.isShown = true;
    await world.happen("visibilitychange");
    assert.equal(pings(), before + 1);
});

test("a page that nobody sees does not give up its connection", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    world.isShown = false;
    await world.happen("visibilitychange");
    computer.isSilent = true;
    link.post("move", { dx: 1, dy: 1 });
    await world.pass(60_000);
    assert.equal(link.state, "connected");
    assert.equal(computer.looks, 0);
    world.isShown = true;
    await world.happen("visibilitychange");
    await world.pass(1750);
    assert.equal(link.state, "lost");
});

test("a page that was asleep reads first what has come", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    await world.pass(100);
    computer.isSilent = true;
    link.post("move", { dx: 1, dy: 1 });
    await world.freeze(8000);
    assert.equal(link.state, "connected");
    await world.pass(2000);
    assert.equal(link.state, "lost");
});

const pieceSize = 128 * 1024;

/** Requests a piece and makes its answer wait; call what this returns to let it come. */
function requestPiece({ link, computer }, isUpload, size = pieceSize) {
    const [name, body] = isUpload ? ["file.put", new Uint8Array(size)] : ["file.get", null];
    outcome(link.request(name, { offset: 0 }, body));
    const { id } = computer.last.received.at(-1).object;
    return () => computer.last.say({ id, ok: true }, new Uint8Array(isUpload ? 0 : size));
}

for (const isUpload of [true, false]) {
    const title = isUpload ? "to the computer" : "from the computer";

    test(`pieces may be slow, and pings behind them: ${title}`, async () => {
        const there = await begin({ isKnown: true });
        const { link, computer, world, states } = there;
        computer.answer = () => undefined;
        const waiting = [1, 2, 3, 4].map(() => requestPiece(there, isUpload));
        for (let pieces = 0; pieces < 10; pieces += 1) {
            await world.pass(4000);
            waiting.shift()();
            if (pieces === 5) {
                waiting.shift()(); // after a delay two come together
            }
            await settle();
            waiting.push(requestPiece(there, isUpload));
        }
        assert.deepEqual(states, ["connecting", "connected"]);
        computer.isSilent = true;
        await world.pass(10_000);
        assert.equal(link.state, "lost");
    });

    test(`a first piece has its time, but not for ever: ${title}`, async () => {
        const there = await begin({ isKnown: true });
        there.computer.answer = () => undefined;
        requestPiece(there, isUpload);
        there.computer.isSilent = true;
        await there.world.pass(6400);
        assert.equal(there.link.state, "connected");
        await there.world.pass(400);
        assert.equal(there.link.state, "lost");
    });

    test(`small pieces show what a large one takes: ${title}`, async () => {
        const there = await begin({ isKnown: true });
        there.computer.answer = () => undefined;
        for (let pieces = 0; pieces < 4; pieces += 1) {
            const answer = requestPiece(there, isUpload, pieceSize / 4);
            await there.world.pass(1000);
            answer();
            await settle();
        }
        requestPiece(there, isUpload);
        there.computer.isSilent = true;
        await there.world.pass(8000);
        assert.equal(there.link.state, "connected");
    });

    test(`on a fast connection pieces have less time: ${title}`, async () => {
        const there = await begin({ isKnown: true });
        there.computer.answer = () => undefined;
        for (let pieces = 0; pieces < 10; pieces += 1) {
            const answer = requestPiece(there, isUpload);
            await there.world.pass(10);
            answer();
            await settle();
        }
        requestPiece(there, isUpload);
        there.computer.isSilent = true;
        await there.world.pass(1400);
        assert.equal(there.link.state, "connected");
        await there.world.pass(500);
        assert.equal(there.link.state, "lost");
    });
}

test("what is short says nothing of the time that a piece takes", async () => {
    const there = await begin({ isKnown: true });
    const { link, computer, world } = there;
    for (let times = 0; times < 10; times += 1) {
        await link.request("file.put", { name: "a", size: 1000 });
        await link.request("file.put", { file: 1 }, new Uint8Array(1000));
    }
    computer.answer = () => undefined;
    requestPiece(there, true);
    computer.isSilent = true;
    await world.pass(6000);
    assert.equal(link.state, "connected");
});

test("a page whose pings wait still shows that it is there", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.answer = () => undefined;
    outcome(link.request("file.get", { name: "a" }));
    for (let second = 0; second < 30; second += 1) {
        computer.last.say({ event: "clipboard" });
        await world.pass(1000);
    }
    assert.equal(link.state, "connected");
    const pings = computer.last.received.filter((text) => nameOf(text) === "ping").length;
    assert.ok(pings >= 5 && pings <= 9, `${pings} pings`);
});

for (const phase of [0, 200, 400, 600, 800]) {
    test(`a text may take minutes to type, since pings are answered: ${phase} ms`, async () => {
        const { link, computer, world } = await begin({ isKnown: true });
        await world.pass(5000 + phase);
        let delay = 0;
        computer.answer = ({ id, request }) => {
            const socket = computer.last;
            if (request === "ping") {
                delay = 1000 - delay; // a network that falters
                world.setTimeout(() => socket.say({ id, ok: true }), delay);
            }
        };
        const typed = link.request("text", { text: "x".repeat(4000) });
        const { id } = computer.last.received.at(-1).object;
        await world.pass(180_000);
        assert.equal(link.state, "connected");
        assert.equal(link.unanswered, 1);
        computer.last.say({ id, ok: true });
        await typed;
    });
}

test("a computer that falls silent while a text is typed is soon lost", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.answer = ({ id, request }) => (request === "ping" ? { id, ok: true } : undefined);
    const typed = outcome(link.request("text", { text: "x".repeat(4000) }));
    await world.pass(30_000);
    assert.equal(link.state, "connected");
    computer.isSilent = true;
    await world.pass(2000);
    assert.equal(link.state, "lost");
    assert.equal(await typed, "lost");
});

test("a network that is gone is noticed at once", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.isReachable = false;
    await world.happen("offline");
    assert.equal(link.state, "lost");
    assert.equal(computer.connections[0].closedBy, "page");
    await world.pass(50);
    computer.isReachable = true;
    await world.happen("online");
    await world.pass(0);
    assert.equal(link.state, "connected");
});

for (const offset of [0, 50, 100, 150, 200, 250, 290]) {
    test(`the computer is found within a second of its return: ${offset} ms`, async () => {
        const { link, computer, world } = await begin({ isKnown: true });
        computer.isSilent = true;
        await world.pass(20_000 + offset);
        assert.equal(link.state, "lost");
        assert.equal(computer.connections.length, 1, "a WebSocket only when it is there");
        computer.isSilent = false;
        await world.pass(400);
        assert.equal(link.state, "connected");
        assert.equal(computer.connections.length, 2);
        const { looks } = computer;
        await world.pass(10_000);
        assert.equal(computer.looks, looks, "nobody looks for what is found");
    });
}

test("nobody looks for the computer while the page is not seen", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.isSilent = true;
    await world.pass(5000);
    world.isShown = false;
    await world.happen("visibilitychange");
    const { looks } = computer;
    await world.pass(60_000);
    assert.equal(computer.looks, looks);
    computer.isSilent = false;
    world.isShown = true;
    await world.happen("visibilitychange");
    await world.pass(0);
    assert.equal(link.state, "connected");
});

test("a connection that ends while the page is not seen is made again when it is", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    world.isShown = false;
    await world.happen("visibilitychange");
    computer.last.end(1001);
    await world.pass(60_000);
    assert.equal(link.state, "lost");
    assert.equal(computer.looks, 0);
    world.isShown = true;
    await world.happen("visibilitychange");
    await world.pass(0);
    assert.equal(link.state, "connected");
});

test("a link that is started while it looks for the computer looks no longer", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    computer.isSilent = true;
    await world.pass(5000);
    computer.isSilent = false;
    link.start();
    await settle();
    assert.equal(link.state, "connected");
    const { looks } = computer;
    await world.pass(1000);
    assert.equal(computer.looks, looks);
});

test("an answer to a look that nobody waits for makes no connection", async () => {
    const { computer, world } = await begin({ isKnown: true });
    computer.waitingLooks = [];
    computer.last.end(1006);
    await world.pass(100);
    world.isShown = false;
    await world.happen("visibilitychange");
    computer.waitingLooks[0]({ ok: true });
    await world.pass(1000);
    assert.equal(computer.connections.length, 1);
});

test("what fails again and again is tried less and less often", async () => {
    const computer = new Computer();
    computer.forged = () => new Uint8Array(70);
    const { link, world } = await begin({ isKnown: true, computer });
    assert.equal(computer.last.closeCode, 4000);
    assert.equal(link.state, "lost");
    await world.pass(60_000);
    assert.ok(computer.connections.length < 20, `${computer.connections.length} connections`);
    assert.ok(computer.connections.length > 8, `${computer.connections.length} connections`);
    assert.equal(link.state, "lost");
    computer.forged = null;
    await world.pass(5000);
    assert.equal(link.state, "connected");
});

test("a connection that does not come about is given up", async () => {
    const computer = new Computer();
    computer.isHanging = true;
    const { link, world } = await begin({ isKnown: true, computer });
    await world.pass(2900);
    assert.equal(link.state, "connecting");
    await world.pass(200);
    assert.equal(link.state, "lost");
    assert.equal(computer.connections[0].closedBy, "page");
});

test("a computer that holds its answer back is waited for, but not for ever", async () => {
    const computer = new Computer();
    computer.isSilent = true;
    const { link, world } = await begin({ isKnown: true, computer });
    await world.pass(9900);
    assert.equal(link.state, "connecting");
    await world.pass(200);
    assert.equal(link.state, "lost");
});

test("connections that end at once are made less and less often", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    for (let second = 0; second < 60; second += 1) {
        if (link.state === "connected") {
            computer.last.end(1001);
        }
        await world.pass(100);
    }
    assert.ok(computer.connections.length < 10, `${computer.connections.length} connections`);
    await world.pass(10_000);
    computer.last.end(1001);
    await world.pass(0);
    assert.equal(link.state, "connected", "after one that lasted there is no pause");
});

test("the desktop's page keeps its connection when nobody sees it", async () => {
    const fragment = Buffer.from(deskSecret).toString("base64url");
    const { link, computer, world } = await begin({ as: role.desk, fragment });
    world.isShown = false;
    await world.happen("visibilitychange");
    await world.pass(5000);
    assert.ok(computer.last.received.length >= 4);
    computer.last.end(1006);
    await world.pass(100);
    assert.equal(link.state, "connected");
});

test("too many connections are given time to become fewer", async () => {
    const computer = new Computer();
    computer.closes = [4003, ""];
    const { link, world } = await begin({ isKnown: true, computer });
    assert.equal(link.state, "lost");
    await world.pass(4900);
    assert.equal(computer.connections.length, 1);
    computer.closes = null;
    await world.pass(200);
    assert.equal(link.state, "connected");
});

for (const [title, message] of [
    ["a text", "hello"],
    ["something that was not sealed", new Uint8Array(40)],
    ["nothing", new Uint8Array()],
]) {
    test(`a broken message ends the connection: ${title}`, async () => {
        const { link, computer } = await begin({ isKnown: true });
        const socket = computer.last;
        socket.deliver(message);
        await settle();
        assert.equal(socket.closeCode, 4000);
        assert.equal(link.state, "lost");
    });
}

test("a phone that leaves is forgotten here, too", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    await link.request("leave");
    assert.equal(link.state, "unpaired");
    assert.equal(world.forever.text, null);
    assert.equal(computer.last.closedBy, "page");
    await world.pass(60_000);
    assert.equal(computer.connections.length, 1);
    computer.codes.add(code);
    world.fragment = code;
    await world.happen("hashchange");
    assert.equal(link.state, "connected", "another code lets it in again");
});

test("another name is kept for the next connection", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    await link.request("rename", { name: "Other" });
    computer.last.end(1001);
    await world.pass(1000);
    assert.equal(computer.last.received[0].object.name, "Other");
});

test("a link that is stopped stays so", async () => {
    const { link, computer, world } = await begin({ isKnown: true });
    link.stop();
    assert.equal(link.state, "lost");
    assert.equal(computer.last.closedBy, "page");
    await world.happen("online");
    await world.pass(60_000);
    assert.equal(computer.connections.length, 1);
    assert.equal(world.timers, 0);
});

test("the desktop's page connects with the secret of its address", async () => {
    const fragment = Buffer.from(deskSecret).toString("base64url");
    const { link, computer, world } = await begin({ as: role.desk, fragment });
    assert.equal(world.fragment, "");
    assert.equal(link.state, "connected");
    assert.equal(computer.last.received.length, 0, "it says nothing of itself");
    assert.equal(world.forever.text, null);
    await link.request("code");

    const again = new Link({ credentials: stored(role.desk, world), name: "", world });
    again.start();
    await settle();
    assert.equal(again.state, "connected", "as after a reload");
});

test("the desktop's page of an earlier run is over", async () => {
    const fragment = Buffer.from(new Uint8Array(32)).toString("base64url");
    const { link } = await begin({ as: role.desk, fragment });
    assert.equal(link.state, "expired");
    const bare = await begin({ as: role.desk, fragment: "" });
    assert.equal(bare.link.state, "unpaired");
});
