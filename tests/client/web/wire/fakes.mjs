// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// A browser and a computer for tests of the link: time passes only when the test says so.

import { accept, nacl } from "./computer.mjs";
import { fromHex, utf8 } from "../../../../client/web/page/wire/bytes.js";
import { codeFromText, secretOfCode } from "../../../../client/web/page/wire/code.js";
import { readText, writeText } from "../../../../client/web/page/wire/text.js";

export const code = "ABCDEFGHJKMNPQRS";
export const deskSecret = new Uint8Array(32).fill(9);

/** Lets everything run that waits for no time. */
export async function settle() {
    for (let turn = 0; turn < 30; turn += 1) {
        await null;
    }
}

/** The program on the computer, and the network to it. */
export class Computer {
    /** What it answers: a function of the request; undefined for no answer at all. */
    answer = (object) => ({ id: object.id, ok: true });
    /** How it answers the first message; "unknown" for a wrong secret. */
    closes = null;
    isReachable = true;
    isSilent = false;
    /** Whether connections take for ever to be made. */
    isHanging = false;
    /** If it is a list, looks wait in it to be answered. */
    waitingLooks = null;
    phones = new Map();
    codes = new Set([code]);
    connections = [];
    looks = 0;

    get last() {
        return this.connections.at(-1);
    }

    /** The requests that came over all connections, by name, without pings and greetings. */
    get requests() {
        return this.connections
            .flatMap(({ received }) => received)
            .map(({ object }) => object.request)
            .filter((name) => name !== "ping" && name !== "hello");
    }

    secretFor(first) {
        if (first[1] === 2) {
            return deskSecret;
        }
        if (first[1] === 1) {
            return this.phones.get(Buffer.from(first.slice(2, 18)).toString("hex"));
        }
        const [valid] = this.codes;
        return valid && secretOfCode(codeFromText(valid));
    }

    hello(socket, object) {
        const server = { state: "ready", name: "den", can: ["key"] };
        const answer = { id: object.id, ok: true, computer: "den", server };
        if (socket.first[1] === 0) {
            const [id, secret] = [nacl.randomBytes(16), nacl.randomBytes(32)];
            answer.phone = {
                id: Buffer.from(id).toString("hex"),
                secret: Buffer.from(secret).toString("base64"),
            };
            this.phones.set(answer.phone.id, secret);
            this.codes.clear();
        }
        return answer;
    }
}

/** The browser's WebSocket. */
class FakeSocket {
    received = [];
    closedBy = null;
    #computer;
    #channel = null;

    constructor(computer) {
        this.#computer = computer;
        computer.connections.push(this);
        queueMicrotask(() => this.#open());
    }

    /** From the page. */
    send(bytes) {
        if (!this.#computer.isReachable || this.#computer.isSilent) {
            return;
        }
        if (this.#channel) {
            this.#receive(bytes);
        } else {
            this.first = bytes;
            this.#shakeHands();
        }
    }

    /** By the page. */
    close(closeCode) {
        this.closedBy ??= "page";
        this.closeCode ??= closeCode;
    }

    /** By the computer, or the browser itself. */
    end(closeCode, reason = "") {
        this.closedBy ??= "computer";
        queueMicrotask(() => this.onclose?.({ code: closeCode, reason }));
    }

    /** From the computer. */
    say(object, body) {
        this.deliver(this.#channel.seal(writeText(object, body)));
    }

    deliver(bytes) {
        const data = typeof bytes === "string" ? bytes : bytes.slice().buffer;
        queueMicrotask(() => this.onmessage?.({ data }));
    }

    #open() {
        if (this.#computer.isHanging) {
            return;
        }
        if (this.#computer.isReachable) {
            this.onopen?.();
        } else {
            this.end(1006);
        }
    }

    #shakeHands() {
        const [closeCode, reason] = this.#computer.closes ?? [];
        const secret = this.#computer.secretFor(this.first);
        const accepted = secret && accept(this.first, secret, utf8('{"computer":"den"}'));
        if (closeCode || !accepted) {
            this.end(closeCode ?? 4001, reason);
            return;
        }
        this.#channel = accepted.channel;
        this.deliver(this.#computer.forged?.(accepted.answer) ?? accepted.answer);
    }

    #receive(bytes) {
        const text = readText(this.#channel.open(bytes));
        this.received.push(text);
        const { object } = text;
        const isHello = object.request === "hello";
        const answer = isHello
            ? this.#computer.hello(this, object)
            : this.#computer.answer(object, text.body);
        if (answer) {
            this.say(answer, answer.withBody);
        }
    }
}

class FakeShelf {
    text = null;
    read() {
        return this.text;
    }
    write(text) {
        this.text = text;
    }
    clear() {
        this.text = null;
    }
}

/** The browser: see World in world.js. */
export class FakeWorld {
    socketAddress = "ws://192.168.1.20:8642/socket";
    aliveAddress = "/alive";
    forever = new FakeShelf();
    forThisTab = new FakeShelf();
    fragment = "";
    isShown = true;
    #time = 1000;
    #timers = new Map();
    #lastTimer = 0;
    #listeners = [];
    #computer;

    constructor(computer) {
        this.#computer = computer;
    }

    now = () => this.#time;
    setTimeout = (call, delay) => {
        this.#lastTimer += 1;
        this.#timers.set(this.#lastTimer, { call, due: this.#time + delay });
        return this.#lastTimer;
    };
    clearTimeout = (timer) => this.#timers.delete(timer);
    openSocket = () => new FakeSocket(this.#computer);
    isVisible = () => this.isShown;
    watch = (type, call) => this.#listeners.push({ type, call });
    takeFragment = () => {
        const taken = this.fragment;
        this.fragment = "";
        return taken;
    };
    /** Fails at once, or when it is aborted, as on a network that swallows everything. */
    fetch = (address, { cache, signal }) => {
        this.#computer.looks += 1;
        if (address !== "/alive" || cache !== "no-store") {
            throw new Error(`A look at ${address} from the ${cache} cache`);
        }
        if (this.#computer.waitingLooks) {
            return new Promise((resolve) => this.#computer.waitingLooks.push(resolve));
        }
        if (this.#computer.isReachable && !this.#computer.isSilent) {
            return Promise.resolve({ ok: true });
        }
        return new Promise((_, reject) => {
            signal.addEventListener("abort", () => reject(new Error("aborted")));
        });
    };

    /** How many timers run. */
    get timers() {
        return this.#timers.size;
    }

    /** As the browser's own events. */
    async happen(type) {
        for (const listener of this.#listeners.filter((each) => each.type === type)) {
            listener.call();
        }
        await settle();
    }

    /** Lets time pass, and everything happen that is due meanwhile. */
    async pass(duration) {
        const end = this.#time + duration;
        await settle();
        for (;;) {
            const due = [...this.#timers].filter(([, timer]) => timer.due <= end);
            if (due.length === 0) {
                break;
            }
            due.sort(([, one], [, other]) => one.due - other.due);
            const [id, timer] = due[0];
            this.#timers.delete(id);
            this.#time = Math.max(this.#time, timer.due);
            timer.call();
            await settle();
        }
        this.#time = end;
    }

    /** The browser stops the page for a while: timers are late, messages wait. */
    async freeze(duration) {
        this.#time += duration;
        await this.pass(0);
    }
}

/** A phone that the computer knows. */
export function knownPhone(world, computer) {
    const id = "00112233445566778899aabbccddeeff";
    const secret = fromHex(id.repeat(2));
    computer.phones.set(id, secret);
    world.forever.write(JSON.stringify({ id, secret: Buffer.from(secret).toString("base64") }));
}
